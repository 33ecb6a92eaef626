#include <ZalUtil/MemoRecord.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
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
    const std::string header = std::string(WithNumber(std::string(MemoHeaderSize, '\0'), 0, 0x01020304));
    std::string expected = WithNumber(WithNumber(header, 4, 0x05060708), 12, 0x090A0B0C);
    const std::uint16_t platform = 0x5757;
    const std::int16_t version = -2;
    std::memcpy(expected.data() + 8, &platform, sizeof(platform));
    std::memcpy(expected.data() + 10, &version, sizeof(version));
    expected = WithNumber(expected, 16, 3) + "abc";

    MemoTable table;
    ASSERT_EQ(ZalM_PutRegMData(0x01020304, 0x05060708, platform, version, 0x090A0B0C, 3, "abc", &table.handle), 0);
    EXPECT_EQ(table.GetText(), expected);
}

TEST(MemoRecordTest, ARecordIsFoundByItsOwnerPair) {
    MemoTable table;
    ZalM_PutRegMData(1, 2, 0x4D4D, -7, 0xF0000001, 3, "abc", &table.handle);
    table.Put({2, 1}, "");
    unsigned short platform = 0;
    short version = 0;
    unsigned int flags = 0, length = 9;
    const char* const data = ZalM_GetRegMDataPtr(1, 2, table.handle, &platform, &version, &flags, &length);
    ASSERT_NE(data, nullptr);
    EXPECT_EQ(std::string(data, length), "abc");
    EXPECT_EQ(platform, 0x4D4D);
    EXPECT_EQ(version, -7);
    EXPECT_EQ(flags, 0xF0000001U);

    EXPECT_NE(ZalM_GetRegMDataPtr(2, 1, table.handle, nullptr, nullptr, nullptr, &length), nullptr);
    EXPECT_EQ(length, 0U);
    length = 77;
    EXPECT_EQ(ZalM_GetRegMDataPtr(1, 1, table.handle, &platform, &version, &flags, &length), nullptr);
    EXPECT_EQ(length, 77U) << "outputs stay without a record";

    MemoTable none;
    EXPECT_EQ(ZalM_GetRegMDataPtr(1, 2, none.handle, nullptr, nullptr, nullptr, nullptr), nullptr);
    EXPECT_FALSE(none.Delete({1, 2}));
    EXPECT_EQ(none.handle, nullptr);
}

TEST(MemoRecordTest, AReplacedRecordKeepsItsPlace) {
    const struct {
        const char* when;
        Owner owner;
        const char* data;
        const char* expected;
    } cases[] = {
        {"first, longer", {1, 0}, "longer", "1.0=longer 2.0=bb 3.0="},
        {"middle, emptied", {2, 0}, "", "1.0=a 2.0= 3.0="},
        {"middle, as long", {2, 0}, "xx", "1.0=a 2.0=xx 3.0="},
        {"last, from empty", {3, 0}, "new", "1.0=a 2.0=bb 3.0=new"},
        {"another owner goes to the end", {0, 1}, "z", "1.0=a 2.0=bb 3.0= 0.1=z"},
    };
    for (const auto& c : cases) {
        MemoTable table;
        table.Put({1, 0}, "a").Put({2, 0}, "bb").Put({3, 0}, "").Put(c.owner, c.data);
        EXPECT_EQ(table.Describe(), c.expected) << c.when;
    }
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
    const std::int64_t size = table.GetSize();
    MemoRecord record;
    const struct {
        std::int64_t offset;
        bool expected;
        std::int64_t next;
    } cases[] = {{0, true, 25},
                 {25, true, 51},
                 {51, false, 51},
                 {-1, false, -1},
                 {52, false, 52},
                 {50, false, 50},
                 {std::numeric_limits<std::int64_t>::max(), false, std::numeric_limits<std::int64_t>::max()}};
    for (const auto& c : cases) {
        std::int64_t offset = c.offset;
        EXPECT_EQ(ZalM_GetRegMDataOffsPtr(table.GetBytes(), size, offset, record), c.expected) << c.offset;
        EXPECT_EQ(offset, c.next);
    }
    std::int64_t offset = 0;
    EXPECT_FALSE(ZalM_GetRegMDataOffsPtr(nullptr, 0, offset, record));
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
        char** table = BMPtrToHandle(before.GetBytes(), before.GetSize());
        int status = 0;
        const auto isUnchanged = [&] {
            return BMGetHandleSize(table) == before.GetSize() &&
                   BNCompareMemory(*table, before.GetBytes(), static_cast<std::size_t>(before.GetSize())) == 0;
        };
        ForEachFailure([&] { status = change(&table); },
                       [&](bool failed) {
                           EXPECT_EQ(status, failed ? -108 : 0);
                           EXPECT_EQ(isUnchanged(), failed);
                           if (failed)
                               return;
                           BMKillHandle(&table);
                           table = BMPtrToHandle(before.GetBytes(), before.GetSize());
                       });
        BMKillHandle(&table);
    }
}

// Every prefix stands in a block of its own size, so that a sanitizer sees each byte read too many.
TEST(MemoRecordTest, ATableThatEndsAnywhereGivesItsWholeRecords) {
    MemoTable whole;
    whole.Put({1, 0}, "a").Put({2, 0}, "").Put({3, 0}, "cccc");
    for (std::int64_t size = 0; size <= whole.GetSize(); ++size) {
        MemoTable cut(whole.GetText().substr(0, static_cast<std::size_t>(size)));
        const char* const expected = size < 25   ? ""
                                     : size < 49 ? "1.0=a"
                                     : size < 77 ? "1.0=a 2.0="
                                                 : "1.0=a 2.0= 3.0=cccc";
        ASSERT_EQ(cut.Describe(), expected) << size;
        cut.Put({9, 9}, "z");
        const std::string before = *expected == '\0' ? "" : std::string(expected) + ' ';
        ASSERT_EQ(cut.Describe(), before + "9.9=z") << "what makes no record does not hide a new one";
        ASSERT_TRUE(cut.Delete({9, 9}));
        ASSERT_EQ(cut.Describe(), expected);
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
