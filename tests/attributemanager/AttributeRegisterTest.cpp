#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/AttributeRegister.hpp>

#include <gtest/gtest.h>

#include "support/ForEachFailure.hpp"

namespace {

const Kest::Guid Walls("{11111111-0000-0000-0000-000000000001}");
const Kest::Guid Roofs("{11111111-0000-0000-0000-000000000002}");

class AttributeRegisterTest : public testing::Test {
protected:
    short Register(unsigned int refId, const Kest::Guid& typeGuid = {}, unsigned int flags = 0) {
        return kinds.RegisterAttributeType(refId, {refId, 9}, typeGuid,
                                           Kest::Guid("{22222222-0000-0000-0000-000000000001}"), u"Kind",
                                           LumCB::PermissionID{3}, LumCB::PermissionID{4}, flags);
    }

    ADB::AttributeRegister kinds;
};

TEST_F(AttributeRegisterTest, AnswersWhatWasRegistered) {
    EXPECT_EQ(Register('A', Walls, 0x8), 1);
    EXPECT_EQ(Register('B', Roofs), 2);
    EXPECT_EQ(kinds.GetAttributeTypeNumber(), 2);
    EXPECT_EQ(kinds.GetRefId(1), unsigned{'A'});
    EXPECT_EQ(kinds.GetTypeGuid(1), Walls);
    EXPECT_EQ(kinds.GetOwner(1), (ZalUtil::Owner{'A', 9}));
    EXPECT_EQ(kinds.GetContainerGuid(1), Kest::Guid("{22222222-0000-0000-0000-000000000001}"));
    EXPECT_EQ(kinds.GetTypeName(1), u"Kind");
    EXPECT_EQ(kinds.GetCreatePermissionID(1), LumCB::PermissionID{3});
    EXPECT_EQ(kinds.GetDeleteModifyPermissionID(1), LumCB::PermissionID{4});
    EXPECT_EQ(kinds.GetTypeIdByGuid(Roofs), 2);
    EXPECT_EQ(kinds.GetTypeIdByRefId('B'), 2);
}

TEST_F(AttributeRegisterTest, RefusesARefIdThatIsKnownAndKeepsTheFirstOfEqualGuids) {
    EXPECT_EQ(Register('A', Walls), 1);
    EXPECT_EQ(Register('A', Roofs), 0);
    EXPECT_EQ(kinds.GetAttributeTypeNumber(), 1);
    EXPECT_EQ(kinds.GetTypeIdByGuid(Roofs), 0);
    EXPECT_EQ(Register('B', Walls), 2);
    EXPECT_EQ(kinds.GetTypeIdByGuid(Walls), 1);
}

TEST_F(AttributeRegisterTest, AnswersUnknownTypesWithEmptyValues) {
    Register('A', Walls, 0xF);
    for (const short typeId : {short{0}, short{-1}, short{2}, short{32767}, short{-32768}}) {
        EXPECT_EQ(kinds.GetRefId(typeId), 0U) << typeId;
        EXPECT_TRUE(kinds.GetTypeGuid(typeId).IsNull());
        EXPECT_EQ(kinds.GetOwner(typeId), ZalUtil::Owner());
        EXPECT_TRUE(kinds.GetContainerGuid(typeId).IsNull());
        EXPECT_TRUE(kinds.GetTypeName(typeId).IsEmpty());
        EXPECT_EQ(kinds.GetCreatePermissionID(typeId), LumCB::PermissionID::None);
        kinds.SetTypeFlag1(typeId, true);
        EXPECT_FALSE(kinds.HasTypeFlag1(typeId) || kinds.HasTypeFlag8(typeId));
    }
    EXPECT_EQ(kinds.GetTypeIdByGuid(Roofs), 0);
    EXPECT_EQ(kinds.GetTypeIdByRefId(0), 0);
}

TEST_F(AttributeRegisterTest, KeepsItsFourFlagsApart) {
    for (unsigned int flags = 0; flags < 16; ++flags) {
        const short typeId = Register(flags + 1, Walls, flags);
        for (const bool on : {true, false}) {
            kinds.SetTypeFlag1(typeId, on);
            EXPECT_EQ(kinds.HasTypeFlag1(typeId), on);
            EXPECT_EQ(kinds.HasTypeFlag2(typeId), (flags & 2) != 0);
            EXPECT_EQ(kinds.HasTypeFlag4(typeId), (flags & 4) != 0);
            EXPECT_EQ(kinds.HasTypeFlag8(typeId), (flags & 8) != 0);
        }
    }
}

TEST_F(AttributeRegisterTest, HandsOutReferencesThatStayUntilItsLastType) {
    Register(1, Walls);
    const Kest::Guid* const first = &kinds.GetTypeGuid(1);
    for (int typeId = 2; typeId <= 32767; ++typeId)
        ASSERT_EQ(Register(static_cast<unsigned int>(typeId)), typeId);
    EXPECT_EQ(&kinds.GetTypeGuid(1), first);
    EXPECT_EQ(*first, Walls);
    EXPECT_EQ(Register(32768), 0) << "type ids have 16 bits";
    EXPECT_EQ(kinds.GetAttributeTypeNumber(), 32767);
}

TEST_F(AttributeRegisterTest, AWantOfMemoryRegistersNothing) {
    short typeId = 0;
    int expected = 0;
    const auto count = ForEachFailure(
        [&] {
            {
                const AllocationsSucceed preparing;
                ++expected;
                typeId = -1;
            }
            typeId = Register(static_cast<unsigned int>(expected), Kest::Guid::Generate());
        },
        [&](bool failed) {
            expected -= typeId == 0 ? 1 : 0;
            EXPECT_TRUE(typeId == expected || (failed && typeId == 0));
            EXPECT_EQ(kinds.GetAttributeTypeNumber(), expected);
            EXPECT_EQ(kinds.GetTypeIdByRefId(static_cast<unsigned int>(expected) + 1), 0);
        });
    EXPECT_GT(count.failures, 3U);
}

}   // namespace
