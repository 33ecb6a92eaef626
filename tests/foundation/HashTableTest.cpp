#include <Kest/HashTable.hpp>

#include "TestElements.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

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
class TableModel {
public:
    bool Add(int key, int value) {
        if (places.contains(key))
            return false;
        places[key] = pairs.size();
        pairs.emplace_back(key, value);
        return true;
    }
    void Put(int key, int value) {
        if (!Add(key, value))
            pairs[places[key]].second = value;
    }
    bool Delete(int key) {
        if (!places.contains(key))
            return false;
        DeleteAt(places[key]);
        return true;
    }
    void DeleteAt(std::size_t place) {
        places.erase(pairs[place].first);
        if (place + 1 < pairs.size()) {
            pairs[place] = pairs.back();
            places[pairs[place].first] = place;
        }
        pairs.pop_back();
    }
    const int* Find(int key) const {
        const auto found = places.find(key);
        return found == places.end() ? nullptr : &pairs[found->second].second;
    }
    void Clear() {
        pairs.clear();
        places.clear();
    }

    std::vector<std::pair<int, int>> pairs;

private:
    std::unordered_map<int, std::size_t> places;
};

template <class Table>
void ExpectSame(const Table& table, const TableModel& model) {
    ASSERT_EQ(table.GetSize(), model.pairs.size());
    ASSERT_TRUE(std::equal(table.begin(), table.end(), model.pairs.begin(), [](const auto& entry, const auto& pair) {
        return entry.key == pair.first && entry.value.value == pair.second;
    }));
}

template <class Table>
void RunAgainstModel(int keyCount, int steps, unsigned seed) {
    std::mt19937 random(seed);
    const auto draw = [&](int bound) { return static_cast<int>(random() % static_cast<unsigned>(bound)); };
    Table table;
    TableModel model;
    for (int step = 0; step < steps; ++step) {
        const int key = draw(keyCount) - keyCount / 2;
        switch (draw(8)) {
        case 0:
        case 1:
        case 2:
            ASSERT_EQ(table.Add(key, CountedElement(step)), model.Add(key, step));
            break;
        case 3:
            ASSERT_EQ(table.Put(key, CountedElement(step)).value, step);
            model.Put(key, step);
            break;
        case 4:
        case 5:
            ASSERT_EQ(table.Delete(key), model.Delete(key));
            break;
        case 6:
            if (!table.IsEmpty()) {
                const auto place = random() % table.GetSize();
                table.DeleteAt(place);
                model.DeleteAt(place);
            }
            break;
        default:
            if (draw(200) == 0) {
                table.Clear();
                model.Clear();
            } else if (draw(20) == 0) {
                Table moved(std::move(table));
                ASSERT_TRUE(table.IsEmpty());   // and usable
                ASSERT_FALSE(table.Contains(key));
                table = std::move(moved);
            }
        }
        const auto* found = table.Find(key);
        const int* expected = model.Find(key);
        ASSERT_EQ(found != nullptr, expected != nullptr) << "seed " << seed << ", step " << step;
        if (found != nullptr) {
            ASSERT_EQ(found->value, *expected);
        }
        ASSERT_EQ(CountedElement::living, static_cast<int>(table.GetSize()));
        if (step % 64 == 0)
            ExpectSame(table, model);
    }
    ExpectSame(table, model);
    for (const auto& [key, value] : model.pairs)
        ASSERT_EQ(table.Find(key)->value, value);
}

TEST(HashTableTest, RandomOperationsAgreeWithAModelInContentAndOrder) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        RunAgainstModel<HashTable<int, CountedElement>>(20, 5000, seed);
        RunAgainstModel<HashTable<int, CountedElement>>(3000, 20000, seed);
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
        EXPECT_GT(FailCopies([&] { other = table; },
                             [&] {
                                 ASSERT_EQ(other.GetSize(), 1U);
                                 ASSERT_EQ(other.Find(7)->value, 7);
                             }),
                  0);
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
    EXPECT_FALSE(table.Contains(u"WALL"));
    copy = *&copy;
    EXPECT_EQ(copy.GetSize(), 100U);
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
