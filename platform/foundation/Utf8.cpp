#include <Kest/Utf8.hpp>

namespace Kest {

namespace {

// What a lead byte promises: how many bytes follow, and the range of the first of them, which is narrower than 80..BF
// where overlong forms, surrogates and values above U+10FFFF would begin.
struct Lead {
    int following;
    unsigned char lowest;
    unsigned char highest;
};

constexpr Lead LeadOf(unsigned char byte) noexcept {
    if (byte >= 0xC2 && byte <= 0xDF)
        return {1, 0x80, 0xBF};
    if (byte >= 0xE0 && byte <= 0xEF)
        return {2, static_cast<unsigned char>(byte == 0xE0 ? 0xA0 : 0x80),
                static_cast<unsigned char>(byte == 0xED ? 0x9F : 0xBF)};
    if (byte >= 0xF0 && byte <= 0xF4)
        return {3, static_cast<unsigned char>(byte == 0xF0 ? 0x90 : 0x80),
                static_cast<unsigned char>(byte == 0xF4 ? 0x8F : 0xBF)};
    return {0, 0, 0};
}

unsigned char ByteAt(std::string_view text, std::size_t position) noexcept {
    return static_cast<unsigned char>(text[position]);
}

constexpr char32_t Damaged = 0xFFFFFFFF;

// As DecodeUtf8, but answers Damaged for damage.
char32_t DecodeStrictly(std::string_view text, std::size_t& position) noexcept {
    const unsigned char first = ByteAt(text, position++);
    if (first < 0x80)
        return first;
    Lead lead = LeadOf(first);
    if (lead.following == 0)
        return Damaged;

    char32_t codePoint = first & (0x3FU >> lead.following);
    for (int left = lead.following; left > 0; --left) {
        if (position == text.size())
            return Damaged;
        const unsigned char byte = ByteAt(text, position);
        if (byte < lead.lowest || byte > lead.highest)
            return Damaged;
        codePoint = codePoint << 6 | (byte & 0x3FU);
        lead.lowest = 0x80;
        lead.highest = 0xBF;
        ++position;
    }
    return codePoint;
}

}   // namespace

char32_t DecodeUtf8(std::string_view text, std::size_t& position) noexcept {
    const char32_t codePoint = DecodeStrictly(text, position);
    return codePoint == Damaged ? ReplacementCharacter : codePoint;
}

void AppendUtf8(std::string& text, char32_t codePoint) {
    if (codePoint < 0x80) {
        text.push_back(static_cast<char>(codePoint));
        return;
    }
    if (codePoint > 0x10FFFF || (codePoint >= 0xD800 && codePoint <= 0xDFFF))
        codePoint = ReplacementCharacter;

    const int following = codePoint < 0x800 ? 1 : codePoint < 0x10000 ? 2 : 3;
    char bytes[4];
    for (int at = following; at > 0; --at, codePoint >>= 6)
        bytes[at] = static_cast<char>(0x80 | (codePoint & 0x3F));
    bytes[0] = static_cast<char>((0xF80U >> following & 0xFFU) | codePoint);   // C0, E0 or F0
    text.append(bytes, static_cast<std::size_t>(following) + 1);
}

void AppendUtf8(std::string& text, std::u16string_view units) {
    for (std::size_t position = 0; position < units.size();)
        AppendUtf8(text, DecodeUtf16(units, position));
}

std::size_t Utf16LengthOf(std::string_view text) noexcept {
    std::size_t length = 0;
    for (std::size_t position = 0; position < text.size();)
        length += DecodeUtf8(text, position) > 0xFFFF ? 2 : 1;
    return length;
}

void ConvertUtf8(std::string_view text, char16_t* units) noexcept {
    for (std::size_t position = 0; position < text.size();) {
        const char32_t codePoint = DecodeUtf8(text, position);
        if (codePoint > 0xFFFF) {
            *units++ = HighSurrogateOf(codePoint);
            *units++ = LowSurrogateOf(codePoint);
        } else {
            *units++ = static_cast<char16_t>(codePoint);
        }
    }
}

bool IsValidUtf8(std::string_view text) noexcept {
    for (std::size_t position = 0; position < text.size();)
        if (DecodeStrictly(text, position) == Damaged)
            return false;
    return true;
}

}   // namespace Kest
