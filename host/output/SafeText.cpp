#include "SafeText.hpp"

#include <algorithm>
#include <span>

#include <Kest/Utf8.hpp>

namespace Host {

namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range Controls[] = {{0, 0x1F}, {0x7F, 0x9F}};
constexpr Range Surrogates[] = {{0xD800, 0xDFFF}};
// Line and paragraph separator; embeddings, overrides and isolates of direction.
constexpr Range Steering[] = {{0x2028, 0x202E}, {0x2066, 0x2069}};
constexpr Range Combining[] = {{0x300, 0x36F},   {0x483, 0x489},   {0x591, 0x5BD},   {0x610, 0x61A},
                               {0x64B, 0x65F},   {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF}, {0x200B, 0x200F},
                               {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xE0100, 0xE01EF}};
constexpr Range Wide[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},  {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
                          {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
                          {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};

bool IsIn(std::span<const Range> ranges, char32_t character) {
    return std::ranges::any_of(
        ranges, [character](const Range& range) { return character >= range.first && character <= range.last; });
}

void AppendHex(std::string& text, unsigned int value, int digits) {
    for (int shift = 4 * (digits - 1); shift >= 0; shift -= 4)
        text += "0123456789ABCDEF"[value >> shift & 0xF];
}

void AppendEscapedByte(std::string& text, unsigned int byte) {
    text += "\\x";
    AppendHex(text, byte & 0xFF, 2);
}

// The bytes that a control character or a surrogate has, or would have, in UTF-8.
void AppendEscapedBytes(std::string& text, char32_t character) {
    if (character < 0x80)
        return AppendEscapedByte(text, character);
    if (character < 0x800) {
        AppendEscapedByte(text, 0xC0 | character >> 6);
    } else {
        AppendEscapedByte(text, 0xE0 | character >> 12);
        AppendEscapedByte(text, 0x80 | (character >> 6 & 0x3F));
    }
    AppendEscapedByte(text, 0x80 | (character & 0x3F));
}

void AppendForTsv(std::string& text, char32_t character) {
    switch (character) {
    case U'\t':
        text += "\\t";
        break;
    case U'\n':
        text += "\\n";
        break;
    case U'\r':
        text += "\\r";
        break;
    case U'\\':
        text += "\\\\";
        break;
    default:
        if (IsIn(Controls, character) || IsIn(Surrogates, character))
            AppendEscapedBytes(text, character);
        else
            Kest::AppendUtf8(text, character);
    }
}

void AppendForJson(std::string& text, char32_t character) {
    if (character == U'"' || character == U'\\') {
        text += '\\';
        text += static_cast<char>(character);
    } else if (IsIn(Controls, character) || IsIn(Surrogates, character) || IsIn(Steering, character)) {
        text += "\\u";
        AppendHex(text, character, 4);
    } else {
        Kest::AppendUtf8(text, character);
    }
}

template <class Append>
std::string Convert(std::u16string_view text, Append&& append) {
    std::string result;
    result.reserve(text.size() + 2);
    for (std::size_t at = 0; at < text.size();)
        append(result, Kest::DecodeUtf16(text, at));
    return result;
}

}   // namespace

std::string EscapeForTsv(std::u16string_view text) {
    return Convert(text, AppendForTsv);
}

std::string ReplaceControls(std::u16string_view text) {
    return Convert(text, [](std::string& result, char32_t character) {
        const bool isUnsafe = IsIn(Controls, character) || IsIn(Steering, character);
        Kest::AppendUtf8(result, isUnsafe ? Kest::ReplacementCharacter : character);
    });
}

std::string QuoteForJson(std::u16string_view text) {
    return '"' + Convert(text, AppendForJson) + '"';
}

std::string EscapeForMessage(std::string_view bytes) {
    std::string result;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t begin = at;
        const char32_t character = Kest::DecodeUtf8(bytes, at);
        const std::string_view used = bytes.substr(begin, at - begin);
        const bool isSafe = Kest::IsValidUtf8(used) && !IsIn(Controls, character) && !IsIn(Steering, character);
        if (isSafe)
            result += used;
        else
            for (const char byte : used)
                AppendEscapedByte(result, static_cast<unsigned char>(byte));
    }
    return result;
}

std::size_t GetDisplayWidth(std::string_view text) {
    std::size_t width = 0;
    for (std::size_t at = 0; at < text.size();) {
        const char32_t character = Kest::DecodeUtf8(text, at);
        width += IsIn(Wide, character) ? 2 : IsIn(Combining, character) ? 0 : 1;
    }
    return width;
}

std::string_view CutToWidth(std::string_view text, std::size_t width) {
    std::size_t taken = 0;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t begin = at;
        Kest::DecodeUtf8(text, at);
        taken += GetDisplayWidth(text.substr(begin, at - begin));
        if (taken > width)
            return text.substr(0, begin);
    }
    return text;
}

}   // namespace Host
