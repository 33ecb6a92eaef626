#pragma once

#include <string>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// What is wrong in \p set, one line each: kind by kind, attributes by their index, then what concerns a whole kind, at
/// last the fills. Names that are blank or differ from another one by their letter case alone; indexes that are outside
/// 1 to 32766 or taken twice; user data that are no records or hold two of one owner; references and fills that lead
/// nowhere; attributes of which only the name is known; active attributes that are not there.
std::vector<std::string> FindFaults(const ODB::ConstRef<ADB::AttributeSet>& set);

}   // namespace Host
