#include <Kest/UniString.hpp>

#include <gtest/gtest.h>

#include <string>
#include <utility>

using Kest::UniString;

namespace {

// Around the 10 units that need no block, and far beyond.
const std::size_t Lengths[] = {0, 1, 9, 10, 11, 12, 40, 100000};

std::u16string Sample(std::size_t length) {
    std::u16string text(length, u' ');
    for (std::size_t at = 0; at < length; ++at)
        text[at] = static_cast<char16_t>(at * 7919);   // zeros and lone surrogates among them
    return text;
}

}   // namespace

TEST(UniStringTest, HoldsAnyUnitsAtAnyLength) {
    for (const std::size_t length : Lengths) {
        SCOPED_TRACE(length);
        const std::u16string text = Sample(length);
        const UniString original(text);
        EXPECT_EQ(original.GetView(), text);
        EXPECT_EQ(original.ToUStr()[length], 0);

        UniString copy = original;
        EXPECT_EQ(copy, original);
        UniString moved = std::move(copy);
        EXPECT_EQ(moved, original);
        EXPECT_TRUE(copy.IsEmpty());   // NOLINT: empty is what we promise

        for (const std::size_t other : Lengths) {
            UniString target(Sample(other));
            target = original;
            EXPECT_EQ(target, original);
            target = UniString(Sample(other));
            EXPECT_EQ(target.GetView(), Sample(other));
        }
        UniString& self = moved;
        moved = self;
        moved = std::move(self);
        EXPECT_EQ(moved, original);
    }
}

TEST(UniStringTest, AppendsAnythingItsOwnPartsToo) {
    for (const std::size_t length : Lengths) {
        SCOPED_TRACE(length);
        const std::u16string text = Sample(length);
        UniString doubled(text);
        doubled.Append(doubled.GetView());
        EXPECT_EQ(doubled.GetView(), text + text);
        doubled += doubled;
        EXPECT_EQ(doubled.GetView(), text + text + text + text);

        UniString roomy(text);
        roomy.Reserve(3 * length + 1);
        const char16_t* const block = roomy.ToUStr();
        roomy.Append(roomy.GetView().substr(length / 2)).Append(u'!');
        EXPECT_EQ(roomy.GetView(), text + text.substr(length / 2) + u'!');
        EXPECT_EQ(roomy.ToUStr(), block);
        EXPECT_EQ((UniString(text) + u" (1)").GetView(), text + u" (1)");
    }
    UniString grown;
    for (int i = 0; i < 100000; ++i)
        grown += static_cast<char16_t>(i);
    EXPECT_EQ(grown.GetLength(), 100000U);
    EXPECT_EQ(grown[65537], 1);
    EXPECT_EQ(u"a" + UniString(u"b") + "\xC3\xA9" + u'd', u"ab\xE9"
                                                          u"d");
}

TEST(UniStringTest, ChangesInPlace) {
    UniString name(u"Wall of brick");
    name.SetCharacter(0, u'w');
    name.SetCharacter(13, u'x');
    name.SetCharacter(~std::size_t{0}, u'x');
    EXPECT_EQ(name, u"wall of brick");
    name.Truncate(100);
    EXPECT_EQ(name, u"wall of brick");
    name.Truncate(4);
    EXPECT_EQ(name, u"wall");
    EXPECT_EQ(std::u16string(name.ToUStr()), u"wall");
    name.Clear();
    EXPECT_TRUE(name.IsEmpty());
    EXPECT_EQ(name.Append(u"Roof"), u"Roof");
}

TEST(UniStringTest, SpeaksUtf8) {
    const struct {
        const char* when;
        const char* utf8;
        std::u16string utf16;
    } cases[] = {
        {"one to four bytes", "aé€😀", u"aé€😀"},
        {"more than fits inside", "Außenwand 36,5 😀", u"Außenwand 36,5 😀"},
        {"replacements themselves", "\xEF\xBF\xBD", u"\xFFFD"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(UniString(c.utf8).GetView(), c.utf16) << c.when;
        EXPECT_EQ(UniString(c.utf16).ToCStr(), c.utf8) << c.when;
    }
    EXPECT_EQ(UniString("a\xFF z"), u"a\xFFFD z");
    EXPECT_EQ(UniString(std::u16string{u'a', 0xD83D, u'z', 0xDE00}).ToCStr(), "a\xEF\xBF\xBDz\xEF\xBF\xBD");
    EXPECT_EQ(UniString::FromUtf8(std::string_view("a\0b", 3)).GetView(), std::u16string_view(u"a\0b", 3));
    const char* const noText = nullptr;
    EXPECT_TRUE(UniString(noText).IsEmpty());
}

TEST(UniStringTest, ComparesAsHostsCount) {
    const UniString wall(u"Wall"), shout(u"WALL"), roof(u"Roof");
    EXPECT_FALSE(wall.IsEqual(shout, Kest::CaseSensitive));
    EXPECT_TRUE(wall.IsEqual(shout, Kest::CaseInsensitive));
    EXPECT_EQ(wall.Compare(shout, Kest::CaseSensitive), 2);
    EXPECT_EQ(wall.Compare(shout, Kest::CaseInsensitive), 1);
    EXPECT_EQ(roof.Compare(wall, Kest::CaseInsensitive), 0);
    EXPECT_EQ(wall.Compare(roof, Kest::CaseInsensitive), 2);
    EXPECT_EQ(UniString(u"stra\xDF"
                        u"e \x17F")
                  .ToUpper(),
              u"STRA\xDF"
              u"E S");
    EXPECT_EQ(std::hash<UniString>()(wall), std::hash<UniString>()(UniString("Wall")));
    EXPECT_TRUE(wall == u"Wall" && wall != shout && u"Wall" == wall && wall == std::u16string_view(u"Wall"));
}
