#pragma once

#include <Kest/Export.hpp>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

namespace Kest {

/// Finds places in an array by hash: the part of a hash container that knows neither keys nor entries.
///
/// Open addressing with linear probing over slots of eight bytes; a removal closes the gap at once, so there are no
/// tombstones and look-ups never slow down with age. Who uses it keeps the entries in an array, and tells the index
/// when an entry enters, leaves or changes its place. Several entries may have one hash, and one key even.
class KEST_API HashIndex {
public:
    /// No place: the answer of a search without result.
    static constexpr std::uint32_t None = 0xFFFFFFFF;

    HashIndex() noexcept;

    /// The hash that the other operations take, from what Kest::Hash answered.
    std::uint32_t Mix(std::uint64_t hash) const noexcept {
        hash ^= seed;
        hash = (hash ^ (hash >> 32)) * 0xD6E8FEB86659FD93;
        hash = (hash ^ (hash >> 32)) * 0xD6E8FEB86659FD93;
        return static_cast<std::uint32_t>(hash >> 32);
    }

    /// The place of an entry with \p hash for which \p isWanted(place) holds, or None. Allocates nothing.
    template <class Predicate>
    std::uint32_t Find(std::uint32_t hash, Predicate&& isWanted) const {
        if (slots.empty())
            return None;
        for (std::size_t at = Home(hash); slots[at].place != None; at = After(at))
            if (slots[at].hash == hash && isWanted(slots[at].place))
                return slots[at].place;
        return None;
    }

    /// Makes room for \p count entries in all, so that Insert up to that number cannot fail.
    /// Throws std::bad_alloc or std::length_error, with nothing changed.
    void Reserve(std::size_t count) {
        if (count > Room(slots.size()))
            Grow(count);
    }

    /// Notes that the entry with \p hash is at \p place. The room must have been reserved.
    void Insert(std::uint32_t hash, std::uint32_t place) noexcept {
        std::size_t at = Home(hash);
        while (slots[at].place != None)
            at = After(at);
        slots[at] = {hash, place};
    }

    /// Forgets the entry with \p hash at \p place, which must be known.
    void Delete(std::uint32_t hash, std::uint32_t place) noexcept;

    /// Notes that the entry with \p hash has moved from \p oldPlace, which must be known, to \p newPlace.
    void Move(std::uint32_t hash, std::uint32_t oldPlace, std::uint32_t newPlace) noexcept {
        slots[SlotOf(hash, oldPlace)].place = newPlace;
    }

    /// Forgets all entries; the room stays.
    void Clear() noexcept;

    void Swap(HashIndex& other) noexcept {
        slots.swap(other.slots);
        std::swap(seed, other.seed);
    }

private:
    struct Slot {
        std::uint32_t hash;
        std::uint32_t place;   // None: the slot is free
    };

    // Probing stays short up to three quarters; the number of slots is 0 or a power of two.
    static std::size_t Room(std::size_t slotCount) noexcept { return slotCount - slotCount / 4; }
    std::size_t Home(std::uint32_t hash) const noexcept { return hash & (slots.size() - 1); }
    std::size_t After(std::size_t at) const noexcept { return (at + 1) & (slots.size() - 1); }
    std::size_t SlotOf(std::uint32_t hash, std::uint32_t place) const noexcept;
    void Grow(std::size_t count);

    std::vector<Slot> slots;
    std::uint64_t seed;   // the process's: where a slot stands cannot be foreseen
};

}   // namespace Kest
