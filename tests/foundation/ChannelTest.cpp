#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include <Kest/ClassManager.hpp>
#include <Kest/Crc32c.hpp>
#include <Kest/Frames.hpp>
#include <Kest/MemoryChannels.hpp>
#include <Kest/Object.hpp>

#include <gtest/gtest.h>

#include "support/ForEachFailure.hpp"

namespace {

using namespace Kest::ChannelStatus;
using Kest::ClassManager;
using Kest::ClassVersion;
using Kest::InputFrame;
using Kest::MemoryIChannel;
using Kest::MemoryOChannel;
using Kest::OutputFrame;
using Kest::PlatformSign;
using Kest::UniString;

/// Has a number; systems of version 2 understand version 1.4 of it.
class Counter : public Kest::Object {
public:
    Counter* Clone() const override { return new Counter(*this); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Counter", Kest::Guid("{C0DE0001-0203-0405-0607-08090A0B0C0D}"),
                                          ClassVersion(3, 1), nullptr, {}, nullptr, {{2, ClassVersion(1, 4)}});
        return &info;
    }
    int Write(Kest::OChannel& channel) const override {
        OutputFrame frame(channel, *GetClassInfoStatic());
        written = frame.GetVersion();
        channel.Write(count);
        return frame.Close();
    }
    int Read(Kest::IChannel& channel) override {
        InputFrame frame(channel, *GetClassInfoStatic());
        channel.Read(count);
        return frame.Close();
    }

    int count = 0;
    mutable ClassVersion written;
};

const Kest::ClassInfo& CounterInfo() {
    return *Counter::GetClassInfoStatic();
}

std::string BytesOf(const MemoryOChannel& channel) {
    return {channel.GetBytes(), channel.GetSize()};
}

// Reads `bytes` by `read`, which gets the channel, and answers with its status.
template <class Read>
int StatusOf(const std::string& bytes, Read&& read, PlatformSign sign = PlatformSign::LittleEndian) {
    const std::string exact(bytes);   // a block of its own: sanitizers see every byte too many
    MemoryIChannel channel(exact.data(), exact.size());
    channel.SetProtocolPlatform(sign);
    read(channel);
    return channel.GetStatus();
}

void RepairChecksum(std::string& bytes) {
    const std::uint32_t sum = Kest::Crc32c(0, bytes.data(), bytes.size() - 4);
    std::memcpy(bytes.data() + bytes.size() - 4, &sum, 4);
}

TEST(ChannelTest, NumbersTravelInTheOrderOfThePlatform) {
    const struct {
        PlatformSign sign;
        std::string_view bytes;
    } cases[] = {
        {PlatformSign::LittleEndian, {"\x80\xFE\xFF\x04\x03\x02\x01\x08\7\6\5\4\3\2\1\0\0\xC0\x3F\x01", 20}},
        {PlatformSign::BigEndian, {"\x80\xFF\xFE\x01\x02\x03\x04\1\2\3\4\5\6\7\x08\x3F\xC0\0\0\x01", 20}},
    };
    for (const auto& c : cases) {
        MemoryOChannel out;
        out.SetProtocolPlatform(c.sign);
        out.Write(static_cast<signed char>(-128));
        out.Write(short{-2});
        out.Write(0x01020304u);
        out.Write(std::int64_t{0x0102030405060708});
        out.Write(1.5f);
        EXPECT_EQ(out.Write(true), 0);
        EXPECT_EQ(out.GetPosition(), 20u);
        signed char byte = 0;
        short two = 0;
        unsigned four = 0;
        std::int64_t eight = 0;
        float real = 0;
        bool truth = false;
        MemoryIChannel in(out.GetBytes(), out.GetSize());
        in.SetProtocolPlatform(c.sign);
        in.Read(byte);
        in.Read(two);
        in.Read(four);
        in.Read(eight);
        in.Read(real);
        EXPECT_EQ(in.Read(truth), 0);
        EXPECT_EQ(in.GetPosition(), 20u);
        EXPECT_TRUE(byte == -128 && two == -2 && four == 0x01020304 && eight == 0x0102030405060708 && real == 1.5f &&
                    truth);
        EXPECT_EQ(BytesOf(out), c.bytes);
    }
    EXPECT_EQ(StatusOf("\2",
                       [](auto& channel) {
                           bool truth = false;
                           channel.Read(truth);
                       }),
              Damaged);
}

TEST(ChannelTest, AnyTextSurvivesEitherOrder) {
    const UniString texts[] = {u"", u"Wall", UniString(u"a\0b", 3), u"\xD800\xDFFF lone \xDC00",
                               UniString(std::u16string(1000, u'\x1234'))};
    for (const UniString& text : texts)
        for (const PlatformSign sign : {PlatformSign::LittleEndian, PlatformSign::BigEndian}) {
            MemoryOChannel out;
            out.SetProtocolPlatform(sign);
            out.Write(text);
            const std::string bytes = BytesOf(out);
            EXPECT_EQ(bytes.size(), 4 + 2 * text.GetLength());
            UniString read(u"before");
            const auto readText = [&read](auto& channel) { channel.Read(read); };
            EXPECT_EQ(StatusOf(bytes.substr(0, bytes.size() - 1), readText, sign), EndOfData);
            EXPECT_EQ(read, u"before");
            EXPECT_EQ(StatusOf(bytes, readText, sign), 0);
            EXPECT_EQ(read, text);
        }
}

TEST(ChannelTest, ACountThatLiesIsRefused) {
    const struct {
        std::uint32_t claimed;
        std::size_t bytesPerItem;
        int expected;
    } cases[] = {
        {0, 16, 0}, {2, 16, 0}, {3, 16, EndOfData}, {32, 1, 0}, {33, 1, EndOfData}, {0xFFFFFFFF, 1, EndOfData},
    };
    for (const auto& c : cases)
        for (const bool framed : {false, true}) {
            MemoryOChannel out;
            {
                OutputFrame frame(out, CounterInfo());
                out.Write(c.claimed);
                out.WriteBlock(std::string(32, 'x').data(), 32);
            }
            const std::string bytes = BytesOf(out);
            const std::string body = bytes.substr(Kest::FrameHeaderSize, 36);
            std::uint32_t count = 77;
            const auto readCount = [&](auto& channel) { channel.ReadCount(count, c.bytesPerItem); };
            const auto readFramed = [&](auto& channel) {
                const InputFrame frame(channel, CounterInfo());
                readCount(channel);
            };
            EXPECT_EQ(framed ? StatusOf(bytes + body, readFramed) : StatusOf(body, readCount), c.expected) << c.claimed;
            EXPECT_EQ(count, c.expected == 0 ? c.claimed : 77);
        }
}

TEST(ChannelTest, AFailedChannelStaysFailed) {
    MemoryIChannel in("\1\2\3\4", 4);
    int value = 7;
    EXPECT_EQ(in.Fail(-42), -42);
    EXPECT_EQ(in.Fail(Damaged), -42);
    EXPECT_EQ(in.Read(value), -42);
    EXPECT_EQ(value, 7);
    EXPECT_EQ(in.TakeBlock(0), nullptr);
    EXPECT_EQ(InputFrame(in, CounterInfo()).GetStatus(), -42);
    EXPECT_EQ(in.GetPosition(), 0u);

    MemoryOChannel out;
    Counter counter;
    out.Fail(TooLarge);
    EXPECT_EQ(out.Write(1), TooLarge);
    EXPECT_EQ(counter.Write(out), TooLarge);
    EXPECT_EQ(out.GetSize(), 0u);
}

// A frame with a number, a frame in it, and a number behind that.
std::string NestedFrames() {
    MemoryOChannel out;
    out.SetProtocolPlatform(PlatformSign::LittleEndian);
    OutputFrame frame(out, CounterInfo());
    Counter inner;
    inner.count = 0x22222222;
    out.Write(0x11111111);
    out.Write(inner);
    out.Write(0x33333333);
    frame.Close();
    return BytesOf(out);
}

struct NestedNumbers {
    int first = 0;
    Counter inner;
    int last = 0;

    int Read(Kest::IChannel& channel) {
        InputFrame frame(channel, CounterInfo());
        channel.Read(first);
        channel.Read(inner);
        channel.Read(last);
        return frame.Close();
    }
};

TEST(FrameTest, OnlyTheOutermostFrameIsSealed) {
    const std::string id("\xC0\xDE\0\1\2\3\4\5\6\7\x8\x9\xA\xB\xC\xD", 16);
    const std::string expected = id + std::string("\3\1\1\0\x28\0\0\0\0\0\0\0", 12) + "\x11\x11\x11\x11" + id +
                                 std::string("\3\1\0\0\4\0\0\0\0\0\0\0", 12) + "\x22\x22\x22\x22" + "\x33\x33\x33\x33";
    const std::string bytes = NestedFrames();
    EXPECT_EQ(bytes.substr(0, bytes.size() - 4), expected);
    std::string repaired = bytes;
    RepairChecksum(repaired);
    EXPECT_EQ(repaired, bytes);
    NestedNumbers read;
    EXPECT_EQ(StatusOf(bytes, [&](auto& channel) { read.Read(channel); }), 0);
    EXPECT_TRUE(read.first == 0x11111111 && read.inner.count == 0x22222222 && read.last == 0x33333333);
}

TEST(FrameTest, EveryTruncationAndEveryFlippedBitIsRefused) {
    const std::string bytes = NestedFrames();
    const auto readAll = [](auto& channel) { NestedNumbers().Read(channel); };
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_EQ(StatusOf(bytes.substr(0, size), readAll), EndOfData) << size;
    for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
        std::string flipped = bytes;
        flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ 1 << bit % 8);
        EXPECT_EQ(StatusOf(flipped, readAll) == 0, bit == 18 * 8) << bit;   // not sealed: then it is not checked
        RepairChecksum(flipped);
        StatusOf(flipped, readAll);
    }
}

TEST(FrameTest, NothingPassesTheEndOfAFrame) {
    const std::string bytes = NestedFrames();
    const struct {
        const char* what;
        std::size_t place;
        char value;
        int expected;
    } cases[] = {
        {"the inner frame passes the outer end", 28 + 4 + 20, 9, EndOfData},
        {"the inner frame is longer than memory", 28 + 4 + 27, '\x7F', EndOfData},
        {"the inner frame is longer than anything", 28 + 4 + 27, '\x80', Damaged},
        {"the inner frame ends ahead of its number", 28 + 4 + 20, 3, EndOfData},
        {"another class inside", 28 + 4, 1, WrongClass},
        {"flags of a later time", 28 + 4 + 18, 2, Damaged},
        {"the last number is taken for a seal", 28 + 4 + 18, 1, EndOfData},
        {"the last number is inside the inner frame", 28 + 4 + 20, 8, EndOfData},
    };
    for (const auto& c : cases) {
        std::string changed = bytes;
        changed[c.place] = c.value;
        RepairChecksum(changed);
        EXPECT_EQ(StatusOf(changed + changed, [](auto& channel) { NestedNumbers().Read(channel); }), c.expected)
            << c.what;
    }
}

TEST(FrameTest, WhatIsNotReadIsSteppedOver) {
    const std::string bytes = NestedFrames();
    Counter behind;
    behind.count = 5;
    MemoryOChannel out;
    out.WriteBlock(bytes.data(), bytes.size());
    out.Write(behind);
    int first = 0;
    EXPECT_EQ(StatusOf(BytesOf(out),
                       [&](auto& channel) {
                           {
                               const InputFrame frame(channel, CounterInfo());
                               EXPECT_EQ(frame.GetVersion(), ClassVersion(3, 1));
                               channel.Read(first);
                           }
                           behind.count = 0;
                           channel.Read(behind);
                       }),
              0);
    EXPECT_TRUE(first == 0x11111111 && behind.count == 5);
}

TEST(FrameTest, VersionsAreThoseOfTheSystemWrittenFor) {
    const auto writtenNow = [] {
        MemoryOChannel out;
        const Counter counter;
        counter.Write(out);
        EXPECT_EQ(out.GetBytes()[16], static_cast<char>(counter.written.GetMajor()));
        return counter.written;
    };
    EXPECT_EQ(writtenNow(), ClassVersion(3, 1));
    const ClassManager::OutputVersionBlock older(2);
    EXPECT_EQ(writtenNow(), ClassVersion(1, 4));
    {
        const ClassManager::OutputVersionBlock unheardOf(9);
        EXPECT_EQ(writtenNow(), ClassVersion(3, 1));
    }
    EXPECT_EQ(writtenNow(), ClassVersion(1, 4));
}

TEST(FrameTest, AStateIsWhatTheObjectWritesToday) {
    const ClassManager::OutputVersionBlock older(2);
    Counter counter;
    counter.count = 12;
    Kest::ObjectState state;
    EXPECT_EQ(counter.Store(state), 0);
    EXPECT_EQ(counter.written, ClassVersion(3, 1));
    Counter other;
    EXPECT_EQ(other.Restore(state), 0);
    EXPECT_EQ(other.count, 12);
    EXPECT_NE(other.Restore(Kest::ObjectState()), 0);
    EXPECT_EQ(other.count, 12);
}

TEST(FrameTest, NoMemory) {
    const std::string large(100'000, 'x');
    int status = 0;
    const auto write = [&] {
        MemoryOChannel out;
        OutputFrame frame(out, CounterInfo());
        out.WriteBlock(large.data(), large.size());
        out.Write(1);
        status = frame.Close();
    };
    const FailureCount count = ForEachFailure(write, [&](bool failed) { EXPECT_EQ(status, failed ? MemoryFull : 0); });
    EXPECT_GT(count.failures, 3u) << "the block grows";
    EXPECT_EQ(count.leakedBlocks, 0);
}

// Bit by bit, as the sum is defined.
std::uint32_t PlainCrc32c(const char* bytes, std::size_t size) {
    std::uint32_t sum = 0xFFFFFFFF;
    for (std::size_t place = 0; place < size; ++place) {
        sum ^= static_cast<unsigned char>(bytes[place]);
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ ((sum & 1) != 0 ? 0x82F63B78 : 0);
    }
    return ~sum;
}

TEST(Crc32cTest, AgreesWithItsDefinitionAtAnyStartAndLength) {
    EXPECT_EQ(Kest::Crc32c(0, "123456789", 9), 0xE3069283u);
    EXPECT_EQ(Kest::Crc32c(0, nullptr, 0), 0u);
    std::string bytes(96, '\0');
    std::uint32_t random = 1;
    for (char& byte : bytes)
        byte = static_cast<char>((random = random * 1664525 + 1013904223) >> 24);
    for (std::size_t start = 0; start < 9; ++start)
        for (std::size_t size = 0; size <= 80; ++size) {
            const char* const begin = bytes.data() + start;
            const std::uint32_t expected = PlainCrc32c(begin, size);
            EXPECT_EQ(Kest::Crc32c(0, begin, size), expected) << start << ' ' << size;
            const std::size_t part = size / 3;
            EXPECT_EQ(Kest::Crc32c(Kest::Crc32c(0, begin, part), begin + part, size - part), expected);
        }
}

}   // namespace
