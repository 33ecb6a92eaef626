#include <Kest/UniString.hpp>

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>

using Kest::UniString;

namespace {

enum class Colour : unsigned char { Red = 7 };

struct Case {
    UniString printed;
    UniString expected;
};

}   // namespace

TEST(FormatTextTest, PrintsNumbersAsCDoes) {
    const Case cases[] = {
        {UniString::Printf("%d %i %u", -1, INT_MIN, UINT_MAX), u"-1 -2147483648 4294967295"},
        {UniString::Printf("%u %x %o", -1, -1, -1), u"4294967295 ffffffff 37777777777"},
        {UniString::Printf("%lld %llu", INT64_MIN, UINT64_MAX), u"-9223372036854775808 18446744073709551615"},
        {UniString::Printf("%lx %zX", std::int64_t{-1}, std::size_t{48879}), u"ffffffffffffffff BEEF"},
        {UniString::Printf("%d %hd %hhu %hx", 70000, 70000, 257, short{-1}), u"70000 4464 1 ffff"},
        {UniString::Printf("[%03d] [%5d] [%-5d] [%+d] [%+.3d]", 7, -42, -42, 5, 5),
         u"[007] [  -42] [-42  ] [+5] [+005]"},
        {UniString::Printf("%#x %#X %#o %#x %06d %#06x %06.2d", 255, 255, 8, 0, -42, 255, 5),
         u"0xff 0XFF 010 0 -00042 0x00ff     05"},
        {UniString::Printf("[%.0d] [%*d] [%*d] [%.*d]", 0, 4, 1, -4, 1, 2, 1), u"[] [   1] [1   ] [01]"},
        {UniString::Printf("%d %d %x", true, Colour::Red, 'A'), u"1 7 41"},
        {UniString::Printf("%f %.2f %e %g %08.1f", 1.5, -2.345, 12345.0, 0.1, -3.14),
         u"1.500000 -2.35 1.234500e+04 0.1 -00003.1"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.printed, c.expected);
}

TEST(FormatTextTest, PrintsTexts) {
    const UniString name(u"Wänd 😀");
    const char* const noText = nullptr;
    const Case cases[] = {
        {UniString::Printf("%s attribute name \"%T\"", "Layer", name.ToPrintf()), u"Layer attribute name \"Wänd 😀\""},
        {UniString::Printf("%s %T %T", std::string("é"), u"é", std::u16string_view(u"x\0y", 3)),
         UniString(u"é é x\0y", 7)},
        {UniString::Printf("[%6T] [%-6s] [%.2s] [%06s]", u"ab", "cd", "efg", "h"), u"[    ab] [cd    ] [ef] [     h]"},
        {UniString::Printf("[%.6T] [%.7T]", name, name), u"[Wänd ] [Wänd 😀]"},   // no half pair
        {UniString::Printf("%c%c%c%c %c|%3c|", 'L', 0x59u, 'E', 'R', 0x1F600, u'é'), u"LYER 😀|  é|"},
        {UniString::Printf("%c%c", static_cast<char>(0xE9), 0x110000), u"é\xFFFD"},
        {UniString::Printf("100%% \xC3\xA9\n"), u"100% é\n"},
        {UniString::Printf("[%s]", noText), u"[]"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.printed, c.expected);
}

TEST(FormatTextTest, BarePercentTakesTheNextText) {
    EXPECT_EQ(UniString::Printf("%: %", "ResolveConflicts", UniString(u"é")), u"ResolveConflicts: é");
    EXPECT_EQ(UniString::Printf("%5 %-! %*?", 1, 2, 3), u"15 2-! 3*?");   // looks like flags and widths
    EXPECT_EQ(UniString::Printf("%%%", 1), u"%1");
}

TEST(FormatTextTest, SurvivesWrongArguments) {
    const Case cases[] = {
        {UniString::Printf("%d|%5s|%T|%|%*d"), u"||||"},
        {UniString::Printf("%d", 1, "x"), u"1"},
        {UniString::Printf("%.1d %x %c %f", "wall", u"roof", "é", "x"), u"wall roof é x"},
        {UniString::Printf("%s %T %.2s", -1, 2.5, 345u), u"-1 2.5 34"},
        {UniString::Printf("%d %f %c", 2.5, 7, 0.5), u"2.5 7 0.5"},
        {UniString::Printf("%*d", "x", 1), u"1"},
        {UniString::Printf("%*d", INT64_MIN, 1).GetView().substr(0, 2), u"1 "},
    };
    for (const auto& c : cases)
        EXPECT_EQ(c.printed, c.expected);
    EXPECT_EQ(UniString::Printf("%99999999999999999999d%.99999999999999999999f", 1, 1.0).GetLength(), 65535U + 65537U);
}
