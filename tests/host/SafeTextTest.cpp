#include "output/SafeText.hpp"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace {

using namespace Host;
using namespace std::string_view_literals;

TEST(SafeTextTest, EachFormatHasItsWayToBeSafe) {
    const struct {
        std::u16string_view text;
        std::string_view tsv, table, json;
    } cases[] = {
        {u"plain \u00E4\u4E2D", "plain \u00E4\u4E2D", "plain \u00E4\u4E2D", "\"plain \u00E4\u4E2D\""},
        {u"\t\n\r\\\"", R"(\t\n\r\\")", "\uFFFD\uFFFD\uFFFD\\\"", R"("\u0009\u000A\u000D\\\"")"},
        {u"\0\x7F\u009F"sv, R"(\x00\x7F\xC2\x9F)", "\uFFFD\uFFFD\uFFFD", R"("\u0000\u007F\u009F")"},
        {u"\xDC00\xD800", R"(\xED\xB0\x80\xED\xA0\x80)", "\uFFFD\uFFFD", R"("\uDC00\uD800")"},
        {u"\xD83D\xDE00", "\U0001F600", "\U0001F600", "\"\U0001F600\""},
        {u"\u202E\u2028", "\u202E\u2028", "\uFFFD\uFFFD", R"("\u202E\u2028")"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(EscapeForTsv(c.text), c.tsv);
        EXPECT_EQ(ReplaceControls(c.text), c.table);
        EXPECT_EQ(QuoteForJson(c.text), c.json);
    }
}

TEST(SafeTextTest, AMessageStaysOneLineWhateverAFileIsCalled) {
    EXPECT_EQ(EscapeForMessage("\u00E4 b.dxf"), "\u00E4 b.dxf");
    EXPECT_EQ(EscapeForMessage("a\nb\xFF\x1B\u202E"), R"(a\x0Ab\xFF\x1B\xE2\x80\xAE)");
    EXPECT_EQ(EscapeForMessage("\xE4\xB8"), R"(\xE4\xB8)") << "half a character";
}

TEST(SafeTextTest, WidthIsThatOfTheTerminal) {
    const struct {
        std::string_view text;
        std::size_t width;
        std::string_view cutToThree;
    } cases[] = {
        {"", 0, ""},
        {"abc", 3, "abc"},
        {"abcd", 4, "abc"},
        {"\u4E2D\u4E2D", 4, "\u4E2D"},
        {"e\u0301e\u0301", 2, "e\u0301e\u0301"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(GetDisplayWidth(c.text), c.width) << c.text;
        EXPECT_EQ(CutToWidth(c.text, 3), c.cutToThree) << c.text;
    }
}

}   // namespace
