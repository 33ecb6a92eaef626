#pragma once

#include <vector>

#include <ODB/ObjectInfo.hpp>

namespace ADB {

/// The attributes of the container whose record is \p container, sorted by upper-case name, equal ones in link order.
/// Each name is upper-cased once.
std::vector<ODB::ObjectInfo*> SortByUpperCaseName(const ODB::ObjectInfo& container);

}   // namespace ADB
