#include <ODB/Database.hpp>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

class DatabaseTest : public testing::Test, public ThingWorld {};

TEST_F(DatabaseTest, OwnedDiesBeforeOwnerAndWithTheLastOwnerLink) {
    const ThingRef one = MakeLinked(Owning(), 1, {10, 11});
    const ThingRef two = Make(2);
    Owning().Connect(Of(10), Make(20));
    OwningToo().Connect(two, Of(11));
    ODB::Database::DeleteObject(one);
    EXPECT_EQ(Thing::deaths, (std::vector<int>{20, 10, 1}));
    EXPECT_EQ(OwningToo().Disconnect(two, Of(11)), 0);
    EXPECT_EQ(Thing::deaths.back(), 11);
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(DatabaseTest, EveryWayOfCuttingTheLastOwnerLinkDestroys) {
    const struct {
        const char* what;
        void (*cut)(const ThingRef& left, const ThingRef& right);
        bool destroys;
    } cases[] = {
        {"Disconnect", [](auto& left, auto& right) { Owning().Disconnect(left, right); }, true},
        {"DisconnectAsLeft", [](auto& left, auto&) { Owning().DisconnectAsLeft(left); }, true},
        {"ClearAsLeft", [](auto& left, auto&) { Owning().ClearAsLeft(left); }, true},
        {"ClearAsRight", [](auto&, auto& right) { Owning().ClearAsRight(right); }, true},
        {"isolated", [](auto& left, auto& right) { Owning().DeleteIsolatedLink(left, right); }, false},
        {"Isolate", [](auto&, auto& right) { right->Isolate(); }, false},
        {"AddIsolatedObject", [](auto&, auto& right) { ODB::Database::AddIsolatedObject(right, false); }, false},
    };
    for (const auto& c : cases) {
        ODB::IdSpace own;
        const ThingRef left = MakeIn(own, 1);
        const ThingRef right = MakeIn(own, 2);
        Owning().Connect(left, right);
        c.cut(left, right);
        EXPECT_EQ(right.IsAlive(), !c.destroys) << c.what;
        EXPECT_FALSE(Owning().IsConnected(left, right)) << c.what;
        EXPECT_TRUE(own.CheckInvariants()) << c.what;
    }
}

TEST_F(DatabaseTest, ChainsOfAnyDepthDieWithoutRecursion) {
    constexpr int Depth = 10000;
    for (const bool raw : {false, true}) {
        Thing::deaths.clear();
        auto* const top = new Thing(0);
        ThingRef owner(top);
        for (int number = 1; number < Depth; ++number) {
            const ThingRef owned(new Thing(number));
            ASSERT_EQ(Owning().Connect(owner, owned), 0);
            owner = owned;
        }
        EXPECT_EQ(Owning().Connect(owner, ThingRef(top)), -7003) << "would own itself";
        if (raw)
            delete top;
        else
            ODB::Database::DeleteObject(ThingRef(top));
        ASSERT_EQ(Thing::deaths.size(), static_cast<std::size_t>(Depth));
        EXPECT_EQ(Thing::deaths[0], Depth - 1);
        EXPECT_TRUE(std::is_sorted(Thing::deaths.rbegin(), Thing::deaths.rend()));
    }
}

TEST_F(DatabaseTest, DeletionIsPassedOnWhereNobodyElseOwns) {
    Thing raw(30);
    const ThingRef left = Make(1);
    for (int number : {10, 11, 12})
        Deleting().Connect(left, Make(number));
    Deleting().Connect(left, ThingRef(&raw));
    Owning().Connect(Make(2), Of(11));
    Deleting().Connect(Of(10), Make(20));
    Deleting().Connect(Of(20), Of(12));   // moves it
    Deleting().Connect(Of(12), left);     // a ring
    ODB::Database::DeleteObject(left);
    EXPECT_EQ(Thing::deaths, (std::vector<int>{12, 20, 10, 1}));
    EXPECT_TRUE(Of(11)) << "owned";
    EXPECT_FALSE(Deleting().IsConnectedAsRight(ThingRef(&raw))) << "not the database's: only cut";
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(DatabaseTest, WhoeverHearsOfADeletionMayInterfere) {
    const struct {
        const char* what;
        void (*interfere)(ThingWorld&, Thing& left, const ThingRef& right);
    } cases[] = {
        {"delete the deleted", [](auto&, Thing&, const ThingRef& right) { ODB::Database::DeleteObject(right); }},
        {"delete the owner", [](auto&, Thing& left, const ThingRef&) { ODB::Database::DeleteObject(ThingRef(&left)); }},
        {"delete the root", [](auto& t, Thing&, const ThingRef&) { ODB::Database::DeleteObject(t.Of(1)); }},
        {"cut the way back",
         [](auto& t, Thing&, const ThingRef&) {
             EXPECT_EQ(Sending().Disconnect(t.Of(1), t.Of(2)), 0);
             Sending().ClearAsRight(t.Of(3));
             Sending().DisconnectAsLeft(t.Of(1));
             if (t.Of(2))
                 t.Of(2)->Isolate();
         }},
        {"rescue the dying",
         [](auto& t, Thing&, const ThingRef& right) {
             EXPECT_EQ(OwningToo().Connect(t.Of(9), right), -7001);
             EXPECT_EQ(OwningToo().Connect(right, t.Of(9)), -7001);
             EXPECT_FALSE(ODB::GetDefaultIdSpace()->MoveObject(right));
         }},
        {"make things and delete others",
         [](auto& t, Thing&, const ThingRef&) {
             for (int number = 100; number < 140; ++number)
                 t.Make(number);
             for (int number = 100; number < 140; ++number)
                 ODB::Database::DeleteObject(t.Of(number));
         }},
    };
    for (const auto& c : cases) {
        const int before = Thing::living;
        ThingWorld world;
        world.Make(9);
        world.MakeLinked(Sending(), 1, {2});
        for (int number : {3, 4})
            Sending().Connect(world.Of(2), world.Make(number));
        Thing::hook = [&](Thing::Event, Thing& left, const ODB::ConstRef<ODB::Object>& right) {
            c.interfere(world, left, ThingRef(right.GetInfo()));
        };
        ODB::Database::DeleteObject(world.Of(1));
        Thing::hook = nullptr;
        for (int number = 1; number <= 4; ++number)
            EXPECT_FALSE(world.Of(number)) << c.what << ' ' << number;
        EXPECT_TRUE(world.space.CheckInvariants()) << c.what;
        EXPECT_EQ(Thing::living, before + 1) << c.what;
    }
}

// Hears of numbers; acts once when called.
class Listener : public Kest::EventObserver {
public:
    void Hear(Thing& source) {
        ++heard;
        if (act)
            std::exchange(act, nullptr)(source);
    }
    void SourceDestroyed(Kest::EventSource*) override { ++destroyed; }

    int heard = 0;
    int destroyed = 0;
    std::function<void(Thing&)> act;
};

void Announce(Thing& source) {
    source.EnumerateObservers([&](Kest::EventObserver& observer) { static_cast<Listener&>(observer).Hear(source); });
}

TEST_F(DatabaseTest, MemoryWaitsForTheEndOfTheOutermostAnnouncement) {
    const struct {
        const char* what;
        int victim;   // 1 owns 2 and 3, and 2 announces
        std::vector<int> dead;
    } cases[] = {{"itself", 2, {2}}, {"its sibling", 3, {3}}, {"its owner", 1, {2, 3, 1}}};
    for (const auto& c : cases) {
        ThingWorld world;
        const ThingRef owner = world.MakeLinked(Owning(), 1, {2, 3});
        Thing* const announcing = world.Of(2).Get();
        Listener first;
        Listener last;
        for (Thing* const thing : {owner.Get(), announcing, world.Of(3).Get()}) {
            thing->Attach(first);
            thing->Attach(last);
        }
        last.act = [&](Thing& source) {   // the outermost announcement begins another
            last.act = [&](Thing&) {
                ODB::Database::DeleteObject(world.Of(c.victim));
                EXPECT_FALSE(world.Of(c.victim)) << "references die at once";
                EXPECT_EQ(last.destroyed, static_cast<int>(c.dead.size())) << "observers hear at once";
                EXPECT_TRUE(world.space.CheckInvariants());
            };
            Announce(source);
            EXPECT_EQ(Thing::deaths.size(), 0u) << "the memory waits";
            EXPECT_EQ(ThingRef(&source).IsAlive(), c.victim == 3) << "a deleted object names nobody";
            source.SetNumber(source.GetNumber());   // its own code goes on
        };
        Announce(*announcing);
        EXPECT_EQ(Thing::deaths, c.dead) << c.what;
        EXPECT_EQ(last.heard, 2) << c.what;
        EXPECT_EQ(first.heard, c.victim == 3 ? 2 : 0) << c.what << ": nobody hears the deleted";
        EXPECT_EQ(first.destroyed, static_cast<int>(c.dead.size())) << c.what;
    }
}

TEST_F(DatabaseTest, DeletedDuringAnAnnouncementMayBeMadeAnewBeforeItsMemoryGoes) {
    const ThingRef thing = Make(1);
    Listener listener;
    thing->Attach(listener);
    listener.act = [&](Thing& source) {
        ODB::Database::DeleteObject(thing);
        Make(1)->number = 7;
        EXPECT_EQ(NumberOf(thing), 7);
        EXPECT_NE(thing.GetConst(), &source);
    };
    Announce(*thing.Get());
    EXPECT_EQ(Thing::deaths, std::vector<int>{1});
    EXPECT_EQ(NumberOf(thing), 7) << "freeing the old one does not touch the new one";
    EXPECT_TRUE(space.CheckInvariants());
}

}   // namespace
