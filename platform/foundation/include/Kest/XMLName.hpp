#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Kest {

/// The name of an element, for the length of a call: measured and checked once, for a literal when it is compiled.
///
/// A proper name is ASCII, begins with a letter or "_" and goes on with letters, digits, "_", "-" and ".", at most
/// MaximalLength characters in all.
class XMLName {
public:
    static constexpr std::size_t MaximalLength = 1000;

    template <std::size_t Size>
    consteval XMLName(const char (&literal)[Size]) noexcept : XMLName(std::string_view(literal, Size - 1)) {}

    /// A name that is known at run time only: it ends with a zero and is not copied.
    template <class Text>
    requires std::same_as<Text, const char*>
    constexpr XMLName(const Text& name) noexcept : XMLName(std::string_view(name)) {}

    constexpr operator std::string_view() const noexcept { return {text, length}; }
    constexpr bool IsProper() const noexcept { return isProper; }

private:
    constexpr explicit XMLName(std::string_view name) noexcept
        : text(name.data()),
          length(static_cast<std::uint32_t>(name.size())),
          isProper(Check(name)) {}

    static constexpr bool IsLetter(char byte) noexcept {
        return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') || byte == '_';
    }
    static constexpr bool Check(std::string_view name) noexcept {
        if (name.empty() || name.size() > MaximalLength || !IsLetter(name.front()))
            return false;
        for (const char byte : name)
            if (!IsLetter(byte) && !(byte >= '0' && byte <= '9') && byte != '-' && byte != '.')
                return false;
        return true;
    }

    // Small enough to travel in registers.
    const char* text;
    std::uint32_t length;
    bool isProper;
};

}   // namespace Kest
