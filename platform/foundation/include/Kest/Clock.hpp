#pragma once

/// \file
/// The house clock. Its unit is the second, counted from 2000-01-01 00:00 UTC, without leap seconds.

#include <Kest/Export.hpp>

/// A clock that replaces the system's: answers in the unit of TIGetTime.
using TIClock = int (*)();

/// The current time: seconds since 2000-01-01 00:00 UTC. A time that does not fit an `int` is the nearest that does.
KEST_API int TIGetTime();

/// Makes TIGetTime answer with \p clock, for tests and for reproducible output; null brings the system's clock back.
KEST_API void TISetClock(TIClock clock);
