#include <ZalUtil/KestMemoData.hpp>

#include <atomic>
#include <cstring>
#include <new>
#include <utility>

#include <Kest/XMLOChannel.hpp>

namespace ZalUtil {
namespace {

constexpr int MemoryFull = -108;

}   // namespace

struct KestMemoData::Block {
    std::atomic<std::uint32_t> users{1};
    std::size_t size;

    char* GetBytes() noexcept { return reinterpret_cast<char*>(this + 1); }
};

KestMemoData::~KestMemoData() {
    Release(block);
}

KestMemoData::KestMemoData(const KestMemoData& other) noexcept : Kest::Object(other), block(Share(other.block)) {}

KestMemoData& KestMemoData::operator=(const KestMemoData& other) noexcept {
    Release(std::exchange(block, Share(other.block)));
    return *this;
}

KestMemoData::Block* KestMemoData::Share(Block* shared) noexcept {
    if (shared != nullptr)
        shared->users.fetch_add(1, std::memory_order_relaxed);
    return shared;
}

void KestMemoData::Release(Block* released) noexcept {
    if (released == nullptr || released->users.fetch_sub(1, std::memory_order_acq_rel) != 1)
        return;
    released->~Block();
    ::operator delete(static_cast<void*>(released));
}

const Kest::ClassInfo* KestMemoData::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ZalUtil::KestMemoData", Kest::Guid("{B7E1F7B2-6B0B-4A0C-9C57-2A7C64C2D1E5}"),
                                      Kest::ClassVersion(1, 0), Kest::Object::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* KestMemoData::GetClassInfo() const {
    return GetClassInfoStatic();
}

short KestMemoData::GetNParts() const {
    return 1;
}

unsigned int KestMemoData::GetSignal() const {
    return 0;
}

MemoCheckResult KestMemoData::Check() const {
    return MemoCheckResult::NoFindings;
}

int KestMemoData::WriteXML(Kest::XMLOChannel& channel) const {
    return channel.GetStatus();
}

void KestMemoData::Delete() noexcept {
    Release(std::exchange(block, nullptr));
}

std::size_t KestMemoData::GetSize() const noexcept {
    return block != nullptr ? block->size : 0;
}

const char* KestMemoData::GetBytes() const noexcept {
    return block != nullptr ? block->GetBytes() : nullptr;
}

int KestMemoData::PutData(const char* bytes, std::int64_t size) {
    if (size <= 0) {
        Delete();
        return 0;
    }
    constexpr auto largest = static_cast<std::uint64_t>(PTRDIFF_MAX) - sizeof(Block);
    if (static_cast<std::uint64_t>(size) > largest)
        return MemoryFull;
    const auto count = static_cast<std::size_t>(size);
    void* const memory = ::operator new(sizeof(Block) + count, std::nothrow);
    if (memory == nullptr)
        return MemoryFull;
    auto* const fresh = ::new (memory) Block{{1}, count};
    std::memcpy(fresh->GetBytes(), bytes, count);
    Release(std::exchange(block, fresh));
    return 0;
}

}   // namespace ZalUtil
