#include <Kest/HashSet.hpp>

#include "TestElements.hpp"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <set>
#include <stdexcept>

template <>
struct Kest::Hash<CopyOnlyElement> {
    std::uint64_t operator()(const CopyOnlyElement& key) const noexcept {
        return static_cast<std::uint64_t>(key.value);
    }
};

namespace {

using Kest::Guid;
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
    while (!set.IsEmpty())
        set.DeleteAt(set.GetSize() / 2);
    EXPECT_EQ(set.begin(), set.end());
}

TEST(HashSetTest, KeysOfTheHouseAndOfHostsAreDistinct) {
    enum class Kind : short { Layer = -1, Pen = 2 };
    HashSet<Kind> kinds;
    EXPECT_TRUE(kinds.Add(Kind::Layer) && kinds.Add(Kind::Pen) && !kinds.Add(Kind::Layer));

    HashSet<Guid> ids;
    const Guid id("{08DE19E5-D6A1-4e65-B87A-550201F72C02}");
    EXPECT_TRUE(ids.Add(id) && ids.Add(Guid()) && !ids.Add(Guid("{08de19e5-d6a1-4E65-b87a-550201f72c02}")));

    int things[2] = {};
    HashSet<const int*> pointers;
    EXPECT_TRUE(pointers.Add(&things[0]) && pointers.Add(&things[1]) && !pointers.Add(things));
}

TEST(HashSetTest, AThrowingCopyOfAKeyLeavesTheSetAsItWas) {
    HashSet<CopyOnlyElement> set;
    for (int key = 0; key < 8; ++key)
        set.Add(CopyOnlyElement(key));
    const CopyOnlyElement added(8);
    EXPECT_GT(FailCopies([&] { set.Add(added); },
                         [&] {
                             ASSERT_EQ(set.GetSize(), 8U);
                             ASSERT_FALSE(set.Contains(added));
                         }),
              1);
    EXPECT_TRUE(set.Contains(added));
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
    index.Clear();
    EXPECT_EQ(index.Find(hash, [](std::uint32_t) { return true; }), HashIndex::None);
    EXPECT_THROW(index.Reserve(HashIndex::None), std::length_error);
}

}   // namespace
