#include <ODB/Delta.hpp>

#include <optional>
#include <utility>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

class DeltaTest : public testing::Test, public ThingWorld {
protected:
    // 1 owns 2, 3, 4; 3 owns 5; 2 and 5 are linked plainly; 1 and the outsider 9 too.
    DeltaTest() : root(MakeLinked(Owning(), 1, {2, 3, 4})) {
        Owning().ReorderLinkFromLeftObject(root, Of(2), 0, 2);
        OwningToo().Connect(Of(3), Make(5));
        Plain().Connect(Of(2), Of(5));
        Plain().Connect(root, Make(9));
    }
    int Create(ODB::Delta& delta) {
        return ODB::CreateDelta({}, ODB::DetermineOwnedObjectSet({root}), &delta, ODB::LinkBoundary::Inside, nullptr);
    }

    ThingRef root;
};

std::vector<int> Numbers(const ODB::RefList<ODB::Object>& things) {
    std::vector<int> numbers;
    for (const auto& thing : things)
        numbers.push_back(NumberOf(thing));
    return numbers;
}

TEST_F(DeltaTest, OwnedSetHoldsOwnersFirstInLinkOrder) {
    EXPECT_EQ(Numbers(ODB::DetermineOwnedObjectSet({root})), (std::vector<int>{1, 3, 4, 2, 5}));
    EXPECT_EQ(Numbers(ODB::DetermineOwnedObjectSet({Of(3), root, ThingRef()})), (std::vector<int>{3, 1, 5, 4, 2}));
    const auto without3 = [](const ODB::ConstRef<ODB::Object>& thing) { return NumberOf(thing) != 3; };
    EXPECT_EQ(Numbers(ODB::DetermineOwnedObjectSet({root}, without3)), (std::vector<int>{1, 4, 2}));
}

TEST_F(DeltaTest, DeltaCarriesObjectsAndInnerLinksIntoAnotherSpace) {
    ODB::Delta delta("copy", &space);
    ASSERT_EQ(Create(delta), 0);
    EXPECT_EQ(delta.GetNewObjectCount(), 5u);
    EXPECT_EQ(delta.GetNewLinkCount(), 5u) << "the link to the outsider stays behind";
    EXPECT_TRUE(delta.ContainsNewObject(IdOf(5)) && !delta.ContainsNewObject(IdOf(9)));
    Of(4)->number = 44;   // the delta holds copies

    ODB::IdSpace target;
    ThingRef dead;
    dead.Init(IdOf(3), &target);
    ASSERT_EQ(ODB::MergeDelta(target, delta), 0);
    EXPECT_EQ(NumberOf(dead), 3) << "a waiting identity comes alive";
    EXPECT_EQ(RightNumbers(Owning(), ThingIn(target, 1)), (std::vector<int>{3, 4, 2}));
    EXPECT_EQ(RightNumbers(OwningToo(), dead), std::vector<int>{5});
    EXPECT_EQ(RightNumbers(Plain(), ThingIn(target, 2)), std::vector<int>{5});
    EXPECT_EQ(target.GetObjectCount(), 5u);
    EXPECT_TRUE(target.CheckInvariants());
    ODB::Database::DeleteObject(ThingIn(target, 1));
    EXPECT_EQ(target.GetObjectCount(), 0u);
    EXPECT_TRUE(Of(1) && Of(5)) << "the originals are not touched";
}

TEST_F(DeltaTest, OldAndFilteredObjectsStayOut) {
    ODB::Delta delta(&space);
    const auto no2 = [](const ODB::ConstRef<ODB::Object>& thing) { return NumberOf(thing) != 2; };
    ASSERT_EQ(ODB::CreateDelta({Of(5)}, ODB::DetermineOwnedObjectSet({root}), &delta, ODB::LinkBoundary::Inside, no2),
              0);
    EXPECT_EQ(delta.GetNewObjectCount(), 3u);
    EXPECT_EQ(delta.GetNewLinkCount(), 3u);
}

TEST_F(DeltaTest, MergeThatFailsLeavesNothingBehind) {
    ODB::Delta delta(&space);
    ASSERT_EQ(Create(delta), 0);
    ODB::IdSpace target;
    ThingRef waiting;
    waiting.Init(IdOf(3), &target);
    const int living = Thing::living;

    Thing::unrestorable = 5;
    EXPECT_EQ(ODB::MergeDelta(target, delta), -98);
    Thing::unrestorable = -1;
    ODB::Delta linked(&space);
    linked.AddNewObject(Of(2));
    linked.AddNewLink(Plain(), IdOf(9), IdOf(2), ODB::NullId);
    EXPECT_EQ(ODB::MergeDelta(target, linked), -7003) << "the left object is not there";
    EXPECT_EQ(target.GetObjectCount(), 0u);
    EXPECT_EQ(Thing::living, living);
    EXPECT_FALSE(waiting);

    const ThingRef taken = MakeIn(target, 4);
    EXPECT_EQ(ODB::MergeDelta(target, delta), -7003) << "an id is taken";
    EXPECT_EQ(target.GetObjectCount(), 1u);
    EXPECT_TRUE(target.CheckInvariants());
}

TEST_F(DeltaTest, MergeDoesNotTakeAnObjectThatIsThereFromItsOwner) {
    ODB::IdSpace target;
    const ThingRef owner = MakeIn(target, 20);
    const ThingRef owned = MakeIn(target, 21);
    Owning().Connect(owner, owned);
    ODB::Delta delta(&space);
    delta.AddNewObject(Of(2));
    delta.AddNewLink(Owning(), IdOf(2), IdOf(21), ODB::NullId);
    EXPECT_EQ(ODB::MergeDelta(target, delta), -7003);
    EXPECT_EQ(RightNumbers(Owning(), owner), std::vector<int>{21});
    EXPECT_EQ(target.GetObjectCount(), 2u);
}

// Neighbours as {right object, the one it follows}; 0 is none.
using Neighbours = std::vector<std::pair<int, int>>;

TEST_F(DeltaTest, NewLinksStandBehindTheirNeighbours) {
    const struct {
        const char* when;
        Neighbours links;
        int expectedStatus;
        std::vector<int> expected;
    } cases[] = {
        {"first", {{30, 0}}, 0, {30, 21, 22}},
        {"in the middle", {{30, 21}}, 0, {21, 30, 22}},
        {"a chain, not in its order", {{31, 30}, {32, 31}, {30, 21}}, 0, {21, 30, 31, 32, 22}},
        {"at several places", {{30, 22}, {31, 0}, {32, 21}}, 0, {31, 21, 32, 22, 30}},
        {"a neighbour that is not there", {{30, 99}}, -7003, {21, 22}},
        {"a ring", {{30, 31}, {31, 30}}, -7003, {21, 22}},
        {"two behind one", {{30, 21}, {31, 21}}, -7003, {21, 22}},
        {"one twice", {{30, 21}, {30, 22}}, -7003, {21, 22}},
    };
    for (const int number : {30, 31, 32})
        Make(number);
    for (const auto& c : cases) {
        ODB::IdSpace target;
        const ThingRef left = MakeIn(target, 20);
        for (const int right : {21, 22})
            Owning().Connect(left, MakeIn(target, right));
        ODB::Delta delta(&space);
        for (const auto& [right, behind] : c.links) {
            delta.AddNewObject(Of(right));
            delta.AddNewLink(Owning(), IdOf(20), IdOf(right), behind != 0 ? IdOf(behind) : ODB::NullId);
        }
        EXPECT_EQ(ODB::MergeDelta(target, delta), c.expectedStatus) << c.when;
        EXPECT_EQ(RightNumbers(Owning(), left), c.expected) << c.when;
        EXPECT_TRUE(target.CheckInvariants()) << c.when;
    }
}

TEST_F(DeltaTest, EachCollectionIsCounted) {
    const Kest::ClassInfo& thing = *Thing::GetClassInfoStatic();
    using Add = std::function<int(ODB::Delta&)>;
    const std::pair<Add, std::size_t (ODB::Delta::*)() const> cases[] = {
        {[&](ODB::Delta& delta) { return delta.AddModifiedObject(Of(2)); }, &ODB::Delta::GetModifiedObjectCount},
        {[&](ODB::Delta& delta) { return delta.AddDeletedObject(thing, IdOf(2)); }, &ODB::Delta::GetDeletedObjectCount},
        {[](ODB::Delta& delta) { return delta.AddModifiedLink(Owning(), IdOf(1), IdOf(3), IdOf(2), IdOf(4)); },
         &ODB::Delta::GetModifiedLinkCount},
        {[](ODB::Delta& delta) { return delta.AddDeletedLink(Owning(), IdOf(1), IdOf(2)); },
         &ODB::Delta::GetDeletedLinkCount},
        {[](ODB::Delta& delta) { return delta.AddReorderedLink(Owning(), IdOf(1), IdOf(2), IdOf(4)); },
         &ODB::Delta::GetReorderedLinkCount},
    };
    ODB::Delta delta(&space);
    ODB::IdSpace other;
    for (const auto& [add, count] : cases) {
        delta.Clear(&other);
        EXPECT_TRUE(delta.IsEmpty() && delta.GetIdSpace() == &other);
        EXPECT_EQ(add(delta), 0);
        EXPECT_EQ((delta.*count)(), 1u);
        EXPECT_FALSE(delta.IsEmpty());
    }
}

TEST_F(DeltaTest, WhatMakesNoSenseIsNotRecorded) {
    const Kest::ClassInfo& thing = *Thing::GetClassInfoStatic();
    ODB::Delta delta(&space);
    ASSERT_EQ(delta.AddNewObject(Of(2)), 0);
    EXPECT_EQ(delta.AddNewObject(Of(2)), 0);
    EXPECT_EQ(delta.AddModifiedObject(Of(2)), -7003);
    EXPECT_EQ(delta.AddDeletedObject(thing, IdOf(2)), -7003);
    EXPECT_EQ(delta.AddDeletedObject(thing, ODB::NullId), -7003);
    EXPECT_EQ(delta.AddModifiedObject(ThingRef()), -7001);
    EXPECT_EQ(delta.AddNewLink(Owning(), IdOf(1), ODB::NullId, IdOf(3)), -7003);
    EXPECT_EQ(delta.AddReorderedLink(Owning(), IdOf(1), IdOf(2), IdOf(2)), -7003) << "behind itself";
    EXPECT_EQ(delta.AddModifiedLink(Owning(), IdOf(1), IdOf(1), IdOf(2), IdOf(3)), -7003) << "not moved";
    EXPECT_EQ(delta.AddDeletedLink(Owning(), ODB::NullId, IdOf(2)), -7003);
    EXPECT_EQ(delta.GetNewObjectCount(), 1u);
    delta.Clear();
    EXPECT_TRUE(delta.IsEmpty() && !delta.ContainsNewObject(IdOf(2)));
}

TEST_F(DeltaTest, NoMemoryForADeltaOrItsMerge) {
    const auto copy = [&] {
        const int living = Thing::living;
        std::optional<AllocationsSucceed> setup(std::in_place);
        ODB::IdSpace target;
        ThingRef waiting;
        waiting.Init(IdOf(3), &target);
        setup.reset();
        ODB::Delta delta(&space);
        int status = Create(delta);
        EXPECT_EQ(delta.IsEmpty(), status != 0);
        if (status == 0)
            status = ODB::MergeDelta(target, delta);
        const AllocationsSucceed looking;
        EXPECT_TRUE(status == 0 || status == -108) << status;
        EXPECT_EQ(target.GetObjectCount(), status == 0 ? 5u : 0u);
        EXPECT_EQ(Thing::living, living + (status == 0 ? 5 : 0));
        EXPECT_EQ(waiting.IsAlive(), status == 0);
        EXPECT_TRUE(target.CheckInvariants());
    };
    copy();
    const FailureCount count = ForEachFailure(copy, [](bool) {});
    EXPECT_GT(count.failures, 40u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
