#pragma once

namespace Kest {

/// A place in the source code. std::source_location would say it, were it in all compilers that we support.
struct SourcePlace {
    const char* file;
    unsigned line;

    /// The place of the call; as a default argument, that of the call of the function it belongs to.
    static constexpr SourcePlace Current(const char* callingFile = __builtin_FILE(),
                                         unsigned callingLine = __builtin_LINE()) noexcept {
        return {callingFile, callingLine};
    }
};

}   // namespace Kest
