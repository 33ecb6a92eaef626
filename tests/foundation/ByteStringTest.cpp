#include <Kest/ByteString.hpp>
#include <Kest/UniString.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

TEST(ByteStringTest, TruncatesAtWholeCharacters) {
    const std::string text = "aé€😀z";   // characters end at 1, 3, 6, 10 and 11
    const int ends[] = {0, 1, 3, 6, 10, 11};
    for (int size = 1; size <= 14; ++size) {
        std::vector<char> buffer(static_cast<std::size_t>(size) + 1, '#');
        const int expected = *(std::upper_bound(std::begin(ends), std::end(ends), size - 1) - 1);
        EXPECT_EQ(CHTruncate(text.c_str(), buffer.data(), size), expected);
        EXPECT_EQ(buffer.data(), text.substr(0, static_cast<std::size_t>(expected))) << size;
        EXPECT_EQ(buffer.back(), '#') << size;

        std::string inPlace = text;
        CHTruncate(inPlace.data(), inPlace.data(), size);
        EXPECT_STREQ(inPlace.c_str(), buffer.data());
    }
}

TEST(ByteStringTest, TruncatesDamagedTextByteByByte) {
    const struct {
        const char* from;
        int size;
        const char* expected;
    } cases[] = {{"\x80\x80\x80\x80\x80\x80", 5, "\x80\x80\x80\x80"},
                 {"ab\xC3zz", 4, "ab\xC3"},
                 {"ab\xF0\x9F\x98", 6, "ab\xF0\x9F\x98"}};
    char buffer[16];
    for (const auto& c : cases) {
        CHTruncate(c.from, buffer, c.size);
        EXPECT_STREQ(buffer, c.expected);
    }
}

TEST(ByteStringTest, NullsAndNoRoomWriteNothing) {
    char buffer[] = "kept";
    EXPECT_EQ(CHTruncate("x", buffer, 0), 0);
    CHTruncate("x", buffer, -5);
    CHTruncate(nullptr, buffer, 5);
    CHTruncate("x", nullptr, 5);
    CHCopyC("x", nullptr);
    EXPECT_STREQ(buffer, "kept");
    CHCopyC(nullptr, buffer);
    EXPECT_STREQ(buffer, "");
}

TEST(ByteStringTest, ComparesAsNamesAreCompared) {
    const char* const texts[] = {"", "1", "A", "a", "É", "é", "I", "ı", "s", "ß", "Ss", "𐐨", "𐐀", "x.dwg", "X.DWG"};
    for (const char* a : texts)
        for (const char* b : texts) {
            const Kest::UniString wideA(a), wideB(b);
            SCOPED_TRACE(std::string(a) + ' ' + b);
            EXPECT_EQ(CHCompareTexts(a, -1, b, -1, CHCaseExact, 0), wideA.Compare(wideB, Kest::CaseInsensitive));
            EXPECT_EQ(CHEqualCStrings(a, b, CHCaseExact, 0), std::strcmp(a, b) == 0);
            EXPECT_EQ(CHEqualCStrings(a, b, CHCaseIgnored, 0), wideA.IsEqual(wideB, Kest::CaseInsensitive));
        }
    EXPECT_EQ(CHCompareTexts("abX", 2, "ABY", 2, 0, 0), 1);
    EXPECT_EQ(CHCompareTexts(nullptr, 3, "", 0, 0, 0), 1);
    EXPECT_EQ(CHCompareTexts("a", 1, "a\0", 2, 0, 0), 0);
    EXPECT_TRUE(CHEqualCStrings(nullptr, "", CHCaseExact, 0));
}
