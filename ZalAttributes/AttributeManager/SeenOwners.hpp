#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include <Kest/HashSet.hpp>

#include <ZalUtil/Owner.hpp>

namespace ADB {

/// The owners that a walk over a table has met. The few of an ordinary table are kept without the heap.
class SeenOwners {
public:
    /// \returns false when \p owner was met before. \throws std::bad_alloc
    bool Add(const ZalUtil::Owner& owner) {
        if (!many.IsEmpty())
            return many.Add(owner);
        const auto end = few.begin() + static_cast<std::ptrdiff_t>(count);
        if (std::find(few.begin(), end, owner) != end)
            return false;
        if (count < few.size()) {
            few[count++] = owner;
            return true;
        }
        Kest::HashSet<ZalUtil::Owner> all;
        for (const ZalUtil::Owner& each : few)
            all.Add(each);
        all.Add(owner);
        many = std::move(all);
        return true;
    }

private:
    std::array<ZalUtil::Owner, 8> few{};
    std::size_t count = 0;
    Kest::HashSet<ZalUtil::Owner> many;   // all of them, once they are no longer few
};

}   // namespace ADB
