#include <Kest/CaseMapping.hpp>

#include "CaseMappingTable.hpp"
#include "HashSeed.hpp"

#include <Kest/Utf8.hpp>

#include <algorithm>
#include <cstring>

namespace Kest {

namespace {

// Texts are worked on in words of four units. Mapping keeps lengths, so words of case-equal texts stand side by side.
constexpr std::size_t WordUnits = sizeof(std::uint64_t) / sizeof(char16_t);

constexpr std::uint64_t InEachUnit(std::uint64_t value) {
    return value * 0x0001000100010001U;
}

std::uint64_t LoadWord(const char16_t* units) noexcept {
    std::uint64_t word;
    std::memcpy(&word, units, sizeof word);
    return word;
}

constexpr bool IsAscii(std::uint64_t word) noexcept {
    return (word & InEachUnit(0xFF80)) == 0;
}

// May answer true without reason behind a unit that is a surrogate; never false.
constexpr bool HasSurrogate(std::uint64_t word) noexcept {
    const std::uint64_t tops = (word ^ InEachUnit(0xD800)) & InEachUnit(0xF800);
    return ((tops - InEachUnit(0x0800)) & ~tops & InEachUnit(0x8000)) != 0;
}

// Bit 7 of a unit is free in ASCII: the additions carry into it from 'a' on and behind 'z'.
constexpr std::uint64_t UpperAscii(std::uint64_t word) noexcept {
    const std::uint64_t fromA = word + InEachUnit(0x80 - 'a');
    const std::uint64_t behindZ = word + InEachUnit(0x80 - ('z' + 1));
    return word - ((fromA & ~behindZ & InEachUnit(0x80)) >> 2);
}

char16_t UpperInPlane(unsigned plane, char16_t unit) noexcept {
    const std::uint8_t row = CaseRows[plane << 8 | unit >> 8];
    return static_cast<char16_t>(unit + CaseDeltas[row][unit & 0xFF]);
}

// For words without surrogates. Units stay in the register: through memory this takes twice as long.
std::uint64_t UpperFirstPlane(std::uint64_t word) noexcept {
    std::uint64_t result = 0;
    for (unsigned shift = 0; shift < 64; shift += 16)
        result |= std::uint64_t{UpperInPlane(0, static_cast<char16_t>(word >> shift))} << shift;
    return result;
}

// The unit that stands at \p at in the upper-case form of \p text. A mapping never changes a leading surrogate, so
// that only a trailing one depends on its neighbour.
char16_t UpperUnit(std::u16string_view text, std::size_t at) noexcept {
    const char16_t unit = text[at];
    if (IsLowSurrogate(unit) && at > 0 && IsHighSurrogate(text[at - 1]))
        return LowSurrogateOf(ToUpperSimple(JoinSurrogates(text[at - 1], unit)));
    return UpperInPlane(0, unit);
}

// What to do with letter case: Exact takes units as they are, Folded takes their upper-case forms.
struct Exact {
    static std::uint64_t Word(std::u16string_view text, std::size_t at) noexcept { return LoadWord(&text[at]); }
    static char16_t Unit(std::u16string_view text, std::size_t at) noexcept { return text[at]; }
    static char32_t CodePoint(char32_t codePoint) noexcept { return codePoint; }
};

struct Folded {
    static std::uint64_t Word(std::u16string_view text, std::size_t at) noexcept {
        const std::uint64_t word = LoadWord(&text[at]);
        if (IsAscii(word))
            return UpperAscii(word);
        if (!HasSurrogate(word))
            return UpperFirstPlane(word);
        char16_t units[WordUnits];
        for (std::size_t i = 0; i < WordUnits; ++i)
            units[i] = UpperUnit(text, at + i);
        return LoadWord(units);
    }
    static char16_t Unit(std::u16string_view text, std::size_t at) noexcept { return UpperUnit(text, at); }
    static char32_t CodePoint(char32_t codePoint) noexcept { return ToUpperSimple(codePoint); }
};

template <typename Case>
std::uint32_t Hash(std::u16string_view text) noexcept {
    const std::size_t length = text.size();
    std::uint64_t state = MixWord(GetHashSeed(), length);
    if (length >= WordUnits) {
        std::size_t at = 0;
        for (; at + WordUnits < length; at += WordUnits)
            state = MixWord(state, Case::Word(text, at));
        return FinishHash(MixWord(state, Case::Word(text, length - WordUnits)));   // the last two words may overlap
    }
    std::uint64_t word = 0;
    for (std::size_t at = 0; at < length; ++at)
        word = word << 16 | Case::Unit(text, at);
    return FinishHash(MixWord(state, word));
}

// For texts that are the same before \p at. Equal words need no mapping then: a word depends on nothing but itself and
// a leading surrogate before it.
template <typename Case>
bool IsSameWord(std::u16string_view a, std::u16string_view b, std::size_t at) noexcept {
    return LoadWord(&a[at]) == LoadWord(&b[at]) || Case::Word(a, at) == Case::Word(b, at);
}

// The first unit, up to the shorter length, in which the texts differ.
template <typename Case>
std::size_t FirstDifference(std::u16string_view a, std::u16string_view b) noexcept {
    const std::size_t length = std::min(a.size(), b.size());
    std::size_t at = 0;
    while (at + WordUnits <= length && IsSameWord<Case>(a, b, at))
        at += WordUnits;
    if (at + WordUnits > length && length >= WordUnits && IsSameWord<Case>(a, b, length - WordUnits))
        return length;
    while (at < length && Case::Unit(a, at) == Case::Unit(b, at))
        ++at;
    return at;
}

template <typename Case>
int Order(std::u16string_view a, std::u16string_view b) noexcept {
    std::size_t at = FirstDifference<Case>(a, b);
    if (at == a.size() || at == b.size())
        return a.size() < b.size() ? -1 : a.size() == b.size() ? 0 : 1;

    // Where a leading surrogate comes first, the same in both, the difference may lie within a character.
    if (at > 0 && IsHighSurrogate(a[at - 1]) && (IsLowSurrogate(a[at]) || IsLowSurrogate(b[at])))
        --at;
    std::size_t inA = at;
    std::size_t inB = at;
    return Case::CodePoint(DecodeUtf16(a, inA)) < Case::CodePoint(DecodeUtf16(b, inB)) ? -1 : 1;
}

}   // namespace

char32_t ToUpperSimple(char32_t codePoint) noexcept {
    if (codePoint > 0x10FFFF)
        return codePoint;
    return (codePoint & 0x1F0000) | UpperInPlane(codePoint >> 16, static_cast<char16_t>(codePoint & 0xFFFF));
}

void ConvertToUpper(std::u16string_view text, char16_t* result) noexcept {
    // Written over the text itself, a leading surrogate stays what it was for the unit behind it.
    for (std::size_t at = 0; at < text.size(); ++at)
        result[at] = UpperUnit(text, at);
}

// Most texts that are compared here are equal, and ASCII or spelt alike: all words are looked at without a branch for
// any of them, and only what is left goes through the table.
bool IsEqualIgnoringCase(std::u16string_view a, std::u16string_view b) noexcept {
    if (a.size() != b.size())
        return false;
    if (a.size() < WordUnits)
        return FirstDifference<Folded>(a, b) == a.size();
    std::uint64_t spelling = 0;
    std::uint64_t folded = 0;
    std::uint64_t units = 0;
    const auto look = [&](std::size_t at) {
        const std::uint64_t inA = LoadWord(&a[at]);
        const std::uint64_t inB = LoadWord(&b[at]);
        spelling |= inA ^ inB;
        folded |= UpperAscii(inA) ^ UpperAscii(inB);
        units |= inA | inB;
    };
    for (std::size_t at = 0; at + WordUnits < a.size(); at += WordUnits)
        look(at);
    look(a.size() - WordUnits);
    if (spelling == 0)
        return true;
    return IsAscii(units) ? folded == 0 : FirstDifference<Folded>(a, b) == a.size();
}

int CompareIgnoringCase(std::u16string_view a, std::u16string_view b) noexcept {
    return Order<Folded>(a, b);
}

int CompareByCodePoint(std::u16string_view a, std::u16string_view b) noexcept {
    return Order<Exact>(a, b);
}

std::uint32_t HashIgnoringCase(std::u16string_view text) noexcept {
    return Hash<Folded>(text);
}

std::uint32_t HashOf(std::u16string_view text) noexcept {
    return Hash<Exact>(text);
}

}   // namespace Kest
