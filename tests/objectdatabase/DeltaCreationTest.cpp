#include <ODB/Delta.hpp>

#include <vector>

#include <gtest/gtest.h>

#include "SpaceEditor.hpp"
#include "SpaceState.hpp"

namespace {

class DeltaCreationTest : public testing::Test, public ThingWorld {
protected:
    // 1 owns 2, 3, 4; 3 owns 5; 2 and 5 are linked plainly, and 1 with 9 and an object of another space.
    DeltaCreationTest() : root(MakeLinked(Owning(), 1, {3, 4, 2})) {
        OwningToo().Connect(Of(3), Make(5));
        Plain().Connect(Of(2), Of(5));
        Plain().Connect(root, Make(9));
        Plain().Connect(root, MakeIn(elsewhere, 40));
    }

    ODB::IdSpace elsewhere;
    ThingRef root;
};

TEST_F(DeltaCreationTest, DamagedInputLeavesAnEmptyDelta) {
    Thing raw;
    Thing unstorable(-5);
    ThingRef(&unstorable).Init(IdOf(77), &space);
    const ThingRef twin = MakeIn(elsewhere, 2);
    const ThingRef coin = Coin::MakeIn(elsewhere, 3);
    const struct {
        const char* what;
        ODB::RefList<ODB::Object> olds;
        ODB::RefList<ODB::Object> news;
        int expected;
    } cases[] = {
        {"null", {}, {root, ThingRef()}, -7001},
        {"null among the old ones", {ThingRef()}, {root}, -7001},
        {"no id", {}, {root, ThingRef(&raw)}, -7003},
        {"an id twice", {}, {Of(2), twin}, -7003},
        {"an id twice among the old ones", {Of(2), twin}, {root}, -7003},
        {"an id twice beside old ones", {root}, {Of(2), twin}, -7003},
        {"another class", {Of(3)}, {coin}, -7003},
        {"what cannot be stored", {}, {root, ThingRef(&unstorable)}, -99},
    };
    for (const auto& c : cases) {
        ODB::Delta delta(&space);
        EXPECT_EQ(ODB::CreateDelta(c.olds, c.news, &delta, ODB::LinkBoundary::Inside, nullptr), c.expected) << c.what;
        EXPECT_TRUE(delta.IsEmpty()) << c.what;
    }
    EXPECT_EQ(ODB::CreateDelta({}, {root}, nullptr, ODB::LinkBoundary::Inside, nullptr), -7001);
}

TEST_F(DeltaCreationTest, BoundarySaysWhichEndsMustTakePart) {
    const struct {
        ODB::LinkBoundary boundary;
        std::vector<int> expected;
        std::size_t expectedWithout5;
    } cases[] = {
        {ODB::LinkBoundary::Inside, {3, 5}, 1},
        {ODB::LinkBoundary::LeftInside, {3, 4, 2, 9, 5}, 0},
        {ODB::LinkBoundary::RightInside, {3, 5, 5}, 2},
        {ODB::LinkBoundary::Touching, {3, 4, 2, 9, 5, 5}, 1},
    };
    for (const auto& c : cases) {
        ODB::Delta delta(&space);
        ASSERT_EQ(ODB::CreateDelta({}, {root, Of(3), Of(5)}, &delta, c.boundary, nullptr), 0);
        std::vector<int> rights;
        for (const auto& link : delta.GetNewLinks())
            rights.push_back(NumberOf(space.FindConst(link.right)));
        EXPECT_EQ(rights, c.expected);
        ASSERT_EQ(ODB::CreateDelta({root, Of(3), Of(5)}, {root, Of(3)}, &delta, c.boundary, nullptr), 0);
        EXPECT_EQ(delta.GetDeletedObjectCount(), 1u);
        EXPECT_EQ(delta.GetDeletedLinkCount(), c.expectedWithout5);
        EXPECT_EQ(delta.GetNewObjectCount() + delta.GetModifiedObjectCount() + delta.GetNewLinkCount(), 0u);
    }
}

ODB::RefList<ODB::Object> All(const ODB::IdSpace& space) {
    ODB::RefList<ODB::Object> objects;
    space.EnumerateObjects([&objects](const auto& object) { objects.Push(object); });
    return objects;
}

int Create(const ODB::IdSpace& from, const ODB::IdSpace& to, ODB::Delta& delta) {
    return ODB::CreateDelta(All(from), All(to), &delta, ODB::LinkBoundary::Inside, nullptr);
}

TEST(DeltaCreationModelTest, WayFromOneSpaceToAnotherIsTheShortest) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        SpaceEditor editor(seed, false);
        const ODB::IdSpace nowhere;
        ODB::IdSpace old;
        ODB::Delta forward(&old);
        ODB::Delta back(&old);
        ASSERT_EQ(Create(nowhere, editor.spaces[0], forward), 0);
        ASSERT_EQ(ODB::MergeDelta(old, forward), 0);
        ASSERT_EQ(SpaceState::Of(old), SpaceState::Of(editor.spaces[0]));
        for (unsigned step = 0; step < 2 * seed; ++step)
            editor.Step();
        ASSERT_EQ(Create(old, editor.spaces[0], forward), 0);
        ASSERT_EQ(Create(editor.spaces[0], old, back), 0);
        const SpaceState now = SpaceState::Of(editor.spaces[0]);
        ExpectWays(SpaceState::Of(old), now, forward, back);
        ASSERT_EQ(ODB::MergeDelta(old, forward), 0) << "seed " << seed;
        EXPECT_EQ(SpaceState::Of(old), now) << "seed " << seed;
    }
}

TEST(DeltaCreationModelTest, NoMemoryForAComparison) {
    SpaceEditor editor(3, false);
    ODB::IdSpace old;
    ODB::Delta delta(&old);
    ASSERT_EQ(Create(ODB::IdSpace(), editor.spaces[0], delta), 0);
    ASSERT_EQ(ODB::MergeDelta(old, delta), 0);
    for (int step = 0; step < 20; ++step)
        editor.Step();
    const ODB::RefList<ODB::Object> olds = All(old);
    const ODB::RefList<ODB::Object> news = All(editor.spaces[0]);
    const SpaceState now = SpaceState::Of(editor.spaces[0]);
    int status = 0;
    const FailureCount count =
        ForEachFailure([&] { status = ODB::CreateDelta(olds, news, &delta, ODB::LinkBoundary::Inside, nullptr); },
                       [&](bool failed) {
                           EXPECT_TRUE(status == 0 || (failed && status == -108 && delta.IsEmpty())) << status;
                           SpaceState state = SpaceState::Of(old);
                           if (status == 0)
                               state.Apply(delta);
                           EXPECT_EQ(state == now, status == 0);
                       });
    EXPECT_GT(count.failures, 60u);
}

}   // namespace
