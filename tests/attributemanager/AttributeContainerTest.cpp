#include <AttributeManager/AttributeContainer.hpp>

#include <AttributeManager/AttributeNewIndexTable.hpp>

#include <Kest/HashSet.hpp>

#include <memory>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using ADB::AttributeContainer;

class AttributeContainerTest : public ContainerFixture {};

TEST_F(AttributeContainerTest, AnIdThatIsTakenGivesAFreshOne) {
    const Kest::Guid guid("{0E2A584C-7878-4278-8517-000000000001}");
    EXPECT_EQ(NewContainer(guid).GetId().GetGuid(), guid);
    EXPECT_NE(NewContainer(guid).GetId().GetGuid(), guid);
    AttributeContainer placeless(1, guid, nullptr, u"", LumCB::PermissionID(0), LumCB::PermissionID(0));
    EXPECT_FALSE(placeless.GetId().IsNull());
    EXPECT_EQ(placeless.GetIdSpace(), ODB::GetDefaultIdSpace());
}

TEST_F(AttributeContainerTest, CopiesTakeTheFieldsNotTheAttributes) {
    const Attribute wall = Add(u"Wall");
    marks->SetContainerLastUpdatedStamp(99);
    marks->SetActiveAttribute(wall);
    AttributeContainer assigned;
    assigned = *marks.GetConst();
    const std::unique_ptr<const AttributeContainer> clone(marks.GetConst()->Clone());
    for (const AttributeContainer* copy : {clone.get(), &std::as_const(assigned)}) {
        EXPECT_EQ(copy->GetRefId(), Mark::RefId);
        EXPECT_EQ(copy->GetTypeName(), u"Marks");
        EXPECT_EQ(copy->GetDeleteModifyPermissionID(), LumCB::PermissionID(2));
        EXPECT_EQ(copy->GetContainerLastUpdatedStamp(), 99U);
        EXPECT_EQ(copy->GetActiveAttribute(), wall);
        EXPECT_EQ(copy->GetAttributeNumber(), 0U);
        EXPECT_TRUE(copy->GetId().IsNull());
    }
}

TEST_F(AttributeContainerTest, LookUpsAnswerCodes) {
    Add(u"Wall", 7);
    const AttributeContainer& container = *marks.GetConst();
    UniString name(u"untouched");
    short index = 77;
    EXPECT_EQ(container.AttributeIndexExist(8), ADB::Error::NoSuchIndex);
    EXPECT_EQ(container.AttributeIndexToName(8, name), ADB::Error::NoSuchIndex);
    EXPECT_EQ(container.AttributeNameToIndex(u"Roof", &index), ADB::Error::NoSuchName);
    EXPECT_TRUE(name == u"untouched" && index == 77);
    EXPECT_EQ(container.AttributeIndexExist(65536 + 7), 0) << "taken as 16 bits";
    EXPECT_EQ(container.AttributeIndexToName(7, name), 0);
    EXPECT_EQ(container.AttributeNameToIndex(u"wALL", &index), 0);
    EXPECT_EQ(container.AttributeNameToIndex(u"wALL", nullptr), 0);
    EXPECT_TRUE(name == u"Wall" && index == 7);
    const AttributeContainer empty;
    EXPECT_FALSE(empty.GetAttribute(1U) || empty.GetActiveAttribute() || empty.GetAttributeSet());
    EXPECT_EQ(empty.GetAttributeMaximumIndex(), 0);
}

TEST_F(AttributeContainerTest, GeneratedIndexes) {
    const struct {
        const char* when;
        Indexes taken;
        short hint, expected;
    } cases[] = {
        {"the lowest free one", {1, 2, 3, 4}, 0, 5},    {"upwards from the hint", {7}, 7, 8},
        {"round from the end", {32766}, 32766, 1},      {"a negative hint", {}, -3, 1},
        {"a hint beyond the end", {1}, 32767, 2},       {"a free hint", {1, 2}, 9, 9},
        {"0 and 32767 are no hints", {0, 32767}, 0, 1},
    };
    for (const auto& c : cases) {
        Kest::HashSet<short> taken;
        for (const short index : c.taken) {
            taken.Add(index);
            Put(Add(u"x")->GetIndex(), UniString::Printf("at %d", index), index);
        }
        EXPECT_EQ(marks.GetConst()->GenerateUniqueIndex(c.hint, &taken), c.expected) << c.when;
        EXPECT_EQ(marks.GetConst()->GenerateUniqueIndex(c.hint, nullptr), c.expected) << c.when;
        marks->ResetContainer();
    }
}

TEST_F(AttributeContainerTest, AFullContainerGivesTheHintBack) {
    Kest::HashSet<short> all;
    for (int index = 1; index <= 32766; ++index) {
        all.Add(static_cast<short>(index));
        ASSERT_EQ(Add(u"x").GetConst()->GetIndex(), index);
    }
    const AttributeContainer& container = *marks.GetConst();
    for (const short hint : {short{0}, short{-3}, short{5}, short{32766}, short{32767}}) {
        EXPECT_EQ(container.GenerateUniqueIndex(hint, &all), hint);
        EXPECT_EQ(container.GenerateUniqueIndex(hint, nullptr), hint);
    }
    EXPECT_EQ(Add(u"x")->GetIndex(), 0);
    EXPECT_EQ(container.GetAttributeMaximumIndex(), 32766);
    marks->DeleteAttribute(20'000);
    EXPECT_EQ(container.GenerateUniqueIndex(20'001, nullptr), 20'000);
    EXPECT_EQ(container.GenerateUniqueIndex(0, nullptr), 20'000);
    marks->DeleteAttribute(32'766);
    EXPECT_EQ(container.GetAttributeMaximumIndex(), 32765);
    EXPECT_EQ(container.GenerateUniqueIndex(20'001, nullptr), 32'766);
    EXPECT_EQ(container.GenerateUniqueName(u"X", nullptr), u"X (19999)") << "the first that is free, not the last";
}

TEST_F(AttributeContainerTest, GeneratedNameIsFreeInAnyLetterCase) {
    const struct {
        const char* when;
        Names taken;
        UniString base, expected;
    } cases[] = {
        {"a free base is kept", {u"WALL"}, u"Roof", u"Roof"},
        {"letter case does not make a name free", {u"WALL"}, u"Wall", u"Wall (1)"},
        {"a numbered base counts on", {u"WALL", u"WALL (1)"}, u"Wall (1)", u"Wall (2)"},
        {"gaps are filled", {u"WALL", u"WALL (1)", u"WALL (3)"}, u"wall", u"wall (2)"},
        {"a blank base gets a name", {}, u" \t", u"Generated Attribute Name (1)"},
        {"and counts on", {u"GENERATED ATTRIBUTE NAME (1)"}, u"", u"Generated Attribute Name (2)"},
        {"the last number", {u"WALL (999999999)"}, u"Wall (999999999)", u"Wall (999999999) (1)"},
        {"letters beyond ASCII", {u"STRA\u00DFE \u00C4"}, u"stra\u00DFe \u00E4", u"stra\u00DFe \u00E4 (1)"},
    };
    for (const auto& c : cases) {
        Kest::HashSet<UniString> taken;
        for (const UniString& name : c.taken) {
            taken.Add(name);
            Add(name);
        }
        EXPECT_EQ(marks.GetConst()->GenerateUniqueName(c.base, &taken), c.expected) << c.when;
        EXPECT_EQ(marks.GetConst()->GenerateUniqueName(c.base, nullptr), c.expected) << c.when;
        marks->ResetContainer();
    }
}

TEST_F(AttributeContainerTest, WhatEntersGetsItsOwnIndexNameAndObserver) {
    Mark source(u"wall", 3, 4, 5);
    source.SetModificationTime(11);
    const Reading reading(&source);
    Add(u"Wall", 3);
    Add(u"Wall (1)", 4);
    const Attribute kept = marks->NewAttribute(reading, true, false);
    EXPECT_EQ(kept->GetName(), u"wall (2)");
    EXPECT_EQ(kept->GetIndex(), 5) << "the next one above its own";
    EXPECT_EQ(FieldsOf(kept->Compare(reading)), (std::vector<int>{1, 2}));
    EXPECT_EQ(static_cast<const Mark*>(kept.GetConst())->color, 4);
    EXPECT_TRUE(kept->IsAttached(*marks));
    EXPECT_EQ(kept.GetIdSpace(), &space);
    const Attribute dated = marks->NewAttribute(kept, false, true);
    EXPECT_EQ(dated->GetIndex(), 1);
    EXPECT_EQ(dated->GetModificationTime(), Now);
    EXPECT_TRUE(source.GetName() == u"wall" && source.GetIndex() == 3);
    EXPECT_FALSE(marks->NewAttribute(ODB::NullRef, true, true));

    const Kest::Guid guid("{0E2A584C-7878-4278-8517-000000000002}");
    const Attribute named = marks->NewAttribute(reading, 9, guid, &space);
    EXPECT_EQ(named->GetGuid(), guid);
    EXPECT_EQ(named->GetIndex(), 9);
    EXPECT_EQ(named->GetModificationTime(), 11);
    EXPECT_FALSE(marks->NewAttribute(reading, 9, guid, &space)) << "the id is taken";
    EXPECT_FALSE(marks->NewAttribute(reading, 9, Kest::Guid(), nullptr));
    EXPECT_FALSE(marks->NewAttribute(ODB::NullRef, 9, Kest::Guid(), &space));
    EXPECT_FALSE(marks->NewAttribute(reading, 9, Kest::Guid(), &space)->GetGuid().IsNull()) << "a fresh one";
    EXPECT_EQ(marks->GetAttributeNumber(), 6U);
    EXPECT_EQ(TakeLog(), Texts());

    marks->DeleteAttribute(9);
    ASSERT_FALSE(named);
    EXPECT_EQ(marks->NewAttribute(reading, 9, guid, &space), named) << "a dead identity comes alive again";
}

TEST_F(AttributeContainerTest, PutOverwritesWithoutAsking) {
    const Attribute wall = Add(u"Wall", 3);
    const Kest::Guid guid = wall->GetGuid();
    SetData(*wall, 1, 1, "x");
    Recorder recorder;
    wall->Attach(recorder);
    const std::unique_ptr<Mark> equal(static_cast<const Mark*>(wall.GetConst())->Clone());
    FieldMaskT<GeneralAttribute> changed;
    const std::uint64_t stamp = ODB::ObjectInfo::GetLastStamp();
    AttributeContainer& container = *marks.GetLogicalConst();
    EXPECT_EQ(container.PutAttribute(Reading(equal.get()), 3, &changed), 0);
    EXPECT_TRUE(changed.IsEmpty());
    changed.Set(4);
    EXPECT_EQ(container.PutAttribute(Reading(wall), 3, &changed), 0);
    EXPECT_EQ(FieldsOf(changed), std::vector<int>{4}) << "itself: the mask stays";
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), stamp);

    const Mark source(u"Roof", 8);
    EXPECT_EQ(container.PutAttribute(Reading(&source), 3, &changed), 0);
    EXPECT_EQ(FieldsOf(changed), (std::vector<int>{1, 2, 5}));
    EXPECT_EQ(wall->GetGuid(), guid);
    EXPECT_FALSE(wall->HasMemoData()) << "the old data are discarded, whatever Copy keeps";
    EXPECT_EQ(marks->GetAttribute(8U), wall);
    EXPECT_EQ(recorder.Take(), Texts()) << "only the container itself is told";

    EXPECT_EQ(container.PutAttribute(ODB::NullRef, 8, &changed), ADB::Error::NullArgument);
    EXPECT_EQ(container.PutAttribute(Reading(&source), 8, nullptr), ADB::Error::NullArgument);
    Stamp foreign;
    EXPECT_EQ(container.PutAttribute(Reading(&foreign), 8, &changed), ADB::Error::WrongCall);
}

TEST_F(AttributeContainerTest, ResettingDestroysTheAttributes) {
    const Attribute wall = Add(u"Wall", 3), roof = Add(u"Roof", 4);
    Recorder recorder;
    wall->Attach(recorder);
    recorder.act = [&](const std::string&) { ODB::Database::DeleteObject(roof); };
    marks->SetActiveAttribute(roof);
    marks->SetContainerLastUpdatedStamp(5);
    EXPECT_EQ(marks->DeleteAttributeType(), 0);
    EXPECT_EQ(recorder.Take(), Texts{"destroyed"});
    EXPECT_FALSE(wall || roof);
    EXPECT_EQ(marks->GetAttributeNumber(), 0U);
    EXPECT_EQ(marks->GetContainerLastUpdatedStamp(), 0U);
    EXPECT_FALSE(marks->GetActiveAttribute());
    EXPECT_EQ(Add(u"Wall")->GetIndex(), 1);
}

TEST_F(AttributeContainerTest, TheNewestStampOfAll) {
    const Attribute wall = Add(u"Wall", 3);
    const std::uint64_t added = marks.GetConst()->GetLastAttributeModificationStamp();
    EXPECT_GE(added, marks.GetModificationStamp());
    wall->SetFlags(1);
    const std::uint64_t changed = marks.GetConst()->GetLastAttributeModificationStamp();
    EXPECT_GT(changed, added);
    EXPECT_EQ(changed, wall.GetModificationStamp());
    marks->SetTypeName(u"New");
    EXPECT_GT(marks.GetConst()->GetLastAttributeModificationStamp(), changed);
}

TEST_F(AttributeContainerTest, CheckingGivesRepeatedNamesNewOnes) {
    for (short index = 1; index <= 5; ++index)
        Add(UniString::Printf("x%d", index), index);
    const char16_t* const names[] = {u"A", u"a", u"B", u"", u""};
    for (short index = 1; index <= 5; ++index)
        Put(index, names[index - 1], index);
    TakeLog();
    Recorder recorder;
    marks->GetAttribute(2U)->Attach(recorder);
    EXPECT_EQ(marks->CheckContainer(), 0);
    EXPECT_EQ(NamesInOrder(), (Names{u"A", u"a (1)", u"B", u"", u"Generated Attribute Name (1)"}));
    EXPECT_EQ(recorder.Take(), (Texts{"was a", "name a (1)", "changed 1"}));
    EXPECT_FALSE(marks->GetAttribute(u"a")) << "its holder moved on";
}

TEST_F(AttributeContainerTest, ACopyInAnotherSpaceIsWhole) {
    const Attribute wall = Add(u"Wall", 7, 3), roof = Add(u"Roof", 2);
    wall->SetFlags(0x0085);
    EXPECT_FALSE(marks.GetConst()->CopyToIdSpace(nullptr) || marks.GetConst()->CopyToIdSpace(&space));
    ODB::IdSpace target;
    for (const bool isStored : {true, false}) {
        EXPECT_EQ(marks->SetActiveAttribute(isStored ? wall : Attribute()), 0);
        const Container copy = marks.GetConst()->CopyToIdSpace(&target);
        ASSERT_TRUE(copy);
        EXPECT_EQ(copy.GetId(), marks.GetId());
        EXPECT_EQ(copy.GetIdSpace(), &target);
        EXPECT_EQ(copy->GetTypeName(), u"Marks");
        const Attribute copied = copy->GetAttribute(7U);
        EXPECT_NE(copied, wall);
        EXPECT_EQ(copied.GetId(), wall.GetId());
        EXPECT_TRUE(copied->IsEqual(wall));
        EXPECT_TRUE(copy.GetConst()->CheckInvariants() && target.CheckInvariants());
        EXPECT_EQ(marks.GetConst()->CopyToIdSpace(&target), copy) << "there already: nothing is copied";
        const Mark lower(u"Lower", 1);
        const Attribute added = copy->NewAttribute(Reading(&lower), true, false);
        EXPECT_EQ(copy->GetActiveAttribute(), isStored ? copied : added) << "the fallback does not travel";
        Indexes linked;
        copy->EnumerateConstAttributes([&](const Reading& mark) { linked.push_back(mark->GetIndex()); });
        EXPECT_EQ(linked, (Indexes{7, 2, 1}));
        ODB::Database::DeleteObject(copy);
        EXPECT_EQ(target.GetObjectCount(), 0U);
    }
}

TEST_F(AttributeContainerTest, MovingTakesEverythingAlong) {
    const Attribute wall = Add(u"Wall", 7);
    Add(u"Roof", 2);
    marks->MoveToIdSpace(nullptr);
    marks->MoveToIdSpace(&space);
    ODB::IdSpace target, holding;
    // References to a copy that is gone stand where the moved objects arrive.
    const Container dead = marks.GetConst()->CopyToIdSpace(&target);
    const Attribute deadWall = dead->GetAttribute(7U);
    ODB::Database::DeleteObject(dead);
    marks->MoveToIdSpace(&target);
    EXPECT_EQ(marks.GetIdSpace(), &target);
    EXPECT_EQ(dead, marks);
    EXPECT_EQ(deadWall, wall);
    EXPECT_EQ(space.GetObjectCount(), 0U);
    EXPECT_EQ(marks->GetAttribute(u"wall"), wall);
    EXPECT_EQ(wall->SetName(u"roof"), ADB::Error::RenameClash);
    EXPECT_EQ(wall->SetName(u"Door"), 0);
    EXPECT_EQ(marks->GetAttribute(u"door"), wall);
    EXPECT_EQ(wall->GetConstAttributeContainer(), marks);
    EXPECT_EQ(NamesInOrder(ADB::SortByName), (Names{u"Door", u"Roof"}));
    EXPECT_TRUE(IsSound() && target.CheckInvariants());

    ASSERT_TRUE(marks.GetConst()->CopyToIdSpace(&holding));
    marks->MoveToIdSpace(&holding);
    EXPECT_EQ(marks.GetIdSpace(), &target) << "the id is taken there";
    marks->MoveToIdSpace(&space);
    EXPECT_EQ(marks.GetIdSpace(), &space);
}

class AttributeContainerInSetTest : public SetFixture {
protected:
    Container marks = Marks();
};

TEST_F(AttributeContainerInSetTest, TheSetHearsOfChangesAndOfTheActiveAttribute) {
    const Attribute wall = Add(u"Wall"), roof = Add(u"Roof");
    SetRecorder heard;
    set->Attach(heard);
    const Mark beam(u"Beam", 9);
    marks->NewAttribute(Reading(&beam), true, false);
    EXPECT_EQ(heard.Take(), Texts()) << "adding is the set's business";
    wall->SetName(u"Door");
    wall->SetFlags(3);
    EXPECT_EQ(heard.Take(), (Texts{"changed 1 Door: 1", "changed 1 Door: 3"}));
    const auto activate = [&](const Attribute& attribute) {
        EXPECT_EQ(marks->SetActiveAttribute(attribute), 0);
        return heard.Take();
    };
    EXPECT_EQ(activate(ODB::NullRef), Texts()) << "null while none is stored";
    EXPECT_EQ(activate(wall), Texts{"active 1 Door"});
    EXPECT_EQ(activate(wall), Texts());
    EXPECT_EQ(activate(ODB::NullRef), Texts{"active 1 null"});
    EXPECT_EQ(activate(roof), Texts{"active 1 Roof"});
    marks->DeleteAttribute(2);
    EXPECT_EQ(heard.Take(), Texts());
    EXPECT_EQ(activate(roof), Texts{"active 1 null"}) << "a dead reference counts as null, and the stored one died";
    EXPECT_EQ(activate(ODB::NullRef), Texts());
    Mark foreign(u"Foreign");
    EXPECT_EQ(marks->SetActiveAttribute(Attribute(&foreign)), ADB::Error::ForeignAttribute);
    marks->ResetContainer();
    EXPECT_EQ(heard.Take(), Texts());
}

TEST_F(AttributeContainerInSetTest, OnlyChangedReferencesAreReindexed) {
    ADB::AttributeNewIndexTable table;
    table.SetNewIndex(markType, 5, 5);
    table.SetNewIndex(markType, -6, 6);
    table.SetNewIndex(markType, 7, 9);
    table.SetNewIndex(stampType, 8, 9);   // of another type
    const struct {
        const char* when;
        Indexes references;
        bool changes;
    } cases[] = {
        {"none", {}, false},      {"to itself", {5}, false},           {"to its own negative", {-6}, false},
        {"unmapped", {8}, false}, {"one of several", {5, 7, 8}, true},
    };
    for (const auto& c : cases) {
        for (const bool onlyClientCreated : {false, true}) {
            Mark source(u"User");
            source.references = c.references;
            const Attribute user = marks->NewAttribute(Reading(&source), false, false);
            const Mark& mark = static_cast<const Mark&>(*user.GetConst());
            const std::uint64_t stamp = user.GetModificationStamp();
            Kest::HashSet<short> reindexed;
            marks.GetConst()->ReindexAttributeReferences(&table, onlyClientCreated, &reindexed);
            const bool changes = c.changes && !onlyClientCreated;
            EXPECT_EQ(mark.reindexCalls, changes ? 1 : 0) << c.when;
            EXPECT_EQ(mark.collectCalls, onlyClientCreated ? 0 : 1) << c.when;
            EXPECT_EQ(user.GetModificationStamp() != stamp, changes) << c.when;
            EXPECT_EQ(mark.GetModificationTime(), changes ? Now : 0) << c.when;
            EXPECT_EQ(reindexed.Contains(mark.GetIndex()), changes) << c.when;
            user->SetClientCreated(true);
            marks.GetConst()->ReindexAttributeReferences(&table, true, nullptr);
            EXPECT_EQ(mark.reindexCalls, (changes ? 1 : 0) + (c.changes ? 1 : 0)) << c.when;
            marks->ResetContainer();
        }
    }
    marks.GetConst()->ReindexAttributeReferences(nullptr, false, nullptr);
}

}   // namespace
