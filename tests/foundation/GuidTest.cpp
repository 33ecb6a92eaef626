#include <Kest/Guid.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <thread>
#include <type_traits>
#include <unordered_set>
#include <vector>

using Kest::Guid;

static_assert(sizeof(Guid) == 16 && std::is_trivially_copyable_v<Guid>);

TEST(GuidTest, TextBytesAndOrderAgree) {
    const Guid guid("{08DE19E5-D6A1-4e65-b87A-550201F72C02}");
    const Guid::Bytes bytes = {0x08, 0xDE, 0x19, 0xE5, 0xD6, 0xA1, 0x4E, 0x65,
                               0xB8, 0x7A, 0x55, 0x02, 0x01, 0xF7, 0x2C, 0x02};
    EXPECT_EQ(guid.GetBytes(), bytes);
    EXPECT_EQ(Guid(bytes), guid);
    EXPECT_EQ(guid.ToText(), "{08DE19E5-D6A1-4E65-B87A-550201F72C02}");
    EXPECT_LT(guid, Guid("{08DE19E5-D6A1-4E65-B87A-550201F72C03}"));
    EXPECT_GT(guid, Guid("{07FFFFFF-FFFF-FFFF-FFFF-FFFFFFFFFFFF}"));
}

TEST(GuidTest, DamagedTextIsNull) {
    const char* const damaged[] = {nullptr,
                                   "",
                                   "08DE19E5-D6A1-4E65-B87A-550201F72C02",
                                   "{08DE19E5-D6A1-4E65-B87A-550201F72C02",
                                   "{08DE19E5-D6A1-4E65-B87A-550201F72C02} ",
                                   "{08DE19E5-D6A1-4E65-B87A-550201F72C0G}",
                                   "{08DE19E5-D6A1-4E65-B87A-550201F72C0@}",
                                   "{08DE19E5-D6A1-4E65-B87A0550201F72C02}",
                                   "{08DE19E5-D6A1-4E65-B87A--50201F72C02}"};
    for (const char* text : damaged)
        EXPECT_TRUE(Guid(text).IsNull()) << (text != nullptr ? text : "null");
    Guid kept("{08DE19E5-D6A1-4E65-B87A-550201F72C02}");
    EXPECT_FALSE(Guid::Parse("{}", kept));
    EXPECT_FALSE(kept.IsNull());
}

TEST(GuidTest, GeneratedIdsDifferAlsoBetweenThreads) {
    std::array<std::array<Guid, 5000>, 4> drawn;
    {
        std::vector<std::thread> threads;
        for (auto& guids : drawn)
            threads.emplace_back([&guids] { std::generate(guids.begin(), guids.end(), Guid::Generate); });
        for (std::thread& thread : threads)
            thread.join();
    }
    std::unordered_set<Guid> all;
    for (const auto& guids : drawn)
        all.insert(guids.begin(), guids.end());
    EXPECT_EQ(all.size(), 20000U);
    for (const Guid& guid : drawn[0])
        ASSERT_TRUE(guid.GetBytes()[6] >> 4 == 4 && guid.GetBytes()[8] >> 6 == 2);
}
