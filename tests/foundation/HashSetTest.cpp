#include <Kest/HashSet.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <stdexcept>

namespace {

using Kest::HashIndex;
using Kest::HashSet;
using Kest::UniString;

TEST(HashSetTest, RandomOperationsAgreeWithAModel) {
    std::mt19937 random(7);
    HashSet<UniString> set;
    std::set<std::uint32_t> model;
    for (int step = 0; step < 20000; ++step) {
        const auto number = static_cast<std::uint32_t>(random() % 500);
        const UniString key = UniString::Printf("a name of some length %u", number);
        ASSERT_EQ(set.Contains(key), model.contains(number));
        if (random() % 2 == 0)
            ASSERT_EQ(set.Add(key), model.insert(number).second);
        else
            ASSERT_EQ(set.Delete(key), model.erase(number) == 1);
        ASSERT_EQ(set.GetSize(), model.size());
    }
}

TEST(HashIndexTest, OneHashMayHaveManyPlacesThatComeGoAndMove) {
    HashIndex index;
    index.Reserve(4);
    const std::uint32_t hash = index.Mix(1);
    for (std::uint32_t place = 0; place < 4; ++place)
        index.Insert(hash, place);
    const auto has = [&](std::uint32_t place) {
        return index.Find(hash, [place](std::uint32_t at) { return at == place; }) == place;
    };
    index.Delete(hash, 1);
    index.Move(hash, 3, 1000);
    EXPECT_TRUE(has(0) && has(2) && has(1000));
    EXPECT_FALSE(has(1) || has(3));
    EXPECT_THROW(index.Reserve(HashIndex::None), std::length_error);
}

}   // namespace
