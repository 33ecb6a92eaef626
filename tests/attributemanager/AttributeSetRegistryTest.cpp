#include <thread>

#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/SwitchCurrentAttributeSet.hpp>

#include <ODB/Database.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using Set = ODB::Ref<ADB::AttributeSet>;

const std::string KilledByFree = "FreeAttributeSet: attempt to kill currentAttributeSet";
const std::string KilledByDispose = "DisposeAttributeSet: attempt to kill currentAttributeSet";

class AttributeSetRegistryTest : public SetFixture {};

TEST_F(AttributeSetRegistryTest, StartsWithOneCurrentSetWithAContainerPerType) {
    EXPECT_EQ(GetCurrentConstAttributeSet(), set);
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 1);
    EXPECT_EQ(GetAttributeRegister(), kinds);
    EXPECT_EQ(GetCurrentAttributeSetProvider()->GetAttributeSet(5), set);
    EXPECT_EQ(set.GetIdSpace(), &space);
    const auto containers = Look().GetAttributeContainerConstList();
    ASSERT_EQ(containers.GetSize(), 2U);
    const auto& first = containers[0];
    EXPECT_EQ(first, Marks());
    EXPECT_EQ(first->GetRefId(), Mark::RefId);
    EXPECT_EQ(first->GetTypeName(), u"Marks");
    EXPECT_EQ(first->GetCreatePermissionID(), LumCB::PermissionID{Mark::RefId});
    EXPECT_EQ(first->GetDeleteModifyPermissionID(), LumCB::PermissionID{Mark::RefId + 1});
    EXPECT_EQ(first.GetId(), ODB::Id(MarksGuid));
    EXPECT_EQ(containers[1].GetId(), ODB::Id(StampsGuid));
}

TEST_F(AttributeSetRegistryTest, AnEndLeavesNothing) {
    const Set second = CreateAttributeSet(&space, Kest::Guid(), true);
    ASSERT_TRUE(second);
    FreeAttributeSetContainer();
    EXPECT_FALSE(set || second || GetCurrentAttributeSet());
    EXPECT_EQ(GetAttributeRegister(), nullptr);
    EXPECT_EQ(space.GetObjectCount(), 0U);
    EXPECT_EQ(NewAttributeSet(&space), 1) << "without a register a set has no containers";
    EXPECT_EQ(space.GetObjectCount(), 1U);
}

TEST_F(AttributeSetRegistryTest, ASecondStartForgetsTheSetsWithoutDeletingThem) {
    const Set again = InitAttributeSetContainer(kinds, &space);
    EXPECT_TRUE(set && again);
    EXPECT_FALSE(IsValidAttributeSet(set));
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 1);
    EXPECT_NE(again.GetConst()->GetConstAttributeContainer(markType).GetId(), ODB::Id(MarksGuid)) << "taken";
}

TEST_F(AttributeSetRegistryTest, IdsWantedAreTakenWhenFree) {
    const Kest::Guid guid("{BBF0C7BD-D54E-4449-B081-9C1E6CECF7B3}");
    const Set first = CreateAttributeSet(&space, guid, false);
    const Set second = CreateAttributeSet(&space, guid, false);
    EXPECT_EQ(first.GetId(), ODB::Id(guid));
    EXPECT_NE(second.GetId(), ODB::Id(guid));
    EXPECT_FALSE(second.GetId().IsNull());
    ODB::IdSpace empty;
    const Set third = CreateAttributeSet(&empty, guid, false);
    EXPECT_NE(third.GetConst()->GetConstAttributeContainer(markType).GetId(), ODB::Id(MarksGuid));
}

TEST_F(AttributeSetRegistryTest, SelectingAFreeIndexMakesASetThatIsListedTwice) {
    EXPECT_EQ(SelectAttributeSet(0), ADB::Error::NoSuchSet);
    EXPECT_EQ(SelectAttributeSet(-7), ADB::Error::NoSuchSet);
    EXPECT_EQ(SelectAttributeSet(7), 0);
    const Set made = GetCurrentAttributeSet();
    EXPECT_NE(made, set);
    EXPECT_EQ(made.GetIdSpace(), ODB::GetDefaultIdSpace());
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 2);
    EXPECT_EQ(SelectAttributeSet(1), 0);
    EXPECT_EQ(SwapAttributeSet(7), 0);
    EXPECT_EQ(GetCurrentAttributeSet(), made);
    EXPECT_EQ(NewAttributeSet(&space), 3);

    EXPECT_EQ(SelectAttributeSet(4), 0) << "the smallest free index is the one asked for";
    const Set once = GetCurrentAttributeSet();
    EXPECT_EQ(DeregisterAttributeSet(once), 0);
    EXPECT_EQ(DeregisterAttributeSet(once), ADB::Error::SetNotRegistered);
    DisposeAttributeSet(once);
}

TEST_F(AttributeSetRegistryTest, AnEntryWithoutASetHoldsNone) {
    SelectAttributeSet(7);
    EXPECT_EQ(FreeAttributeSet(7), 0);   // the other entry, 2, stays behind
    EXPECT_EQ(log, (Texts{KilledByFree}));
    EXPECT_EQ(GetCurrentAttributeSet(), set) << "the first living one";
    EXPECT_EQ(SelectAttributeSet(2), ADB::Error::EmptySet);
    EXPECT_EQ(FreeAttributeSet(2), ADB::Error::EmptySet);
    EXPECT_EQ(GetCurrentAttributeSet(), set);
    EXPECT_EQ(SwapAttributeSet(2), 0);
    EXPECT_EQ(GetCurrentAttributeSet(), Set());
    EXPECT_EQ(SwapAttributeSet(7), ADB::Error::NoSuchSet);
    EXPECT_EQ(FreeAttributeSet(7), ADB::Error::NoSuchSet);
}

TEST_F(AttributeSetRegistryTest, KillingTheCurrentSetIsLoggedAndAnotherChosen) {
    const short second = NewAttributeSet(&space);
    const short third = NewAttributeSet(&space);
    EXPECT_EQ(FreeAttributeSet(second), 0);
    EXPECT_TRUE(log.empty()) << "the current set lives";
    EXPECT_EQ(FreeAttributeSet(1), 0);
    EXPECT_FALSE(set);
    EXPECT_EQ(GetCurrentAttributeSetIndex(), third);
    DisposeAttributeSet(GetCurrentAttributeSet());
    EXPECT_EQ(GetCurrentAttributeSet(), Set());
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 0);
    EXPECT_EQ(log, (Texts{KilledByFree, KilledByDispose}));
    EXPECT_EQ(FreeAttributeSet(third), ADB::Error::NoSuchSet);
    DisposeAttributeSet(ODB::NullRef);
    EXPECT_EQ(log.size(), 2U);
    FreeAttributeSet(NewAttributeSet(&space));
    EXPECT_EQ(log.size(), 3U) << "none was current before either";
}

TEST_F(AttributeSetRegistryTest, ListingAndUnlisting) {
    const Set loose(new ADB::AttributeSet(&space, Kest::Guid()));
    ODB::Database::AddObject(loose, false);
    EXPECT_FALSE(IsValidAttributeSet(loose) || IsValidAttributeSet(ODB::NullRef));
    EXPECT_EQ(SetCurrentAttributeSet(loose), ADB::Error::SetNotRegistered);
    EXPECT_EQ(SetCurrentAttributeSet(ODB::NullRef), ADB::Error::NullArgument);
    EXPECT_EQ(RegisterAttributeSet(loose), 2);
    EXPECT_EQ(RegisterAttributeSet(loose), 3) << "the next free index, not its own";
    EXPECT_EQ(SetCurrentAttributeSet(loose), 0);
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 2);
    EXPECT_EQ(DeregisterAttributeSet(loose), 0);
    EXPECT_EQ(GetCurrentAttributeSet(), loose) << "still current";
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 0);

    EXPECT_EQ(RegisterAttributeSet(ODB::NullRef), 2);
    EXPECT_EQ(SelectAttributeSet(2), ADB::Error::EmptySet);
    EXPECT_EQ(DeregisterAttributeSet(ODB::NullRef), 0);
    EXPECT_EQ(DeregisterAttributeSet(ODB::NullRef), ADB::Error::SetNotRegistered);

    DisposeAttributeSet(loose);   // not listed
    EXPECT_FALSE(loose);
    EXPECT_EQ(GetCurrentAttributeSet(), set);
}

TEST_F(AttributeSetRegistryTest, ASwitchRestoresTheSetBefore) {
    const Set other = CreateAttributeSet(&space, Kest::Guid(), false);
    try {
        const ADB::SwitchCurrentAttributeSet outer(other);
        EXPECT_EQ(GetCurrentAttributeSet(), other);
        {
            const ADB::SwitchCurrentAttributeSet none{Set()};
            EXPECT_EQ(GetCurrentAttributeSet(), Set());
        }
        EXPECT_EQ(GetCurrentAttributeSet(), other);
        throw 1;
    } catch (int) {
    }
    EXPECT_EQ(GetCurrentAttributeSet(), set);
    {
        const ADB::SwitchCurrentAttributeSet outer(other);
        FreeAttributeSet(1);
    }
    EXPECT_EQ(GetCurrentAttributeSet(), Set()) << "the set before has died";
}

TEST_F(AttributeSetRegistryTest, ACloneEqualsItsSourceAndHasItsOwnActiveAttributes) {
    Add(u"Wall", 7, 3);
    Add(u"Roof", 2, 4, GeneralAttribute::FromPax);
    set->SetActiveAttribute(markType, Add(u"Beam", 9));
    Look().SetPercentFill(ADB::AttributeSet::PercentFill50, 12);
    ODB::IdSpace elsewhere;
    ODB::IdSpace* const targets[] = {nullptr, &space, &elsewhere};
    for (ODB::IdSpace* const target : targets) {
        const Set clone = CloneAttributeSet(set, target);
        ASSERT_TRUE(clone && clone != set);
        const bool aside = target == &elsewhere;
        EXPECT_EQ(clone.GetIdSpace(), aside ? &elsewhere : &space);
        EXPECT_EQ(clone.GetId() == set.GetId(), aside);
        EXPECT_TRUE(IsValidAttributeSet(clone));
        EXPECT_EQ(GetCurrentAttributeSet(), set);
        EXPECT_EQ(ListMarks(clone), (Texts{"7 Wall", "2 Roof", "9 Beam"}));
        EXPECT_EQ(clone.GetConst()->GetPercentFill(ADB::AttributeSet::PercentFill50), 12);
        const auto active = clone.GetConst()->GetConstActiveAttribute(markType);
        EXPECT_EQ(active, clone.GetConst()->GetConstAttribute(markType, 9));
        EXPECT_NE(active, Look().GetConstActiveAttribute(markType));
        Look().EnumerateConstAttributes([&](const Reading& attribute) {
            const auto copied = clone.GetConst()->GetConstAttribute(markType, attribute->GetIndex());
            EXPECT_TRUE(copied && attribute->Compare(copied).IsEmpty());
        });
        EXPECT_TRUE(clone.GetConst()->CheckInvariants());
    }
    EXPECT_TRUE(Look().CheckInvariants() && space.CheckInvariants() && elsewhere.CheckInvariants());

    SetRecorder heard;
    const Set aside = CloneAttributeSet(set, &elsewhere);
    EXPECT_EQ(NewAttributeSet(&space), 5) << "the clone that is there already is listed once";
    aside->Attach(heard);
    aside.GetConst()->GetAttribute(markType, short{7})->SetName(u"Slab");
    EXPECT_EQ(heard.Take(), (Texts{"changed 1 Slab: 1"}));
    FreeAttributeSetContainer();   // before the other space dies
}

TEST_F(AttributeSetRegistryTest, ACloneThatCannotBeMadeLeavesTheTargetAsItWas) {
    const auto layer = Add(u"Wall");
    ODB::IdSpace elsewhere;
    Mark stranger;
    Attribute(&stranger).Init(layer.GetId(), &elsewhere);
    EXPECT_FALSE(CloneAttributeSet(set, &elsewhere)) << "an id is taken";
    EXPECT_FALSE(CloneAttributeSet(ODB::NullRef, &elsewhere));
    EXPECT_EQ(elsewhere.GetObjectCount(), 1U);
    EXPECT_EQ(NewAttributeSet(&space), 2);
}

TEST_F(AttributeSetRegistryTest, AWantOfMemoryLeavesEverythingAsItWas) {
    Add(u"Wall");
    set->SetActiveAttribute(markType, Add(u"A roof with a name of some length"));
    const std::size_t before = space.GetObjectCount();
    ODB::IdSpace elsewhere;
    ODB::IdSpace* const targets[] = {nullptr, &elsewhere};
    for (ODB::IdSpace* const target : targets) {
        Set clone;
        const auto check = [&](bool failed) {
            EXPECT_TRUE(clone || failed);
            EXPECT_TRUE(clone || space.GetObjectCount() + elsewhere.GetObjectCount() == before);
            EXPECT_TRUE(Look().CheckInvariants());
            EXPECT_TRUE(!clone || clone.GetConst()->CheckInvariants());
            DisposeAttributeSet(clone);
            clone = ODB::NullRef;
        };
        const auto count = ForEachFailure([&] { clone = CloneAttributeSet(set, target); }, check);
        EXPECT_GT(count.failures, 20U);
    }
    short index = 0;
    ForEachFailure([&] { index = NewAttributeSet(&space); },
                   [&](bool failed) {
                       EXPECT_TRUE(index == 2 || (failed && index == -1)) << index;
                       if (index == 2) {
                           EXPECT_EQ(FreeAttributeSet(2), 0);
                       }
                       EXPECT_EQ(space.GetObjectCount(), before);
                       EXPECT_EQ(GetCurrentAttributeSet(), set);
                   });
}

TEST_F(AttributeSetRegistryTest, ADyingSetMayTakeOthersAlong) {
    const Set second = CreateAttributeSet(&space, Kest::Guid(), false);
    const Set third = CreateAttributeSet(&space, Kest::Guid(), false);
    SetRecorder killer, restarter;
    killer.act = [&](const std::string&) { DisposeAttributeSet(third); };
    second->Attach(killer);
    EXPECT_EQ(FreeAttributeSet(2), 0);
    EXPECT_FALSE(second || third);
    EXPECT_EQ(GetCurrentAttributeSet(), set);

    restarter.act = [&](const std::string&) { NewAttributeSet(&space); };
    set->Attach(restarter);
    FreeAttributeSetContainer();
    EXPECT_EQ(space.GetObjectCount(), 0U) << "also what was made on the way";
}

TEST_F(AttributeSetRegistryTest, ADyingSetGivesItsIndexToOneMadeMeanwhile) {
    const Set second = CreateAttributeSet(&space, Kest::Guid(), false);
    SetRecorder relister;
    short given = 0;
    relister.act = [&](const std::string&) {
        EXPECT_EQ(DeregisterAttributeSet(second), 0);
        given = NewAttributeSet(&space);
    };
    second->Attach(relister);
    EXPECT_EQ(FreeAttributeSet(2), 0);
    EXPECT_EQ(given, 2);
    EXPECT_EQ(SelectAttributeSet(2), 0) << "the newcomer stays listed";
}

TEST_F(AttributeSetRegistryTest, AnIdSpaceTakesItsSetsAlong) {
    auto passing = std::make_unique<ODB::IdSpace>();
    const short index = NewAttributeSet(passing.get());
    EXPECT_EQ(SelectAttributeSet(index), 0);
    passing.reset();
    EXPECT_EQ(GetCurrentAttributeSetIndex(), 0);
    EXPECT_FALSE(GetCurrentAttributeSet());
    EXPECT_EQ(SelectAttributeSet(index), ADB::Error::EmptySet);
}

TEST(AccessCountTest, EachThreadHasItsOwnAndNoneIsNegative) {
    ADB::DisableAccesFromCurrentThread();
    ADB::DisableAccesFromCurrentThread();
    std::thread([] {
        ADB::EnableAccesFromCurrentThread();
        EXPECT_EQ(ADB::GetAccessCountOfCurrentThread(), 0);
    }).join();
    EXPECT_EQ(ADB::GetAccessCountOfCurrentThread(), 2);
    for (int time = 0; time < 3; ++time)
        ADB::EnableAccesFromCurrentThread();
    EXPECT_EQ(ADB::GetAccessCountOfCurrentThread(), 0);
}

}   // namespace
