#pragma once

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

namespace ADB {

/// The indexes that are still free, while more and more are taken: any number of searches costs about as much as one
/// walk over what is taken.
class FreeIndexes {
public:
    /// All are free. \throws std::bad_alloc
    FreeIndexes() : onward(EndPlace + 1) { std::iota(onward.begin(), onward.end(), std::uint16_t{0}); }

    /// An index that is never free stays so.
    void Take(short index) noexcept {
        if (IsUsable(index))
            onward[PlaceOf(index)] = static_cast<std::uint16_t>(PlaceOf(index) + 1);
    }

    bool IsFree(short index) const noexcept { return IsUsable(index) && onward[PlaceOf(index)] == PlaceOf(index); }

    /// What AttributeContainer::GenerateUniqueIndex answers for the indexes taken: the first free one from \p hint, or
    /// from 1, onward and round; \p hint when none is free.
    short Find(short hint) noexcept {
        const std::size_t start = IsUsable(hint) ? PlaceOf(hint) : First;
        std::size_t place = FindFrom(start);
        if (place == EndPlace)
            place = FindFrom(First);
        return place != EndPlace ? static_cast<short>(place) : hint;
    }

private:
    static constexpr short First = 1;
    static constexpr short Last = 32766;
    static constexpr std::size_t EndPlace = Last + 1;

    static bool IsUsable(short index) noexcept { return index >= First && index <= Last; }
    static std::size_t PlaceOf(short index) noexcept { return static_cast<std::size_t>(index); }

    std::size_t FindFrom(std::size_t place) noexcept {
        while (onward[place] != place) {
            onward[place] = onward[onward[place]];   // the next search takes longer steps
            place = onward[place];
        }
        return place;
    }

    std::vector<std::uint16_t> onward;   // a free index names itself, a taken one a later place to look at
};

}   // namespace ADB
