#include <Kest/UniqueName.hpp>

#include <algorithm>
#include <array>
#include <charconv>

namespace Kest {

namespace {

constexpr bool IsWhitespace(char16_t unit) noexcept {
    return (unit >= 0x0009 && unit <= 0x000D) || unit == 0x0020 || unit == 0x0085 || unit == 0x00A0 || unit == 0x1680 ||
           (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 || unit == 0x202F || unit == 0x205F ||
           unit == 0x3000;
}

constexpr bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

// The number in the " (n)" at the end of a name, and where its blank stands; 0 when there is none.
struct Ending {
    std::uint32_t number = 0;
    std::size_t begin = 0;
};

Ending EndingOf(std::u16string_view name) noexcept {
    const std::size_t mostDigits = 9;
    if (name.empty() || name.back() != u')')
        return {};
    const std::size_t close = name.size() - 1;
    std::size_t first = close;
    while (first > 0 && IsDigit(name[first - 1]) && close - first <= mostDigits)
        --first;
    const std::size_t digits = close - first;
    if (digits == 0 || digits > mostDigits || name[first] == u'0')
        return {};
    if (first < 2 || name[first - 1] != u'(' || name[first - 2] != u' ')
        return {};

    std::uint32_t number = 0;
    for (const char16_t digit : name.substr(first, digits))
        number = number * 10 + static_cast<std::uint32_t>(digit - u'0');
    return {number, first - 2};
}

}   // namespace

bool ContainsNonWhitespace(const UniString& text) noexcept {
    // All white space lies in the first plane, and no surrogate is white space.
    return !std::ranges::all_of(text.GetView(), IsWhitespace);
}

NumberedName::NumberedName(const UniString& name) {
    const Ending ending = EndingOf(name.GetView());
    number = ending.number;
    stem = number == 0 ? name : UniString(name.GetView().substr(0, ending.begin));
}

NumberedName NumberedName::FromStem(const UniString& stem) {
    NumberedName name{UniString()};
    name.stem = stem;
    return name;
}

UniString NumberedName::MakeName(std::uint32_t numberOfName) const {
    std::array<char, 10> digits;
    const char* const end = std::to_chars(digits.data(), digits.data() + digits.size(), numberOfName).ptr;
    UniString name;
    name.Reserve(stem.GetLength() + 3 + static_cast<std::size_t>(end - digits.data()));
    name.Append(stem).Append(u" (");
    for (const char* digit = digits.data(); digit != end; ++digit)
        name.Append(static_cast<char16_t>(*digit));
    name.Append(u')');
    return name;
}

void GenerateUniqueName(const UniString& base, UniString& result, const std::function<bool(const UniString&)>& isFree,
                        const std::function<bool(const UniString&)>& filter) {
    const auto suits = [&](const UniString& name) { return isFree(name) && (!filter || filter(name)); };
    if (suits(base)) {
        result = base;
        return;
    }
    NumberedName name(base);
    std::uint32_t number = name.GetFirstNumber();
    for (;; ++number) {
        if (number > NumberedName::GreatestNumber) {
            name = NumberedName::FromStem(base);
            number = 1;
        }
        UniString candidate = name.MakeName(number);
        if (suits(candidate)) {
            result = std::move(candidate);
            return;
        }
    }
}

}   // namespace Kest
