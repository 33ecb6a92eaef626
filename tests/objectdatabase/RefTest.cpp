#include <ODB/Ref.hpp>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

class RefTest : public testing::Test, public ThingWorld {};

TEST_F(RefTest, DeadReferenceBehavesAsNull) {
    ThingRef thing = Make(1);
    const ThingRef copy = thing;
    const ODB::ConstRef<Thing> reading = thing;
    ODB::Database::DeleteObject(thing);
    EXPECT_FALSE(thing || copy || reading);
    EXPECT_EQ(copy.Get(), nullptr);
    EXPECT_EQ(reading.Get(), nullptr);
    EXPECT_EQ(thing, copy) << "a dead record is still one record";
    EXPECT_NE(thing, ThingRef());
    EXPECT_FALSE(space.Contains(IdOf(1)));
    EXPECT_EQ(Owning().Connect(Make(2), thing), -7001);
    EXPECT_EQ(Owning().Connect(thing, Make(3)), -7001);
    EXPECT_EQ(ODB::Database::AddObject(thing, true), -7001);
    ODB::Database::DeleteObject(thing);
    EXPECT_FALSE(space.MoveObject(thing));
    EXPECT_EQ(RightNumbers(Owning(), thing), std::vector<int>());
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(RefTest, IdentityReadBeforeItsObjectComesAlive) {
    ThingRef early;
    ASSERT_TRUE(early.Init(IdOf(5), &space));
    EXPECT_FALSE(early);
    EXPECT_EQ(early.GetId(), IdOf(5));
    EXPECT_FALSE(space.Contains(IdOf(5)));
    const ThingRef late = Make(5);
    EXPECT_TRUE(early);
    EXPECT_EQ(early, late);
    EXPECT_EQ(early.Get(), late.Get());
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
    EXPECT_EQ(ref.GetConst(), &raw);
    EXPECT_TRUE(ref.GetId().IsNull());
    EXPECT_EQ(ref.GetIdSpace(), nullptr);
    EXPECT_EQ(space.Find(IdOf(5)), holder);
}

TEST_F(RefTest, NullIdMeansAFreshOne) {
    Thing raw;
    ThingRef ref(&raw);
    ASSERT_TRUE(ref.Init(ODB::NullId, &space));
    const ODB::Id first = ref.GetId();
    EXPECT_FALSE(first.IsNull());
    ref.GenerateId(&space);
    EXPECT_NE(ref.GetId(), first);
    EXPECT_FALSE(space.Contains(first));
    EXPECT_TRUE(space.Contains(ref.GetId()));
    ThingRef null;
    null.GenerateId(&space);
    EXPECT_FALSE(null || null.GetId().IsNull());
}

TEST_F(RefTest, RawObjectHasARecordOnDemandThatDiesWithIt) {
    ThingRef ref;
    {
        Thing raw(3);
        EXPECT_EQ(raw.GetModificationStamp(), 0u);
        ref = ThingRef(&raw);
        EXPECT_EQ(ref, ThingRef(&raw));
        EXPECT_EQ(ref.GetIdSpace(), nullptr);
        const Thing copy(raw);
        EXPECT_NE(ODB::ConstRef<Thing>(&copy), ref) << "a copy has a record of its own";
    }
    EXPECT_FALSE(ref);
}

TEST_F(RefTest, LookingChangesNoStamp) {
    const ThingRef left = Make(1);
    const ThingRef right = Make(2);
    ASSERT_EQ(Indexed().Connect(left, right), 0);
    const std::uint64_t before = ODB::ObjectInfo::GetLastStamp();
    const ODB::ConstRef<Thing> reading = right;
    EXPECT_EQ(reading->GetNumber(), 2);
    EXPECT_TRUE(ThingRef(right) == right && right && right.GetConst() != nullptr);
    EXPECT_NE(right.GetLogicalConst(), nullptr);
    EXPECT_EQ(RightNumbers(Indexed(), left).size(), 1u);
    EXPECT_EQ(Indexed().GetLeft(right), left);
    EXPECT_NE(IndexOf(left), nullptr);
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
    const struct {
        const char* what;
        bool revives;
    } cases[] = {{"a free identity", false}, {"the identity of a dead record", true}};
    for (const auto& c : cases) {
        const auto run = [&] {
            ODB::IdSpace* target = nullptr;
            std::unique_ptr<ODB::IdSpace> fresh;
            std::unique_ptr<Thing> thing;
            ThingRef ref;
            {
                const AllocationsSucceed setup;
                fresh = std::make_unique<ODB::IdSpace>();
                target = c.revives ? &space : fresh.get();
                thing = std::make_unique<Thing>(1);
                ref = ThingRef(thing.get());
            }
            try {
                ref.Init(IdOf(9), target);
                ref.GenerateId(target);
            } catch (const std::bad_alloc&) {
                const AllocationsSucceed looking;
                EXPECT_TRUE(ref && ref.GetConst() == thing.get()) << c.what;
                EXPECT_TRUE(ref.GetId().IsNull() || target->Find(ref.GetId()) == ref) << c.what;
                EXPECT_TRUE(target->CheckInvariants()) << c.what;
            }
        };
        run();
        EXPECT_EQ(ForEachFailure(run, [](bool) {}).leakedBlocks, 0) << c.what;
    }
}

}   // namespace
