#include <ZalUtil/FieldMask.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <random>
#include <utility>
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

class PlainMask {
public:
    explicit PlainMask(std::size_t count) : isSet(count) {}

    bool operator==(const PlainMask&) const = default;
    bool IsEmpty() const { return std::find(isSet.begin(), isSet.end(), true) == isSet.end(); }

    std::vector<bool> isSet;
};

void ExpectSame(const FieldMask& mask, const PlainMask& model, const std::vector<FieldID>& fields, int step) {
    for (std::size_t n = 0; n < fields.size(); ++n)
        ASSERT_EQ(mask.Test(fields[n]), model.isSet[n]) << "field " << n << ", step " << step;
    ASSERT_EQ(mask.IsEmpty(), model.IsEmpty()) << step;
}

TEST(FieldMaskTest, RandomOperationsAgreeWithAListOfFlags) {
    const std::vector<FieldID> fields = AllFields();
    std::mt19937 random(20);
    const auto draw = [&](std::size_t bound) { return random() % bound; };
    FieldMask masks[3];
    std::vector<PlainMask> models(3, PlainMask(fields.size()));
    for (int step = 0; step < 20000; ++step) {
        const std::size_t one = draw(3), other = draw(3), field = draw(fields.size());
        switch (draw(step % 2000 < 1000 ? 8 : 5)) {   // sets more in one half of the time, clears more in the other
        case 0:
        case 1:
            masks[one].Clear(fields[field]);
            models[one].isSet[field] = false;
            break;
        case 2:
            masks[one] |= masks[other];
            for (std::size_t n = 0; n < fields.size(); ++n)
                models[one].isSet[n] = models[one].isSet[n] || models[other].isSet[n];
            break;
        case 3:
            masks[one] = FieldMask(masks[other]);
            models[one] = models[other];
            break;
        case 4:
            if (draw(20) == 0) {
                masks[one].ClearAll();
                models[one] = PlainMask(fields.size());
            }
            break;
        default:
            masks[one].Set(fields[field]);
            models[one].isSet[field] = true;
        }
        ExpectSame(masks[one], models[one], fields, step);
        ASSERT_EQ(masks[one] == masks[other], models[one] == models[other]) << step;
    }
}

TEST(FieldMaskTest, EqualityIgnoresTheOrderOfSettingAndWhatWasCleared) {
    std::vector<FieldID> fields = AllFields();
    FieldMask forward, backward;
    for (const FieldID& field : fields)
        forward.Set(field);
    std::reverse(fields.begin(), fields.end());
    for (const FieldID& field : fields)
        backward.Set(field);
    EXPECT_EQ(forward, backward);
    for (const FieldID& field : fields) {
        backward.Clear(field);
        EXPECT_NE(forward, backward);
        forward.Clear(field);
        EXPECT_EQ(forward, backward);
    }
    EXPECT_TRUE(forward.IsEmpty());
    EXPECT_EQ(forward, FieldMask());
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

struct Layer {
    static Kest::Guid GetFieldClassId() { return Classes[0]; }
};

TEST(FieldMaskTest, AMaskOfAClassNumbersItsOwnFieldsAlone) {
    FieldMaskT<Layer> mask;
    mask.Set(5);
    mask.Set(FieldID{Classes[1], 3});
    EXPECT_TRUE(mask.Test(FieldID{Classes[0], 5}));
    EXPECT_FALSE(mask.Test(3));

    const FieldMask plain(mask);
    FieldMaskT<Layer> again(plain);
    EXPECT_TRUE(again.Test(5));
    again.Clear(5);
    EXPECT_FALSE(again.Test(5));
    EXPECT_FALSE(again.IsEmpty());
}

}   // namespace
