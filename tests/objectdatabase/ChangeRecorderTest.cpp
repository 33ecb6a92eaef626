#include <ODB/ChangeRecorder.hpp>

#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Coin.hpp"
#include "SpaceEditor.hpp"
#include "SpaceState.hpp"

namespace {

constexpr int MemoryFull = -108;
constexpr int WrongCall = -7003;

// What a recorder must find: the state at its opening beside it.
struct Recording {
    explicit Recording(ODB::IdSpace& recordedSpace)
        : space(recordedSpace),
          then(SpaceState::Of(space)),
          recorder(&space) {}

    void Check() const {
        ODB::Delta forward("forward", nullptr);
        ODB::Delta back(nullptr);
        ASSERT_EQ(recorder.CreateDeltas(&forward, &back), 0);
        EXPECT_TRUE(forward.GetIdSpace() == &space && forward.HasName());
        ExpectWays(then, SpaceState::Of(space), forward, back);
    }

    ODB::IdSpace& space;
    SpaceState then;
    ODB::ChangeRecorder recorder;
};

TEST(ChangeRecorderModelTest, RandomEditsAreFoundByEveryRecorderThatIsOpen) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SpaceEditor editor(seed, true);
        std::mt19937 random(seed);
        std::vector<std::unique_ptr<Recording>> recordings;
        for (int step = 0; step < 300; ++step) {
            editor.Step();
            const std::size_t place = recordings.empty() ? 0 : random() % recordings.size();
            if (!recordings.empty() && random() % 4 == 0)
                recordings[place]->Check();
            const auto draw = random() % 64;
            if (draw < 4) {
                recordings.push_back(std::make_unique<Recording>(editor.spaces[draw == 0]));
            } else if (draw < 6 && !recordings.empty()) {
                recordings.erase(recordings.begin() + static_cast<std::ptrdiff_t>(place));
            } else if (draw == 6 && !recordings.empty()) {
                recordings[place]->recorder.Restart();
                recordings[place]->then = SpaceState::Of(recordings[place]->space);
            }
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
    }
}

// An edit with the ways there and back.
struct Edit {
    explicit Edit(ODB::IdSpace& space) : forward(&space), back(&space) {}

    ODB::Delta forward;
    ODB::Delta back;
    SpaceState before;
    SpaceState after;
};

// Without memory nothing is merged; with memory all is.
void MergeInNeed(ODB::IdSpace& space, const ODB::Delta& delta, std::size_t allocations) {
    const SpaceState before = SpaceState::Of(space);
    int status = 0;
    {
        const AllocationFailures failures(allocations, false);
        status = ODB::MergeDelta(space, delta);
    }
    if (status == 0)
        return;
    EXPECT_EQ(status, MemoryFull);
    EXPECT_EQ(SpaceState::Of(space), before);
    EXPECT_EQ(ODB::MergeDelta(space, delta), 0);
}

TEST(ChangeRecorderModelTest, RandomEditsAreUndoneAndRedoneUnderTheEyesOfOthers) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        SpaceEditor editor(seed, false);
        ODB::IdSpace& space = editor.spaces[0];
        std::mt19937 random(seed);
        auto always = std::make_unique<Recording>(space);
        for (int round = 0; round < 20; ++round) {
            std::vector<std::unique_ptr<Edit>> edits;
            for (std::size_t count = 1 + random() % 4; count > 0; --count) {
                edits.push_back(std::make_unique<Edit>(space));
                Edit& edit = *edits.back();
                const Recording recording(space);
                for (auto steps = random() % 6; steps > 0; --steps)
                    editor.Step();
                recording.Check();
                ASSERT_EQ(recording.recorder.CreateDeltas(&edit.forward, &edit.back), 0);
                edit.before = recording.then;
                edit.after = SpaceState::Of(space);
            }
            for (int times = 0; times < 2; ++times) {
                for (auto edit = edits.rbegin(); edit != edits.rend(); ++edit) {
                    MergeInNeed(space, (*edit)->back, random() % 32);
                    if (always->recorder.CreateDeltas(nullptr, nullptr) == MemoryFull)
                        always = std::make_unique<Recording>(space);
                    ASSERT_EQ(SpaceState::Of(space), (*edit)->before) << "seed " << seed << ", round " << round;
                }
                for (const auto& edit : edits) {
                    ASSERT_EQ(ODB::MergeDelta(space, edit->forward), 0) << "seed " << seed << ", round " << round;
                    ASSERT_EQ(SpaceState::Of(space), edit->after) << "seed " << seed << ", round " << round;
                }
                always->Check();
                EXPECT_TRUE(space.CheckInvariants());
            }
            if (random() % 4 == 0)
                always = std::make_unique<Recording>(space);
        }
    }
}

class ChangeRecorderTest : public testing::Test, public ThingWorld {
protected:
    ThingRef MakeCoin(int number) { return Coin::MakeIn(space, number); }
    ThingRef MakeCoins(const Things& association, int left, const std::vector<int>& rights) {
        const ThingRef made = MakeCoin(left);
        for (const int right : rights)
            association.Connect(made, MakeCoin(right));
        return made;
    }

    ODB::Delta forward{&space};
    ODB::Delta back{&space};
};

TEST_F(ChangeRecorderTest, OnlyWhatChangedIsTold) {
    const ThingRef left = MakeCoins(Plain(), 1, {10, 11, 12, 13, 14, 15});
    const struct {
        const char* what;
        void (*act)(const ThingWorld& world, const ThingRef& left);
        std::size_t changes;
    } cases[] = {
        {"written as it was", [](const ThingWorld& world, const ThingRef&) { world.Of(10)->SetNumber(10); }, 0},
        {"changed and changed back",
         [](const ThingWorld& world, const ThingRef&) {
             world.Of(10)->SetNumber(3);
             world.Of(10)->SetNumber(10);
         },
         0},
        {"the last link is cut and made again",
         [](const ThingWorld& world, const ThingRef& owner) {
             Plain().Disconnect(owner, world.Of(15));
             Plain().Connect(owner, world.Of(15));
         },
         0},
        {"moved away and back",
         [](const ThingWorld& world, const ThingRef& owner) {
             Plain().ReorderLinkFromLeftObject(owner, world.Of(12), 2, 4);
             Plain().ReorderLinkFromLeftObject(owner, world.Of(12), 4, 2);
         },
         0},
        {"an object comes and is destroyed by others",
         [](const ThingWorld&, const ThingRef& owner) {
             const ThingRef made = Coin::MakeIn(*owner.GetIdSpace(), 3);
             Plain().Connect(owner, made);
             delete made.GetConst();
         },
         0},
        {"three go behind the rest",
         [](const ThingWorld& world, const ThingRef& owner) {
             for (const int number : {10, 11, 13})
                 Plain().Disconnect(owner, world.Of(number));
             for (const int number : {10, 11, 13})
                 Plain().Connect(owner, world.Of(number));
         },
         3},
    };
    for (const auto& c : cases) {
        const ODB::ChangeRecorder recorder(&space);
        EXPECT_FALSE(recorder.HasChanges());
        c.act(*this, left);
        EXPECT_TRUE(recorder.HasChanges());
        ASSERT_EQ(recorder.CreateDeltas(&forward, nullptr), 0);
        EXPECT_EQ(forward.GetReorderedLinkCount(), c.changes) << c.what;
        forward.Clear();
        EXPECT_EQ(recorder.CreateDeltas(nullptr, &back), 0);
        EXPECT_EQ(back.IsEmpty(), c.changes == 0) << c.what;
    }
}

TEST_F(ChangeRecorderTest, LinkingTakesNoContent) {
    const ThingRef left = MakeCoins(Owning(), 1, {2});
    left.GetLogicalConst()->number = -5;   // cannot be stored
    const ODB::ChangeRecorder recorder(&space);
    Owning().Connect(left, MakeCoin(3));
    EXPECT_EQ(recorder.CreateDeltas(&forward, &back), 0);
    EXPECT_EQ(forward.GetModifiedObjectCount(), 0u);
    EXPECT_TRUE(forward.ContainsNewObject(IdOf(3)) && back.GetDeletedObjectCount() == 1u);
}

TEST_F(ChangeRecorderTest, WhatCannotBeNotedIsAnsweredUntilTheNextStart) {
    struct Other : Coin {
        using Coin::Coin;
        const Kest::ClassInfo* GetClassInfo() const override { return Thing::GetClassInfoStatic(); }
    };
    const struct {
        const char* what;
        void (*act)(ThingWorld& world);
        int expected;
    } cases[] = {
        {"content that cannot be stored", [](ThingWorld& world) { world.Of(2)->SetNumber(5); }, -99},
        {"destroyed by others", [](ThingWorld& world) { delete world.Of(1).GetConst(); }, WrongCall},
        {"another class",
         [](ThingWorld& world) {
             ODB::Database::DeleteObject(world.Of(1));
             ThingRef(new Other(1)).Init(IdOf(1), &world.space);
         },
         WrongCall},
    };
    MakeCoin(3);
    for (const auto& c : cases) {
        MakeCoin(1);
        MakeCoin(2).GetLogicalConst()->number = -5;
        ODB::ChangeRecorder recorder(&space);
        MakeCoin(4);
        c.act(*this);
        EXPECT_EQ(recorder.CreateDeltas(&forward, &back), c.expected) << c.what;
        EXPECT_TRUE(forward.IsEmpty() && back.IsEmpty() && recorder.HasChanges()) << c.what;
        recorder.Restart();
        EXPECT_FALSE(recorder.HasChanges());
        Of(3)->SetNumber(NumberOf(Of(3)) + 1);
        EXPECT_EQ(recorder.CreateDeltas(&forward, &back), 0);
        EXPECT_TRUE(forward.ContainsModifiedObject(IdOf(3)));
        for (const int number : {1, 2, 4})
            ODB::Database::DeleteObject(Of(number));
    }
}

TEST_F(ChangeRecorderTest, RecorderOutlivesItsSpace) {
    auto own = std::make_unique<ODB::IdSpace>();
    Coin::MakeIn(*own, 1);
    const ODB::ChangeRecorder recorder(own.get());
    Coin::MakeIn(*own, 2);
    own.reset();
    MakeCoin(3);
    EXPECT_FALSE(recorder.HasChanges());
    EXPECT_EQ(recorder.CreateDeltas(&forward, &back), WrongCall);
}

// A coin that names another one in its content.
class Pointing : public Coin {
public:
    using Coin::Coin;

    int WriteIsolatedState(Kest::OChannel& channel) const override {
        const int status = Coin::WriteIsolatedState(channel);
        return status != 0 ? status : target.WriteRef(channel);
    }

    ThingRef target;
};

TEST_F(ChangeRecorderTest, ReferenceThatDiedIsNotTheNullReference) {
    auto* const pointing = new Pointing(1);
    ThingRef object(pointing);
    object.Init(IdOf(1), &space);
    ODB::Database::AddObject(object, false);
    pointing->target = MakeCoin(2);
    ODB::Database::DeleteObject(Of(2));
    const ODB::ChangeRecorder recorder(&space);
    static_cast<Pointing*>(object.Get())->target = ODB::NullRef;
    EXPECT_EQ(recorder.CreateDeltas(&forward, nullptr), 0);
    EXPECT_TRUE(forward.ContainsModifiedObject(IdOf(1)));
}

TEST_F(ChangeRecorderTest, NoMemoryForNotingOrTelling) {
    const auto edit = [](ThingWorld& world, const ThingRef& left, ThingRef fresh) {
        const ThingRef other = world.Of(2);
        world.Of(12)->number = 9;
        world.Of(13)->number = 13;
        Plain().Connect(other, world.Of(11));
        Plain().Disconnect(left, world.Of(14));
        Plain().ReorderLinkFromLeftObject(left, world.Of(10), 0, 1);
        ODB::Database::DeleteObject(other);
        fresh.Init(IdOf(20), &world.space);
    };
    const auto record = [&] {
        std::optional<AllocationsSucceed> aside(std::in_place);
        ThingWorld world;
        const ThingRef left = Coin::MakeIn(world.space, 1);
        Coin::MakeIn(world.space, 2);
        for (int number = 10; number < 16; ++number)
            Plain().Connect(left, Coin::MakeIn(world.space, number));
        const auto fresh = std::make_unique<Coin>(20);
        const ThingRef freshRef(fresh.get());
        const Recording recording(world.space);
        aside.reset();
        try {
            edit(world, left, freshRef);
        } catch (const std::bad_alloc&) {
        }
        aside.emplace();
        const SpaceState now = SpaceState::Of(world.space);
        ODB::Delta told(&world.space);
        ODB::Delta toldBack(&world.space);
        aside.reset();
        const int status = recording.recorder.CreateDeltas(&told, &toldBack);
        aside.emplace();
        if (status == 0)
            ExpectWays(recording.then, now, told, toldBack);
        EXPECT_TRUE(status == 0 || (status == MemoryFull && told.IsEmpty() && toldBack.IsEmpty())) << status;
    };
    record();
    const FailureCount count = ForEachFailure(record, [](bool) {});
    EXPECT_GT(count.failures, 60u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
