#include "editing/TypeEdit.hpp"

#include "Failure.hpp"
#include "Session.hpp"
#include "checking/SetCheck.hpp"
#include "documents/SetComparison.hpp"
#include "kinds/AllKinds.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using namespace Host;

constexpr unsigned int FillId = Fill::Record.refId;

class TypeEditTest : public testing::Test {
protected:
    TypeEditTest() {
        for (const char16_t* const name : {u"Empty", u"Solid", u"Dots"}) {
            Fill fill;
            fill.SetName(name);
            set->NewAttribute(TypeIdOf(FillId), &fill, false, false);
        }
        set->SetSolidFill(2);
        set->SetActiveAttribute(TypeIdOf(FillId), set->GetAttribute(TypeIdOf(FillId), 2));
    }

    const Session session;
    const ODB::Ref<ADB::AttributeSet> set = session.GetSet();
};

TEST_F(TypeEditTest, FillsAndTheActiveAttributeFollowTheLastSuccessor) {
    TypeEdit edit(set, *FindKind(FillId));
    edit.Replace(2, 3);
    edit.Replace(3, 1);
    EXPECT_TRUE(edit.FindOrphans().empty());
    edit.Finish();
    EXPECT_EQ(set->GetSolidFill(), 1);
    EXPECT_EQ(GetActiveIndex(set, FillId), 1);
    EXPECT_EQ(edit.GetReport(), (std::vector<std::string>{
                                    "replaced Fill 2 \"Solid\" by Fill 3 \"Dots\"",
                                    "replaced Fill 3 \"Dots\" by Fill 1 \"Empty\"",
                                    "reindexed set: solid fill 2 -> 1",
                                    "active Fill: 2 -> 1",
                                }));
    EXPECT_EQ(FindFaults(set), std::vector<std::string>());
}

TEST_F(TypeEditTest, WhatIsDeletedIsNoLongerActive) {
    TypeEdit edit(set, *FindKind(FillId));
    edit.Delete(2);
    EXPECT_EQ(edit.FindOrphans(), std::vector<std::string>{"set: the solid fill is Fill 2 \"Solid\""});
    set->SetSolidFill(0);
    EXPECT_TRUE(edit.FindOrphans().empty());
    edit.Finish();
    EXPECT_EQ(FindFaults(set), std::vector<std::string>());
}

TEST_F(TypeEditTest, IndexesEndSomewhere) {
    set->GetAttribute(TypeIdOf(FillId), 3)->SetIndex(32765);
    TypeEdit edit(set, *FindKind(FillId));
    edit.Add(u"the last one");
    EXPECT_THROW(edit.Add(u"one too many"), Failure);
}

}   // namespace
