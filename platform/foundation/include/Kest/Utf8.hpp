#pragma once

#include <Kest/Export.hpp>

#include <cstddef>
#include <string>
#include <string_view>

/// \file
/// UTF-8, the system code page, to and from UTF-16 and code points.
///
/// Damage is replaced by U+FFFD, one for each longest piece that could have begun a character; overlong forms, coded
/// surrogates and values above U+10FFFF are damage. A surrogate without its partner becomes U+FFFD in UTF-8.
namespace Kest {

/// What stands for text that could not be converted.
constexpr char32_t ReplacementCharacter = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}

/// The code point of a surrogate pair.
constexpr char32_t JoinSurrogates(char16_t high, char16_t low) noexcept {
    return 0x10000 + ((static_cast<char32_t>(high) - 0xD800) << 10) + (static_cast<char32_t>(low) - 0xDC00);
}

/// First unit of the pair that stands for \p codePoint, which must be above U+FFFF.
constexpr char16_t HighSurrogateOf(char32_t codePoint) noexcept {
    return static_cast<char16_t>(0xD800 + ((codePoint - 0x10000) >> 10));
}

/// Second unit of the pair that stands for \p codePoint, which must be above U+FFFF.
constexpr char16_t LowSurrogateOf(char32_t codePoint) noexcept {
    return static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
}

/// The code point that begins at unit \p position of \p text, and moves \p position behind it. A lone surrogate is
/// answered as it is. \p position must be below the length.
constexpr char32_t DecodeUtf16(std::u16string_view text, std::size_t& position) noexcept {
    const char16_t unit = text[position++];
    if (IsHighSurrogate(unit) && position < text.size() && IsLowSurrogate(text[position]))
        return JoinSurrogates(unit, text[position++]);
    return unit;
}

/// The code point that begins at byte \p position of \p text, or U+FFFD for damage; moves \p position behind what was
/// used, at least one byte. \p position must be below the length.
KEST_API char32_t DecodeUtf8(std::string_view text, std::size_t& position) noexcept;

/// Appends \p codePoint to \p text; a surrogate or a value above U+10FFFF is appended as U+FFFD.
KEST_API void AppendUtf8(std::string& text, char32_t codePoint);

/// Appends \p units, converted, to \p text.
KEST_API void AppendUtf8(std::string& text, std::u16string_view units);

/// Number of UTF-16 units that \p text takes after conversion.
KEST_API std::size_t Utf16LengthOf(std::string_view text) noexcept;

/// Writes the Utf16LengthOf(\p text) units of \p text to \p units, without a terminating zero.
KEST_API void ConvertUtf8(std::string_view text, char16_t* units) noexcept;

/// Whether \p text holds whole, shortest-form characters only. Zeros are characters; the empty text is valid.
KEST_API bool IsValidUtf8(std::string_view text) noexcept;

}   // namespace Kest
