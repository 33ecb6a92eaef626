#include <Kest/ThreadSpecific.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <thread>

namespace {

using Kest::ThreadSpecific;

struct Counted {
    Counted() { ++living; }
    ~Counted() { --living; }
    int value = 0;
    static inline std::atomic<int> living = 0;
};

TEST(ThreadSpecificTest, EachThreadHasItsOwnValuePerSlot) {
    ThreadSpecific<int> first, second;
    EXPECT_EQ(first.Get(), 0);
    first.Get() = 1;
    second.Get() = 2;
    int inThread = -1;
    std::thread([&] {
        inThread = first.Get();
        first.Get() = 10;
    }).join();
    EXPECT_EQ(inThread, 0);
    EXPECT_EQ(first.Get(), 1);
    EXPECT_EQ(second.Get(), 2);
}

TEST(ThreadSpecificTest, ValuesGoWithTheirThreadAndWithTheirSlot) {
    std::optional<ThreadSpecific<Counted>> slot(std::in_place);
    slot->Get().value = 5;
    std::thread([&] {
        slot->Get();
        EXPECT_EQ(Counted::living, 2);
    }).join();
    EXPECT_EQ(Counted::living, 1);
    slot.reset();
    EXPECT_EQ(Counted::living, 0);
    slot.emplace();   // most likely at the same address
    EXPECT_EQ(slot->Get().value, 0);
}

}   // namespace
