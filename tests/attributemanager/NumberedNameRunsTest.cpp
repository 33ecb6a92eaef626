#include "NumberedNameRuns.hpp"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>

namespace {

using ADB::NumberedNameRuns;
using Kest::NumberedName;
using Kest::UniString;

class NumberedNameRunsTest : public testing::Test {
protected:
    UniString FindFree(const UniString& base) {
        asked = 0;
        return runs.FindFree(NumberedName(base), [this](const UniString& name) {
            ++asked;
            return !taken.contains(name.ToUpper().ToCStr());
        });
    }
    void Take(const UniString& name) { taken.insert(name.ToUpper().ToCStr()); }
    void Free(const UniString& name) {
        taken.erase(name.ToUpper().ToCStr());
        runs.Forget(name);
    }

    NumberedNameRuns runs;
    std::set<std::string> taken;
    int asked = 0;
};

TEST_F(NumberedNameRunsTest, WhatIsKnownToBeTakenIsNotTriedAgain) {
    for (int count = 1; count <= 300; ++count) {
        const UniString name = FindFree(count % 2 == 0 ? u"Wall" : u"WALL");
        EXPECT_EQ(name.ToUpper(), UniString::Printf("WALL (%d)", count));
        EXPECT_LE(asked, 2) << count;
        Take(name);
    }
    Free(u"wall (120)");
    EXPECT_EQ(FindFree(u"Wall"), u"Wall (120)");
    EXPECT_LE(asked, 2);
    EXPECT_EQ(FindFree(u"Wall (120)"), u"Wall (301)");
}

TEST_F(NumberedNameRunsTest, RandomUseAgreesWithTryingEachName) {
    std::mt19937 random(35);
    for (int step = 0; step < 5000; ++step) {
        const UniString base =
            random() % 3 == 0 ? UniString(u"Roof") : UniString::Printf("Wall (%u)", random() % 40 + 1);
        if (random() % 2 == 0) {
            Free(base);
            continue;
        }
        const NumberedName counting(base);
        std::uint32_t number = counting.GetFirstNumber();
        while (taken.contains(counting.MakeName(number).ToUpper().ToCStr()))
            ++number;
        const UniString found = FindFree(base);
        ASSERT_EQ(found, counting.MakeName(number)) << step;
        if (random() % 3 != 0)
            Take(found);
    }
}

}   // namespace
