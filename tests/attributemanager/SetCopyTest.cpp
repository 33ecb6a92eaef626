#include "SetCopy.hpp"

#include <functional>
#include <optional>
#include <string>

#include <ODB/Association1N.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using Set = ODB::Ref<ADB::AttributeSet>;

const ODB::Association1N<Mark, Stamp>& GetSeals() {
    static const ODB::Association1N<Mark, Stamp> association(ODB::Id("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D0A1}"),
                                                             ODB::AssociationProperty::Ownership);
    return association;
}

class SetCopyTest : public SetFixture {
protected:
    SetCopyTest() {
        for (const char16_t* const name : {u"Wall", u"Roof", u"Door", u"Beam"})
            Add(name, 0, 3, 5);
        Marks()->DeleteAttribute(2);
        Add(u"Arch", 300);
        SetData(*Get(3), 1, 2, "data");
        const Stamp stamp(u"Seal");
        set->NewAttribute(Reading(&stamp), nullptr, false, false, Kest::Guid());
        set->SetActiveAttribute(markType, Get(3));
        Marks()->SetContainerLastUpdatedStamp(77);
        set.GetConst()->SetEmptyFill(9);
        Get(1).GetConst()->MarkDisabled(true);
    }

    // All that can be seen of a set but its ids; these, too, with `withIds`.
    std::string Describe(const Set& described, bool withIds) const {
        std::string text = std::to_string(described.GetConst()->GetEmptyFill()) + "\n";
        const auto show = [&](const ODB::RefBase& object) { text += withIds ? object.GetId().ToString() + " " : ""; };
        show(described);
        described.GetConst()->EnumerateAttributeContainers([&](const Container& each) {
            show(each);
            const ADB::AttributeContainer& container = *each.GetConst();
            text += container.GetTypeName().ToCStr() + std::to_string(container.GetRefId()) + " " +
                    std::to_string(container.GetContainerLastUpdatedStamp()) + " " +
                    std::to_string(static_cast<int>(container.GetCreatePermissionID())) + " " +
                    std::to_string(container.GetAttributeMaximumIndex()) + " " +
                    std::to_string(container.GenerateUniqueIndex(1, nullptr)) + "\n";
            container.EnumerateConstAttributes([&](const Reading& attribute) {
                show(attribute);
                const auto index = static_cast<unsigned int>(attribute->GetIndex());
                text += NameOf(attribute) + " " + std::to_string(index) + " " + std::to_string(attribute->GetFlags()) +
                        " " + std::to_string(attribute->GetModificationTime()) +
                        (attribute->HasMemoData() ? " data" : "") +
                        (container.GetConstAttribute(index) == attribute ? " numbered" : "") +
                        (container.GetConstAttribute(attribute->GetName().ToUpper()) == attribute ? " named" : "") +
                        (container.GetConstActiveAttribute() == attribute ? " active\n" : "\n");
                EXPECT_TRUE(described == set || !attribute->IsDisabled());
            });
        });
        return text;
    }
    void ExpectCopies() {
        ODB::IdSpace other;
        const std::string before = Describe(set, true);
        const Set copy = Look().CopyToIdSpace(&other);
        EXPECT_EQ(Describe(copy, true), before);
        EXPECT_TRUE(copy.GetConst()->CheckInvariants() && other.CheckInvariants());
        EXPECT_EQ(Look().CopyToIdSpace(&other), copy) << "what is there already is given back";

        const Set beside = CloneAttributeSet(set, nullptr);
        EXPECT_EQ(beside.GetIdSpace(), &space);
        EXPECT_EQ(Describe(beside, false), Describe(set, false));
        EXPECT_TRUE(beside.GetConst()->CheckInvariants());
        EXPECT_EQ(Describe(set, true), before);
        DisposeAttributeSet(beside);

        ODB::IdSpace third;
        const Container single = Marks().GetConst()->CopyToIdSpace(&third);
        EXPECT_EQ(single.GetId(), Marks().GetId());
        EXPECT_EQ(third.GetObjectCount(), single.GetConst()->GetAttributeNumber() + 1U);
        EXPECT_TRUE(single.GetConst()->CheckInvariants() && third.CheckInvariants());
    }
};

TEST_F(SetCopyTest, CopiesAreAsTheirSource) {
    ExpectCopies();
    set->SetActiveAttribute(markType, ODB::NullRef);
    Marks()->ResetContainer();
    ExpectCopies();
}

TEST_F(SetCopyTest, SoAreThoseOfContainersWithClashes) {
    const Mark clash(u"WALL", 3);
    FieldMask changed;
    Marks()->PutAttribute(Reading(&clash), 300, &changed);
    ExpectCopies();
    TakeLog();
}

TEST_F(SetCopyTest, WhatAttributesOwnBesidesGoesAlong) {
    const ODB::Ref<Stamp> seal(new Stamp(u"Owned"));
    EXPECT_EQ(GetSeals().Connect(Get(3), seal), 0);
    ODB::IdSpace other;
    const Set copy = Look().CopyToIdSpace(&other);
    EXPECT_TRUE(copy && other.Contains(seal.GetId()));
    EXPECT_TRUE(GetSeals().IsConnected(copy.GetConst()->GetAttribute(markType, short{3}), other.Find(seal.GetId())));
    EXPECT_TRUE(copy.GetConst()->CheckInvariants() && other.CheckInvariants());
}

TEST_F(SetCopyTest, ATakenIdLeavesTheTargetAsItWas) {
    ODB::IdSpace other;
    ODB::Ref<Stamp> taker(new Stamp(u"Taker"));
    ODB::Database::AddObject(taker, false);
    taker.Init(Get(300).GetId(), &other);
    EXPECT_FALSE(Look().CopyToIdSpace(&other));
    EXPECT_EQ(other.GetObjectCount(), 1U);
}

TEST_F(SetCopyTest, ReferencesToComingObjectsComeAlive) {
    ODB::IdSpace other;
    Attribute waiting;
    waiting.Init(Get(4).GetId(), &other);
    const Set copy = Look().CopyToIdSpace(&other);
    EXPECT_EQ(NameOf(waiting), "Beam");
    EXPECT_EQ(waiting, copy.GetConst()->GetAttribute(markType, short{4}));
    EXPECT_TRUE(copy.GetConst()->CheckInvariants() && other.CheckInvariants());
}

TEST_F(SetCopyTest, WithoutMemoryThereIsNoCopy) {
    const std::string before = Describe(set, true);
    for (const bool beside : {false, true}) {
        const std::size_t objects = space.GetObjectCount();
        const auto copy = [&] {
            std::optional<AllocationsSucceed> preparing(std::in_place);
            ODB::IdSpace other;
            preparing.reset();
            const Set made = CloneAttributeSet(set, beside ? nullptr : &other);
            const AllocationsSucceed checking;
            EXPECT_EQ(other.GetObjectCount() > 0, made && !beside);
            EXPECT_TRUE(space.CheckInvariants() && other.CheckInvariants());
            if (made) {
                EXPECT_EQ(Describe(made, !beside), Describe(set, !beside));
                DisposeAttributeSet(made);
            }
            EXPECT_EQ(space.GetObjectCount(), objects);
        };
        EXPECT_GT(ForEachFailure(copy, [](bool) {}).failures, 20U);
        EXPECT_EQ(ForEachFailure(copy, [](bool) {}).leakedBlocks, 0);
    }
    EXPECT_EQ(Describe(set, true), before);
}

}   // namespace
