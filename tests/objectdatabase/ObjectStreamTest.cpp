#include <ODB/Object.hpp>

#include <string>

#include <Kest/ClassManager.hpp>

#include <ODB/IdReadingScope.hpp>

#include <gtest/gtest.h>

#include "Coin.hpp"

namespace {

using ODB::Id;
using ODB::IdReadingScope;
using ODB::Ref;

class ObjectStreamTest : public testing::Test, public ThingWorld {
protected:
    static std::string StreamOf(const ThingRef& coin) {
        return Written([&](Kest::OChannel& channel) { EXPECT_EQ(coin->Write(channel), 0); });
    }
    // Makes a coin from its stream, as readers of sets do.
    static ThingRef ReadCoin(IdReadingScope& scope, const std::string& bytes) {
        ThingRef coin(new Coin);
        ODB::Database::AddObject(coin, false);
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        EXPECT_EQ(coin->Read(channel), 0);
        scope.Identify(coin);
        return coin;
    }
    static std::string RefTo(const ODB::RefBase& object) {
        return Written([&](Kest::OChannel& channel) { EXPECT_EQ(object.WriteRef(channel), 0); });
    }
    static Ref<Thing> ReadRef(const std::string& bytes, ODB::IdSpace* where) {
        Ref<Thing> found;
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        EXPECT_EQ(found.ReadRef(channel, where), 0);
        return found;
    }

    ODB::IdSpace target;
};

TEST_F(ObjectStreamTest, TheBasePartIsASealedFrameWithTheId) {
    const ThingRef thing = Make(5);
    const std::string bytes = Written([&](Kest::OChannel& channel) { thing->Write(channel); });
    EXPECT_EQ(HexOf(bytes.substr(0, bytes.size() - 4)),
              "0C2A7B446E0D4E8F9B6B2F1D6B1C7A10"   // ODB::Object
              "01000100"
              "1000000000000000"   // 1.0, sealed, 16 bytes
              "7D000000000000000000000000000005");
    EXPECT_EQ(Written([&](Kest::OChannel& channel) { thing->WriteIsolatedState(channel); }), bytes);
    Thing raw;
    for (std::size_t size = 0; size < bytes.size(); ++size) {
        Kest::MemoryIChannel channel(bytes.data(), size);
        EXPECT_NE(raw.Read(channel), 0) << size;
    }
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    EXPECT_EQ(raw.Read(channel), 0);
    EXPECT_TRUE(raw.GetId().IsNull()) << "reading does not change who one is";
}

TEST_F(ObjectStreamTest, AStreamReadTwiceMakesTwoSetsThatNeverCross) {
    const ThingRef one = Coin::MakeIn(space, 1);
    const std::string bytes = StreamOf(one);
    const std::string reference = RefTo(one);
    ThingRef first;
    {
        IdReadingScope scope(&target);
        first = ReadCoin(scope, bytes);
        EXPECT_EQ(first.GetId(), IdOf(1));
        EXPECT_EQ(ReadRef(reference, &target), first);
        EXPECT_TRUE(scope.AreAllIdsKept());
    }
    IdReadingScope scope(&target);
    const ThingRef second = ReadCoin(scope, bytes);
    EXPECT_EQ(second.GetIdSpace(), &target);
    EXPECT_NE(second.GetId(), IdOf(1));
    EXPECT_EQ(NumberOf(second), 1);
    EXPECT_EQ(ReadRef(reference, &target), second) << "under the id it was stored with";
    EXPECT_FALSE(scope.AreAllIdsKept());
    {
        const IdReadingScope inner(&target);
        EXPECT_EQ(ReadRef(reference, &target), second) << "an inner scope sees what outer ones know";
    }
}

TEST_F(ObjectStreamTest, AnObjectStoredWithoutAnIdGetsOne) {
    Coin raw(3);
    const std::string bytes = StreamOf(ThingRef(&raw));
    const ODB::IdSpace::InputScope input(&target);
    IdReadingScope scope(nullptr);
    const ThingRef coin = ReadCoin(scope, bytes);
    EXPECT_TRUE(coin.GetIdSpace() == &target && !coin.GetId().IsNull());
    EXPECT_FALSE(scope.AreAllIdsKept());
}

TEST_F(ObjectStreamTest, ReferencesAreIdentities) {
    const ThingRef here = Make(1);
    EXPECT_EQ(HexOf(RefTo(here)), "7D000000000000000000000000000001");
    EXPECT_EQ(ReadRef(RefTo(here), &space), here);
    const ThingRef waiting = ReadRef(RefTo(here), &target);
    EXPECT_FALSE(waiting);
    EXPECT_EQ(RefTo(waiting), RefTo(ThingRef())) << "a dead reference is written as nobody";
    EXPECT_EQ(MakeIn(target, 1), waiting) << "it comes alive when the object arrives";
    EXPECT_EQ(ReadRef(RefTo(ThingRef()), &space), ThingRef());
    const ODB::IdSpace::InputScope input(&target);
    EXPECT_EQ(ReadRef(RefTo(here), nullptr), waiting) << "no space: the input space";
    ThingRef kept = here;
    const std::string bytes = RefTo(here);
    Kest::MemoryIChannel cut(bytes.data(), bytes.size() - 1);
    EXPECT_EQ(kept.ReadRef(cut, &target), Kest::ChannelStatus::EndOfData);
    EXPECT_EQ(kept, here);
}

TEST_F(ObjectStreamTest, AnIdFromContentFollowsFromItAlone) {
    const Id id = Coin(1).GenerateIdFromContent();
    EXPECT_EQ(id.ToString(), "{A917C644-C623-83B7-A948-6F9AF5D340E6}") << "and stays what it is";
    EXPECT_EQ(Coin::MakeIn(space, 1)->GenerateIdFromContent(), id) << "whoever it is";
    EXPECT_NE(Coin(2).GenerateIdFromContent(), id);
    EXPECT_NE(Thing(1).GenerateIdFromContent(), id) << "another class";
    const Kest::ClassManager::OutputVersionBlock older(3);
    EXPECT_EQ(Coin(1).GenerateIdFromContent(), id);
    EXPECT_EQ(Kest::ClassManager::GetOutputVersion(), 3);
    const AllocationFailures failing(0, true);
    EXPECT_TRUE(Coin(1).GenerateIdFromContent().IsNull());
}

}   // namespace
