#pragma once

#include <string_view>

#include <Kest/Export.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/UniString.hpp>

namespace Kest {

/// The text whose bytes a system of \p writer wrote: for PlatformSign::BigEndian in that system's 8-bit character set,
/// else in the system code page.
KEST_API UniString TextOfPlatform(std::string_view bytes, PlatformSign writer);

}   // namespace Kest
