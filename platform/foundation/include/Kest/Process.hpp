#pragma once

/// \file
/// The process that the program runs in.

#include <Kest/Export.hpp>

namespace Kest {

/// The number by which the system knows the process.
KEST_API unsigned int GetProcessId() noexcept;

}   // namespace Kest
