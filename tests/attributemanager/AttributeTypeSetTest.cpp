#include <AttributeManager/AttributeTypeSet.hpp>

#include <functional>
#include <limits>
#include <optional>
#include <vector>

#include <AttributeManager/AttributeManagerException.hpp>
#include <AttributeManager/AttributeMemoryFullException.hpp>

#include "attributemanager/TypeSetFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using ADB::Error::MemoryFull;
using ADB::Error::NullArgument;
using ADB::Error::UnknownType;
using Set = ODB::Ref<ADB::AttributeSet>;

constexpr int SourceMode = 1;
constexpr int WorkingMode = 0;
constexpr short Last = std::numeric_limits<short>::max();

class AttributeTypeSetTest : public TypeSetFixture {};

TEST_F(AttributeTypeSetTest, WorksInASetOfItsOwnUntilItIsDestroyed) {
    Add(u"Wall", 3);
    const Attribute roof = Add(u"Roof", 1);
    Look().GetAttributeContainer(markType)->SetActiveAttribute(roof);
    set->SetActiveAttribute(markType, roof);
    Open();
    const Set working = editor->GetAttributeSet();
    EXPECT_EQ(Working(), (Texts{"3 Wall", "1 Roof"}));
    EXPECT_TRUE(IsValidAttributeSet(working));
    EXPECT_EQ(working.GetIdSpace()->GetName(), u"AttributeTypeSet");
    EXPECT_EQ(NameOf(working.GetConst()->GetConstActiveAttribute(markType)), "Roof");
    ADB::IAttributeSetProvider* const provider = editor->GetAttributeSetProvider();
    EXPECT_EQ(provider->GetAttributeSet(SourceMode), set);
    EXPECT_EQ(provider->GetAttributeSet(WorkingMode), working);
    EXPECT_EQ(provider->GetAttributeSet(7), working);
    EXPECT_EQ(editor->GetAttributeTypeId(), markType);
    short number = 0, maximum = 0, index = 0;
    UniString name;
    EXPECT_EQ(editor->GetNumber(&number) | editor->GetNumber(nullptr) | editor->GetMaximumIndex(&maximum) |
                  editor->GetMaximumIndex(nullptr) | editor->AttributeIndexToName(3, name) |
                  editor->AttributeNameToIndex(u"ROOF", &index) | editor->AttributeIndexExist(1),
              0);
    EXPECT_EQ((Indexes{number, maximum, index}), (Indexes{2, 3, 1}));
    EXPECT_EQ(name, u"Wall");
    EXPECT_EQ(editor->SortAttributeType(1, nullptr, &number, nullptr), NullArgument) << "asks the working set";
    editor.reset();
    EXPECT_FALSE(working);
    EXPECT_EQ(NewAttributeSet(&space), 2) << "listed no more";
    EXPECT_EQ(TakeLog(), Texts()) << "the current set was never touched";
}

TEST_F(AttributeTypeSetTest, WhatCannotBeCopiedIsRefused) {
    ODB::IdSpace other;
    const Set dead = CreateAttributeSet(&other, Kest::Guid(), false);
    DisposeAttributeSet(dead);
    EXPECT_THROW(Editor(ODB::NullRef, markType), ADB::AttributeManagerException);
    EXPECT_THROW(Editor(dead, markType), ADB::AttributeManagerException);
    for (const short typeId : {short{0}, short{-1}, short{3}, Last})
        EXPECT_THROW(Editor(set, typeId), ADB::AttributeMemoryFullException);
    EXPECT_EQ(NewAttributeSet(&space), 2) << "nothing is left behind";
}

TEST_F(AttributeTypeSetTest, CopiesShareAndClonesDoNot) {
    Add(u"Wall", 1);
    Open();
    AddMark(u"Roof");
    editor->SetAttributeReplaced(1, 2);
    EditRecorder recorder;
    editor->Attach(recorder);
    const Set working = editor->GetAttributeSet();
    std::optional<Editor> sharing(*editor);
    Editor assigned;
    assigned = *sharing;
    const std::unique_ptr<ADB::AttributeTypeSet> clone(assigned.Clone());
    Editor deep;
    ASSERT_EQ(deep.Copy(*editor), 0);
    EXPECT_EQ(assigned.Copy(assigned), 0);

    EXPECT_EQ(sharing->Delete(2, true), 0);
    EXPECT_EQ(recorder.Take(), Texts()) << "observers are not shared";
    EXPECT_EQ(Working(), Texts{"1 Wall"});
    EXPECT_EQ(assigned.GetAttributeSet(), working);
    for (ADB::AttributeTypeSet* const independent : {clone.get(), static_cast<ADB::AttributeTypeSet*>(&deep)}) {
        EXPECT_EQ(ListMarks(independent->GetAttributeSet()), (Texts{"1 Wall", "2 Roof"}));
        EXPECT_EQ(independent->GetAttributeSet().GetIdSpace(), ODB::GetDefaultIdSpace());
        EXPECT_EQ(independent->GetAttributeSetProvider()->GetAttributeSet(SourceMode), set);
        Clones added;
        independent->GetNewAttributes(&added.list);
        EXPECT_EQ(added.Describe(), Texts{"2 Roof 0"});
    }

    EXPECT_EQ(sharing->Recreate(set), 0);
    EXPECT_TRUE(working) << "two others have it";
    editor.reset();
    EXPECT_EQ(recorder.Take(), Texts{"destroyed"});
    EXPECT_TRUE(working);
    assigned = *sharing;
    EXPECT_FALSE(working) << "nobody has it";
    sharing.reset();
    EXPECT_EQ(ListMarks(assigned.GetAttributeSet()), Texts{"1 Wall"});

    const Editor without;
    EXPECT_EQ(without.Clone(), nullptr);
    EXPECT_EQ(assigned.Copy(without), MemoryFull);
    EXPECT_FALSE(assigned.GetAttributeSet());
    Kest::HashTable<short, short> replaced;
    assigned.GetReplacedAttributes(&replaced);
    EXPECT_TRUE(replaced.IsEmpty());
    EXPECT_EQ(assigned.Recreate(set), UnknownType) << "of no type";
}

TEST_F(AttributeTypeSetTest, WithoutAWorkingSetNothingIsFoundOrDone) {
    Add(u"Wall", 1);
    Open();
    EXPECT_EQ(editor->Add(nullptr), NullArgument);
    EXPECT_EQ(editor->Set(nullptr, FieldMask(), false), NullArgument);
    EXPECT_EQ(editor->GetNewAttributes(nullptr), NullArgument);
    EXPECT_EQ(editor->GetModifiedAttributes(set, nullptr), NullArgument);
    EXPECT_EQ(editor->GetDeletedAttributes(nullptr), NullArgument);
    EXPECT_EQ(editor->GetReplacedAttributes(nullptr), NullArgument);
    EXPECT_EQ(editor->Synchronize(ODB::NullRef, true), NullArgument);
    EXPECT_EQ(editor->Synchronize(editor->GetAttributeSet(), true), NullArgument);
    EXPECT_EQ(editor->Recreate(ODB::NullRef), NullArgument);
    EXPECT_EQ(editor->Recreate(editor->GetAttributeSet()), NullArgument);
    EXPECT_EQ(Working(), Texts{"1 Wall"});

    const std::function<void()> losses[] = {[&] { DisposeAttributeSet(editor->GetAttributeSet()); },
                                            [&] { editor = std::make_unique<Editor>(); }};
    for (const auto& lose : losses) {
        lose();
        EXPECT_FALSE(editor->GetAttributeSet());
        EXPECT_EQ(AddMark(u"Roof"), UnknownType);
        EXPECT_EQ(SetMark(1, u"Roof", 0, Fields({1})), UnknownType);
        EXPECT_EQ(editor->Delete(1, true), UnknownType);
        EXPECT_EQ(editor->AttributeIndexExist(1), UnknownType);
        short number = 9;
        editor->GetNumber(&number);
        EXPECT_EQ(number, 0);
        EXPECT_EQ(editor->Clone(), nullptr);
        const bool hasType = editor->GetAttributeTypeId() != 0;
        EXPECT_EQ(editor->Synchronize(set, true), hasType ? 0 : UnknownType);
        EXPECT_EQ(Working(), hasType ? Texts{"1 Wall"} : Texts());
    }
}

TEST_F(AttributeTypeSetTest, AddGivesTheNextIndexThatWasNotDeleted) {
    const struct {
        Indexes existing, deleted;
        int code;
        short index;
    } cases[] = {
        {{}, {}, 0, 1},
        {{4, 2}, {}, 0, 5},
        {{1, 2, 3}, {2}, 0, 4},
        {{1, 2, 3}, {3}, 0, 4},
        {{1, 2, 3}, {1, 2, 3}, 0, 4},
        {{1, 2, 4}, {4}, 0, 3},
        {{5, 7, 8}, {7, 8}, 0, 6},
        {{1, 32765}, {}, 0, 32766},
        {{1, 32766}, {}, 0, 2},   // 32767 is asked for, which the working set gives out only when it must
        {{1, 32766}, {1}, 0, 1},
        {{Last}, {}, MemoryFull, 0},
        {{32766, Last}, {Last}, MemoryFull, 0},
        {{1, Last}, {Last}, 0, 2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.existing) + " without " + testing::PrintToString(c.deleted));
        set->Clear();
        for (const short index : c.existing)
            Add(u"Wall", index == Last ? short{9999} : index);
        Open();
        if (const Attribute last = editor->GetAttributeSet().GetConst()->GetAttribute(markType, 9999))
            last->SetIndex(Last);   // which a copy would not keep
        for (const short index : c.deleted)
            EXPECT_EQ(editor->Delete(index, true), 0);
        const Texts before = Working();
        EditRecorder recorder;
        editor->Attach(recorder);
        Mark mark(u"Roof", 77);
        EXPECT_EQ(editor->Add(&mark), c.code);
        EXPECT_EQ(mark.GetIndex(), c.code == 0 ? c.index : 77);
        EXPECT_EQ(recorder.Take(), c.code == 0 ? Texts{"created Roof"} : Texts());
        EXPECT_EQ(NewRecord(), c.code == 0 ? Texts{std::to_string(c.index) + " Roof 0"} : Texts());
        if (c.code != 0) {
            EXPECT_EQ(Working(), before);
        }
        EXPECT_EQ(DeletedRecord(), c.deleted);
        EXPECT_TRUE(editor->CheckInvariants());
    }
    TakeLog();
}

TEST_F(AttributeTypeSetTest, TheLastIndexIsGivenOutWhenAllOthersAre) {
    for (int index = 1; index < Last; ++index)
        Add(UniString::Printf("%d", index), static_cast<short>(index));
    Open();
    EXPECT_EQ(AddMark(u"Roof"), 0);
    EXPECT_EQ(NewRecord(), Texts{"32767 Roof 0"});
    EXPECT_EQ(AddMark(u"Door"), MemoryFull);
    EXPECT_EQ(NewRecord().size(), 1U);
    EXPECT_EQ(editor->Delete(Last, true), 0);
    EXPECT_EQ(NewRecord().size() + DeletedRecord().size(), 0U);
    TakeLog();
}

TEST_F(AttributeTypeSetTest, ReplacementsCollapseAndSurvive) {
    const struct {
        std::vector<std::pair<short, short>> steps;
        std::string expected;
    } cases[] = {
        {{{3, 5}, {5, 7}}, "3>7 5>7"},
        {{{5, 7}, {3, 5}}, "5>7 3>5"},
        {{{1, 4}, {2, 4}, {4, 6}, {1, 9}}, "1>9 2>6 4>6"},
        {{{3, 5}, {5, 3}}, "3>3 5>3"},
        {{{2, 2}}, "2>2"},
    };
    for (const auto& c : cases) {
        Open();
        ADB::IAttributeNewIndexTable* table = editor->GenerateAttributeNewIndexTable();
        EXPECT_FALSE(table->IsUsedAttributeType(markType));
        DisposeAttributeNewIndexTable(&table);
        for (const auto& [from, to] : c.steps)
            EXPECT_EQ(editor->SetAttributeReplaced(from, to), 0);
        EXPECT_EQ(ReplacedRecord(), c.expected);
        EXPECT_EQ(editor->Synchronize(set, true), 0);
        EXPECT_EQ(ReplacedRecord(), c.expected);
        table = editor->GenerateAttributeNewIndexTable();
        EXPECT_TRUE(table->IsUsedAttributeType(markType));
        const auto& [from, to] = c.steps.back();
        EXPECT_EQ(table->GetNewIndex(markType, from), to);
        DisposeAttributeNewIndexTable(&table);
    }
}

TEST_F(AttributeTypeSetTest, SynchronizeLeavesAloneWhatDiffersInTimeOnly) {
    const Attribute wall = Add(u"Wall", 1, 5);
    SetData(*wall, 1, 1, "data");
    const Attribute roof = Add(u"Roof", 2, 6);
    Open();
    const Set working = editor->GetAttributeSet();
    Mark edited;
    edited = static_cast<const Mark&>(*Reading(wall));   // the same user data, in the same storage
    edited.SetModificationTime(98);
    ASSERT_EQ(editor->Set(&edited, Fields({1, 3, 4}, true), false), 0);
    ASSERT_EQ(SetMark(2, u"Roof", 60, Fields({1, 3, 4}, true)), 0);
    SetRecorder heard;
    set->Attach(heard);
    Recorder heardOfRoof;
    roof->Attach(heardOfRoof);
    const std::uint64_t stamps[] = {wall.GetModificationStamp(), set.GetModificationStamp()};
    const Reading editedWall = working.GetConst()->GetConstAttribute(markType, 1);
    const std::uint64_t editedStamp = editedWall.GetModificationStamp();
    heardOfRoof.act = [&](const std::string&) {
        EXPECT_EQ(editedWall->GetModificationTime(), 98) << "given back";
        EXPECT_EQ(editedWall.GetModificationStamp(), editedStamp);
    };
    ASSERT_EQ(editor->Synchronize(set, true), 0);
    EXPECT_EQ(heard.Take(), Texts{"changed 1 Roof: 1 3 4"});
    EXPECT_EQ(heardOfRoof.Take(), Texts{"was Roof"}) << "the name was taken over, equal as it is";
    EXPECT_EQ(wall.GetModificationStamp(), stamps[0]);
    EXPECT_EQ(set.GetModificationStamp(), stamps[1]);
    EXPECT_EQ(wall.GetConst()->GetModificationTime(), 0);
    EXPECT_EQ(roof.GetConst()->GetModificationTime(), Now);
    EXPECT_EQ(static_cast<const Mark*>(roof.GetConst())->color, 60);
    EXPECT_TRUE(wall.GetConst()->HasMemoData());
}

TEST_F(AttributeTypeSetTest, AnObjectOfAnotherClassCountsAsLacking) {
    class OtherMark : public Mark {
    public:
        OtherMark() : Mark(u"Other", 1) {}
        const Kest::ClassInfo* GetClassInfo() const override { return Stamp::GetClassInfoStatic(); }
        OtherMark* Clone() const override { return new OtherMark(*this); }
    };
    Add(u"Wall", 1);
    Open();
    SetMark(1, u"Roof", 5, Fields({1}, true));
    set->Clear();
    const OtherMark other;
    ASSERT_TRUE(Marks()->NewAttribute(Reading(&other), true, false));
    Clones clones;
    EXPECT_EQ(editor->GetModifiedAttributes(set, &clones.list), MemoryFull);
    EXPECT_EQ(editor->Synchronize(set, true), 0);
    EXPECT_EQ(Target(), Texts{"1 Other"});
}

TEST_F(AttributeTypeSetTest, EditsAreAnnouncedWhenTheyAreDone) {
    Add(u"Wall", 1);
    Open();
    Texts all;
    EditRecorder first("first "), second("second ");
    SetRecorder working("set ");
    Recorder wall("wall ");
    for (EventLog* const recorder : std::initializer_list<EventLog*>{&first, &second, &working, &wall})
        recorder->heard = &all;
    editor->Attach(first);
    editor->Attach(second);
    editor->GetAttributeSet()->Attach(working);
    editor->GetAttributeSet().GetConst()->GetAttribute(markType, 1)->Attach(wall);
    SetMark(1, u"Roof", 0, Fields({1}));
    EXPECT_EQ(std::exchange(all, {}), (Texts{"set changed 1 Roof: 1", "second changed Roof: 1", "first changed Roof: 1",
                                             "wall name Roof", "wall changed 1", "set changed 1 Roof: 1"}));
    AddMark(u"Door");
    editor->Detach(second);
    editor->Delete(1, true);
    EXPECT_EQ(all, (Texts{"set created 1 Door", "second created Door", "first created Door", "wall destroyed",
                          "set deleted 1 #1", "first deleted #1"}));
}

class AttributeTypeSetReentrancyTest : public TypeSetFixture {
protected:
    // Runs each edit while `act` is done on the first event that an observer of the working copy, of the working set or
    // of the target hears.
    void ForEachOccasion(const std::function<void()>& act) {
        const struct {
            const char* name;
            std::function<int()> run;
        } edits[] = {
            {"add", [&] { return AddMark(u"Roof"); }},
            {"set", [&] { return SetMark(2, u"Roof", 5, Fields({1}, true)); }},
            {"delete", [&] { return editor->Delete(2, true); }},
            {"recreate", [&] { return editor->Recreate(set); }},
            {"synchronize", [&] { return editor->Synchronize(set, false); }},
        };
        for (const auto& edit : edits)
            for (const int who : {0, 1, 2}) {
                SCOPED_TRACE(edit.name + std::to_string(who));
                OpenEdited();
                EditRecorder ofEditor;
                SetRecorder ofWorking, ofTarget;
                editor->Attach(ofEditor);
                editor->GetAttributeSet()->Attach(ofWorking);
                set->Attach(ofTarget);
                EventLog* const logs[] = {&ofEditor, &ofWorking, &ofTarget};
                EventLog& heard = *logs[who];
                heard.act = [&](const std::string&) {
                    heard.act = nullptr;
                    act();
                };
                EXPECT_EQ(edit.run(), 0);
                EXPECT_TRUE(!editor || editor->CheckInvariants());
                EXPECT_TRUE(Look().CheckInvariants());
                editor.reset();
            }
    }
};

TEST_F(AttributeTypeSetReentrancyTest, AnObserverMayTakeTheWorkingCopyAway) {
    ForEachOccasion([&] { editor.reset(); });
    ForEachOccasion([&] { DisposeAttributeSet(editor->GetAttributeSet()); });
    ForEachOccasion([&] { EXPECT_EQ(editor->Recreate(set), 0); });
}

TEST_F(AttributeTypeSetReentrancyTest, SynchronizeGoesOnWithoutTheTypeSet) {
    OpenEdited();
    SetRecorder heard;
    set->Attach(heard);
    heard.act = [&](const std::string&) { editor.reset(); };
    EXPECT_EQ(editor->Synchronize(set, true), 0);
    EXPECT_EQ(heard.Take(), (Texts{"deleted 1 #1", "changed 1 R3: 1", "created 1 N4"}));
    EXPECT_EQ(Target(), (Texts{"2 W2", "3 R3", "4 N4"}));
}

TEST_F(AttributeTypeSetReentrancyTest, AnObserverMayEditAgain) {
    int count = 0;
    ForEachOccasion([&] {
        AddMark(UniString::Printf("Again %d", ++count));
        short index = 0;
        editor->GetMaximumIndex(&index);
        if (index == 0)   // the working set is on its way out
            return;
        EXPECT_EQ(SetMark(index, UniString::Printf("Set again %d", count), 1, Fields({1})), 0);
        const std::size_t added = NewRecord().size();
        EXPECT_EQ(editor->Delete(index, true), 0);
        EXPECT_EQ(NewRecord().size(), added - 1);
    });
}

TEST_F(AttributeTypeSetReentrancyTest, WhoObservesTheNewcomerMayTakeItsIndex) {
    Open();
    Mark late(u"Late", 0);
    Recorder heard;
    late.Attach(heard);
    heard.act = [&](const std::string&) {
        heard.act = nullptr;
        EXPECT_EQ(AddMark(u"Early"), 0);
    };
    EXPECT_EQ(editor->Add(&late), ADB::Error::NoSuchIndex);
    EXPECT_EQ(NewRecord(), Texts{"1 Early 0"});
}

TEST_F(AttributeTypeSetReentrancyTest, ObserversMayDetachOthers) {
    Open();
    EditRecorder first, second, third;
    for (EditRecorder* const recorder : {&first, &second, &third})
        editor->Attach(*recorder);
    third.act = [&](const std::string&) { editor->Detach(second); };
    first.act = [&](const std::string&) { editor->Attach(second); };
    AddMark(u"Roof");
    EXPECT_EQ(third.Take(), Texts{"created Roof"});
    EXPECT_EQ(second.Take(), Texts());
    EXPECT_EQ(first.Take(), Texts{"created Roof"});
    third.act = [&](const std::string&) { editor->Delete(1, true); };   // those behind hear of the deletion alone
    SetMark(1, u"Door", 0, Fields({1}));
    EXPECT_EQ(first.Take(), Texts{"deleted #1"});
}

TEST_F(AttributeTypeSetReentrancyTest, TheTargetMayDieMeanwhile) {
    ODB::IdSpace other;
    const Set target = CloneAttributeSet(set, &other);
    Mark mark(u"Wall", 1);
    target->NewAttribute(markType, &mark, true, false);
    editor = std::make_unique<Editor>(target, markType);
    AddMark(u"Roof");
    AddMark(u"Door");
    editor->Delete(1, true);
    SetRecorder heard;
    target->Attach(heard);
    heard.act = [&](const std::string&) {
        heard.act = nullptr;
        DisposeAttributeSet(target);
    };
    EXPECT_EQ(editor->Synchronize(target, true), NullArgument);
    EXPECT_EQ(Working(), (Texts{"2 Roof", "3 Door"}));
}

class AttributeTypeSetFailureTest : public TypeSetFixture {
protected:
    std::string Describe() {
        return testing::PrintToString(Working()) + testing::PrintToString(NewRecord()) +
               testing::PrintToString(ModifiedRecord()) + testing::PrintToString(DeletedRecord()) + ReplacedRecord();
    }
    // For the marks that are handed over, not for what is done with them.
    static std::unique_ptr<Mark> Make(short index) {
        const AllocationsSucceed succeed;
        return std::make_unique<Mark>(u"A name that does not fit into the object itself", index, 5);
    }
};

TEST_F(AttributeTypeSetFailureTest, EditsAreMadeAndRecordedWholeOrNot) {
    const FieldMask manyFields = Fields({1, 3, 77, -5}, true);   // takes memory of its own
    const auto getClones = [](const std::function<int(Kest::Array<GeneralAttribute*>*)>& get) {
        Clones clones;
        const int status = get(&clones.list);
        EXPECT_EQ(clones.list.IsEmpty(), status != 0);
        return status;
    };
    const std::function<int()> edits[] = {
        [&] { return editor->Add(Make(0).get()); },
        [&] { return editor->Set(Make(2).get(), manyFields, false); },
        [&] { return editor->Set(Make(3).get(), manyFields, true); },
        [&] { return editor->Delete(2, true); },
        [&] { return editor->Delete(2, false); },
        [&] { return editor->SetAttributeReplaced(7, 3); },
        [&] { return getClones([&](auto* clones) { return editor->GetNewAttributes(clones); }); },
        [&] { return getClones([&](auto* clones) { return editor->GetModifiedAttributes(set, clones); }); },
        [&] {
            ADB::IAttributeNewIndexTable* table = editor->GenerateAttributeNewIndexTable();
            const int status = table != nullptr ? 0 : MemoryFull;
            DisposeAttributeNewIndexTable(&table);
            return status;
        },
    };
    int number = 0;
    for (const auto& edit : edits) {
        SCOPED_TRACE(++number);
        OpenEdited();
        const std::string before = Describe();
        int status = 0;
        const auto check = [&](bool failed) {
            EXPECT_TRUE(status == 0 || (failed && status == MemoryFull)) << status;
            EXPECT_TRUE(editor->CheckInvariants());
            if (status != 0) {
                EXPECT_EQ(Describe(), before);
            } else {
                OpenEdited();
            }
        };
        EXPECT_GT(ForEachFailure([&] { status = edit(); }, check).failures, 0U);
    }
    TakeLog();
}

TEST_F(AttributeTypeSetFailureTest, WhatCannotBeMadeLeavesNothingBehind) {
    OpenEdited();
    const auto make = [&] {
        try {
            const Editor made(set, markType);
        } catch (const std::bad_alloc& exception) {
            EXPECT_NE(dynamic_cast<const ADB::AttributeMemoryFullException*>(&exception), nullptr);
        }
    };
    const std::size_t objects = ODB::GetDefaultIdSpace()->GetObjectCount();
    const auto check = [&](bool) {
        EXPECT_EQ(NewAttributeSet(&space), 3) << "1 is the set, 2 the working set";
        FreeAttributeSet(3);
        EXPECT_EQ(ODB::GetDefaultIdSpace()->GetObjectCount(), objects);
    };
    EXPECT_GT(ForEachFailure(make, check).failures, 0U);
    EXPECT_GT(ForEachFailure([&] { delete editor->Clone(); }, check).failures, 0U);
}

TEST_F(AttributeTypeSetFailureTest, RecreateAndSynchronizeLeaveWhatTheySay) {
    for (const bool synchronizes : {false, true}) {
        OpenEdited();
        int status = 0;
        bool threw = false;
        const auto run = [&] {
            threw = false;
            try {
                status = synchronizes ? editor->Synchronize(set, true) : editor->Recreate(set);
            } catch (const ADB::AttributeMemoryFullException&) {
                threw = true;
            }
        };
        const auto check = [&](bool failed) {
            EXPECT_TRUE(failed || (status == 0 && !threw));
            EXPECT_EQ(ReplacedRecord(), "1>2");
            EXPECT_TRUE(editor->CheckInvariants());
            EXPECT_TRUE(Look().CheckInvariants());
            EXPECT_NE(threw, bool(editor->GetAttributeSet()));
            if (threw || status != 0) {
                EXPECT_EQ(editor->Recreate(set), 0) << "the host's way on";
            }
            EXPECT_EQ(Working(), Target());
            OpenEdited();
        };
        EXPECT_GT(ForEachFailure(run, check).failures, 0U);
    }
    TakeLog();
}

}   // namespace
