#include <Kest/CaseMapping.hpp>
#include <Kest/UniString.hpp>
#include <Kest/Utf8.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

std::u16string Encode(char32_t codePoint) {
    if (codePoint <= 0xFFFF)
        return std::u16string(1, static_cast<char16_t>(codePoint));
    return {Kest::HighSurrogateOf(codePoint), Kest::LowSurrogateOf(codePoint)};
}

// Upper-cased code point by code point: the plain rule, against which the word-wise code is held.
std::u32string FoldPlainly(std::u16string_view text) {
    std::u32string result;
    for (std::size_t at = 0; at < text.size();)
        result += Kest::ToUpperSimple(Kest::DecodeUtf16(text, at));
    return result;
}

int SignOf(int number) {
    return (number > 0) - (number < 0);
}

}   // namespace

TEST(CaseMappingTest, MapsSimplyInAllPlanes) {
    const std::pair<char32_t, char32_t> cases[] = {
        {U'`', U'`'},     {U'{', U'{'},       {0x00B5, 0x039C},     {0x00DF, 0x00DF},        {0x00FF, 0x0178},
        {0x0131, U'I'},   {0x01C5, 0x01C4},   {0x03C2, 0x03A3},     {0x13F8, 0x13F0},        {0xAB70, 0x13A0},
        {0x1FB3, 0x1FBC}, {0x10428, 0x10400}, {0x110000, 0x110000}, {0xFFFFFFFF, 0xFFFFFFFF}};
    for (const auto& [from, to] : cases)
        EXPECT_EQ(Kest::ToUpperSimple(from), to) << std::hex << static_cast<std::uint32_t>(from);
}

TEST(CaseMappingTest, EveryMappingIsFinalAndKeepsTheLength) {
    int mapped = 0;
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        const char32_t upper = Kest::ToUpperSimple(codePoint);
        mapped += upper != codePoint;
        ASSERT_EQ(Kest::ToUpperSimple(upper), upper);
        ASSERT_EQ(Encode(upper).size(), Encode(codePoint).size());
    }
    EXPECT_EQ(mapped, 1450);
}

TEST(CaseMappingTest, OrdersByCodePoint) {
    // Ascending, ignoring case too. Units alone would put the pairs before U+E000.
    const std::u16string ascending[] = {u"",
                                        u"A",
                                        u"AB",
                                        u"\xC9",
                                        u"\xD800",
                                        u"\xD800\x41",
                                        u"\xD800\xD7FF",
                                        u"\xD800\xD800",
                                        u"\xD800\xE000",
                                        u"\xDC00",
                                        u"\xE000",
                                        u"\xFFFF",
                                        u"\U00010000",
                                        u"\U00010400",
                                        u"\U00010400"
                                        u"A",
                                        u"\U0010FFFF"};
    for (std::size_t i = 0; i < std::size(ascending); ++i)
        for (std::size_t j = 0; j < std::size(ascending); ++j) {
            const int expected = (i > j) - (i < j);
            for (const std::u16string& before : {std::u16string(), std::u16string(u"Wall 12 ")}) {
                const std::u16string a = before + ascending[i], b = before + ascending[j];
                EXPECT_EQ(Kest::CompareByCodePoint(a, b), expected) << i << ' ' << j;
                EXPECT_EQ(Kest::CompareIgnoringCase(a, b), expected) << i << ' ' << j;
            }
        }
    EXPECT_LT(Kest::CompareByCodePoint(u"Z", u"a"), 0);
    EXPECT_GT(Kest::CompareIgnoringCase(u"Z", u"a"), 0);
    EXPECT_LT(Kest::CompareIgnoringCase(u"z", u"_"), 0);   // upper-cased, not lower-cased
}

// Equality, order, hash and conversion are one relation, for texts of hostile units at every length and alignment.
TEST(CaseMappingTest, RandomTextsAgreeWithThePlainRule) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const std::u16string units = u"aAbBzZ{`@[09iI\x131\x130sS\x17F\xDF\x1E9E\xE9\xC9\x3C3\x3C2\x3A3"
                                 u"\xD801\xD801\xD83A\xDC28\xDC00\xDD22\xDD00\xE000\xFFFF";
    const auto pick = [&](std::size_t count) { return random() % count; };
    int equalPairs = 0;
    for (int round = 0; round < 20000; ++round) {
        std::u16string a(pick(14), u' ');
        for (char16_t& unit : a)
            unit = units[pick(units.size())];
        std::u16string b = Kest::UniString(a).ToUpper().ToUStr();
        if (!b.empty() && pick(2) == 0)
            b[pick(b.size())] = units[pick(units.size())];
        if (pick(8) == 0)
            b.resize(pick(14), u'i');

        const int expected = FoldPlainly(a).compare(FoldPlainly(b));
        equalPairs += expected == 0;
        ASSERT_EQ(SignOf(Kest::CompareIgnoringCase(a, b)), SignOf(expected));
        ASSERT_EQ(Kest::IsEqualIgnoringCase(a, b), expected == 0);
        ASSERT_EQ(Kest::UniString(a).ToUpper() == Kest::UniString(b).ToUpper(), expected == 0);
        ASSERT_TRUE(expected != 0 || Kest::HashIgnoringCase(a) == Kest::HashIgnoringCase(b));
    }
    EXPECT_GT(equalPairs, 5000);
}

TEST(CaseMappingTest, HashesSpread) {
    std::vector<int> low(1024), high(1024);
    for (int i = 0; i < 32768; ++i) {
        const std::uint32_t hash = Kest::HashIgnoringCase(Kest::UniString::Printf("Layer %d", i));
        ++low[hash & 1023];
        ++high[hash >> 22];
    }
    // 32 are expected in each; 80 happen to none of 2048 in many lifetimes of the universe.
    EXPECT_LT(*std::max_element(low.begin(), low.end()), 80);
    EXPECT_LT(*std::max_element(high.begin(), high.end()), 80);
    EXPECT_NE(Kest::HashOf(u"Wall"), Kest::HashOf(u"WALL"));
    EXPECT_NE(Kest::HashOf(std::u16string_view(u"\0", 1)), Kest::HashOf(std::u16string_view(u"\0\0", 2)));
}
