#pragma once

#include <iconv.h>

#include <cstddef>
#include <string>
#include <string_view>

namespace Host {

/// What stands for a byte that has no character.
constexpr char16_t ReplacementCharacter = u'\uFFFD';

/// Turns the bytes of one file into UTF-16, text by text, and remembers whether all of them had a meaning.
/// A text in plain ASCII is the same in every encoding here and always exact; a zero byte is never a character.
class TextDecoder {
public:
    /// UTF-8; a byte that does not belong to a valid sequence is taken as Windows-1252.
    static TextDecoder Utf8() { return TextDecoder(Kind::Utf8); }

    /// Windows-1252; its five undefined bytes become ReplacementCharacter.
    static TextDecoder Windows1252() { return TextDecoder(Kind::Windows1252); }

    /// The code page that a drawing declares, "ANSI_1252", "dos850", "MAC-ROMAN", "gb2312" ..., letter case ignored.
    /// Bytes without a character become ReplacementCharacter. One that is unknown, or that this computer cannot
    /// convert, gives Windows-1252 and IsFallback.
    static TextDecoder ForCodePage(std::string_view declaredName);

    TextDecoder(TextDecoder&& other) noexcept;
    TextDecoder& operator=(TextDecoder&& other) noexcept;
    TextDecoder(const TextDecoder&) = delete;
    TextDecoder& operator=(const TextDecoder&) = delete;
    ~TextDecoder();

    std::u16string Decode(std::string_view bytes);

    /// Whether a code page was asked for that is not at hand, so that Windows-1252 stands in for it.
    bool IsFallback() const noexcept { return fallback; }

    /// Whether a text that was not plain ASCII has been decoded.
    bool HasMetNonAscii() const noexcept { return metNonAscii; }

    /// How many bytes so far were not what the encoding allows.
    std::size_t GetOddBytes() const noexcept { return oddBytes; }

private:
    enum class Kind { Utf8, Windows1252, Converter };

    explicit TextDecoder(Kind newKind) : kind(newKind) {}

    /// Decodes the first character of \p bytes, which are not empty. \returns how many bytes it has
    std::size_t DecodeCharacter(std::string_view bytes, std::u16string& text);

    static iconv_t NoConverter() noexcept;

    Kind kind;
    bool fallback = false;
    bool metNonAscii = false;
    std::size_t oddBytes = 0;
    iconv_t converter = NoConverter();
};

/// \p bytes without the byte order mark of UTF-8. \p found tells whether there was one.
std::string_view WithoutByteOrderMark(std::string_view bytes, bool& found) noexcept;

/// Resolves the escapes `\U+XXXX` of drawings, one UTF-16 unit each, so that two of them may form a pair. Letter case
/// is ignored. Whatever is not complete stays as it is, and so does `\U+0000`, which no name can hold.
std::u16string ResolveEscapes(std::u16string text);

}   // namespace Host
