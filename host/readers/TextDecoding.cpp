#include "TextDecoding.hpp"

#include "TextLines.hpp"

#include <algorithm>
#include <array>
#include <bit>
#include <utility>

#include <Kest/Utf8.hpp>

namespace Host {

namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";

/// Characters of the bytes 0x80 to 0x9F in Windows-1252; 0 where there is none. The others are those of Unicode.
constexpr std::array<char16_t, 32> Windows1252Specials = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};

/// Code pages whose declared name is not "ANSI_" or "dos" and a number, by the name that iconv has for them.
constexpr std::pair<std::string_view, const char*> NamedCodePages[] = {
    {"mac-roman", "MACINTOSH"},  {"macintosh", "MACINTOSH"},  {"gb2312", "CP936"},         {"gbk", "CP936"},
    {"big5", "CP950"},           {"ksc5601", "CP949"},        {"johab", "JOHAB"},          {"ansi_1361", "JOHAB"},
    {"iso8859-1", "ISO-8859-1"}, {"iso8859-2", "ISO-8859-2"}, {"iso8859-3", "ISO-8859-3"}, {"iso8859-4", "ISO-8859-4"},
    {"iso8859-5", "ISO-8859-5"}, {"iso8859-6", "ISO-8859-6"}, {"iso8859-7", "ISO-8859-7"}, {"iso8859-8", "ISO-8859-8"},
    {"iso8859-9", "ISO-8859-9"}};

bool IsAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80 && c != '\0';
}

/// The character of a byte that is not ASCII; 0 when there is none.
char16_t Windows1252Character(char c) {
    const unsigned char byte = static_cast<unsigned char>(c);
    return byte >= 0x80 && byte < 0xA0 ? Windows1252Specials[byte - 0x80U] : char16_t{byte};
}

bool IsPlainAscii(std::string_view bytes) {
    return std::all_of(bytes.begin(), bytes.end(), IsAscii);
}

bool IsDecimal(std::string_view text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// The name that iconv has for \p declaredName, or an empty text. Only digits of a drawing ever reach iconv.
std::string ConverterName(std::string_view declaredName) {
    for (const auto& [declared, name] : NamedCodePages)
        if (EqualsIgnoringCase(declaredName, declared))
            return name;

    for (const std::string_view prefix : {"ansi_", "dos", "windows-", "cp"}) {
        const std::string_view number = declaredName.substr(std::min(prefix.size(), declaredName.size()));
        if (EqualsIgnoringCase(declaredName.substr(0, prefix.size()), prefix) && IsDecimal(number) &&
            number.size() <= 4)
            return "CP" + std::string(number);
    }
    return {};
}

/// Appends the valid UTF-8 text \p bytes to \p text.
void AppendUtf8(std::string_view bytes, std::u16string& text) {
    const std::size_t before = text.size();
    text.resize(before + Kest::Utf16LengthOf(bytes));
    Kest::ConvertUtf8(bytes, text.data() + before);
}

/// Bytes of the first character of \p bytes in the converter's encoding, 0 when it has none; at most one output.
std::size_t ConvertCharacter(iconv_t converter, std::string_view bytes, std::u16string& text) {
    constexpr std::size_t LongestCharacter = 4;
    for (std::size_t length = 1; length <= std::min(LongestCharacter, bytes.size()); ++length) {
        std::array<char, LongestCharacter> input{};
        std::array<char16_t, 16> output{};
        std::copy_n(bytes.begin(), length, input.begin());
        char* in = input.data();
        char* out = reinterpret_cast<char*>(output.data());
        std::size_t inLeft = length;
        std::size_t outLeft = sizeof(output);
        // The second call gives what the converter keeps back, waiting for an accent to combine, and resets it.
        const bool converted = iconv(converter, &in, &inLeft, &out, &outLeft) != static_cast<std::size_t>(-1);
        iconv(converter, nullptr, nullptr, &out, &outLeft);
        if (converted && outLeft < sizeof(output)) {
            text.append(output.data(), (sizeof(output) - outLeft) / sizeof(char16_t));
            return length;
        }
    }
    return 0;
}

/// The UTF-16 unit of the escape `\U+XXXX` at \p place; 0 when no complete one stands there.
char16_t EscapeAt(std::u16string_view text, std::size_t place) {
    constexpr std::size_t Length = 7;
    if (text.size() - place < Length || (text[place + 1] != u'U' && text[place + 1] != u'u') || text[place + 2] != u'+')
        return 0;

    unsigned unit = 0;
    for (const char16_t c : text.substr(place + 3, 4)) {
        const std::size_t digit = std::u16string_view(u"0123456789abcdef0123456789ABCDEF").find(c);
        if (digit == std::u16string_view::npos)
            return 0;
        unit = unit << 4 | static_cast<unsigned>(digit % 16);
    }
    return static_cast<char16_t>(unit);
}

}   // namespace

iconv_t TextDecoder::NoConverter() noexcept {
    return reinterpret_cast<iconv_t>(-1);
}

TextDecoder TextDecoder::ForCodePage(std::string_view declaredName) {
    const std::string name = ConverterName(Trimmed(declaredName));
    if (name == "CP1252")
        return Windows1252();
    if (name == "CP65001")
        return Utf8();

    TextDecoder decoder(Kind::Windows1252);
    if (!name.empty())
        decoder.converter =
            iconv_open(std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE", name.c_str());
    if (decoder.converter == NoConverter())
        decoder.fallback = true;
    else
        decoder.kind = Kind::Converter;
    return decoder;
}

TextDecoder::TextDecoder(TextDecoder&& other) noexcept
    : kind(other.kind),
      fallback(other.fallback),
      metNonAscii(other.metNonAscii),
      oddBytes(other.oddBytes),
      converter(std::exchange(other.converter, NoConverter())) {}

TextDecoder& TextDecoder::operator=(TextDecoder&& other) noexcept {
    kind = other.kind;
    fallback = other.fallback;
    metNonAscii = other.metNonAscii;
    oddBytes = other.oddBytes;
    std::swap(converter, other.converter);
    return *this;
}

TextDecoder::~TextDecoder() {
    if (converter != NoConverter())
        iconv_close(converter);
}

std::u16string TextDecoder::Decode(std::string_view bytes) {
    if (IsPlainAscii(bytes))
        return std::u16string(bytes.begin(), bytes.end());

    metNonAscii = true;
    std::u16string text;
    text.reserve(bytes.size());
    while (!bytes.empty())
        bytes.remove_prefix(DecodeCharacter(bytes, text));
    return text;
}

std::size_t TextDecoder::DecodeCharacter(std::string_view bytes, std::u16string& text) {
    // ASCII is itself in every code page here, also where iconv sees a currency sign in the place of the backslash.
    if (IsAscii(bytes.front())) {
        text += static_cast<char16_t>(bytes.front());
        return 1;
    }
    if (bytes.front() != '\0' && kind == Kind::Converter)
        if (const std::size_t length = ConvertCharacter(converter, bytes, text); length != 0)
            return length;
    if (bytes.front() != '\0' && kind == Kind::Utf8) {
        std::size_t length = 0;
        Kest::DecodeUtf8(bytes, length);
        if (Kest::IsValidUtf8(bytes.substr(0, length))) {
            AppendUtf8(bytes.substr(0, length), text);
            return length;
        }
    }
    const char16_t unit = kind == Kind::Converter ? char16_t{0} : Windows1252Character(bytes.front());
    if (unit == 0 || kind == Kind::Utf8)
        ++oddBytes;
    text += unit == 0 ? ReplacementCharacter : unit;
    return 1;
}

std::string_view WithoutByteOrderMark(std::string_view bytes, bool& found) noexcept {
    found = bytes.starts_with(ByteOrderMark);
    return found ? bytes.substr(ByteOrderMark.size()) : bytes;
}

std::u16string ResolveEscapes(std::u16string text) {
    if (text.find(u'\\') == std::u16string::npos)
        return text;

    std::u16string resolved;
    resolved.reserve(text.size());
    for (std::size_t place = 0; place < text.size();) {
        const char16_t unit = text[place] == u'\\' ? EscapeAt(text, place) : char16_t{0};
        resolved += unit != 0 ? unit : text[place];
        place += unit != 0 ? 7 : 1;
    }
    return resolved;
}

}   // namespace Host
