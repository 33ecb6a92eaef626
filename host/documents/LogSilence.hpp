#pragma once

#include <Kest/Logger.hpp>

namespace Host {

/// While it lives, the library's log is not shown: whoever makes it says what the user needs to know.
class LogSilence {
public:
    LogSilence() {
        Kest::logger.SetSink([](const Kest::LogEntry&) {});
    }
    ~LogSilence() { Kest::logger.SetSink(Kest::LogSink()); }
    LogSilence(const LogSilence&) = delete;
    LogSilence& operator=(const LogSilence&) = delete;
};

}   // namespace Host
