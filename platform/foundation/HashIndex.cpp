#include <Kest/HashIndex.hpp>

#include "HashSeed.hpp"

#include <algorithm>
#include <cassert>
#include <stdexcept>

namespace Kest {

HashIndex::HashIndex() noexcept : seed(GetHashSeed()) {}

std::size_t HashIndex::SlotOf(std::uint32_t hash, std::uint32_t place) const noexcept {
    std::size_t at = Home(hash);
    while (slots[at].place != place) {
        assert(slots[at].place != None);
        at = After(at);
    }
    return at;
}

void HashIndex::Delete(std::uint32_t hash, std::uint32_t place) noexcept {
    // Later slots of the run move up into the gap, unless that would put them before their home.
    std::size_t gap = SlotOf(hash, place);
    for (std::size_t at = After(gap); slots[at].place != None; at = After(at)) {
        const std::size_t mask = slots.size() - 1;
        const std::size_t distance = (at - Home(slots[at].hash)) & mask;
        if (distance >= ((at - gap) & mask)) {
            slots[gap] = slots[at];
            gap = at;
        }
    }
    slots[gap].place = None;
}

void HashIndex::Clear() noexcept {
    std::fill(slots.begin(), slots.end(), Slot{0, None});
}

void HashIndex::Grow(std::size_t count) {
    if (count >= None)
        throw std::length_error("Kest::HashIndex");
    std::size_t slotCount = std::max<std::size_t>(slots.size(), 8);
    while (Room(slotCount) < count)
        slotCount *= 2;

    std::vector<Slot> old(slotCount, Slot{0, None});
    old.swap(slots);
    for (const Slot& slot : old)
        if (slot.place != None)
            Insert(slot.hash, slot.place);
}

}   // namespace Kest
