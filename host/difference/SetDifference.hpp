#pragma once

#include <string>
#include <vector>

#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// A value that differs, in the two forms in which it is shown.
struct ShownValue {
    std::string text;   ///< for people: fit for a terminal
    std::string json;

    bool operator==(const ShownValue&) const = default;
};

struct FieldDifference {
    std::string field;
    ShownValue before;
    ShownValue after;
};

enum class Change { Changed, Removed, Added };

struct AttributeDifference {
    Change change;
    unsigned int refId;
    short index;            ///< in the first set, unless it was added
    Kest::UniString name;   ///< as the index
    std::vector<FieldDifference> fields{};
};

/// What a second set has other than a first one.
struct SetDifference {
    std::vector<FieldDifference> set;   ///< fills and active attributes
    std::vector<AttributeDifference> attributes;

    bool IsEmpty() const noexcept { return set.empty() && attributes.empty(); }
};

/// Whether modification times count.
enum class Times { Compared, Ignored };

/// Compares the attributes that are the same (see Pairing) kind by kind, those of the first set by their index, then
/// those that the second set has alone, by theirs. Everything counts but object ids and the order of links and of
/// records of user data. A reference is the same when its index is and it leads to attributes that are the same.
/// \throws std::bad_alloc
SetDifference CompareSets(const ODB::ConstRef<ADB::AttributeSet>& first, const ODB::ConstRef<ADB::AttributeSet>& second,
                          Times times);

}   // namespace Host
