#pragma once

#include <Kest/ClassInfo.hpp>
#include <Kest/Export.hpp>

namespace Kest {

/// The class record of hash tables, for the frames in which older forms carry them: a 32-bit count, then key and value
/// of each entry.
KEST_API const ClassInfo* GetHashTableClassInfo();

}   // namespace Kest
