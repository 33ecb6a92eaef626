#include <IO/Location.hpp>

#include <gtest/gtest.h>

namespace {

using IO::Location;

TEST(LocationTest, PathsAreCleaned) {
    const struct {
        const char* given;
        const char* path;
        const char* last;
    } cases[] = {
        {"", "", ""},
        {"/", "/", ""},
        {"//", "/", ""},
        {"a", "a", "a"},
        {"a/b//c/", "a/b/c", "c"},
        {"//x", "/x", "x"},
        {"/büro/pläne", "/büro/pläne", "pläne"},
    };
    for (const auto& c : cases) {
        const Location location{Kest::UniString(c.given)};
        EXPECT_EQ(location.ToUtf8(), c.path) << c.given;
        EXPECT_EQ(location.GetLastLocalName().ToCStr(), c.last) << c.given;
    }
}

TEST(LocationTest, GoesDownAndUp) {
    for (const char* const start : {"", "/", "a", "/a/b"}) {
        Location location{Kest::UniString(start)};
        const Location before = location;
        ASSERT_EQ(location.AppendToLocal(u"Attribute.xml"), 0);
        EXPECT_EQ(location.GetLastLocalName(), u"Attribute.xml") << start;
        ASSERT_EQ(location.DeleteLastLocalName(), 0);
        EXPECT_EQ(location, before) << start;
    }
    Location root{Kest::UniString("/")};
    EXPECT_NE(root.DeleteLastLocalName(), 0);
    EXPECT_EQ(root.ToUtf8(), "/");
}

TEST(LocationTest, RefusesWhatIsNoPlainName) {
    Location location{Kest::UniString("folder")};
    for (const std::u16string_view name : {u"", u".", u"..", u"a/b", u"/"})
        EXPECT_NE(location.AppendToLocal(name), 0);
    EXPECT_NE(location.AppendToLocal(std::u16string_view(u"a\0b", 3)), 0);
    EXPECT_EQ(location.ToUtf8(), "folder");
}

}   // namespace
