#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

/// What a fuzz target is: a name and a function that is run with any bytes at all. Each FooFuzz.cpp registers one. It
/// is linked with FuzzerEntry.cpp into a libFuzzer program, and with all others into the unit tests, which run it with
/// the inputs in corpus/Foo.
namespace Fuzz {

using Bytes = std::span<const std::uint8_t>;

struct Target {
    const char* name;
    void (*run)(Bytes input);
};

/// All targets of the program.
std::vector<Target>& GetTargets();

struct Registration {
    Registration(const char* name, void (*run)(Bytes)) { GetTargets().push_back({name, run}); }
};

/// Ends the run with a finding unless \p holds.
inline void Require(bool holds, const char* what) {
    if (!holds)
        throw std::logic_error(what);
}

/// An input, taken byte by byte; zeros follow its end.
class Input {
public:
    explicit Input(Bytes all) noexcept : bytes(all) {}

    bool IsEmpty() const noexcept { return bytes.empty(); }
    std::uint8_t TakeByte() noexcept {
        if (bytes.empty())
            return 0;
        const std::uint8_t byte = bytes.front();
        bytes = bytes.subspan(1);
        return byte;
    }
    std::uint16_t TakeShort() noexcept {
        const auto high = static_cast<std::uint16_t>(TakeByte() << 8);
        return static_cast<std::uint16_t>(high | TakeByte());
    }
    std::string TakeRest() {
        std::string rest(bytes.begin(), bytes.end());
        bytes = {};
        return rest;
    }

private:
    Bytes bytes;
};

}   // namespace Fuzz
