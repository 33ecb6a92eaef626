#pragma once

#include <string>
#include <vector>

#include <Kest/UniString.hpp>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// A part of a set that can differ from that of a copy.
enum class Aspect {
    Attribute,   ///< the whole attribute is in one of the sets only
    Name,
    Flags,
    ModificationTime,
    Id,
    UserData,          ///< `detail` is the owner
    UserDataVersion,   ///< `detail` is the owner
    Field,             ///< of the kind; `detail` is its name
    LinkOrder,         ///< of a kind
    ActiveAttribute,   ///< of a kind
    Fill               ///< of the set; `detail` says which
};

struct Difference {
    Aspect aspect;
    unsigned int refId = 0;   ///< of the kind; 0 for a fill
    short index = 0;          ///< of the attribute, 0 when a whole kind differs
    Kest::UniString name{};   ///< of the attribute
    std::string detail{};     ///< UTF-8, fit for a terminal
};

/// "name", "user data", in the singular.
std::string NameOf(Aspect aspect);

/// "Layer 3 "Wall": user data of HOST/LAYR".
std::string TextOf(const Difference& difference);

/// Everything in which \p copy differs from \p original, except the fills: kind by kind, attributes by their index, in
/// ascending order. Whatever an attribute has takes part: name, flags, time, object id, user data, the kind's fields.
std::vector<Difference> CompareAttributes(const ODB::ConstRef<ADB::AttributeSet>& original,
                                          const ODB::ConstRef<ADB::AttributeSet>& copy);

/// The differences in the five fills.
std::vector<Difference> CompareFills(const ODB::ConstRef<ADB::AttributeSet>& original,
                                     const ODB::ConstRef<ADB::AttributeSet>& copy);

/// The index of the attribute that was chosen as the active one of the kind, 0 when none was.
short GetActiveIndex(const ODB::ConstRef<ADB::AttributeSet>& set, unsigned int refId);

}   // namespace Host
