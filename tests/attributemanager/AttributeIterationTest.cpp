#include <AttributeManager/AttributeIterator.hpp>

#include <memory>

#include <AttributeManager/AttributeNewIndexTable.hpp>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using ADB::Ascending;
using ADB::AttributeEnd;
using ADB::Descending;
using ADB::SortByIndex;
using ADB::SortByName;
using Iterator = ADB::AttributeContainer::AttributeIterator;
using ConstIterator = ADB::AttributeContainer::AttributeConstIterator;

class AttributeIterationTest : public ContainerFixture {
protected:
    Indexes Visited(ADB::SortMethod method, ADB::SortOrder order) {
        Indexes visited, readOnly;
        marks->EnumerateAttributes(method, order,
                                   [&](const Attribute& mark) { visited.push_back(mark.GetConst()->GetIndex()); });
        marks->EnumerateConstAttributes(method, order,
                                        [&](const Reading& mark) { readOnly.push_back(mark->GetIndex()); });
        EXPECT_EQ(visited, readOnly);
        EXPECT_EQ(visited, IndexesInOrder(method, order));
        return visited;
    }
};

TEST_F(AttributeIterationTest, EveryMethodAndOrder) {
    Add(u"\U00010000", 2);   // behind U+FFFD by code point, before it by unit
    Add(u"b", 30);
    Add(u"\uFFFD", 4);
    Add(u"A", 5);
    Add(u"\u00E4", 1);
    Add(u"a b", 3);
    Put(30, u"B", -7);
    const Indexes linked{2, -7, 4, 5, 1, 3}, byIndex{-7, 1, 2, 3, 4, 5}, byName{5, 3, -7, 1, 4, 2};
    const auto reversed = [](Indexes indexes) {
        std::reverse(indexes.begin(), indexes.end());
        return indexes;
    };
    EXPECT_EQ(Visited(SortByIndex, Ascending), byIndex);
    EXPECT_EQ(Visited(SortByIndex, Descending), reversed(byIndex));
    EXPECT_EQ(Visited(SortByIndex, static_cast<ADB::SortOrder>(0)), reversed(byIndex));
    EXPECT_EQ(Visited(SortByName, Ascending), byName);
    EXPECT_EQ(Visited(SortByName, Descending), reversed(byName));
    EXPECT_EQ(Visited(static_cast<ADB::SortMethod>(0), Descending), linked);
    EXPECT_EQ(Visited(static_cast<ADB::SortMethod>(3), Ascending), linked);

    marks->GetAttribute(u"\u00E4")->SetName(u"0");
    EXPECT_EQ(Visited(SortByName, Ascending), (Indexes{1, 5, 3, -7, 4, 2})) << "the order is not a memory";
    marks->DeleteAttribute(3);
    Add(u"aa", 8);
    EXPECT_EQ(Visited(SortByName, Ascending), (Indexes{1, 5, 8, -7, 4, 2}));
}

TEST_F(AttributeIterationTest, LongCommonPrefixesAndEmbeddedZerosSortByTheWholeName) {
    const Names expected{u"",           UniString(u"\0", 1), u"ceiling", UniString(u"ceiling\0", 8),
                         u"CEILING 1",  u"Ceiling 2",        u"\uE000a", u"\U0001F600",
                         u"\U0001F600b"};
    for (std::size_t place = expected.size(); place > 0; --place)
        Put(Add(u"x")->GetIndex(), expected[place - 1], static_cast<short>(place));
    EXPECT_EQ(NamesInOrder(SortByName), expected);
}

TEST_F(AttributeIterationTest, AnIteratorIsASnapshotThatNeverPassesItsEnd) {
    EXPECT_TRUE(Iterator(marks, SortByName, Ascending) == AttributeEnd());
    EXPECT_TRUE(ConstIterator(ODB::NullRef, SortByName, Ascending) == AttributeEnd());
    const Attribute one = Add(u"One", 1), two = Add(u"Two", 2);
    Iterator walk(marks, SortByIndex, Ascending);
    Add(u"Three", 3);
    one->SetIndex(9);
    marks->DeleteAttribute(2);
    EXPECT_EQ(*walk, one);
    const Iterator copy = walk++;
    EXPECT_EQ(*copy, one);
    EXPECT_FALSE(*walk) << "deleted since: a dead reference";
    EXPECT_TRUE(++walk == AttributeEnd());
    EXPECT_TRUE(++walk == AttributeEnd());
    EXPECT_TRUE(walk++ == AttributeEnd());
    walk = copy;
    EXPECT_TRUE(walk != AttributeEnd());
}

TEST_F(AttributeIterationTest, EnumerationsVisitWhatWasThereAndStillIs) {
    for (const auto& [method, order] :
         {std::pair(ADB::Unsorted, Ascending), std::pair(SortByIndex, Ascending), std::pair(SortByName, Ascending)}) {
        for (const char16_t* name : {u"A", u"B", u"C", u"D"})
            Add(name);
        Names visited;
        const auto call = [&](const Attribute& mark) {
            visited.push_back(mark.GetConst()->GetName());
            if (visited.size() == 1) {
                marks->DeleteAttribute(3);
                Add(u"E");
                ODB::Database::DeleteObject(mark);
            }
        };
        if (method == ADB::Unsorted)
            marks->EnumerateAttributes(call);
        else
            marks->EnumerateAttributes(method, order, call);
        EXPECT_EQ(visited, (Names{u"A", u"B", u"D"}));
        marks->ResetContainer();
    }
}

TEST_F(AttributeIterationTest, ReadingAnAttributeOrItsContainerChangesNoStamp) {
    Attribute wall = Add(u"Wall", 7);
    Add(u"Roof", 2);
    SetData(*wall, 1, 2, "data");
    static_cast<Mark*>(wall.Get())->references = {2};
    marks->SetActiveAttribute(wall);
    const ADB::AttributeContainer& container = *marks.GetConst();
    const Reading reading(wall);
    const std::uint64_t last = ODB::ObjectInfo::GetLastStamp();

    const Mark probe(u"b", 9);
    EXPECT_TRUE(container.FindSimilar(Reading(&probe)));
    EXPECT_EQ(container.GenerateUniqueName(u"wall", nullptr), u"wall (1)");
    container.EnumerateAttributes(SortByIndex, Descending, [](const Attribute&) {});
    EXPECT_EQ(marks.GetLogicalConst()->CheckContainer(), 0);
    marks.GetLogicalConst()->AttachAttributeObservers();
    ADB::AttributeNewIndexTable sameIndexes;
    sameIndexes.SetNewIndex(1, 2, 2);
    container.ReindexAttributeReferences(&sameIndexes, false, nullptr);
    struct : ZalUtil::ICBOwnerFound {
        void OwnerFound(const ZalUtil::Owner&) override { ++calls; }
        int calls = 0;
    } owners;
    container.LookupExternalDataHandlers(&owners);
    EXPECT_EQ(owners.calls, 1);
    EXPECT_EQ(container.AttributeNameToIndex(u"wall", nullptr), 0);
    EXPECT_EQ(container.GetAttributeMaximumIndex(), 7);
    EXPECT_EQ(container.GenerateUniqueIndex(7, nullptr), 8);
    EXPECT_EQ(container.GetLastAttributeModificationStamp(), last);
    EXPECT_EQ(marks.GetLogicalConst()->SetActiveAttribute(container.GetActiveAttribute()), 0);
    for (Iterator walk(marks, SortByName, Ascending); walk != AttributeEnd();) {
        const Iterator before = walk++;
        const Attribute copy(*before);
        EXPECT_EQ(copy.GetConst()->GetConstAttributeContainer(), marks);
        EXPECT_TRUE(copy.GetConst()->IsEqual(copy));
        EXPECT_TRUE(copy.GetConst()->Compare(copy).IsEmpty());
        EXPECT_TRUE(copy.GetConst()->HasSameMemoData(copy));
        copy.GetConst()->MarkDisabled(true);
    }
    unsigned short platform = 0;
    short version = 0;
    char** data = nullptr;
    EXPECT_EQ(reading->GetUserData(1, 2, &platform, &version, nullptr, &data), 0);
    EXPECT_NE(data, nullptr);
    BMKillHandle(&data);
    EXPECT_EQ(reading->GetOwners().GetSize(), 1U);
    const std::unique_ptr<GeneralAttribute::IsolatedState> state(reading->CreateIsolatedState());
    EXPECT_EQ(reading->StoreIsolatedState(state.get()), 0);
    EXPECT_TRUE(IsSound());
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), last);

    ODB::IdSpace target;
    EXPECT_TRUE(container.CopyToIdSpace(&target));
    EXPECT_EQ(container.GetLastAttributeModificationStamp(), last) << "being copied is being read";
}

TEST_F(AttributeIterationTest, TheSimilarOneOfTheNameIsPreferred) {
    Add(u"Low", 1, 7);
    Add(u"Same", 9, 7);
    Add(u"Other", 3, 8);
    Mark probe(u"SAME", 100, 7, 0x55);
    probe.SetModificationTime(8);
    const Reading reading(&probe);
    const auto similar = [&] {
        const Reading found = marks.GetConst()->FindSimilar(reading);
        return found ? found->GetName() : UniString(u"none");
    };
    EXPECT_EQ(similar(), u"Same");
    probe.SetName(u"New");
    EXPECT_EQ(similar(), u"Low") << "the lowest index";
    probe.SetName(u"");
    EXPECT_EQ(similar(), u"Low");
    probe.SetName(u"Other");
    EXPECT_EQ(similar(), u"Low") << "the one of the name has other content";
    probe.color = 9;
    EXPECT_EQ(similar(), u"none");
    probe.color = 7;
    SetData(probe, 1, 1, "x");
    EXPECT_EQ(similar(), u"none") << "user data count";
    EXPECT_FALSE(marks.GetConst()->FindSimilar(ODB::NullRef));
    Stamp foreign;
    EXPECT_FALSE(marks.GetConst()->FindSimilar(Reading(&foreign))) << "only its own class is compared";
}

}   // namespace
