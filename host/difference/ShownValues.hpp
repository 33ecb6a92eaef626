#pragma once

#include "SetDifference.hpp"
#include "kinds/Kind.hpp"

#include <string>
#include <vector>

#include <ZalUtil/Owner.hpp>

namespace Host {

/// A field of a kind.
struct ShownField {
    std::string name;
    ShownValue value;
};

ShownValue ShowNumber(int number);
ShownValue ShowText(const Kest::UniString& text);
/// \param time  seconds since 2000-01-01 UTC; "2026-11-21T19:31:00Z"
ShownValue ShowTime(int time);
/// The record of user data of \p owner by its size, version, flags and checksum.
ShownValue ShowRecord(const ADB::GeneralAttribute& attribute, const ZalUtil::Owner& owner);
/// The attribute \p index by its index and, unless it is missing in \p set, its name; 0 is none.
ShownValue ShowReference(const ODB::ConstRef<ADB::AttributeSet>& set, unsigned int refId, short index);
/// All fields of the kind, in the order of their declaration; references as above.
std::vector<ShownField> ShowFields(const ODB::ConstRef<ADB::AttributeSet>& set, const KindBase& attribute);

}   // namespace Host
