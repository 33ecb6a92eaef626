#include <Kest/Array.hpp>

#include <gtest/gtest.h>

#include <string>

namespace {

using Kest::Array;

TEST(ArrayTest, InsertsDeletesAndFindsByIndexAndValue) {
    Array<std::string> names{"a", "b", "a"};
    names.Insert(0, names.GetLast());   // an element of its own, which moves
    names.Insert(4, "z");
    EXPECT_EQ(names, (Array<std::string>{"a", "a", "b", "a", "z"}));
    names.Delete(1);
    EXPECT_EQ(names.Find("a"), 0U);
    EXPECT_EQ(names.Find("c"), Array<std::string>::NotFound);
    EXPECT_EQ(names.DeleteAll(names[0]), 2U);
    EXPECT_EQ(names, (Array<std::string>{"b", "z"}));
    EXPECT_FALSE(names.Contains("a"));
}

}   // namespace
