#include <AttributeManager/AttributeNewIndexTable.hpp>

#include <AttributeManager/AttributeErrors.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "support/ForEachFailure.hpp"

namespace {

using ADB::AttributeNewIndexTable;
using ADB::Error::None;
using ADB::Error::NoSuchIndex;
using ADB::Error::UnknownType;

constexpr short Largest = std::numeric_limits<short>::max();
constexpr short Least = std::numeric_limits<short>::min();

// The mappings as "2:5>9 2:6>9", in storage order.
std::string Describe(const AttributeNewIndexTable& table) {
    std::string text;
    table.EnumerateEntries([&text](const short& typeId, const short& oldIndex, const short& newIndex) {
        text += (text.empty() ? "" : " ") + std::to_string(typeId) + ':' + std::to_string(oldIndex) + '>' +
                std::to_string(newIndex);
    });
    return text;
}

TEST(AttributeNewIndexTableTest, ANewIndexIsCheckedBeforeTheType) {
    const struct {
        short typeId, oldIndex, newIndex;
        int expected;
    } cases[] = {
        {0, 5, 7, UnknownType},     {0, 5, 0, NoSuchIndex},
        {Least, 5, 7, UnknownType}, {3, 5, 0, NoSuchIndex},
        {3, 5, Least, NoSuchIndex}, {3, 0, 7, None},
        {3, Least, 7, None},        {Largest, Largest, Largest, None},
    };
    for (const auto& c : cases) {
        for (const bool replaces : {false, true}) {
            AttributeNewIndexTable table;
            const int code = replaces ? table.ReplaceNewIndex(c.typeId, c.oldIndex, c.newIndex)
                                      : table.SetNewIndex(c.typeId, c.oldIndex, c.newIndex);
            EXPECT_EQ(code, c.expected) << c.typeId << ' ' << c.newIndex;
            EXPECT_EQ(table.IsUsedAttributeType(c.typeId), code == None);
            EXPECT_EQ(table.HasChanged(false, 0), code == None);
            EXPECT_EQ(table.GetNewIndex(c.typeId, c.oldIndex), code == None ? c.newIndex : 0);
        }
    }
}

TEST(AttributeNewIndexTableTest, ChainsCollapseOnReplacing) {
    AttributeNewIndexTable table;
    for (const short typeId : {short{3}, short{2}})
        table.SetNewIndex(typeId, 5, 6);
    table.ReplaceNewIndex(2, 6, 9);
    table.ReplaceNewIndex(2, 9, 1);
    table.ReplaceNewIndex(2, 4, 5);   // the other way round is no chain
    EXPECT_EQ(Describe(table), "3:5>6 2:5>1 2:6>1 2:9>1 2:4>5") << "another type is left alone";
    const AttributeNewIndexTable copy(table);
    table.ReplaceNewIndex(2, 1, 1);
    table.ClearNewIndex(2, 5);
    EXPECT_EQ(Describe(copy), "3:5>6 2:5>1 2:6>1 2:9>1 2:4>5") << "copies are deep";
    EXPECT_EQ(table.ClearNewIndex(0, 8), UnknownType);
    table.SetAttributeTypeAsUsed(0);
    EXPECT_TRUE(table.IsUsedAttributeType(0)) << "the id is not checked";
    EXPECT_THROW(table.EnumerateEntries(nullptr), std::bad_function_call);
}

TEST(AttributeNewIndexTableTest, TheMaskNamesTypesToPassOver) {
    constexpr int Bit31 = std::numeric_limits<int>::min();
    const struct {
        std::vector<short> used;
        bool useMask;
        int mask;
        bool expected;
    } cases[] = {
        {{}, false, 0, false},       {{}, true, 0, false},        {{4}, false, ~0, true},
        {{4}, true, 0, true},        {{4}, true, 1 << 4, false},  {{4}, true, ~(1 << 4), true},
        {{36}, true, 1 << 4, false}, {{36}, true, 1 << 3, true},  {{31}, true, Bit31, false},
        {{31}, true, ~Bit31, true},  {{32}, true, 1, false},      {{255}, true, Bit31, false},
        {{256}, true, 1, false},     {{4, 5}, true, 0x30, false}, {{4, 5}, true, 0x10, true},
        {{-1}, true, Bit31, false},
    };
    for (const auto& c : cases) {
        AttributeNewIndexTable table;
        for (const short typeId : c.used)
            table.SetAttributeTypeAsUsed(typeId);
        EXPECT_EQ(table.HasChanged(c.useMask, c.mask), c.expected)
            << (c.used.empty() ? 0 : c.used.front()) << " mask " << c.mask;
    }
}

TEST(AttributeNewIndexTableTest, RandomOperationsAgreeWithAMap) {
    std::mt19937 random(52);
    AttributeNewIndexTable table;
    std::map<short, std::map<short, short>> model;
    const auto draw = [&random](unsigned int bound) { return static_cast<short>(1 + random() % bound); };
    for (int step = 0; step < 20000; ++step) {
        const short typeId = draw(4), oldIndex = static_cast<short>(draw(9) - 4), newIndex = draw(5);
        switch (draw(12)) {
        case 1:
            table.SetAttributeTypeAsUnused(typeId);
            model.erase(typeId);
            break;
        case 2:
            table.SetAttributeTypeAsUsed(typeId);
            model[typeId];
            break;
        case 3:
        case 4:
            ASSERT_EQ(table.ClearNewIndex(typeId, oldIndex), None);
            if (model.contains(typeId))
                model[typeId].erase(oldIndex);
            break;
        case 5:
        case 6:
            ASSERT_EQ(table.ReplaceNewIndex(typeId, oldIndex, newIndex), None);
            for (auto& mapping : model[typeId])
                if (mapping.second == oldIndex)
                    mapping.second = newIndex;
            model[typeId][oldIndex] = newIndex;
            break;
        default:
            ASSERT_EQ(table.SetNewIndex(typeId, oldIndex, newIndex), None);
            model[typeId][oldIndex] = newIndex;
        }
        std::map<short, std::map<short, short>> seen;
        table.EnumerateEntries([&](const short& type, const short& from, const short& to) { seen[type][from] = to; });
        for (const auto& [type, mappings] : model) {
            ASSERT_EQ(seen[type], mappings) << step;
            ASSERT_EQ(table.GetMaxIndex(type), mappings.empty() ? 0 : std::max<int>(0, mappings.rbegin()->first));
        }
        ASSERT_EQ(seen.size(), model.size()) << step;
        ASSERT_EQ(table.IsUsedAttributeType(typeId), model.contains(typeId)) << step;
    }
}

TEST(AttributeNewIndexTableTest, WhatRunsOutOfMemoryChangesNothing) {
    AttributeNewIndexTable before;
    before.SetNewIndex(1, 2, 3);
    for (const short typeId : {short{1}, short{2}}) {
        AttributeNewIndexTable table(before);
        int status = None;
        const FailureCount count = ForEachFailure([&] { status = table.ReplaceNewIndex(typeId, 3, 4); },
                                                  [&](bool failed) {
                                                      EXPECT_EQ(status, failed ? ADB::Error::MemoryFull : None);
                                                      EXPECT_EQ(Describe(table) == Describe(before), failed);
                                                      EXPECT_EQ(table.IsUsedAttributeType(2), !failed && typeId == 2);
                                                      if (!failed)
                                                          table = before;
                                                  });
        EXPECT_GT(count.failures, 0U);
    }
    const ADB::IAttributeNewIndexTable* made = &before;
    {
        const AllocationFailures failures(0, true);
        made = CreateAttributeNewIndexTable();
    }
    EXPECT_EQ(made, nullptr);
}

TEST(AttributeNewIndexTableTest, ReferencesAreRenumberedThroughTheInterface) {
    ADB::IAttributeNewIndexTable* table = CreateAttributeNewIndexTable();
    ASSERT_NE(table, nullptr);
    EXPECT_FALSE(table->GetAttributeSet());
    table->SetNewIndex(3, 5, 7);
    table->SetAttributeTypeAsUsed(0);
    const struct {
        short typeId, oldIndex, expected;
    } cases[] = {{3, 5, 7}, {3, 6, 0}, {4, 5, 0}, {0, 5, 0}, {-1, 5, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(GetNewAttributeIndex(table, c.typeId, c.oldIndex), c.expected) << c.typeId;

    DisposeAttributeNewIndexTable(&table);
    EXPECT_EQ(table, nullptr);
    DisposeAttributeNewIndexTable(&table);
    DisposeAttributeNewIndexTable(nullptr);
}

}   // namespace
