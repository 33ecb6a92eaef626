#include <ZalUtil/MemoRecord.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "MemoTable.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using ZalUtil::MemoHeaderSize;
using ZalUtil::MemoRecord;
using ZalUtil::Owner;

std::string WithNumber(std::string table, std::size_t offset, std::uint32_t number) {
    std::memcpy(table.data() + offset, &number, sizeof(number));
    return table;
}

TEST(MemoRecordTest, TheLayoutIsFixed) {
    std::string expected(MemoHeaderSize, '\0');
    const std::pair<std::size_t, std::uint32_t> fields[] = {
        {0, 0x01020304}, {4, 0x05060708}, {8, 0xFFFE5757}, {12, 0x090A0B0C}, {16, 3}};
    for (const auto& [offset, number] : fields)
        expected = WithNumber(expected, offset, number);
    MemoTable table;
    ASSERT_EQ(ZalM_PutRegMData(0x01020304, 0x05060708, 0x5757, -2, 0x090A0B0C, 3, "abc", &table.handle), 0);
    EXPECT_EQ(table.GetText(), expected + "abc");
}

TEST(MemoRecordTest, ARecordIsFoundByItsOwnerPair) {
    MemoTable table;
    ZalM_PutRegMData(1, 2, 0x4D4D, -7, 0xF0000001, 3, "abc", &table.handle);
    table.Put({2, 1}, "");
    unsigned short platform = 0;
    short version = 0;
    unsigned int flags = 0, length = 0;
    const char* const data = ZalM_GetRegMDataPtr(1, 2, table.handle, &platform, &version, &flags, &length);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::string(data, length), "abc");
    EXPECT_TRUE(platform == 0x4D4D && version == -7 && flags == 0xF0000001U);
    EXPECT_EQ(ZalM_GetRegMDataPtr(1, 1, table.handle, &platform, &version, &flags, &length), nullptr);
    EXPECT_EQ(length, 3U) << "outputs stay without a record";
    EXPECT_NE(ZalM_GetRegMDataPtr(2, 1, table.handle, nullptr, nullptr, nullptr, &length), nullptr);
    EXPECT_EQ(length, 0U);
}

TEST(MemoRecordTest, DataMayComeFromTheTableItself) {
    MemoTable table;
    table.Put({1, 0}, "first").Put({2, 0}, "second");
    unsigned int length = 0;
    const char* const data = ZalM_GetRegMDataPtr(2, 0, table.handle, nullptr, nullptr, nullptr, &length);
    table.Put({1, 0}, {data, length});
    EXPECT_EQ(table.Describe(), "1.0=second 2.0=second");
}

TEST(MemoRecordTest, RandomOperationsAgreeWithAList) {
    std::mt19937 random(24);
    MemoTable table;
    std::vector<std::pair<Owner, std::string>> model;
    for (int step = 0; step < 3000; ++step) {
        const Owner owner{static_cast<unsigned int>(random() % 3), static_cast<unsigned int>(random() % 4)};
        const auto place =
            std::find_if(model.begin(), model.end(), [owner](const auto& record) { return record.first == owner; });
        if (random() % 3 == 0) {
            ASSERT_EQ(table.Delete(owner), place != model.end()) << step;
            if (place != model.end())
                model.erase(place);
        } else {
            const std::string data(random() % 9, static_cast<char>('a' + step % 26));
            table.Put(owner, data);
            if (place != model.end())
                place->second = data;
            else
                model.emplace_back(owner, data);
        }
        MemoTable expected;
        for (const auto& [id, data] : model)
            expected.Put(id, data);
        ASSERT_EQ(table.GetText(), expected.GetText()) << step;
    }
}

TEST(MemoRecordTest, AWalkByPositionGivesEachRecordAndItsEnd) {
    MemoTable table;
    table.Put({1, 0}, "a").Put({2, 0}, "bb");
    constexpr std::int64_t Farthest = std::numeric_limits<std::int64_t>::max();
    const std::pair<std::int64_t, std::int64_t> cases[] = {{0, 25},  {25, 51}, {51, 51},
                                                           {-1, -1}, {50, 50}, {Farthest, Farthest}};
    for (const auto& [from, next] : cases) {
        std::int64_t offset = from;
        MemoRecord record;
        EXPECT_EQ(ZalM_GetRegMDataOffsPtr(table.GetBytes(), table.GetSize(), offset, record), from != next) << from;
        EXPECT_EQ(offset, next);
    }
}

TEST(MemoRecordTest, AChangeThatRunsOutOfMemoryChangesNothing) {
    int (*const changes[])(char*** table) = {
        [](char*** table) { return ZalM_PutRegMData(1, 0, 0, 0, 0, 3, "new", table); },
        [](char*** table) { return ZalM_PutRegMData(9, 0, 0, 0, 0, 3, "new", table); },
        [](char*** table) { return ZalM_DelRegMData(1, 0, table, nullptr); },
    };
    MemoTable before;
    before.Put({1, 0}, "a").Put({2, 0}, "bb");
    for (const auto change : changes) {
        int status = 0;
        bool changed = false;
        const auto run = [&] {
            std::optional<AllocationsSucceed> setup(std::in_place);
            MemoTable table(before.GetText());
            setup.reset();
            status = change(&table.handle);
            changed = table.GetText() != before.GetText();
        };
        const auto check = [&](bool failed) {
            EXPECT_EQ(status, failed ? -108 : 0);
            EXPECT_NE(changed, failed);
        };
        EXPECT_EQ(ForEachFailure(run, check).leakedBlocks, 0);
    }
}

// Every prefix stands in a block of its own size, so that a sanitizer sees each byte read too many.
TEST(MemoRecordTest, ATableThatEndsAnywhereGivesItsWholeRecords) {
    MemoTable whole;
    whole.Put({1, 0}, "a").Put({2, 0}, "").Put({3, 0}, "cccc");
    for (std::int64_t size = 0; size <= whole.GetSize(); ++size) {
        MemoTable cut(whole.GetText().substr(0, static_cast<std::size_t>(size)));
        const std::string all = size < 25   ? ""
                                : size < 49 ? "1.0=a "
                                : size < 77 ? "1.0=a 2.0= "
                                            : "1.0=a 2.0= 3.0=cccc ";
        ASSERT_EQ((cut.Describe() + ' ').substr(all.empty() ? 1 : 0), all) << size;
        cut.Put({9, 9}, "z");
        ASSERT_EQ(cut.Describe(), all + "9.9=z") << "what makes no record does not hide a new one";
    }
}

TEST(MemoRecordTest, ALengthThatDoesNotFitEndsTheWalk) {
    MemoTable whole;
    whole.Put({1, 0}, "a").Put({2, 0}, "bb").Put({3, 0}, "c");
    for (const std::uint32_t length : {28U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFE7U, 0xFFFFFFE8U, 0xFFFFFFFFU}) {
        MemoTable hostile(WithNumber(std::string(whole.GetText()), 25 + 16, length));
        EXPECT_EQ(hostile.Describe(), "1.0=a") << length;
        EXPECT_FALSE(hostile.Delete({2, 0}));
        hostile.Put({2, 0}, "new");
        EXPECT_EQ(hostile.Describe(), "1.0=a 2.0=new");
    }
}

}   // namespace
