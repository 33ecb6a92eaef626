#pragma once

#include <vector>

namespace ODB {

class Association1NUntyped;

/// All associations, in the order in which they were made: statics of libraries, which may be unloaded.
std::vector<const Association1NUntyped*>& GetAssociations();

}   // namespace ODB
