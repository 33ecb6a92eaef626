#include "XMLText.hpp"

#include <Kest/Utf8.hpp>

#include <array>
#include <cstdint>
#include <cstring>

namespace Kest::XMLText {

namespace {

constexpr std::uint64_t EachByte(std::uint8_t byte) noexcept {
    return 0x0101010101010101U * byte;
}

// Whether eight bytes are ASCII that XML can carry.
bool AreCharacters(const char* bytes) noexcept {
    constexpr std::uint64_t HighBits = EachByte(0x80);
    std::uint64_t word;
    std::memcpy(&word, bytes, sizeof(word));
    if ((((word - EachByte(0x20)) | word) & HighBits) == 0)   // the space or above, all of them
        return true;
    // Of bytes below 0x80, the high bit tells which ones are at least 0x20 and which differ from a white space.
    const auto differs = [word](std::uint8_t byte) { return (word ^ EachByte(byte)) + EachByte(0x7F); };
    const std::uint64_t isPrintable = word + EachByte(0x60);
    const std::uint64_t isControl = ~isPrintable & differs('\t') & differs('\n') & differs('\r');
    return ((word | isControl) & HighBits) == 0;
}

// Characters of ASCII that stand for themselves, written and read: not those with a meaning in XML (a "]" may begin the
// forbidden "]]>"), no controls, no backslash.
constexpr auto IsPlain = [] {
    std::array<bool, 256> plain{};
    for (std::size_t byte = 0x20; byte < 0x80; ++byte)
        plain[byte] = byte != '&' && byte != '<' && byte != '>' && byte != '\\' && byte != ']';
    return plain;
}();

char* Put(char* out, std::string_view text) noexcept {
    return out + text.copy(out, text.size());
}

char* PutEscape(char* out, char32_t unit) noexcept {
    out = Put(out, "\\u");
    for (int shift = 12; shift >= 0; shift -= 4)
        *out++ = "0123456789ABCDEF"[unit >> shift & 0xF];
    return out;
}

// One character beyond ASCII that XML can carry.
char* PutUtf8(char* out, char32_t codePoint) noexcept {
    const auto put = [&out](char32_t byte) { *out++ = static_cast<char>(byte); };
    if (codePoint < 0x800) {
        put(0xC0 | codePoint >> 6);
    } else {
        if (codePoint < 0x10000) {
            put(0xE0 | codePoint >> 12);
        } else {
            put(0xF0 | codePoint >> 18);
            put(0x80 | (codePoint >> 12 & 0x3F));
        }
        put(0x80 | (codePoint >> 6 & 0x3F));
    }
    put(0x80 | (codePoint & 0x3F));
    return out;
}

char* PutCharacter(char* out, char32_t codePoint) noexcept {
    switch (codePoint) {
    case '&':
        return Put(out, "&amp;");
    case '<':
        return Put(out, "&lt;");
    case '>':
        return Put(out, "&gt;");
    case '\\':
        return Put(out, "\\\\");
    case '\t':
        return Put(out, "&#9;");
    case '\n':
        return Put(out, "&#10;");
    case '\r':
        return Put(out, "&#13;");
    default:
        break;
    }
    if (!IsCharacter(codePoint))
        return PutEscape(out, codePoint);
    if (codePoint >= 0x80)
        return PutUtf8(out, codePoint);
    *out++ = static_cast<char>(codePoint);
    return out;
}

void PutUnits(char16_t*& out, char32_t codePoint) noexcept {
    if (codePoint > 0xFFFF) {
        *out++ = HighSurrogateOf(codePoint);
        *out++ = LowSurrogateOf(codePoint);
    } else {
        *out++ = static_cast<char16_t>(codePoint);
    }
}

// The number in "&#12;" or "&#x1F;", from behind the "#" to the ";".
bool ReadCharacterNumber(std::string_view text, char32_t& codePoint) noexcept {
    const bool isHex = !text.empty() && text.front() == 'x';
    if (isHex)
        text.remove_prefix(1);
    char32_t number = 0;
    for (const char digit : text) {
        const int value = isHex || IsDigit(digit) ? DigitValue(static_cast<unsigned char>(digit)) : -1;
        if (value < 0)
            return false;
        number = number * (isHex ? 16 : 10) + static_cast<char32_t>(value);
        if (number > 0x10FFFF)
            return false;
    }
    codePoint = number;
    return IsCharacter(number);   // 0, as in no digits, is none
}

// What stands at a byte that does not stand for itself. \returns whether that is allowed.
bool DecodeSpecial(const char*& position, const char* end, RunKind kind, char32_t& codePoint) noexcept {
    const std::string_view rest(position, static_cast<std::size_t>(end - position));
    if (kind == RunKind::Plain && rest.front() == '&')
        return ReadReference(position, end, codePoint);
    if (kind == RunKind::Plain && rest.starts_with("]]>"))
        return false;

    std::size_t used = 0;
    codePoint = DecodeUtf8(rest, used);
    if (codePoint == '\r') {   // a line end is LF, whoever wrote it
        codePoint = '\n';
        used += rest.substr(1).starts_with('\n') ? 1 : 0;
    }
    position += used;
    return true;
}

}   // namespace

std::size_t FindDamage(std::string_view text) noexcept {
    constexpr std::string_view Replacement = "\xEF\xBF\xBD";   // U+FFFD as a character, not as the mark of damage
    std::size_t position = 0;
    while (position < text.size()) {
        const auto byte = static_cast<unsigned char>(text[position]);
        if (byte < 0x80) {
            if (text.size() - position >= 8 && AreCharacters(text.data() + position)) {
                position += 8;
                continue;
            }
            if (!IsCharacter(byte))
                return position;
            ++position;
            continue;
        }
        const std::size_t start = position;
        const char32_t codePoint = DecodeUtf8(text, position);
        if (!IsCharacter(codePoint) ||
            (codePoint == ReplacementCharacter && text.substr(start, position - start) != Replacement))
            return start;
    }
    return position;
}

char* EncodeText(std::u16string_view text, std::size_t& position, std::size_t end, char* out) noexcept {
    while (position < end) {
        const char16_t unit = text[position];
        if (unit < 0x80 && IsPlain[unit]) {
            *out++ = static_cast<char>(unit);
            ++position;
        } else {
            out = PutCharacter(out, DecodeUtf16(text, position));
        }
    }
    return out;
}

bool ReadReference(const char*& position, const char* end, char32_t& codePoint) noexcept {
    static constexpr struct {
        std::string_view name;
        char character;
    } Predefined[] = {{"amp", '&'}, {"lt", '<'}, {"gt", '>'}, {"quot", '"'}, {"apos", '\''}};

    const std::string_view rest(position + 1, static_cast<std::size_t>(end - position - 1));
    constexpr std::size_t Longest = 32;   // leading zeros are allowed, but not without end
    const std::string_view name = rest.substr(0, rest.substr(0, Longest).find(';'));
    if (name.size() == rest.size())
        return false;
    if (name.starts_with('#')) {
        if (!ReadCharacterNumber(name.substr(1), codePoint))
            return false;
        position += name.size() + 2;
        return true;
    }
    for (const auto& each : Predefined) {
        if (name == each.name) {
            codePoint = static_cast<unsigned char>(each.character);
            position += name.size() + 2;
            return true;
        }
    }
    return false;
}

const char* DecodeText(std::string_view run, RunKind kind, char16_t*& out, bool& hasBackslash) noexcept {
    const char* position = run.data();
    const char* const end = position + run.size();
    while (position < end) {
        const auto byte = static_cast<unsigned char>(*position);
        if (IsPlain[byte]) {
            *out++ = byte;
            ++position;
            continue;
        }
        char32_t codePoint = 0;
        if (!DecodeSpecial(position, end, kind, codePoint))
            return position;
        hasBackslash = hasBackslash || codePoint == '\\';
        PutUnits(out, codePoint);
    }
    return nullptr;
}

const char* FindBadReference(std::string_view run) noexcept {
    const char* const end = run.data() + run.size();
    for (const char* position = run.data(); position < end;) {
        position = static_cast<const char*>(std::memchr(position, '&', static_cast<std::size_t>(end - position)));
        if (position == nullptr)
            return nullptr;
        char32_t codePoint = 0;
        if (!ReadReference(position, end, codePoint))
            return position;
    }
    return nullptr;
}

const char* FindBadText(std::string_view run) noexcept {
    const std::size_t sectionEnd = run.find("]]>");
    const char* const badReference = FindBadReference(run.substr(0, sectionEnd));
    return badReference != nullptr || sectionEnd == run.npos ? badReference : run.data() + sectionEnd;
}

bool UndoEscapes(char16_t* units, std::size_t& length) noexcept {
    std::size_t kept = 0;
    for (std::size_t at = 0; at < length; ++kept) {
        char16_t unit = units[at++];
        if (unit == '\\') {
            const char16_t escape = at < length ? units[at++] : u'\0';
            if (escape == 'u') {
                if (length - at < 4)
                    return false;
                unsigned value = 0;
                for (const std::size_t last = at + 4; at < last; ++at) {
                    const int digit = DigitValue(units[at]);
                    if (digit < 0)
                        return false;
                    value = value << 4 | static_cast<unsigned>(digit);
                }
                unit = static_cast<char16_t>(value);
            } else if (escape != '\\') {
                return false;
            }
        }
        units[kept] = unit;
    }
    length = kept;
    return true;
}

}   // namespace Kest::XMLText
