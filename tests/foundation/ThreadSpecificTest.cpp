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

TEST(ThreadSpecificTest, EachThreadAndSlotHasItsOwnValuesThatGoWithIt) {
    std::optional<ThreadSpecific<Counted>> slot(std::in_place);
    slot->Get().value = 5;
    ThreadSpecific<Counted> other;
    EXPECT_EQ(other.Get().value, 0);
    std::thread([&] {
        EXPECT_EQ(slot->Get().value, 0);
        EXPECT_EQ(Counted::living, 3);
    }).join();
    EXPECT_EQ(Counted::living, 2);
    slot.reset();
    EXPECT_EQ(Counted::living, 1);
    slot.emplace();   // most likely at the same address
    EXPECT_EQ(slot->Get().value, 0);
}

}   // namespace
