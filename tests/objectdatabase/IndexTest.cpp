#include <ODB/Index.hpp>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

class IndexTest : public testing::Test, public ThingWorld {
protected:
    std::vector<ODB::Id> Ask(int number) const {
        ODB::RefList<ODB::Object> found;
        const NumberIndex::Query query(number);
        EXPECT_EQ(Indexed().AppendRight(left, &found, &query), 0);
        std::vector<ODB::Id> ids;
        for (const auto& object : found)
            ids.push_back(object.GetId());
        return ids;
    }
    NumberIndex& Index() const { return *IndexOf(left); }

    // Numbers are about to change: the things are known by their ids.
    const ThingRef left = MakeLinked(Indexed(), 1, {10, 11, 12, 13});
};

using Ids = std::vector<ODB::Id>;

TEST_F(IndexTest, BareWritesAreShownBeforeTheNextAnswerInTheOrderOfTheLastChange) {
    Of(10)->number = 50;
    Of(12)->number = 50;
    Of(11)->number = 50;
    Of(12)->number = 50;   // the last writer
    EXPECT_EQ(Ask(50), Ids{IdOf(12)});
    EXPECT_EQ(Ask(10), Ids());
    Of(10).GetLogicalConst()->SetNumber(50);   // passes the gate
    EXPECT_EQ(Ask(50), Ids{IdOf(10)});
}

TEST_F(IndexTest, GateDrainsWhatWasWrittenBefore) {
    Of(10)->number = 60;
    Of(11)->number = 60;
    Of(12).GetLogicalConst()->SetNumber(60);
    EXPECT_EQ(Index().shown, (std::vector<int>{60, 60, 60}));
    EXPECT_EQ(Ask(60), Ids{IdOf(12)});
    Of(12)->SetNumber(61);
    EXPECT_EQ(Index().shown.size(), 4u) << "one look for a setter that is called through a reference";
}

TEST_F(IndexTest, ChangingObjectIsLeftOutButNotForgotten) {
    Of(10)->number = 70;
    Of(11)->number = 71;
    auto* const index =
        static_cast<NumberIndex*>(Indexed().FindRightIndexForChange(*left.GetInfo(), *Of(10).GetConst()));
    EXPECT_EQ(index->shown, std::vector<int>{71});
    EXPECT_EQ(Ask(70), Ids{IdOf(10)}) << "the change was given up: what was written before still counts";
}

TEST_F(IndexTest, QueuedThingsMayGoAwayOrElsewhere) {
    const ThingRef other = Make(2);
    for (int number : {10, 11, 12})
        Of(number)->number = number + 70;
    ODB::Database::DeleteObject(Of(10));
    Indexed().Connect(other, Of(11));
    Indexed().ReorderLinkFromLeftObject(left, Of(13), 1, 0);
    EXPECT_EQ(Ask(80), Ids());
    EXPECT_EQ(Ask(81), Ids());
    EXPECT_EQ(Ask(82), Ids{IdOf(12)});
    EXPECT_EQ(Ask(12), Ids());
    EXPECT_EQ(IndexOf(other)->holders.size(), 1u);
    EXPECT_EQ(Index().keys.size(), 2u);
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(IndexTest, IndexThatRanOutOfMemoryBecomesRightAgain) {
    for (const bool throughGate : {false, true}) {
        for (const int failures : {1, 2, 4}) {   // the later ones strike while the index is filled anew
            Of(10)->number = 10;
            ASSERT_EQ(Ask(10), Ids{IdOf(10)});
            Index().failures = failures;
            if (throughGate)
                Of(10).GetLogicalConst()->SetNumber(90);
            else
                Of(10)->number = 90;
            EXPECT_EQ(Ask(90), Ids{IdOf(10)}) << "without the index if need be";
            while (IndexOf(left) == nullptr)
                ;   // each look tries again
            EXPECT_EQ(Ask(90), Ids{IdOf(10)});
            EXPECT_EQ(Index().keys.size(), 4u);
        }
    }
}

TEST_F(IndexTest, ConnectThatAnIndexRefusesChangesNothing) {
    const ThingRef old = Make(2);
    const ThingRef thing = Make(20);
    Indexed().Connect(old, thing);
    Index().failures = 1;
    EXPECT_THROW(Indexed().Connect(left, thing), std::bad_alloc);
    EXPECT_EQ(Indexed().GetLeft(thing), old);
    EXPECT_EQ(IndexOf(old)->keys.size(), 1u);
    EXPECT_EQ(Index().keys.size(), 4u);
    EXPECT_EQ(Indexed().Connect(left, thing), 0);
    EXPECT_EQ(Ask(20), Ids{IdOf(20)});
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(IndexTest, QueriesAgreeWithAndWithoutAnIndex) {
    const ThingRef plain = MakeLinked(Plain(), 2, {30, 31, 32});
    Of(32)->number = 30;
    const NumberIndex::Query query(30);
    ODB::ConstRefList<ODB::Object> found;
    EXPECT_EQ(Plain().AppendRight(ODB::ConstRef<ODB::Object>(plain), &found, &query), 0);
    EXPECT_EQ(found.GetSize(), 2u) << "all that match, in link order";
    EXPECT_EQ(found[0].GetId(), IdOf(30));
    EXPECT_EQ(Plain().AppendRight(ODB::ConstRef<ODB::Object>(plain), nullptr, &query), -7001);

    EXPECT_EQ(Plain().AttachRightIndices(plain, std::make_unique<NumberIndex>()), 0) << "filled with what is linked";
    EXPECT_EQ(Plain().AttachRightIndices(plain, std::make_unique<NumberIndex>()), -7003) << "there is one already";
    const int executions = NumberIndex::executions;
    found.Clear();
    Plain().AppendRight(ODB::ConstRef<ODB::Object>(plain), &found, &query);
    EXPECT_EQ(NumberIndex::executions, executions + 1);
    EXPECT_EQ(found.GetSize(), 1u);
    Plain().DetachRightIndices(plain);
    EXPECT_EQ(Plain().FindRightIndex(*plain.GetInfo()), nullptr);
    EXPECT_EQ(OwningToo().AttachRightIndices(plain, std::make_unique<NumberIndex>()), -7003);
}

}   // namespace
