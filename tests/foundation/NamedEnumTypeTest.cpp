#include <Kest/NamedEnumType.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

using Kest::UniString;
using KestXML::NamedEnumType;

namespace {

NamedEnumType<short> FlagNames() {
    NamedEnumType<short> own(true, {{short{-0x8000}, "Top"}, {0x3, "Both"}});
    NamedEnumType<short> names(true, {{0x40, "FromPax"}, {0x100, "FromMasterPax"}, {0x40, "FromPax"}});
    names.AddAll(own);
    names.AddAll(names);
    return names;
}

template <class T>
std::string ToText(const NamedEnumType<T>& names, int value) {
    UniString text = u"unchanged";
    EXPECT_TRUE(names.ToText(static_cast<T>(value), text)) << value;
    T back{};
    EXPECT_TRUE(names.FromText(text, back) && back == static_cast<T>(value)) << value;
    return text.ToCStr();
}

}   // namespace

TEST(NamedEnumTypeTest, ItemsKeepTheirOrderAndComeOnce) {
    std::vector<std::string> items;
    for (const auto& item : FlagNames())
        items.push_back(item.name.ToCStr() + std::to_string(item.value));
    EXPECT_EQ(items, (std::vector<std::string>{"FromPax64", "FromMasterPax256", "Top-32768", "Both3"}));
}

TEST(NamedEnumTypeTest, FlagSetsAreNamesOrAWholeNumber) {
    const struct {
        int value;
        const char* text;
    } cases[] = {
        {0, ""},        {0x140, "FromPax FromMasterPax"}, {-0x8000 | 3, "Top Both"}, {1, "0x1"}, {0x41, "0x41"},
        {-1, "0xffff"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ToText(FlagNames(), c.value), c.text);
    EXPECT_EQ(ToText(NamedEnumType<short>(true, {{0, "None"}, {1, "One"}}), 0), "None");
    EXPECT_EQ(ToText(NamedEnumType<short>(true, {{0, "None"}, {1, "One"}}), 1), "One");
}

TEST(NamedEnumTypeTest, EnumerationsAreOneNameOrANumber) {
    const NamedEnumType<int> names(false, {{-1, "No Kind"}, {2, "Two"}, {2, "Deux"}});
    EXPECT_EQ(ToText(names, -1), "No Kind");
    EXPECT_EQ(ToText(names, 2), "Two");
    EXPECT_EQ(ToText(names, 0), "0x0");
    EXPECT_EQ(ToText(names, std::numeric_limits<int>::min()), "0x80000000");
    int value = 7;
    EXPECT_TRUE(names.FromText(u" Deux\n", value) && value == 2);
    for (const char* text : {"", "Two Deux", "two", "0x100000000"})
        EXPECT_FALSE(names.FromText(text, value)) << text;
    EXPECT_EQ(value, 2);
}

TEST(NamedEnumTypeTest, FlagTextsAreReadWhole) {
    const struct {
        const char* text;
        int value;   // 1000: none
    } cases[] = {
        {"\tFromMasterPax \r\n FromPax ", 0x140},
        {"FromPax FromPax", 0x40},
        {" ", 0},
        {"0X00000ffFF", -1},
        {"0x8000", -0x8000},
        {"0x10000", 1000},
        {"0x", 1000},
        {"0x1g", 1000},
        {"FromPax 0x1", 1000},
        {"frompax", 1000},
        {"FromPax,FromMasterPax", 1000},
    };
    for (const auto& c : cases) {
        short value = 1000;
        EXPECT_EQ(FlagNames().FromText(c.text, value), c.value != 1000) << c.text;
        EXPECT_EQ(value, c.value) << c.text;
    }
}
