#include <AttributeManager/RegTblData.hpp>

#include <Kest/ClassManager.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "modelutilities/MemoTable.hpp"

namespace {

using ADB::RegTblData;
using Owners = Kest::Array<ZalUtil::Owner>;

RegTblData Make(const std::string& bytes) {
    RegTblData data;
    EXPECT_EQ(data.UpdateRegTbl(bytes.data(), static_cast<std::int64_t>(bytes.size())), 0);
    return data;
}

TEST(RegTblDataTest, OwnersComeOnceInOrderOfTheirFirstRecords) {
    MemoTable three, bare, hostile;
    three.Put({3, 1}, "a").Put({1, 3}, "").Put({2, 2}, "ccc");
    bare.Put({9, 9}, "");
    const std::string whole(three.GetText()), header(bare.GetText());
    MemoTable two;
    two.Put({1, 1}, "a").Put({2, 2}, "b");
    std::string endless(two.GetText());
    endless.replace(25 + 16, 4, "\xFF\xFF\xFF\xFF");
    const Owners expected{{3, 1}, {1, 3}, {2, 2}};
    const struct {
        const char* when;
        std::string bytes;
        Owners owners;
    } cases[] = {
        {"empty", "", {}},
        {"a hostile length ends the walk", endless, {{1, 1}}},
        {"each once", whole, expected},
        {"repeated", whole + whole, expected},
        {"a last record without data is not seen", whole + header, expected},
        {"alone, neither", header, {}},
        {"it is seen with anything behind it", header + '\0', {{9, 9}}},
        {"a record cut inside its data ends the walk", whole.substr(0, whole.size() - 1), {{3, 1}, {1, 3}}},
        {"a record cut inside its header ends the walk", whole + header.substr(0, 23), expected},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Make(c.bytes).GetOwners(), c.owners) << c.when;
}

TEST(RegTblDataTest, AClassOfItsOwnThatClonesByShare) {
    const Kest::Guid classId("{10C533E3-179E-4F83-A762-F415D8B0A0CA}");
    const std::unique_ptr<Kest::Object> made(Kest::ClassManager::CreateObject(classId));
    const auto* const empty = dynamic_cast<const RegTblData*>(made.get());
    ASSERT_NE(empty, nullptr);
    EXPECT_TRUE(empty->IsEmpty());
    EXPECT_EQ(made->GetClassInfo()->GetVersion(), Kest::ClassVersion(1, 0));
    EXPECT_TRUE(made->IsInstanceOf(*ZalUtil::BaseRegTblData::GetClassInfoStatic()));
    EXPECT_EQ(empty->GetSignal(), 0x5254424CU);
    EXPECT_EQ(empty->Check(), ZalUtil::MemoCheckResult::NoFindings);

    const RegTblData data = Make("bytes");
    const std::unique_ptr<const RegTblData> clone(data.Clone());
    EXPECT_TRUE(clone->IsSameStorage(data));
}

}   // namespace
