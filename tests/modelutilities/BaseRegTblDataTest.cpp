#include <ZalUtil/BaseRegTblData.hpp>

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include "MemoTable.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using ZalUtil::Owner;
using ZalUtil::OwnerList;

static_assert(sizeof(ZalUtil::BaseRegTblData) == 2 * sizeof(void*), "every attribute carries one");

class TableData : public ZalUtil::BaseRegTblData {
public:
    TableData() = default;
    explicit TableData(std::string_view bytes) {
        EXPECT_EQ(UpdateRegTbl(bytes.data(), static_cast<std::int64_t>(bytes.size())), 0);
    }
    TableData* Clone() const override { return new TableData(*this); }

    std::string_view GetText() const { return {GetBytes(), GetSize()}; }
    std::string Describe() const { return MemoTable::Describe(GetBytes(), GetSize()); }
};

class OwnersHeard : public ZalUtil::ICBOwnerFound {
public:
    explicit OwnersHeard(TableData& emptiedTable) : emptied(emptiedTable) {}
    void OwnerFound(const Owner& owner) override {
        owners.push_back(owner);
        emptied.Delete();
    }

    std::vector<Owner> owners;
    TableData& emptied;
};

TEST(BaseRegTblDataTest, CopiesShareUntilOneChanges) {
    TableData table("bytes");
    TableData copy(table), assigned("others");
    assigned = copy;
    EXPECT_TRUE(table.IsSameStorage(copy));
    EXPECT_EQ(table.GetBytes(), assigned.GetBytes());
    EXPECT_FALSE(table.IsSameStorage(TableData("bytes"))) << "equal bytes are not the same storage";

    ASSERT_EQ(copy.UpdateRegTbl(copy.GetBytes() + 2, 3), 0) << "bytes of its own";
    EXPECT_EQ(table.GetText(), "bytes");
    EXPECT_EQ(copy.GetText(), "tes");
    table.Delete();
    EXPECT_EQ(assigned.GetText(), "bytes");
    const TableData& self = assigned;
    assigned = self;
    EXPECT_EQ(assigned.GetText(), "bytes");

    MemoTable handle;
    ASSERT_EQ(assigned.GetRegTbl(&handle.handle), 0);
    EXPECT_EQ(handle.GetText(), "bytes");
    EXPECT_NE(handle.GetBytes(), assigned.GetBytes());
}

TEST(BaseRegTblDataTest, AllEmptyTablesAreTheSame) {
    TableData updated("bytes"), deleted("bytes");
    ASSERT_EQ(updated.UpdateRegTbl("ignored", 0), 0);
    deleted.Delete();
    for (const TableData* table : {&updated, &deleted}) {
        EXPECT_TRUE(table->IsEmpty() && table->IsSameStorage(TableData()));
        int size = -1;
        EXPECT_EQ(table->GetRegTblPtr(&size), nullptr);
        EXPECT_EQ(size, 0);
    }
}

TEST(BaseRegTblDataTest, WhatRunsOutOfMemoryChangesNothing) {
    MemoTable records;
    records.Put({1, 0}, "a").Put({2, 0}, "b");
    const TableData before(records.GetText());
    TableData table(before);
    EXPECT_EQ(table.UpdateRegTbl("x", std::numeric_limits<std::int64_t>::max()), -108);
    EXPECT_TRUE(table.IsSameStorage(before));

    const OwnerList owners{{1, 0}};
    for (const bool updates : {true, false}) {
        int status = 0;
        const auto operation = [&] {
            status = updates ? table.UpdateRegTbl("x", 1) : table.DeleteExternalDataHandlers(owners);
        };
        const FailureCount count = ForEachFailure(operation, [&](bool failed) {
            EXPECT_EQ(status, failed ? -108 : 0);
            EXPECT_EQ(table.IsSameStorage(before), failed);
            table = before;
        });
        EXPECT_GT(count.failures, 0U);
    }
}

TEST(BaseRegTblDataTest, EachOwnerIsReportedOnceInOrderOfItsFirstRecord) {
    MemoTable records;
    records.Put({5, 1}, "a").Put({2, 2}, "").Put({1, 5}, "c");
    TableData table(std::string(records.GetText()) + std::string(records.GetText()) + "rest");
    OwnersHeard heard(table);
    table.LookupExternalDataHandlers(&heard);
    EXPECT_EQ(heard.owners, (std::vector<Owner>{{5, 1}, {2, 2}, {1, 5}})) << "though a callback changes the table";
    table.LookupExternalDataHandlers(nullptr);
}

TEST(BaseRegTblDataTest, DeletingOwnersRemovesAllTheirRecords) {
    const struct {
        const char* when;
        OwnerList owners;
        const char* expected;
        bool staysShared;
    } cases[] = {
        {"none named", {}, "1.0=a 2.0= 1.0=again 3.0=c", true},
        {"none there", {{0, 1}, {4, 0}}, "1.0=a 2.0= 1.0=again 3.0=c", true},
        {"two records of one", {{1, 0}}, "2.0= 3.0=c", false},
        {"named twice", {{2, 0}, {2, 0}}, "1.0=a 1.0=again 3.0=c", false},
        {"all", {{3, 0}, {1, 0}, {2, 0}}, "", false},
    };
    MemoTable first, second;
    first.Put({1, 0}, "a").Put({2, 0}, "");
    second.Put({1, 0}, "again").Put({3, 0}, "c");
    const TableData table(std::string(first.GetText()) + std::string(second.GetText()));
    for (const auto& c : cases) {
        TableData changed(table);
        ASSERT_EQ(changed.DeleteExternalDataHandlers(c.owners), 0) << c.when;
        EXPECT_EQ(changed.Describe(), c.expected) << c.when;
        EXPECT_EQ(changed.IsSameStorage(table), c.staysShared) << c.when;
    }
}

}   // namespace
