#pragma once

namespace Host {

/// While it lives the library's clock stands at the time that the environment variable SOURCE_DATE_EPOCH gives, in
/// seconds since 1970-01-01 UTC; without the variable nothing changes.
class ReproducibleClock {
public:
    /// \throws Failure when the variable is set to anything but a number, or to a time that an attribute cannot have
    ReproducibleClock();
    ~ReproducibleClock();
    ReproducibleClock(const ReproducibleClock&) = delete;
    ReproducibleClock& operator=(const ReproducibleClock&) = delete;
};

}   // namespace Host
