#include <ODB/Ref.hpp>

#include <optional>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

class RefTest : public testing::Test, public ThingWorld {};

TEST_F(RefTest, DeadReferenceBehavesAsNull) {
    const ThingRef thing = Make(1);
    const ODB::ConstRef<Thing> reading = thing;
    ODB::Database::DeleteObject(thing);
    EXPECT_FALSE(thing || reading || thing.Get() != nullptr || reading.Get() != nullptr);
    EXPECT_NE(thing, ThingRef()) << "a dead record is still one record";
    EXPECT_FALSE(space.Contains(IdOf(1)));
    EXPECT_EQ(Owning().Connect(Make(2), thing), -7001);
    EXPECT_EQ(Owning().Connect(thing, Make(3)), -7001);
    EXPECT_EQ(ODB::Database::AddObject(thing, true), -7001);
    ODB::Database::DeleteObject(thing);
    EXPECT_FALSE(space.MoveObject(thing));
    EXPECT_EQ(RightNumbers(Owning(), thing), std::vector<int>());
    EXPECT_EQ(Make(1), thing) << "and comes alive with its identity";
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(RefTest, ObjectMadeAnewRevivesDeadReferencesToOldAndNewRecord) {
    ThingRef old = Make(5);
    const ThingRef second = old;
    ODB::Database::DeleteObject(old);
    auto* const object = new Thing(6);
    const ThingRef raw(object);   // a record of its own before the identity
    ASSERT_EQ(Plain().Connect(Make(1), raw), 0);
    ThingRef named(object);
    ASSERT_TRUE(named.Init(IdOf(5), &space));
    ODB::Database::AddObject(named, false);
    EXPECT_EQ(second.GetConst(), object);
    EXPECT_EQ(raw.GetConst(), object);
    EXPECT_EQ(raw, second);
    EXPECT_EQ(RightNumbers(Plain(), Of(1)), std::vector<int>{6});
    EXPECT_TRUE(space.CheckInvariants());
    ODB::Database::DeleteObject(raw);
    EXPECT_FALSE(second || named);
}

TEST_F(RefTest, ClashOfIdentitiesChangesNothing) {
    const ThingRef holder = Make(5);
    Thing raw(7);
    ThingRef ref(&raw);
    EXPECT_FALSE(ref.Init(IdOf(5), &space));
    EXPECT_TRUE(ref.GetConst() == &raw && ref.GetId().IsNull() && ref.GetIdSpace() == nullptr);
    EXPECT_EQ(space.Find(IdOf(5)), holder);
}

TEST_F(RefTest, NullIdMeansAFreshOne) {
    Thing raw;
    ThingRef ref(&raw);
    ASSERT_TRUE(ref.Init(ODB::NullId, &space));
    const ODB::Id first = ref.GetId();
    ref.GenerateId(&space);
    EXPECT_FALSE(first.IsNull() || ref.GetId() == first || space.Contains(first));
    EXPECT_TRUE(space.Contains(ref.GetId()));
}

TEST_F(RefTest, LookingChangesNoStamp) {
    const ThingRef left = Make(1);
    const ThingRef right = Make(2);
    ASSERT_EQ(Indexed().Connect(left, right), 0);
    const std::uint64_t before = ODB::ObjectInfo::GetLastStamp();
    const ODB::ConstRef<Thing> reading = right;
    EXPECT_EQ(reading->GetNumber(), 2);
    EXPECT_TRUE(right.GetConst() == right.GetLogicalConst());
    EXPECT_EQ(RightNumbers(Indexed(), left).size(), 1u);
    EXPECT_EQ(Indexed().GetLeft(right), left);
    EXPECT_EQ(ODB::DetermineOwnedObjectSet({left}).GetSize(), 2u);
    EXPECT_TRUE(space.CheckInvariants());
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), before);

    right->number = 3;
    EXPECT_GT(right.GetModificationStamp(), before);
    const std::uint64_t bare = right.GetModificationStamp();
    right.GetLogicalConst()->SetNumber(4);
    EXPECT_GT(right.GetModificationStamp(), bare) << "the gate stamps";
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), right.GetModificationStamp());
}

TEST_F(RefTest, InitAndGenerateIdFailWithNothingChanged) {
    ThingRef dead;
    dead.Init(IdOf(9), &space);
    for (const bool revives : {false, true}) {
        const auto run = [&] {
            std::optional<AllocationsSucceed> setup(std::in_place);
            ODB::IdSpace fresh;
            ODB::IdSpace* const target = revives ? &space : &fresh;
            Thing thing(1);
            ThingRef ref(&thing);
            setup.reset();
            try {
                ref.Init(IdOf(9), target);
                ref.GenerateId(target);
            } catch (const std::bad_alloc&) {
                EXPECT_EQ(ref.GetConst(), &thing);
                EXPECT_TRUE(ref.GetId().IsNull() || target->Find(ref.GetId()) == ref);
                EXPECT_TRUE(target->CheckInvariants());
            }
        };
        run();
        EXPECT_EQ(ForEachFailure(run, [](bool) {}).leakedBlocks, 0) << revives;
    }
}

}   // namespace
