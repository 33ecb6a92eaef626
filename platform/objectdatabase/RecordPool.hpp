#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <vector>

#if defined(__SANITIZE_ADDRESS__)
#define ODB_RECORDS_ON_HEAP
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ODB_RECORDS_ON_HEAP
#endif
#endif

namespace ODB {

/// Memory for many small blocks of one size: taken in slabs, which are kept for the next blocks, and given back to a
/// free list. The sanitizer build goes to the heap for each, so that a stale pointer is caught there.
template <class T>
class RecordPool {
public:
    /// A new T. \throws std::bad_alloc with nothing changed
    T* Make() { return ::new (Take()) T(); }

    void Destroy(T* item) noexcept {
        item->~T();
        Give(item);
    }

private:
    union Slot {
        Slot* next;
        alignas(T) std::byte bytes[sizeof(T)];
    };

#if defined(ODB_RECORDS_ON_HEAP)
    void* Take() {
        return ::operator new(sizeof(Slot));
    }
    void Give(T* item) noexcept {
        ::operator delete(static_cast<void*>(item));
    }
#else
    static constexpr std::size_t SlotsPerSlab = 256;

    void* Take() {
        if (freeSlots == nullptr)
            AddSlab();
        Slot* const slot = freeSlots;
        freeSlots = slot->next;
        return slot;
    }

    void Give(T* item) noexcept {
        auto* const slot = ::new (static_cast<void*>(item)) Slot;
        slot->next = freeSlots;
        freeSlots = slot;
    }

    void AddSlab() {
        slabs.reserve(slabs.size() + 1);
        slabs.push_back(std::make_unique_for_overwrite<Slot[]>(SlotsPerSlab));
        Slot* const slab = slabs.back().get();
        for (std::size_t place = SlotsPerSlab; place > 0; --place) {   // handed out in the order of their addresses
            slab[place - 1].next = freeSlots;
            freeSlots = &slab[place - 1];
        }
    }

    Slot* freeSlots = nullptr;
    std::vector<std::unique_ptr<Slot[]>> slabs;
#endif
};

}   // namespace ODB
