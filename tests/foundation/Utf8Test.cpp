#include <Kest/Utf8.hpp>

#include <gtest/gtest.h>

#include <string>

namespace {

std::u32string Decode(std::string_view text) {
    std::u32string result;
    for (std::size_t at = 0; at < text.size();)
        result += Kest::DecodeUtf8(text, at);
    return result;
}

}   // namespace

TEST(Utf8Test, EveryCodePointReturns) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        const bool isSurrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
        std::string text;
        Kest::AppendUtf8(text, codePoint);
        ASSERT_TRUE(Kest::IsValidUtf8(text));
        ASSERT_EQ(Decode(text), std::u32string(1, isSurrogate ? Kest::ReplacementCharacter : codePoint));
        // Cut anywhere, it is one damaged piece.
        for (std::size_t length = 1; length < text.size(); ++length) {
            ASSERT_FALSE(Kest::IsValidUtf8(text.substr(0, length)));
            ASSERT_EQ(Decode(text.substr(0, length)), U"\xFFFD");
        }
    }
}

TEST(Utf8Test, DamageIsReplacedPieceByPiece) {
    const struct {
        const char* when;
        std::string text;
        std::u32string expected;
    } cases[] = {
        {"continuation alone", "a\x80z", U"a\xFFFDz"},
        {"overlong slash", "\xC0\xAF", U"\xFFFD\xFFFD"},
        {"overlong in three bytes", "\xE0\x9F\xBF", U"\xFFFD\xFFFD\xFFFD"},
        {"overlong in four bytes", "\xF0\x8F\xBF\xBF", U"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"coded surrogate", "\xED\xA0\x80", U"\xFFFD\xFFFD\xFFFD"},
        {"above U+10FFFF", "\xF4\x90\x80\x80", U"\xFFFD\xFFFD\xFFFD\xFFFD"},
        {"bytes that never occur", "\xF5\xFE\xFF", U"\xFFFD\xFFFD\xFFFD"},
        {"cut short by a letter", "\xE2\x82z", U"\xFFFDz"},
        {"cut short by a character", "\xF0\x9F\x98\xC3\xA9", U"\xFFFD\xE9"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(Decode(c.text), c.expected) << c.when;
        EXPECT_FALSE(Kest::IsValidUtf8(c.text)) << c.when;
    }
    EXPECT_TRUE(Kest::IsValidUtf8(""));
    EXPECT_TRUE(Kest::IsValidUtf8(std::string_view("a\0b", 3)));
}
