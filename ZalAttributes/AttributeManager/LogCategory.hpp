#pragma once

namespace ADB {

/// The category of all log lines of the library.
inline constexpr const char LogCategory[] = "ZalAttributes";

}   // namespace ADB
