#include <ODB/Association1NUntyped.hpp>

#include <string>

#include <gtest/gtest.h>

#include "Coin.hpp"

namespace {

using Kest::ChannelStatus::EndOfData;
using Numbers = std::vector<int>;

class LinkStreamTest : public testing::Test, public ThingWorld {
protected:
    LinkStreamTest() : root(MakeLinked(Plain(), 1, {4, 2, 3})) {}

    static std::string LeftOf(const ThingRef& right) {
        return Written([&](Kest::OChannel& channel) { EXPECT_EQ(Plain().WriteLeft(right, channel), 0); });
    }
    static std::string RightsOf(const ThingRef& left) {
        return Written([&](Kest::OChannel& channel) { EXPECT_EQ(Plain().WriteRight(left, channel), 0); });
    }
    int ReadLeft(const ThingRef& right, const std::string& bytes) {
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        return Plain().IsolatedReadLeft(right, channel, &target);
    }
    int ReadRights(const ThingRef& left, const std::string& bytes) {
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        return Plain().IsolatedReadRight(left, channel, &target);
    }
    Numbers RightsIn(int left) const { return RightNumbers(Plain(), ThingIn(target, left)); }

    ThingRef root;
    ODB::IdSpace target;
};

TEST_F(LinkStreamTest, RightObjectsComeBackInOrderBehindTheOthers) {
    const std::string bytes = RightsOf(root);
    EXPECT_EQ(HexOf(bytes).substr(0, 40), "03000000"
                                          "7D000000000000000000000000000004"
                                          "");
    for (const int number : {1, 2, 4, 5})   // 3 is not there
        MakeIn(target, number);
    Plain().Connect(ThingIn(target, 1), ThingIn(target, 5));
    EXPECT_EQ(ReadRights(ThingIn(target, 1), bytes), 0);
    EXPECT_EQ(RightsIn(1), (Numbers{5, 4, 2}));
    EXPECT_EQ(RightsOf(ThingRef()), std::string(4, '\0'));
    EXPECT_TRUE(target.CheckInvariants());
}

TEST_F(LinkStreamTest, TheLeftObjectComesBackOrIsLeftOut) {
    const ThingRef right = MakeIn(target, 2);
    EXPECT_EQ(ReadLeft(right, LeftOf(Of(2))), 0) << "the left object is not there";
    EXPECT_FALSE(Plain().IsConnectedAsRight(right));
    MakeIn(target, 1);
    EXPECT_EQ(ReadLeft(right, LeftOf(Of(2))), 0);
    EXPECT_EQ(RightsIn(1), Numbers{2});
    EXPECT_EQ(ReadLeft(right, LeftOf(root)), 0) << "nobody";
    EXPECT_EQ(RightsIn(1), Numbers{2});
    EXPECT_EQ(ReadLeft(ThingRef(), LeftOf(Of(2))), -7001);
}

TEST_F(LinkStreamTest, WhatCannotBeReadChangesNothing) {
    const std::string bytes = RightsOf(root);
    for (const int number : {1, 2, 3, 4, 5})
        MakeIn(target, number);
    for (std::size_t size = 0; size < bytes.size(); ++size)
        EXPECT_EQ(ReadRights(ThingIn(target, 1), bytes.substr(0, size)), EndOfData) << size;
    std::string liar = bytes;
    liar[3] = '\x7F';
    EXPECT_EQ(ReadRights(ThingIn(target, 1), liar), EndOfData);
    EXPECT_EQ(ReadLeft(ThingIn(target, 2), LeftOf(Of(2)).substr(1)), EndOfData);
    EXPECT_EQ(RightsIn(1), Numbers{});
    Plain().Connect(ThingIn(target, 5), ThingIn(target, 3));
    EXPECT_EQ(ReadRights(ThingIn(target, 1), bytes), -7003) << "3 is linked elsewhere";
    EXPECT_EQ(RightsIn(1), Numbers{});
    EXPECT_EQ(RightsIn(5), Numbers{3});
}

TEST_F(LinkStreamTest, NoMemory) {
    const std::string bytes = RightsOf(root);
    for (const int number : {1, 2, 3, 4})
        MakeIn(target, number);
    int status = 0;
    const auto check = [&](bool failed) {
        EXPECT_EQ(status, failed ? -108 : 0);
        EXPECT_EQ(RightsIn(1), failed ? Numbers{} : (Numbers{4, 2, 3}));
        EXPECT_TRUE(target.CheckInvariants());
        target.Find(IdOf(1))->Isolate();
    };
    EXPECT_GT(ForEachFailure([&] { status = ReadRights(ThingIn(target, 1), bytes); }, check).failures, 2u);
}

}   // namespace
