#pragma once

#include <Kest/Array.hpp>
#include <Kest/UniString.hpp>

namespace Host {

/// While it lives, what the library prints for its developers is kept here and not shown to the user.
class DebugCapture {
public:
    DebugCapture();
    ~DebugCapture();
    DebugCapture(const DebugCapture&) = delete;
    DebugCapture& operator=(const DebugCapture&) = delete;

    /// In the order in which they were printed.
    const Kest::Array<Kest::UniString>& GetTexts() const noexcept { return texts; }

private:
    Kest::Array<Kest::UniString> texts;
};

}   // namespace Host
