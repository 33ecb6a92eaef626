#pragma once

#include <cstddef>
#include <string_view>

/// \file
/// Characters in XML documents: which may stand there, how the others get through, and what names are made of.
namespace Kest::XMLText {

template <class Unit>
constexpr bool IsSpace(Unit character) noexcept {
    return character == ' ' || character == '\n' || character == '\t' || character == '\r';
}
constexpr bool IsLetter(char byte) noexcept {
    return static_cast<unsigned char>((byte | 0x20) - 'a') < 26;
}
constexpr bool IsDigit(char byte) noexcept {
    return static_cast<unsigned char>(byte - '0') < 10;
}

/// Whether \p byte may begin a name. Bytes of characters beyond ASCII may: telling their classes apart protects nobody.
constexpr bool IsNameStart(char byte) noexcept {
    return IsLetter(byte) || byte == '_' || byte == ':' || static_cast<unsigned char>(byte) >= 0x80;
}
constexpr bool IsNamePart(char byte) noexcept {
    return IsNameStart(byte) || IsDigit(byte) || byte == '-' || byte == '.';
}

/// The value of a hexadecimal digit in either letter case, or -1.
constexpr int DigitValue(char32_t digit) noexcept {
    if (digit >= '0' && digit <= '9')
        return static_cast<int>(digit - '0');
    const char32_t lower = digit | 0x20;
    return lower >= 'a' && lower <= 'f' ? static_cast<int>(lower - 'a' + 10) : -1;
}

/// \p text, of bytes or units, without the white space around it.
template <class View>
constexpr View Trim(View text) noexcept {
    while (!text.empty() && IsSpace(text.front()))
        text.remove_prefix(1);
    while (!text.empty() && IsSpace(text.back()))
        text.remove_suffix(1);
    return text;
}

/// Whether XML can carry \p codePoint at all, be it as a reference.
constexpr bool IsCharacter(char32_t codePoint) noexcept {
    return codePoint >= 0x20 ? (codePoint < 0xD800 || codePoint > 0xDFFF) && codePoint != 0xFFFE &&
                                   codePoint != 0xFFFF && codePoint <= 0x10FFFF
                             : codePoint == '\t' || codePoint == '\n' || codePoint == '\r';
}

/// The first byte that is not part of a whole UTF-8 character that XML can carry; the end of \p text when all are.
std::size_t FindDamage(std::string_view text) noexcept;

/// Most bytes that EncodeText writes for one unit.
constexpr std::size_t LongestUnit = 6;

/// Writes the units of \p text from \p position to \p end (or one further, to keep a pair together) for the content of
/// an element to \p out, and moves \p position behind them. \returns the end of what it wrote.
char* EncodeText(std::u16string_view text, std::size_t& position, std::size_t end, char* out) noexcept;

/// Reads the reference at \p position, an "&", and moves \p position behind it.
/// \returns false, with \p position unchanged, when it is none that is allowed.
bool ReadReference(const char*& position, const char* end, char32_t& codePoint) noexcept;

/// What a run of text is part of.
enum class RunKind { Plain, CData };

/// Writes the units that the bytes of a run of text stand for, which FindDamage has passed, to \p out, at most one unit
/// a byte, and moves \p out behind them. Sets \p hasBackslash when there is one among them.
/// \returns null, or the place of damage.
const char* DecodeText(std::string_view run, RunKind kind, char16_t*& out, bool& hasBackslash) noexcept;

/// The first reference in \p run that ReadReference refuses, or null.
const char* FindBadReference(std::string_view run) noexcept;

/// The first damage that DecodeText would find in a plain run, or null.
const char* FindBadText(std::string_view run) noexcept;

/// Replaces the escapes that EncodeText makes, "\\" and "\uXXXX", in place. \returns false when another one is there.
bool UndoEscapes(char16_t* units, std::size_t& length) noexcept;

}   // namespace Kest::XMLText
