#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <vector>

#include <ODB/ObjectInfo.hpp>

namespace ODB {

/// The records of one id space by id: open addressing over plain pointers, since the record holds its key.
class RecordTable {
public:
    ObjectInfo* Find(const Id& id) const noexcept {
        if (slots.empty())
            return nullptr;
        for (std::size_t slot = Home(id); slots[slot] != nullptr; slot = Next(slot))
            if (slots[slot]->id == id)
                return slots[slot];
        return nullptr;
    }

    /// Makes room for \p count records. \throws std::bad_alloc with nothing changed
    void Reserve(std::size_t count) {
        if (count * 5 <= slots.size() * 4)
            return;
        RecordTable larger;
        larger.slots.resize(std::max<std::size_t>(16, count * 2));
        for (ObjectInfo* const record : slots)
            if (record != nullptr)
                larger.Insert(*record);
        slots.swap(larger.slots);
    }

    /// The slot of the record with \p id or, where there is none, the free one for it; room has been made.
    std::size_t FindSlot(const Id& id) const noexcept {
        std::size_t slot = Home(id);
        while (slots[slot] != nullptr && slots[slot]->id != id)
            slot = Next(slot);
        return slot;
    }
    /// Puts a record into the free slot for it.
    void InsertAt(std::size_t slot, ObjectInfo& record) noexcept {
        slots[slot] = &record;
        ++size;
    }

    /// Adds a record whose id is not here; room has been made.
    void Insert(ObjectInfo& record) noexcept {
        std::size_t slot = Home(record.id);
        while (slots[slot] != nullptr)
            slot = Next(slot);
        InsertAt(slot, record);
    }

    /// Takes out a record that is here; those behind it in its run move up.
    void Remove(const ObjectInfo& record) noexcept {
        std::size_t gap = Home(record.id);
        while (slots[gap] != &record)
            gap = Next(gap);
        --size;
        for (std::size_t slot = Next(gap); slots[slot] != nullptr; slot = Next(slot)) {
            const std::size_t home = Home(slots[slot]->id);
            const bool mayMove = gap <= slot ? home <= gap || home > slot : home <= gap && home > slot;
            if (mayMove) {
                slots[gap] = slots[slot];
                gap = slot;
            }
        }
        slots[gap] = nullptr;
    }

    std::size_t GetSize() const noexcept { return size; }
    std::size_t GetSlotCount() const noexcept { return slots.size(); }
    ObjectInfo* GetSlot(std::size_t slot) const noexcept { return slots[slot]; }

private:
    std::size_t Home(const Id& id) const noexcept {
        const auto hash = static_cast<std::uint32_t>(Kest::Hash<Id>()(id));
        return static_cast<std::size_t>((std::uint64_t{hash} * slots.size()) >> 32);
    }
    std::size_t Next(std::size_t slot) const noexcept { return slot + 1 < slots.size() ? slot + 1 : 0; }

    std::vector<ObjectInfo*> slots;
    std::size_t size = 0;
};

}   // namespace ODB
