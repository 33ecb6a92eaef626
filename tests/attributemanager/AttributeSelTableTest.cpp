#include <AttributeManager/AttributeSelTable.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <random>
#include <vector>

#include <gtest/gtest.h>

#include <AttributeManager/AttributeErrors.hpp>

#include "support/ForEachFailure.hpp"

namespace {

using ADB::AttributeSelTable;
using Order = std::vector<short>;

constexpr short Least = std::numeric_limits<short>::min();

Order SelectedOf(const AttributeSelTable& table, short typeId) {
    const Kest::Array<short>* const selected = table.FindSelected(typeId);
    return selected != nullptr ? Order(selected->begin(), selected->end()) : Order();
}

TEST(AttributeSelTableTest, RandomSelectionsAgreeWithAList) {
    std::mt19937 random(53);
    AttributeSelTable table;
    std::map<short, Order> model;
    for (int step = 0; step < 20000; ++step) {
        const auto typeId = static_cast<short>(1 + random() % 3);
        const auto index = static_cast<short>(static_cast<int>(random() % 12) - 4);
        Order& order = model[typeId];
        const auto place = std::find(order.begin(), order.end(), index);
        if (random() % 2 == 0) {
            ASSERT_EQ(table.SelectAttribute(typeId, index), 0);
            if (place == order.end())
                order.push_back(index);
        } else {
            ASSERT_EQ(table.DeselectAttribute(typeId, index), 0);
            if (place != order.end())
                order.erase(place);
        }
        for (const auto& [type, expected] : model)
            ASSERT_EQ(SelectedOf(table, type), expected) << step;
        for (short asked = -5; asked < 9; ++asked)
            ASSERT_EQ(table.IsAttributeSelected(typeId, asked), std::count(order.begin(), order.end(), asked) == 1);
    }
}

TEST(AttributeSelTableTest, OnlyTheTypeIdIsChecked) {
    AttributeSelTable table;
    for (const short typeId : {short{0}, short{-1}, Least}) {
        EXPECT_EQ(table.SelectAttribute(typeId, 5), ADB::Error::UnknownType);
        EXPECT_EQ(table.DeselectAttribute(typeId, 5), ADB::Error::UnknownType);
        EXPECT_FALSE(table.IsAttributeSelected(typeId, 5));
        EXPECT_EQ(table.FindSelected(typeId), nullptr);
    }
    EXPECT_EQ(table.DeselectAttribute(1, 5), 0);
    EXPECT_EQ(table.FindSelected(1), nullptr);
    EXPECT_EQ(table.SelectAttribute(1, Least), 0);
    const AttributeSelTable copy(table);
    EXPECT_EQ(table.DeselectAttribute(1, Least), 0);
    EXPECT_EQ(SelectedOf(copy, 1), Order{Least}) << "copies are deep";
    EXPECT_NE(table.FindSelected(1), nullptr) << "empty, but not unknown";
}

TEST(AttributeSelTableTest, WhatRunsOutOfMemoryChangesNothing) {
    for (const short typeId : {short{1}, short{2}}) {
        AttributeSelTable before;
        before.SelectAttribute(1, 3);
        AttributeSelTable table(before);
        int status = 0;
        const FailureCount count =
            ForEachFailure([&] { status = table.SelectAttribute(typeId, 4); },
                           [&](bool failed) {
                               EXPECT_EQ(status, failed ? ADB::Error::MemoryFull : 0);
                               EXPECT_EQ(table.IsAttributeSelected(typeId, 4), !failed);
                               EXPECT_EQ(table.FindSelected(2) != nullptr, !failed && typeId == 2);
                               if (!failed)
                                   table = before;
                           });
        EXPECT_GT(count.failures, 0U);
    }
    ADB::IAttributeSelTable* made = CreateAttributeSelTable();
    DisposeAttributeSelTable(&made);
    EXPECT_EQ(made, nullptr);
    DisposeAttributeSelTable(&made);
    DisposeAttributeSelTable(nullptr);
}

}   // namespace
