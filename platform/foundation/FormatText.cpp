#include <Kest/FormatText.hpp>

#include <Kest/UniString.hpp>
#include <Kest/Utf8.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <optional>

namespace Kest {

namespace {

constexpr std::size_t GreatestWidth = 65535;   // what a format asks for beyond this is not meant

// What stands between a "%" and its conversion letter, and that letter.
struct Conversion {
    char kind = 's';
    bool left = false;
    bool plus = false;
    bool zero = false;
    bool alternate = false;
    std::size_t width = 0;
    std::optional<std::size_t> precision;
    std::size_t narrowTo = 0;   // bytes that h or hh leave of an integer, 0 for all
};

// A number's text: zeros that fill the width go between sign or base and digits.
struct NumberText {
    std::string prefix;
    std::string digits;
};

template <typename Number, typename... Rules>
std::string Digits(Number number, std::size_t mostBytes, Rules... rules) {
    std::string text(mostBytes, '\0');
    text.resize(static_cast<std::size_t>(std::to_chars(text.data(), text.data() + text.size(), number, rules...).ptr -
                                         text.data()));
    return text;
}

bool IsSignedKind(char kind) {
    return kind == 'd' || kind == 'i';
}

// The integer that is printed, as sign and magnitude. A negative number in an unsigned conversion is taken as C would.
struct Integer {
    bool negative;
    std::uint64_t magnitude;

    Integer(const FormatArgument& argument, const Conversion& conversion) {
        const auto* const number = std::get_if<std::int64_t>(&argument.GetValue());
        const std::uint64_t bits =
            number != nullptr ? static_cast<std::uint64_t>(*number) : std::get<std::uint64_t>(argument.GetValue());
        const bool isNarrowed = conversion.narrowTo != 0;
        const std::size_t bitCount = 8 * (isNarrowed ? conversion.narrowTo : argument.GetByteCount());
        const std::uint64_t mask = ~std::uint64_t{0} >> (64 - bitCount);
        negative = IsSignedKind(conversion.kind) && (number != nullptr || isNarrowed) && (bits >> (bitCount - 1) & 1);
        magnitude = (negative ? 0 - bits : bits) & mask;
    }
};

std::string_view SignOf(bool negative, const Conversion& conversion) {
    return negative ? "-" : conversion.plus ? "+" : "";
}

NumberText TextOf(const Integer& integer, const Conversion& conversion) {
    const char kind = conversion.kind;
    const bool isHexadecimal = kind == 'x' || kind == 'X';
    const std::size_t longest = 22;   // digits of 2^64 - 1 in octal
    NumberText text;
    text.digits = Digits(integer.magnitude, longest, isHexadecimal ? 16 : kind == 'o' ? 8 : 10);
    if (kind == 'X')
        for (char& digit : text.digits)
            if (digit >= 'a')
                digit = static_cast<char>(digit - 'a' + 'A');
    if (conversion.precision == 0U && integer.magnitude == 0)
        text.digits.clear();
    if (const std::size_t least = conversion.precision.value_or(1); text.digits.size() < least)
        text.digits.insert(0, least - text.digits.size(), '0');

    if (IsSignedKind(kind))
        text.prefix = SignOf(integer.negative, conversion);
    else if (conversion.alternate && isHexadecimal && integer.magnitude != 0)
        text.prefix = {'0', kind};
    else if (conversion.alternate && kind == 'o' && !text.digits.starts_with('0'))
        text.prefix = "0";
    return text;
}

NumberText TextOf(double number, const Conversion& conversion) {
    const std::size_t longest = 310;   // digits of the greatest number before its point
    const auto format = conversion.kind == 'f'   ? std::chars_format::fixed
                        : conversion.kind == 'e' ? std::chars_format::scientific
                                                 : std::chars_format::general;
    const std::size_t precision = conversion.precision.value_or(6);
    return {std::string(SignOf(std::signbit(number), conversion)),
            Digits(std::abs(number), longest + precision + 1, format, static_cast<int>(precision))};
}

UniString CharacterOf(const FormatArgument& argument) {
    const auto* const number = std::get_if<std::int64_t>(&argument.GetValue());
    std::uint64_t code = number != nullptr ? static_cast<std::uint64_t>(*number & (*number < 0 ? 0xFF : -1))
                                           : std::get<std::uint64_t>(argument.GetValue());
    if (code > 0x10FFFF)
        code = ReplacementCharacter;
    const auto codePoint = static_cast<char32_t>(code);
    if (codePoint <= 0xFFFF)
        return UniString(std::u16string(1, static_cast<char16_t>(codePoint)));
    return UniString(std::u16string{HighSurrogateOf(codePoint), LowSurrogateOf(codePoint)});
}

// The argument as "%s" shows it.
UniString PlainText(const FormatArgument& argument) {
    return std::visit(
        [](const auto& value) {
            using Kind = std::decay_t<decltype(value)>;
            if constexpr (std::is_same_v<Kind, std::u16string_view>)
                return UniString(value);
            else if constexpr (std::is_same_v<Kind, std::string_view>)
                return UniString::FromUtf8(value);
            else
                return UniString::FromUtf8(Digits(value, 32));   // more than any number needs
        },
        argument.GetValue());
}

class Formatter {
public:
    explicit Formatter(std::span<const FormatArgument> newArguments) : arguments(newArguments) {}

    UniString Format(std::string_view format) {
        for (std::size_t percent; (percent = format.find('%')) != format.npos;) {
            result.Append(UniString::FromUtf8(format.substr(0, percent)));
            format.remove_prefix(percent + 1);
            format.remove_prefix(PrintConversion(format));
        }
        result.Append(UniString::FromUtf8(format));
        return result;   // a copy, which fits exactly
    }

private:
    // Prints what the "%" before \p format asks for; answers how much of the format belongs to it.
    std::size_t PrintConversion(std::string_view format) {
        if (format.starts_with('%')) {
            result.Append(u'%');
            return 1;
        }
        const std::size_t firstArgument = next;
        Conversion conversion;
        std::size_t length = Parse(format, conversion);
        if (length == 0) {   // a "%" on its own: what looked like a width has taken no argument
            next = firstArgument;
            conversion = Conversion();
        }
        if (next < arguments.size())
            Print(arguments[next++], conversion);
        return length;
    }

    // Length of the conversion at the beginning of \p format, 0 when there is none.
    std::size_t Parse(std::string_view format, Conversion& conversion) {
        std::size_t at = 0;
        const auto peek = [&] { return at < format.size() ? format[at] : '\0'; };
        for (;; ++at) {
            if (peek() == '-')
                conversion.left = true;
            else if (peek() == '+')
                conversion.plus = true;
            else if (peek() == '0')
                conversion.zero = true;
            else if (peek() == '#')
                conversion.alternate = true;
            else
                break;
        }
        const std::int64_t width = ParseNumber(format, at);
        conversion.left = conversion.left || width < 0;   // only "*" can ask for that
        conversion.width = static_cast<std::size_t>(std::abs(width));
        if (peek() == '.') {
            const std::int64_t precision = ParseNumber(format, ++at);
            if (precision >= 0)
                conversion.precision = static_cast<std::size_t>(precision);
        }
        for (; peek() == 'h' || peek() == 'l' || peek() == 'z'; ++at)
            if (peek() == 'h')
                conversion.narrowTo = conversion.narrowTo == 0 ? sizeof(short) : sizeof(char);
        conversion.kind = peek();
        const std::string_view kinds = "diuxXocfegsT";
        return kinds.find(conversion.kind) != kinds.npos ? at + 1 : 0;
    }

    // The digits at \p at, or for "*" the next argument; 0 when there are neither. Never far beyond the limit.
    std::int64_t ParseNumber(std::string_view format, std::size_t& at) {
        std::int64_t number = 0;
        if (at < format.size() && format[at] == '*') {
            ++at;
            if (next < arguments.size())
                if (const auto* const given = std::get_if<std::int64_t>(&arguments[next++].GetValue()))
                    number = std::clamp<std::int64_t>(*given, -std::int64_t{GreatestWidth}, GreatestWidth);
            return number;
        }
        for (; at < format.size() && format[at] >= '0' && format[at] <= '9'; ++at)
            number = std::min<std::int64_t>(number * 10 + (format[at] - '0'), GreatestWidth);
        return number;
    }

    void Print(const FormatArgument& argument, const Conversion& conversion) {
        const FormatArgument::Value& value = argument.GetValue();
        const bool isInteger =
            std::holds_alternative<std::int64_t>(value) || std::holds_alternative<std::uint64_t>(value);
        const auto isOneOf = [&](std::string_view kinds) { return kinds.find(conversion.kind) != kinds.npos; };
        if (isInteger && isOneOf("diuxXo"))
            PrintNumber(TextOf(Integer(argument, conversion), conversion), conversion, !conversion.precision);
        else if (const double* const number = std::get_if<double>(&value); number != nullptr && isOneOf("feg"))
            PrintNumber(TextOf(*number, conversion), conversion, std::isfinite(*number));
        else if (isInteger && conversion.kind == 'c')
            Pad(CharacterOf(argument), conversion);
        else
            PrintText(PlainText(argument), conversion, isOneOf("sT"));
    }

    void PrintNumber(NumberText text, const Conversion& conversion, bool mayFillWithZeros) {
        const std::size_t length = text.prefix.size() + text.digits.size();
        if (conversion.zero && !conversion.left && mayFillWithZeros && length < conversion.width)
            text.digits.insert(0, conversion.width - length, '0');
        Pad(UniString::FromUtf8(text.prefix + text.digits), conversion);
    }

    void PrintText(UniString text, const Conversion& conversion, bool mayCut) {
        if (mayCut && conversion.precision && *conversion.precision < text.GetLength()) {
            std::size_t length = *conversion.precision;
            if (length > 0 && IsHighSurrogate(text[length - 1]) && IsLowSurrogate(text[length]))
                --length;
            text.Truncate(length);
        }
        Pad(text, conversion);
    }

    void Pad(const UniString& text, const Conversion& conversion) {
        const std::size_t blanks = conversion.width - std::min(conversion.width, text.GetLength());
        if (!conversion.left)
            AppendBlanks(blanks);
        result.Append(text);
        if (conversion.left)
            AppendBlanks(blanks);
    }

    void AppendBlanks(std::size_t count) {
        for (; count > 0; --count)
            result.Append(u' ');
    }

    UniString result;
    std::span<const FormatArgument> arguments;
    std::size_t next = 0;
};

}   // namespace

UniString FormatText(const char* format, std::span<const FormatArgument> arguments) {
    return Formatter(arguments).Format(format != nullptr ? std::string_view(format) : std::string_view());
}

}   // namespace Kest
