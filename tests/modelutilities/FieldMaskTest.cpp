#include <ZalUtil/FieldMask.hpp>

#include <gtest/gtest.h>

#include <cstddef>
#include <limits>
#include <random>
#include <set>
#include <vector>

#include "support/ForEachFailure.hpp"

namespace {

const Kest::Guid Classes[] = {Kest::Guid("{08DE19E5-D6A1-4E65-B87A-550201F72C02}"),
                              Kest::Guid("{10C533E3-179E-4F83-A762-F415D8B0A0CA}"),
                              Kest::Guid("{00000000-0000-0000-0000-000000000001}"), Kest::Guid()};
constexpr int Numbers[] = {
    0, 1, 5, 31, 32, 63, 64, 1000, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()};

std::vector<FieldID> AllFields() {
    std::vector<FieldID> fields;
    for (const Kest::Guid& classId : Classes)
        for (const int number : Numbers)
            fields.push_back(FieldMask::FieldIdx2FieldId(classId, number));
    return fields;
}

TEST(FieldMaskTest, RandomOperationsAgreeWithASetOfFields) {
    const std::vector<FieldID> fields = AllFields();
    std::mt19937 random(20);
    FieldMask masks[3];
    std::set<std::size_t> models[3];   // places in `fields`
    for (int step = 0; step < 20000; ++step) {
        const std::size_t one = random() % 3, other = random() % 3, field = random() % fields.size();
        const auto draw = random() % (step % 2000 < 1000 ? 80 : 50);   // sets more, then clears more
        if (draw < 20) {
            masks[one].Clear(fields[field]);
            models[one].erase(field);
        } else if (draw < 30) {
            masks[one] |= masks[other];
            models[one].insert(models[other].begin(), models[other].end());
        } else if (draw < 39) {
            masks[one] = FieldMask(masks[other]);
            models[one] = models[other];
        } else if (draw == 39) {
            masks[one].ClearAll();
            models[one].clear();
        } else {
            masks[one].Set(fields[field]);
            models[one].insert(field);
        }
        for (std::size_t n = 0; n < fields.size(); ++n)
            ASSERT_EQ(masks[one].Test(fields[n]), models[one].contains(n)) << "field " << n << ", step " << step;
        ASSERT_EQ(masks[one].IsEmpty(), models[one].empty()) << step;
        ASSERT_EQ(masks[one] == masks[other], models[one] == models[other]) << step;
    }
}

TEST(FieldMaskTest, FieldsOfTwoClassesNeedNoMemory) {
    bool isEqual = false;
    {
        const AllocationFailures failures(0, true);
        FieldMask mask;
        for (const int number : {0, 5, 63}) {
            mask.Set({Classes[0], number});
            mask.Set({Classes[3], number});
        }
        FieldMask copy(mask), sum;
        sum |= mask;
        copy = sum;
        isEqual = copy == mask;
    }
    EXPECT_TRUE(isEqual);
}

TEST(FieldMaskTest, WhatRunsOutOfMemoryChangesNothing) {
    FieldMask before, added;
    before.Set({Classes[0], 64});
    for (const FieldID& field : AllFields())
        added.Set(field);
    FieldMask mask(before);
    ForEachFailure([&] { mask |= added; },
                   [&](bool failed) {
                       EXPECT_EQ(mask, failed ? before : added);
                       if (!failed)
                           mask = before;
                   });
}

}   // namespace
