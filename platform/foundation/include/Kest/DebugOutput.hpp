#pragma once

/// \file
/// Debug output and debug settings. Both belong to the process; the host sets where output goes and what is on.

#include <Kest/Export.hpp>
#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <functional>

using DBSink = std::function<void(const Kest::UniString&)>;

/// Debug settings by name. The setting of a group is named "Group_Setting", which can be an environment variable too.
using DBSettings = Kest::HashTable<Kest::UniString, Kest::UniString>;

/// Gives \p text to the debug output as it is. Never fails: what the sink throws is dropped, and what the sink itself
/// prints while it runs is dropped too.
KEST_API void DBWrite(const Kest::UniString& text) noexcept;

/// Formats by the rules of Kest::UniString::Printf and gives the text to the debug output. No line end is added.
/// Never fails; without memory the text is dropped.
template <class... Args>
void DBPrintf(const char* format, const Args&... args) noexcept {
    try {
        DBWrite(Kest::UniString::Printf(format, args...));
    } catch (...) {   // debug output must not change what the program does
    }
}

/// Sends debug output to \p sink; an empty one brings the default back: standard error, with control characters other
/// than line end and tabulator escaped. A sink may replace itself.
KEST_API void DBSetSink(DBSink sink);

/// The debug setting \p name: "1", "true", "yes" and "on" mean true, "0", "false", "no" and "off" false, letter case
/// ignored; \p defaultValue when it is not set or says something else. Looked up in the host's table first, then in
/// the environment.
KEST_API bool DBGetBool(const char* name, bool defaultValue);

/// Replaces the host's table of debug settings.
KEST_API void DBSetSettings(DBSettings settings);
