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
    }
    EXPECT_EQ(u"a" + UniString(u"b") + "\xC3\xA9" + u'z', u"ab\xE9z");
}

TEST(UniStringTest, ChangesInPlace) {
    UniString name(u"Wall of brick");
    for (const std::size_t place : {std::size_t{0}, std::size_t{13}, ~std::size_t{0}})
        name.SetCharacter(place, u'w');
    name.Truncate(100);
    EXPECT_EQ(name, u"wall of brick");
    name.Truncate(4);
    EXPECT_EQ(std::u16string(name.ToUStr()), u"wall");
}

TEST(UniStringTest, SpeaksUtf8) {
    const std::pair<const char*, std::u16string> cases[] = {
        {"a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80", u"a\u00E9\u20AC\U0001F600"},
        {"Au\xC3\x9F"
         "enwand 36,5 \xF0\x9F\x98\x80",
         u"Au\u00DFenwand 36,5 \U0001F600"},
        {"\xEF\xBF\xBD", u"\xFFFD"}};
    for (const auto& [utf8, utf16] : cases) {
        EXPECT_EQ(UniString(utf8).GetView(), utf16);
        EXPECT_EQ(UniString(utf16).ToCStr(), utf8);
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
    EXPECT_EQ(std::hash<UniString>()(wall), std::hash<UniString>()(UniString("Wall")));
}
