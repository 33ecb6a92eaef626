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
    EXPECT_EQ(delta.GetNewLinkCount(), 2u);
}

TEST_F(DeltaTest, DamagedInputLeavesAnEmptyDelta) {
    Thing raw;
    Thing unstorable(-5);
    ThingRef(&unstorable).Init(IdOf(77), &space);
    const std::pair<ThingRef, int> cases[] = {
        {ThingRef(), -7001}, {ThingRef(&raw), -7003}, {ThingRef(&unstorable), -99}};
    for (const auto& [damaged, expected] : cases) {
        ODB::Delta delta(&space);
        EXPECT_EQ(ODB::CreateDelta({}, {root, damaged}, &delta, ODB::LinkBoundary::Inside, nullptr), expected);
        EXPECT_TRUE(delta.IsEmpty()) << expected;
    }
    EXPECT_EQ(ODB::CreateDelta({}, {root}, nullptr, ODB::LinkBoundary::Inside, nullptr), -7001);
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
    linked.AddNewLink(Plain(), Of(9), Of(2));
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
    delta.AddNewLink(Owning(), Of(2), owned);
    EXPECT_EQ(ODB::MergeDelta(target, delta), -7003);
    EXPECT_EQ(RightNumbers(Owning(), owner), std::vector<int>{21});
    EXPECT_EQ(target.GetObjectCount(), 2u);
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
