#include <Kest/DebugOutput.hpp>

#include "ControlEscape.hpp"

#include <cstdlib>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>

namespace {

using Kest::UniString;

struct State {
    std::mutex mutex;
    std::shared_ptr<const DBSink> sink;   // null: standard error
    DBSettings settings;

    static State& Get() {
        static State* const state = new State;   // never destroyed: static objects may print when they go
        return *state;
    }
};

thread_local bool isInSink = false;

void CallSink(const DBSink* sink, const UniString& text) {
    if (sink != nullptr)
        (*sink)(text);
    else
        Kest::WriteToStandardError(Kest::EscapeControls(text, u"\n\t"));
}

std::optional<UniString> FindSetting(const char* name) {
    State& state = State::Get();
    {
        const std::lock_guard lock(state.mutex);
        if (const UniString* value = state.settings.Find(UniString(name)))
            return *value;
    }
    if (const char* value = std::getenv(name))
        return UniString(value);
    return std::nullopt;
}

bool IsOneOf(const UniString& value, std::initializer_list<const char16_t*> words) {
    for (const char16_t* word : words)
        if (value.IsEqual(UniString(word), Kest::CaseInsensitive))
            return true;
    return false;
}

}   // namespace

void DBWrite(const UniString& text) noexcept {
    if (isInSink)
        return;
    isInSink = true;
    try {
        State& state = State::Get();
        std::unique_lock lock(state.mutex);
        const std::shared_ptr<const DBSink> sink = state.sink;   // ours for as long as it runs
        lock.unlock();
        CallSink(sink.get(), text);
    } catch (...) {   // debug output must not change what the program does
    }
    isInSink = false;
}

void DBSetSink(DBSink sink) {
    std::shared_ptr<const DBSink> made = sink ? std::make_shared<const DBSink>(std::move(sink)) : nullptr;
    State& state = State::Get();
    const std::lock_guard lock(state.mutex);
    state.sink.swap(made);
}

bool DBGetBool(const char* name, bool defaultValue) {
    const std::optional<UniString> value = FindSetting(name);
    if (!value)
        return defaultValue;
    if (IsOneOf(*value, {u"1", u"true", u"yes", u"on"}))
        return true;
    if (IsOneOf(*value, {u"0", u"false", u"no", u"off"}))
        return false;
    return defaultValue;
}

void DBSetSettings(DBSettings settings) {
    State& state = State::Get();
    const std::lock_guard lock(state.mutex);
    std::swap(state.settings, settings);
}
