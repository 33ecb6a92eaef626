#include <Kest/ClassVersion.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>

TEST(ClassVersionTest, MajorDecidesThenMinor) {
    const Kest::ClassVersion ascending[] = {{}, {0, 1}, {2, 9}, {3, 0}, {3, 1}, {3, 200}, {200, 0}};
    for (std::size_t i = 0; i < std::size(ascending); ++i)
        for (std::size_t j = 0; j < std::size(ascending); ++j)
            EXPECT_EQ(ascending[i] <=> ascending[j], i <=> j);
}
