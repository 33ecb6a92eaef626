#include "ControlEscape.hpp"

#include <Kest/Utf8.hpp>

#include <cstddef>
#include <cstdio>

namespace Kest {

namespace {

bool IsControl(char32_t character) {
    return character < 0x20 || (character >= 0x7F && character < 0xA0) || character == 0x2028 || character == 0x2029;
}

void AppendEscape(std::string& text, char32_t control) {
    switch (control) {
    case '\n':
        text += "\\n";
        return;
    case '\r':
        text += "\\r";
        return;
    case '\t':
        text += "\\t";
        return;
    default:
        break;
    }
    constexpr char Digits[] = "0123456789ABCDEF";
    text += "\\u";
    for (int shift = 12; shift >= 0; shift -= 4)
        text += Digits[control >> shift & 0xF];
}

}   // namespace

std::string EscapeControls(std::u16string_view text, std::u16string_view allowed) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t position = 0; position < text.size();) {
        const char16_t unit = text[position];
        const char32_t character = DecodeUtf16(text, position);
        if (IsControl(character) && allowed.find(unit) == allowed.npos)
            AppendEscape(result, character);
        else
            AppendUtf8(result, character);
    }
    return result;
}

void WriteToStandardError(const std::string& text) noexcept {
    std::fwrite(text.data(), 1, text.size(), stderr);
    std::fflush(stderr);
}

}   // namespace Kest
