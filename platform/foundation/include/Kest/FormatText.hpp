#pragma once

#include <Kest/Export.hpp>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>

namespace Kest {

class UniString;

/// What counts as an integer here: characters, `bool` and enumerations too.
template <class T>
concept IntegerOrEnum = std::is_integral_v<T> || std::is_enum_v<T>;

/// One argument of FormatText: an integer, a floating-point number or a text. A text is referred to, not copied, and
/// must live as long as the argument.
class FormatArgument {
public:
    using Value = std::variant<std::int64_t, std::uint64_t, double, std::string_view, std::u16string_view>;

    template <IntegerOrEnum Integer>
    FormatArgument(Integer number) noexcept : bytes(sizeof(Integer) < sizeof(int) ? sizeof(int) : sizeof(Integer)) {
        if constexpr (std::is_enum_v<Integer>)
            *this = FormatArgument(static_cast<std::underlying_type_t<Integer>>(number));
        else if constexpr (std::is_signed_v<Integer>)
            value = static_cast<std::int64_t>(number);
        else
            value = static_cast<std::uint64_t>(number);
    }
    FormatArgument(double number) noexcept : value(number) {}
    FormatArgument(const char* text) noexcept : value(text != nullptr ? std::string_view(text) : std::string_view()) {}
    FormatArgument(std::string_view text) noexcept : value(text) {}
    FormatArgument(const std::string& text) noexcept : value(std::string_view(text)) {}
    FormatArgument(const char16_t* text) noexcept
        : value(text != nullptr ? std::u16string_view(text) : std::u16string_view()) {}
    FormatArgument(std::u16string_view text) noexcept : value(text) {}   ///< also takes a UniString

    const Value& GetValue() const noexcept { return value; }

    /// Size in bytes of the integer as C would pass it, at least that of an int: negative numbers in %u, %x and %o
    /// are shown in this width.
    std::size_t GetByteCount() const noexcept { return bytes; }

private:
    Value value;
    std::size_t bytes = 0;
};

/// The text that \p format and \p arguments make.
///
/// \p format is UTF-8. Conversions are %d %i %u %x %X %o (integers), %c (the character with that code), %f %e %g
/// (floating point), %s and %T (texts, of either width) and %% (a percent sign), with the flags - + 0 #, width and
/// precision (numbers or *), which count UTF-16 units, and the length modifiers h hh l ll z, of which only h and hh
/// change anything, since an argument knows its own size. A blank is no flag: a "%" that begins no conversion, as both
/// in "%: %", takes the next argument as text.
///
/// An argument of another kind than its conversion is printed as text, a number in decimal; a missing one prints
/// nothing; arguments left over are ignored. A null \p format counts as empty. The locale has no say.
KEST_API UniString FormatText(const char* format, std::span<const FormatArgument> arguments);

}   // namespace Kest
