#pragma once

#include <Kest/Export.hpp>
#include <Kest/SourcePlace.hpp>
#include <Kest/UniString.hpp>

#include <cstdint>
#include <functional>

namespace Kest {

enum class LogSeverity { Info, Error };

/// One entry of the log. The pointers hold while the sink runs.
struct LogEntry {
    LogSeverity severity;
    const char* category;   ///< who logs, such as "ZalAttributes"
    UniString text;
    const char* file;   ///< the source file and line of the log line
    unsigned line;
};

using LogSink = std::function<void(const LogEntry&)>;

/// The application's log: hands each entry to its sinks, in the order in which they were added.
///
/// At first the one sink is StandardError, which writes "error: category: text" in one line, control characters
/// escaped. Logging never fails: what a sink throws is dropped. A sink may log (it does not hear of what is logged
/// while it runs, the others do), add sinks and remove any, itself included; a removed sink is not called again.
/// May be used from all threads; sinks are called on the thread that logs.
class KEST_API Logger {
public:
    using SinkId = std::uint64_t;

    /// The sink that is there from the start.
    static constexpr SinkId StandardError = 0;

    /// Adds \p sink beside those that are there. \returns its id, which is never used again.
    SinkId AddSink(LogSink sink);
    /// Removes the sink \p id, StandardError too. \returns false when there is none.
    bool RemoveSink(SinkId id);
    /// Puts \p sink in the place of all sinks; an empty one brings StandardError back as the only sink.
    /// \returns its id.
    SinkId SetSink(LogSink sink);

    void Write(const LogEntry& entry) noexcept;
};

/// The log. Usable at all times, during static construction and destruction too.
extern KEST_API Logger logger;

/// A line of the log whose arguments vary. Cheap to make; meant to be a function-local static:
///
///     static const ErrorLogLine indexTaken("index %d is already used by \"%T\"", "ZalAttributes");
///     indexTaken.Write(index, name);
///
/// Format and category are not copied. The rules of the format are those of UniString::Printf: "%T" takes a
/// UniString, a bare "%" takes the next argument as text. Writing never fails; without memory the entry is dropped.
class LogLine {
public:
    template <class... Args>
    void Write(const Args&... args) const noexcept {
        try {
            WriteText(UniString::Printf(format, args...));
        } catch (...) {   // the operation that logs must not fail for its log line
        }
    }

    /// Writes \p text as it is, in place of the format.
    KEST_API void WriteText(const UniString& text) const noexcept;

protected:
    LogLine(LogSeverity lineSeverity, const char* lineFormat, const char* lineCategory, SourcePlace place) noexcept
        : severity(lineSeverity),
          format(lineFormat),
          category(lineCategory),
          source(place) {}

private:
    LogSeverity severity;
    const char* format;
    const char* category;
    SourcePlace source;
};

/// A log line of severity Error.
class ErrorLogLine : public LogLine {
public:
    ErrorLogLine(const char* lineFormat, const char* lineCategory, SourcePlace place = SourcePlace::Current()) noexcept
        : LogLine(LogSeverity::Error, lineFormat, lineCategory, place) {}
};

/// A log line of severity Info.
class InfoLogLine : public LogLine {
public:
    InfoLogLine(const char* lineFormat, const char* lineCategory, SourcePlace place = SourcePlace::Current()) noexcept
        : LogLine(LogSeverity::Info, lineFormat, lineCategory, place) {}
};

}   // namespace Kest
