#include <Kest/HashTable.hpp>

#include "TestElements.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "support/ForEachFailure.hpp"

namespace {

using Kest::HashTable;
using Kest::UniString;

// All keys in a few long runs: probing and closing gaps get their worst case.
struct PoorHash {
    std::uint64_t operator()(int key) const noexcept { return static_cast<std::uint64_t>(key % 3); }
};

struct PointeeHash {
    std::uint64_t operator()(const std::unique_ptr<int>& key) const noexcept { return key ? 1 : 0; }
};

/// The promised behaviour, plainly: pairs in a vector, the last one moves into a gap.
struct TableModel {
    std::size_t PlaceOf(int key) const {
        const auto hasKey = [key](const auto& pair) { return pair.first == key; };
        return static_cast<std::size_t>(std::find_if(pairs.begin(), pairs.end(), hasKey) - pairs.begin());
    }
    void DeleteAt(std::size_t place) {
        pairs[place] = pairs.back();
        pairs.pop_back();
    }
    std::vector<std::pair<int, int>> pairs;
};

template <class Table>
void RunAgainstModel(unsigned keyCount, int steps, unsigned seed) {
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    Table table;
    TableModel model;
    for (int step = 0; step < steps; ++step) {
        const int key = static_cast<int>(random() % keyCount) - static_cast<int>(keyCount / 2);
        const std::size_t place = model.PlaceOf(key);
        const bool isThere = place < model.pairs.size();
        const unsigned draw = random() % 8;
        if (draw < 3) {
            ASSERT_EQ(table.Add(key, CountedElement(step)), !isThere);
            if (!isThere)
                model.pairs.emplace_back(key, step);
        } else if (draw == 3) {
            ASSERT_EQ(table.Put(key, CountedElement(step)).value, step);
            if (!isThere)
                model.pairs.emplace_back(key, 0);
            model.pairs[place].second = step;
        } else if (draw < 6) {
            ASSERT_EQ(table.Delete(key), isThere);
            if (isThere)
                model.DeleteAt(place);
        } else if (draw == 6 && !table.IsEmpty()) {
            const std::size_t gone = random() % table.GetSize();
            table.DeleteAt(gone);
            model.DeleteAt(gone);
        } else if (random() % 200 == 0) {
            table.Clear();
            model.pairs.clear();
        } else if (random() % 20 == 0) {
            Table moved(std::move(table));
            ASSERT_TRUE(table.IsEmpty() && !table.Contains(key));   // and usable
            table = std::move(moved);
        }
        ASSERT_EQ(CountedElement::living, static_cast<int>(model.pairs.size()));
        ASSERT_EQ(table.Contains(key), model.PlaceOf(key) < model.pairs.size());
        if (step % 64 != 0)
            continue;
        ASSERT_TRUE(std::equal(table.begin(), table.end(), model.pairs.begin(), model.pairs.end(),
                               [](const auto& entry, const auto& pair) {
                                   return entry.key == pair.first && entry.value.value == pair.second;
                               }));
        for (const auto& [held, value] : model.pairs)
            ASSERT_EQ(table.Find(held)->value, value);
    }
}

TEST(HashTableTest, RandomOperationsAgreeWithAModelInContentAndOrder) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        RunAgainstModel<HashTable<int, CountedElement>>(20, 5000, seed);
        RunAgainstModel<HashTable<int, CountedElement>>(1500, 10000, seed);
        RunAgainstModel<HashTable<int, CountedElement, PoorHash>>(60, 10000, seed);
    }
    EXPECT_EQ(CountedElement::living, 0);
}

TEST(HashTableTest, KeysMayBeMoveOnlyAndValuesChangedWhileWalking) {
    HashTable<std::unique_ptr<int>, int, PointeeHash> table;
    EXPECT_TRUE(table.Add(std::make_unique<int>(2), 20));
    table.Put(nullptr, 5);
    for (auto&& [key, value] : table) {
        static_assert(std::is_const_v<std::remove_reference_t<decltype(key)>>);
        value *= 2;
    }
    EXPECT_EQ(table.GetEntry(0).value, 40);
    EXPECT_EQ(*table.Find(nullptr), 10);
}

TEST(HashTableTest, AThrowingCopyLeavesTheTableAsItWas) {
    for (const int size : {0, 1, 6, 7, 8, 12}) {   // with and without growth of the array or of the slots
        HashTable<int, CopyOnlyElement> table;
        for (int key = 0; key < size; ++key)
            table.Add(key, CopyOnlyElement(key));
        const auto expectUnchanged = [&] {
            ASSERT_EQ(table.GetSize(), static_cast<std::size_t>(size));
            ASSERT_FALSE(table.Contains(100));
            for (int key = 0; key < size; ++key)
                ASSERT_EQ(table.Find(key)->value, key);
        };
        EXPECT_GT(FailCopies([&] { table.Add(100, CopyOnlyElement(100)); }, expectUnchanged), 0);
        EXPECT_EQ(table.Find(100)->value, 100);

        HashTable<int, CopyOnlyElement> other;
        other.Add(7, CopyOnlyElement(7));
        EXPECT_GT(FailCopies([&] { other = table; }, [&] { ASSERT_EQ(other.Find(7)->value, 7); }), 0);
        EXPECT_EQ(other.GetSize(), table.GetSize());
    }
}

TEST(HashTableTest, CopiesAreIndependentAndValuesMayComeFromTheTableItself) {
    HashTable<UniString, std::string> table;
    table.Add(u"wall", "a text that is too long to be held in place");
    for (int n = 0; n < 100; ++n)   // the source moves while the table grows
        table.Put(UniString::Printf("%d", n), table.GetEntry(0).value);
    HashTable<UniString, std::string> copy(table);
    EXPECT_TRUE(copy.Delete(u"wall"));
    EXPECT_EQ(copy.GetEntry(0).key, u"99");
    EXPECT_EQ(*table.Find(u"99"), *table.Find(u"wall"));
}

TEST(HashTableTest, AddingWithoutMemoryLeavesTheTableAsItWas) {
    HashTable<int, int> table;
    const auto addSome = [&table] {
        table = HashTable<int, int>();
        for (int n = 0; n < 100; ++n)
            table.Add(n, n);
    };
    const auto count = ForEachFailure(addSome, [&table](bool) {
        const int size = static_cast<int>(table.GetSize());
        for (int n = 0; n <= size; ++n)
            ASSERT_EQ(table.Contains(n), n < size) << n << " of " << size;
    });
    EXPECT_GT(count.failures, 0U);
}

TEST(HashTableTest, PlainKeysInSteadyStridesStaySpread) {
    for (const unsigned shift : {0U, 4U, 16U, 40U}) {
        HashTable<std::uint64_t, int> table;
        for (std::uint64_t n = 0; n < 200000; ++n)   // quadratic, were the hash taken as it is
            ASSERT_TRUE(table.Add(n << shift, 0));
        ASSERT_FALSE(table.Contains(std::uint64_t{200000} << shift));
    }
}

}   // namespace
