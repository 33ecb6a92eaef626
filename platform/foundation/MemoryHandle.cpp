#include <Kest/MemoryHandle.hpp>

#include <algorithm>
#include <cassert>
#include <cstring>
#include <memory>
#include <new>

#ifndef NDEBUG
#include <Kest/HashSet.hpp>

#include <mutex>
#endif

namespace {

constexpr int MemoryFull = -108;
constexpr std::int64_t GreatestSize = std::min<std::int64_t>(std::int64_t{1} << 36, PTRDIFF_MAX);

thread_local int lastError = 0;

// What a handle points to. The slot comes first, and is read and written as bytes only: callers see in it a pointer to
// whatever they keep in the block.
struct Master {
    void* slot;
    std::int64_t size;
    bool isZeroFilled;
};

char** HandleOf(Master& master) {
    return reinterpret_cast<char**>(&master.slot);
}

Master& MasterOf(char** handle) {
    return *reinterpret_cast<Master*>(handle);
}

char* GetBlock(const Master& master) {
    char* block;
    std::memcpy(&block, &master.slot, sizeof block);
    return block;
}

void SetBlock(Master& master, char* block) {
    std::memcpy(&master.slot, &block, sizeof block);
}

/// Null when there is no memory for it, or the size is out of range. A block of no bytes has an address, too.
char* NewBlock(std::int64_t size) {
    if (size < 0 || size > GreatestSize)
        return nullptr;
    return static_cast<char*>(::operator new(static_cast<std::size_t>(std::max<std::int64_t>(size, 1)), std::nothrow));
}

#ifndef NDEBUG

/// The handles that are in use. Kept inverted, so that a leak checker does not take the note for a use.
class Registry {
public:
    static Registry& Get() {
        static Registry* const registry = new Registry;   // never destroyed: static objects may free handles late
        return *registry;
    }
    bool Add(char** handle) {
        const std::lock_guard lock(mutex);
        return handles.Add(Note(handle));
    }
    bool Delete(char** handle) {
        const std::lock_guard lock(mutex);
        return handles.Delete(Note(handle));
    }
    bool Contains(char** handle) {
        const std::lock_guard lock(mutex);
        return handles.Contains(Note(handle));
    }

private:
    static std::uintptr_t Note(char** handle) { return ~reinterpret_cast<std::uintptr_t>(handle); }

    std::mutex mutex;
    Kest::HashSet<std::uintptr_t> handles;
};

bool Enter(char** handle) {
    try {
        return Registry::Get().Add(handle);
    } catch (const std::bad_alloc&) {
        return false;
    }
}
bool Leave(char** handle) {
    return Registry::Get().Delete(handle);
}
bool IsInUse(char** handle) {
    return Registry::Get().Contains(handle);
}

#else

bool Enter(char**) {
    return true;
}

#endif

/// \returns \p result, for a tail call.
template <class T>
T Report(int error, T result) {
    lastError = error;
    return result;
}

}   // namespace

char** BMAllocateHandle(std::int64_t size, unsigned flags) {
    char* const block = NewBlock(size);
    if (block == nullptr)
        return Report<char**>(MemoryFull, nullptr);
    Master* const master = new (std::nothrow) Master{nullptr, size, (flags & BMZeroFilled) != 0};
    if (master == nullptr || !Enter(HandleOf(*master))) {
        delete master;
        ::operator delete(block);
        return Report<char**>(MemoryFull, nullptr);
    }
    if (master->isZeroFilled)
        BNFillMemory(block, static_cast<std::size_t>(size), 0);
    SetBlock(*master, block);
    return Report(0, HandleOf(*master));
}

char** BMReallocHandle(char** handle, std::int64_t size) {
    if (handle == nullptr)
        return Report(MemoryFull, handle);
    assert(IsInUse(handle));
    Master& master = MasterOf(handle);
    if (size == master.size)
        return Report(0, handle);
    char* const block = NewBlock(size);
    if (block == nullptr)
        return Report(MemoryFull, handle);

    char* const old = GetBlock(master);
    const auto kept = static_cast<std::size_t>(std::min(size, master.size));
    BNCopyMemory(block, old, kept);
    if (master.isZeroFilled)
        BNFillMemory(block + kept, static_cast<std::size_t>(size) - kept, 0);
    SetBlock(master, block);
    master.size = size;
    ::operator delete(old);
    return Report(0, handle);
}

std::int64_t BMGetHandleSize(char** handle) {
    assert(handle == nullptr || IsInUse(handle));
    return Report(0, handle == nullptr ? 0 : MasterOf(handle).size);
}

void BMKillHandle(char*** handle) {
    lastError = 0;
    if (handle == nullptr || *handle == nullptr)
        return;
#ifndef NDEBUG
    const bool wasInUse = Leave(*handle);
    assert(wasInUse && "freed twice, or not a memory handle");
#endif
    Master& master = MasterOf(*handle);
    ::operator delete(GetBlock(master));
    delete &master;
    *handle = nullptr;
}

char** BMPtrToHandle(const char* source, std::int64_t size) {
    if (source == nullptr && size != 0)
        return Report<char**>(MemoryFull, nullptr);
    char** const handle = BMAllocateHandle(size, BMPlain);
    if (handle != nullptr)
        BNCopyMemory(GetBlock(MasterOf(handle)), source, static_cast<std::size_t>(size));
    return handle;
}

int BMError() {
    return lastError;
}

// The standard functions must not be given null, not even for no bytes.

void BNCopyMemory(void* target, const void* source, std::size_t size) {
    if (size > 0)
        std::memcpy(target, source, size);
}

void BNMoveMemory(void* target, const void* source, std::size_t size) {
    if (size > 0)
        std::memmove(target, source, size);
}

int BNCompareMemory(const void* left, const void* right, std::size_t size) {
    const int order = size > 0 ? std::memcmp(left, right, size) : 0;
    return (order > 0) - (order < 0);
}

void BNFillMemory(void* target, std::size_t size, unsigned char value) {
    if (size > 0)
        std::memset(target, value, size);
}
