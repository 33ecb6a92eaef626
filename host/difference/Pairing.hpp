#pragma once

#include <optional>
#include <unordered_map>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Which attributes of two sets are the same: of a kind, those with one id, and of the others those with one name,
/// letter case ignored.
class Pairing {
public:
    /// \throws std::bad_alloc
    Pairing(const ODB::ConstRef<ADB::AttributeSet>& first, const ODB::ConstRef<ADB::AttributeSet>& second);

    /// The index in the second set of the attribute \p index of the first one; nothing when the second one does not
    /// have it.
    std::optional<short> FindSecond(unsigned int refId, short index) const {
        return Find(kinds, refId, index, &Partners::seconds);
    }
    /// The same the other way round.
    std::optional<short> FindFirst(unsigned int refId, short index) const {
        return Find(kinds, refId, index, &Partners::firsts);
    }

private:
    using Indexes = std::unordered_map<short, short>;
    struct Partners {
        Indexes seconds;   // by index in the first set
        Indexes firsts;
    };
    using Kinds = std::unordered_map<unsigned int, Partners>;

    static std::optional<short> Find(const Kinds& kinds, unsigned int refId, short index, Indexes Partners::*direction);

    Kinds kinds;   // by ref id
};

}   // namespace Host
