#include <ODB/IdSpace.hpp>

#include <algorithm>
#include <optional>
#include <random>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

class IdSpaceTest : public testing::Test, public ThingWorld {};

TEST_F(IdSpaceTest, MovedObjectKeepsIdLinksAndReferences) {
    ODB::IdSpace other;
    ThingRef expected;   // a dead record waits over there
    expected.Init(IdOf(2), &other);
    const ThingRef left = Make(1);
    const ThingRef moved = Make(2);
    const ThingRef below = Make(3);
    Indexed().Connect(left, moved);
    Indexed().Connect(moved, below);
    for (ODB::IdSpace* const target : {&other, &space, &other}) {
        ASSERT_TRUE(target->MoveObject(moved));
        EXPECT_EQ(moved.GetIdSpace(), target);
        EXPECT_EQ(target->Find(IdOf(2)), moved);
        EXPECT_EQ(expected, moved);
        EXPECT_EQ(RightNumbers(Indexed(), left), std::vector<int>{2});
        EXPECT_EQ(RightNumbers(Indexed(), moved), std::vector<int>{3});
        EXPECT_EQ(IndexOf(left)->holders.at(2), moved.GetInfo()) << "the index names the record in force";
        EXPECT_EQ(IndexOf(left)->keys.size(), 1u);
        EXPECT_EQ(IndexOf(moved)->scope, moved);
        EXPECT_TRUE(space.CheckInvariants() && other.CheckInvariants());
    }
    EXPECT_FALSE(space.Contains(IdOf(2)));
    ThingRef clash = Make(2);
    EXPECT_FALSE(other.MoveObject(clash)) << "an object has the id there";
    EXPECT_EQ(clash.GetIdSpace(), &space);
    Thing raw;
    EXPECT_FALSE(other.MoveObject(ThingRef(&raw))) << "no id";
}

TEST_F(IdSpaceTest, WalkThatMetAReorderVisitsWhatMovesToAnotherSpace) {
    ODB::IdSpace other;
    ThingRef expected;
    expected.Init(IdOf(3), &other);
    const ThingRef left = MakeLinked(Plain(), 1, {2, 3, 4});
    std::vector<int> visited;
    Plain().ForEachRight(left, [&](const ThingRef& right) {
        visited.push_back(NumberOf(right));
        if (visited.size() > 1)
            return;
        EXPECT_EQ(Plain().ReorderLinkFromLeftObject(left, right, 0, 2), 0);
        EXPECT_TRUE(other.MoveObject(Of(3)));
    });
    EXPECT_EQ(visited, (std::vector<int>{2, 3, 4}));
}

TEST_F(IdSpaceTest, DestroyingASpaceDestroysWhatTheDatabaseHas) {
    const int before = Thing::living;
    auto doomed = std::make_unique<ODB::IdSpace>();
    const ThingRef kept = Make(1);
    Thing raw(2);
    ThingRef rawRef(&raw);
    rawRef.Init(IdOf(2), doomed.get());
    Plain().Connect(kept, rawRef);
    std::vector<ThingRef> made;
    std::mt19937 random(7);
    for (int number = 100; number < 1100; ++number) {   // owned in disorder, so that deletions move records about
        made.push_back(MakeIn(*doomed, number));
        if (number > 110)
            Owning().Connect(made[random() % (made.size() - 1)], made.back());
    }
    Owning().Connect(kept, made[3]);   // owned from outside
    doomed.reset();
    EXPECT_EQ(Thing::living, before + 2);
    EXPECT_TRUE(std::none_of(made.begin(), made.end(), [](const ThingRef& thing) { return thing.IsAlive(); }));
    EXPECT_TRUE(rawRef && rawRef.GetId().IsNull() && rawRef.GetIdSpace() == nullptr) << "lives on without an id";
    EXPECT_EQ(RightNumbers(Plain(), kept), std::vector<int>{2});
    EXPECT_EQ(RightNumbers(Owning(), kept), std::vector<int>());
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(IdSpaceTest, SpaceDestroyedWhileAnObjectOfItIsDeletedIsLeftInPeace) {
    auto doomed = std::make_unique<ODB::IdSpace>();
    const ThingRef left = MakeIn(*doomed, 1);
    const ThingRef right = MakeIn(*doomed, 2);
    Sending().Connect(left, right);
    Thing::hook = [&](Thing::Event, Thing&, const ODB::ConstRef<ODB::Object>&) { doomed.reset(); };
    ODB::Database::DeleteObject(right);
    EXPECT_FALSE(left || right);
    EXPECT_EQ(doomed, nullptr);
}

TEST_F(IdSpaceTest, ReidentifyGivesEveryObjectAFreshIdAndReportsThePairs) {
    std::vector<ThingRef> things;
    for (int number = 0; number < 100; ++number) {
        things.push_back(Make(number));
        Owning().Connect(things[0], things.back());
    }
    ThingRef waiting;
    waiting.Init(IdOf(1000), &space);
    Kest::HashTable<ODB::Id, ODB::Id> pairs;
    space.ReidentifyAllObjects(&pairs);
    EXPECT_EQ(pairs.GetSize(), things.size());
    for (const ThingRef& thing : things) {
        const ODB::Id* const fresh = pairs.Find(IdOf(NumberOf(thing)));
        ASSERT_NE(fresh, nullptr);
        EXPECT_EQ(thing.GetId(), *fresh);
        EXPECT_EQ(space.Find(*fresh), thing);
        EXPECT_FALSE(space.Contains(IdOf(NumberOf(thing))));
    }
    EXPECT_EQ(waiting.GetId(), IdOf(1000)) << "an identity without an object keeps its id";
    ODB::Id before = things[99].GetId();
    ForEachFailure([&] { space.ReidentifyAllObjects(nullptr); },
                   [&](bool failed) {
                       EXPECT_EQ(things[99].GetId() == before, failed);
                       EXPECT_TRUE(space.CheckInvariants());
                       before = things[99].GetId();
                   });
}

TEST_F(IdSpaceTest, InputScopesNest) {
    ODB::IdSpace other;
    const ODB::IdSpace::InputScope outer(&space);
    {
        const ODB::IdSpace::InputScope inner(&other);
        EXPECT_EQ(ODB::GetInputIdSpace(), &other);
    }
    EXPECT_EQ(ODB::GetInputIdSpace(), &space);
}

TEST_F(IdSpaceTest, MoveFailsWithNothingChanged) {
    const auto move = [&] {
        std::optional<AllocationsSucceed> setup(std::in_place);
        ODB::IdSpace source;
        ODB::IdSpace target;
        const ThingRef thing = MakeIn(source, 1);
        setup.reset();
        try {
            EXPECT_TRUE(target.MoveObject(thing));
        } catch (const std::bad_alloc&) {
            EXPECT_EQ(thing.GetIdSpace(), &source);
        }
        EXPECT_TRUE(source.CheckInvariants() && target.CheckInvariants());
    };
    move();
    const FailureCount count = ForEachFailure(move, [](bool) {});
    EXPECT_GT(count.failures, 0u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
