#include <Kest/UniqueName.hpp>

#include <gtest/gtest.h>

#include <functional>
#include <set>
#include <string>

using Kest::UniString;

namespace {

UniString Generate(const UniString& base, const std::set<std::u16string>& takenUpper,
                   const std::function<bool(const UniString&)>& filter = nullptr) {
    UniString result = base;
    const auto isFree = [&](const UniString& name) { return !takenUpper.contains(name.ToUpper().ToUStr()); };
    Kest::GenerateUniqueName(result, result, isFree, filter);
    return result;
}

}   // namespace

TEST(UniqueNameTest, CountsFromTheBase) {
    const struct {
        const char* when;
        UniString base;
        std::set<std::u16string> taken;
        UniString expected;
    } cases[] = {
        {"a free base is kept", u"Wall", {u"ROOF"}, u"Wall"},
        {"a taken one counts from 1", u"Wall", {u"WALL"}, u"Wall (1)"},
        {"the smallest free number", u"Wall", {u"WALL", u"WALL (1)", u"WALL (3)"}, u"Wall (2)"},
        {"a numbered base counts on", u"Wall (3)", {u"WALL (3)", u"WALL (4)"}, u"Wall (5)"},
        {"zero is no number", u"Wall (0)", {u"WALL (0)"}, u"Wall (0) (1)"},
        {"a leading zero makes no number", u"Wall (01)", {u"WALL (01)"}, u"Wall (01) (1)"},
        {"no blank, no number", u"Wall(1)", {u"WALL(1)"}, u"Wall(1) (1)"},
        {"ten digits are no number", u"W (1000000000)", {u"W (1000000000)"}, u"W (1000000000) (1)"},
        {"the greatest has no next", u"W (999999999)", {u"W (999999999)"}, u"W (999999999) (1)"},
        {"not even on the way", u"W (999999998)", {u"W (999999998)", u"W (999999999)"}, u"W (999999998) (1)"},
        {"other digits are letters", u"W (\x0661)", {u"W (\x0661)"}, u"W (\x0661) (1)"},
        {"nothing but a number", u" (2)", {u" (2)"}, u" (3)"},
        {"the empty base", u"", {u""}, u" (1)"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Generate(c.base, c.taken), c.expected) << c.when;
}

TEST(UniqueNameTest, FilterRefusesFreeNames) {
    EXPECT_EQ(Generate(u"Wall", {}, [](const UniString& name) { return name.GetLength() > 4; }), u"Wall (1)");
}

TEST(UniqueNameTest, NumberedNamesComeApartAndTogether) {
    const Kest::NumberedName numbered(u"Wall (1) (12)");
    EXPECT_EQ(numbered.GetStem(), u"Wall (1)");
    EXPECT_EQ(numbered.GetNumber(), 12U);
    EXPECT_EQ(numbered.GetFirstNumber(), 13U);
    EXPECT_EQ(Kest::NumberedName::FromStem(u"Wall (2)").MakeName(1), u"Wall (2) (1)");
}

TEST(UniqueNameTest, WhitespaceIsUnicodes) {
    EXPECT_FALSE(Kest::ContainsNonWhitespace(u""));
    EXPECT_FALSE(
        Kest::ContainsNonWhitespace(u"\t\n\v\f\r \x85\xA0\x1680\x2000\x2005\x200A\x2028\x2029\x202F\x205F\x3000"));
    for (const char16_t unit : {u'a', u'\x200B', u'\x180E', u'\xFEFF', u'\xD800', u'\0'})
        EXPECT_TRUE(Kest::ContainsNonWhitespace(u" " + UniString(&unit, 1))) << std::hex << int{unit};
}
