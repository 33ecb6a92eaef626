#include <Kest/Logger.hpp>

#include "ControlEscape.hpp"

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Kest {

namespace {

struct Sink {
    Logger::SinkId id;
    LogSink call;
    std::atomic<bool> isRemoved = false;

    Sink(Logger::SinkId sinkId, LogSink function) : id(sinkId), call(std::move(function)) {}
};

using SinkList = std::vector<std::shared_ptr<Sink>>;

void WriteEntryToStandardError(const LogEntry& entry) {
    std::string line = entry.severity == LogSeverity::Error ? "error: " : "info: ";
    if (entry.category != nullptr)
        line += EscapeControls(UniString(entry.category)) + ": ";
    WriteToStandardError(line + EscapeControls(entry.text) + '\n');
}

/// The sinks. A list is never changed, only replaced, so that who walks one is not disturbed.
struct State {
    std::mutex mutex;
    std::shared_ptr<const SinkList> sinks = std::make_shared<const SinkList>(
        SinkList{std::make_shared<Sink>(Logger::StandardError, WriteEntryToStandardError)});
    Logger::SinkId lastId = Logger::StandardError;

    static State& Get() {
        static State* const state = new State;   // never destroyed: static objects may log when they go
        return *state;
    }
    std::shared_ptr<const SinkList> GetSinks() {
        const std::lock_guard lock(mutex);
        return sinks;
    }
};

/// The calls of sinks that the current thread is in.
class Call {
public:
    explicit Call(const Sink& called) noexcept : sink(called), outer(innermost) { innermost = this; }
    ~Call() { innermost = outer; }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    static bool IsIn(const Sink& sink) noexcept {
        for (const Call* call = innermost; call != nullptr; call = call->outer)
            if (&call->sink == &sink)
                return true;
        return false;
    }

private:
    const Sink& sink;
    const Call* outer;
    static thread_local const Call* innermost;
};

thread_local const Call* Call::innermost = nullptr;

void CallSink(const Sink& sink, const LogEntry& entry) noexcept {
    if (sink.isRemoved || !sink.call || Call::IsIn(sink))
        return;
    const Call call(sink);
    try {
        sink.call(entry);
    } catch (...) {   // nothing that logs may fail for its log line
    }
}

}   // namespace

constinit Logger logger;

Logger::SinkId Logger::AddSink(LogSink sink) {
    State& state = State::Get();
    const std::lock_guard lock(state.mutex);
    auto list = std::make_shared<SinkList>(*state.sinks);
    list->push_back(std::make_shared<Sink>(state.lastId + 1, std::move(sink)));
    state.sinks = std::move(list);
    return ++state.lastId;
}

bool Logger::RemoveSink(SinkId id) {
    State& state = State::Get();
    std::shared_ptr<const SinkList> old;   // goes after the lock: what a sink holds may log when it goes
    const std::lock_guard lock(state.mutex);
    const auto place = std::ranges::find(*state.sinks, id, [](const auto& sink) { return sink->id; });
    if (place == state.sinks->end())
        return false;
    auto list = std::make_shared<SinkList>(*state.sinks);
    std::erase(*list, *place);
    (*place)->isRemoved = true;   // also for the walks over an older list
    old = std::exchange(state.sinks, std::move(list));
    return true;
}

Logger::SinkId Logger::SetSink(LogSink sink) {
    State& state = State::Get();
    std::shared_ptr<const SinkList> old;
    const std::lock_guard lock(state.mutex);
    const bool isStandard = !sink;
    const SinkId id = isStandard ? StandardError : state.lastId + 1;
    auto made = std::make_shared<Sink>(id, isStandard ? LogSink(WriteEntryToStandardError) : std::move(sink));
    auto list = std::make_shared<const SinkList>(SinkList{std::move(made)});
    for (const auto& former : *state.sinks)
        former->isRemoved = true;
    old = std::exchange(state.sinks, std::move(list));
    state.lastId = std::max(state.lastId, id);
    return id;
}

void Logger::Write(const LogEntry& entry) noexcept {
    try {
        const std::shared_ptr<const SinkList> sinks = State::Get().GetSinks();
        for (const auto& sink : *sinks)
            CallSink(*sink, entry);
    } catch (...) {   // no memory for the list itself, or no lock: the entry is lost
    }
}

void LogLine::WriteText(const UniString& text) const noexcept {
    try {
        logger.Write({severity, category, text, source.file, source.line});
    } catch (...) {   // no memory for the text
    }
}

}   // namespace Kest
