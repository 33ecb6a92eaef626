#include <ZalUtil/BaseRegTblData.hpp>

#include <limits>
#include <new>
#include <vector>

#include <Kest/HashSet.hpp>
#include <Kest/MemoryHandle.hpp>

namespace ZalUtil {
namespace {

constexpr int MemoryFull = -108;

}   // namespace

const Kest::ClassInfo* BaseRegTblData::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ZalUtil::BaseRegTblData", Kest::Guid("{E15E2C8A-1E0F-4B73-8C8E-5B0C7E0C6A4D}"),
                                      Kest::ClassVersion(1, 0), KestMemoData::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* BaseRegTblData::GetClassInfo() const {
    return GetClassInfoStatic();
}

int BaseRegTblData::GetRegTbl(char*** handle) const {
    *handle = nullptr;
    if (IsEmpty())
        return 0;
    *handle = BMPtrToHandle(GetBytes(), static_cast<std::int64_t>(GetSize()));
    return *handle != nullptr ? 0 : MemoryFull;
}

const char* BaseRegTblData::GetRegTblPtr(int* size) const noexcept {
    constexpr std::size_t largest = std::numeric_limits<int>::max();
    if (size != nullptr)
        *size = static_cast<int>(GetSize() < largest ? GetSize() : largest);
    return GetBytes();
}

void BaseRegTblData::LookupExternalDataHandlers(ICBOwnerFound* callback) const {
    if (callback == nullptr)
        return;
    Kest::HashSet<Owner> owners;   // complete before the first call, which may change the table
    MemoRecordWalk walk(GetBytes(), GetSize());
    MemoRecord record;
    while (walk.Next(record))
        owners.Add(record.owner);
    for (const Owner& owner : owners)
        callback->OwnerFound(owner);
}

int BaseRegTblData::DeleteExternalDataHandlers(const OwnerList& owners) {
    try {
        Kest::HashSet<Owner> removed;
        for (const Owner& owner : owners)
            removed.Add(owner);
        std::vector<char> kept;
        kept.reserve(GetSize());
        bool isChanged = false;
        MemoRecordWalk walk(GetBytes(), GetSize());
        MemoRecord record;
        while (walk.Next(record)) {
            if (removed.Contains(record.owner))
                isChanged = true;
            else
                kept.insert(kept.end(), GetBytes() + record.offset, GetBytes() + record.GetEnd());
        }
        return isChanged ? UpdateRegTbl(kept.data(), static_cast<std::int64_t>(kept.size())) : 0;
    } catch (const std::bad_alloc&) {
        return MemoryFull;
    }
}

}   // namespace ZalUtil
