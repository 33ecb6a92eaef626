#include <ODB/Delta.hpp>

#include <cstring>
#include <string>
#include <string_view>

#include <Kest/ClassManager.hpp>
#include <Kest/Crc32c.hpp>

#include <ODB/IdReadingScope.hpp>

#include <gtest/gtest.h>

#include "Coin.hpp"

namespace {

using Kest::PlatformSign;

class DeltaStreamTest : public testing::Test, public ThingWorld {
protected:
    // Something in each of the seven collections.
    ODB::Delta MakeDelta() {
        ODB::Delta delta(u"\u0394", &space);
        delta.AddNewObject(Coin::MakeIn(space, 1));
        delta.AddModifiedObject(Coin::MakeIn(space, 2));
        delta.AddDeletedObject(*Coin::GetClassInfoStatic(), IdOf(3));
        delta.AddNewLink(Owning(), IdOf(2), IdOf(1), ODB::NullId);
        delta.AddModifiedLink(Owning(), IdOf(4), IdOf(2), IdOf(5), IdOf(1));
        delta.AddDeletedLink(Plain(), IdOf(2), IdOf(6));
        delta.AddReorderedLink(Owning(), IdOf(4), IdOf(7), IdOf(8));
        return delta;
    }
    static std::string BytesOfDelta(const ODB::Delta& delta) {
        return Written([&](Kest::OChannel& channel) { EXPECT_EQ(delta.Write(channel), 0); });
    }
    // Reads into a delta that holds something else; with a code, that must be all it holds.
    int ReadBytes(const std::string& bytes) {
        read.Clear(&space);
        read.AddDeletedObject(*Thing::GetClassInfoStatic(), IdOf(99));
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        const int status = read.Read(channel);
        EXPECT_EQ(channel.GetStatus(), status);
        EXPECT_TRUE(status == 0 || IsUntouched()) << status;
        return status;
    }
    bool IsUntouched() const { return read.GetDeletedObjectCount() == 1 && read.GetNewObjectCount() == 0; }

    ODB::Delta read{&space};
};

void RepairChecksum(std::string& bytes) {
    const std::uint32_t sum = Kest::Crc32c(0, bytes.data(), bytes.size() - 4);
    std::memcpy(bytes.data() + bytes.size() - 4, &sum, 4);
}

// Puts `after` where `before` stands first.
std::string Replaced(std::string bytes, const Kest::Guid& before, const Kest::Guid& after) {
    const Kest::Guid::Bytes from = before.GetBytes();
    const Kest::Guid::Bytes to = after.GetBytes();
    const std::size_t place = bytes.find(std::string_view(reinterpret_cast<const char*>(from.data()), from.size()));
    std::memcpy(bytes.data() + place, to.data(), to.size());
    RepairChecksum(bytes);
    return bytes;
}

// Made once, never to change: deltas travel between versions of the library.
constexpr std::string_view Fixture =
    // ODB::Delta 1.0, sealed
    "6E0B5A1D93C44B7E8F215D70C9A3E846010001003A02000000000000"
    // its name
    "010000009403"
    // a new object, 84 bytes of state:
    "01000000D1E5C0DE0000400080000000000000027D0000000000000000000000000000015400000000000000"
    // ODB::Object 1.0, no id
    "0C2A7B446E0D4E8F9B6B2F1D6B1C7A10010001001000000000000000000000000000000000000000000000001D0204E8"
    // Test::Coin 1.0, the number
    "D1E5C0DE00004000800000000000000201000100040000000000000001000000EB4B3CA9"
    // a modified object, 84 bytes of state:
    "01000000D1E5C0DE0000400080000000000000027D0000000000000000000000000000025400000000000000"
    // ODB::Object 1.0, no id
    "0C2A7B446E0D4E8F9B6B2F1D6B1C7A10010001001000000000000000000000000000000000000000000000001D0204E8"
    // Test::Coin 1.0, the number
    "D1E5C0DE00004000800000000000000201000100040000000000000002000000D2C21ECB"
    // a deleted object
    "01000000D1E5C0DE0000400080000000000000027D000000000000000000000000000003"
    // a new link
    "01000000D1E501000000000000000000000000007D0000000000000000000000000000027D000000000000000000000000000001"
    "00000000000000000000000000000000"
    // a modified link
    "01000000D1E501000000000000000000000000007D0000000000000000000000000000047D000000000000000000000000000002"
    "7D0000000000000000000000000000057D000000000000000000000000000001"
    // a deleted link
    "01000000D1E503000000000000000000000000007D0000000000000000000000000000027D000000000000000000000000000006"
    // a reordered link
    "01000000D1E501000000000000000000000000007D0000000000000000000000000000047D000000000000000000000000000007"
    "7D000000000000000000000000000008"
    // checksum
    "30D8CF7F";

TEST_F(DeltaStreamTest, BytesAreWhatTheyAlwaysWere) {
    const ODB::Delta delta = MakeDelta();
    const std::string bytes = BytesOfDelta(delta);
    EXPECT_EQ(HexOf(bytes), Fixture);
    const Kest::ClassManager::OutputVersionBlock older(3);
    EXPECT_EQ(BytesOfDelta(delta), bytes) << "always today's versions";
}

TEST_F(DeltaStreamTest, EveryCollectionComesBack) {
    const ODB::Delta delta = MakeDelta();
    for (const PlatformSign sign : {PlatformSign::LittleEndian, PlatformSign::BigEndian}) {
        Kest::MemoryOChannel written;
        written.SetProtocolPlatform(sign);
        ASSERT_EQ(delta.Write(written), 0);
        Kest::MemoryIChannel channel(written.GetBytes(), written.GetSize());
        channel.SetProtocolPlatform(sign);
        ASSERT_EQ(read.Read(channel), 0);
        EXPECT_EQ(BytesOfDelta(read), BytesOfDelta(delta));
    }
    EXPECT_EQ(read.GetName(), u"\u0394");
    EXPECT_TRUE(read.ContainsNewObject(IdOf(1)) && read.ContainsModifiedObject(IdOf(2)));
    const ODB::Delta::ModifiedLink& link = read.GetModifiedLinks().at(0);
    EXPECT_TRUE(link.oldLeft == IdOf(4) && link.left == IdOf(2) && link.right == IdOf(5) && link.behind == IdOf(1));
}

TEST_F(DeltaStreamTest, ContentsAreMergedAfterReading) {
    ODB::Delta delta(&space);
    delta.AddNewObject(Coin::MakeIn(space, 7));
    ASSERT_EQ(ReadBytes(BytesOfDelta(delta)), 0);
    ODB::IdSpace target;
    ASSERT_EQ(ODB::MergeDelta(target, read), 0);
    EXPECT_EQ(NumberOf(ThingIn(target, 7)), 7);
}

TEST_F(DeltaStreamTest, WhatMakesNoDeltaIsRefused) {
    const std::string bytes = BytesOfDelta(MakeDelta());
    const Kest::Guid coin = Coin::GetClassInfoStatic()->GetId();
    const std::pair<const char*, std::string> cases[] = {
        {"an id twice", Replaced(bytes, IdOf(2).GetGuid(), IdOf(1).GetGuid())},
        {"a deleted id twice", Replaced(bytes, IdOf(3).GetGuid(), IdOf(1).GetGuid())},
        {"the null id", Replaced(bytes, IdOf(1).GetGuid(), Kest::Guid())},
        {"an unknown class", Replaced(bytes, coin, IdOf(1).GetGuid())},
        {"a class without a factory", Replaced(bytes, coin, ODB::Object::GetClassInfoStatic()->GetId())},
        {"an unknown association", Replaced(bytes, Owning().GetId().GetGuid(), coin)},
    };
    for (const auto& [what, damaged] : cases)
        EXPECT_EQ(ReadBytes(damaged), Kest::ChannelStatus::Damaged) << what;
    ODB::Delta twice(&space);
    twice.AddNewLink(Owning(), IdOf(1), IdOf(2), ODB::NullId);
    twice.AddDeletedLink(Owning(), IdOf(3), IdOf(2));
    EXPECT_EQ(ReadBytes(BytesOfDelta(twice)), Kest::ChannelStatus::Damaged) << "a right object twice";
}

TEST_F(DeltaStreamTest, AnUnknownMajorVersionIsPassedOver) {
    std::string bytes = BytesOfDelta(MakeDelta());
    bytes[16] = 2;
    RepairChecksum(bytes);
    EXPECT_EQ(ReadBytes(bytes), 0);
    EXPECT_TRUE(IsUntouched());
}

TEST_F(DeltaStreamTest, EveryTruncationIsRefused) {
    const std::string bytes = BytesOfDelta(MakeDelta());
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_NE(ReadBytes(bytes.substr(0, size)), 0) << size;
}

TEST_F(DeltaStreamTest, EveryFlippedBitIsRefusedOrReadAsItStands) {
    const std::string bytes = BytesOfDelta(MakeDelta());
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit)
        for (const bool repaired : {false, true}) {
            std::string flipped = bytes;
            flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
            if (repaired)
                RepairChecksum(flipped);
            if (ReadBytes(flipped) != 0 || (bit / 8 == 16 && IsUntouched()))
                continue;
            const std::string rewritten = BytesOfDelta(read);
            const std::size_t size = rewritten.size() - Kest::FrameHeaderSize - 4;
            EXPECT_EQ(rewritten.substr(Kest::FrameHeaderSize, size), flipped.substr(Kest::FrameHeaderSize, size))
                << bit;
        }
}

TEST_F(DeltaStreamTest, CodesOfContentsArePassedOn) {
    const ODB::Delta delta = MakeDelta();
    Thing::unrestorable = 2;
    Kest::MemoryOChannel channel;
    EXPECT_EQ(delta.Write(channel), -98);
    EXPECT_EQ(channel.GetStatus(), -98);
}

TEST_F(DeltaStreamTest, IdsInContentsDoNotReachWhoeverReadsAround) {
    const std::string bytes = BytesOfDelta(MakeDelta());
    const ThingRef written = Coin::MakeIn(space, 20);
    const std::string coin = Written([&](Kest::OChannel& channel) { written->Write(channel); });
    ODB::IdSpace target;
    ODB::IdReadingScope scope(&target);
    const ThingRef made(new Coin);
    ODB::Database::AddObject(made, false);
    Kest::MemoryIChannel channel(coin.data(), coin.size());
    ASSERT_EQ(made->Read(channel), 0);
    ASSERT_EQ(ReadBytes(bytes), 0);
    scope.Identify(made);
    EXPECT_EQ(made.GetId(), IdOf(20));
}

TEST_F(DeltaStreamTest, NoMemory) {
    const ODB::Delta delta = MakeDelta();
    const std::string bytes = BytesOfDelta(delta);
    int status = 0;
    const auto check = [&](bool failed) {
        EXPECT_EQ(status, failed ? -108 : 0);
        EXPECT_EQ(IsUntouched(), failed);
        read.Clear();
        read.AddDeletedObject(*Thing::GetClassInfoStatic(), IdOf(99));
    };
    read.AddDeletedObject(*Thing::GetClassInfoStatic(), IdOf(99));
    const auto readOnce = [&] {
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        status = read.Read(channel);
    };
    EXPECT_GT(ForEachFailure(readOnce, check).failures, 20u);
    const auto writeOnce = [&] {
        Kest::MemoryOChannel channel;
        status = delta.Write(channel);
    };
    const FailureCount count = ForEachFailure(writeOnce, [&](bool failed) { EXPECT_EQ(status, failed ? -108 : 0); });
    EXPECT_GT(count.failures, 4u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
