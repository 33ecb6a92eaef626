// Undo and redo of edits in a set, through the deltas of a recorder.
#include <map>
#include <random>
#include <tuple>

#include <Kest/MemoryChannels.hpp>

#include <ODB/ChangeRecorder.hpp>
#include <ODB/Delta.hpp>

#include "AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;

// What somebody knows of the marks of a set who has only heard of changes since the beginning.
class Mirror : public ADB::AttributeSetObserver {
public:
    using Entry = std::tuple<std::string, short, short, int>;   // name, index, flags, time

    void AttributeCreated(short, Reading attribute) override { marks[IdOf(attribute)] = EntryOf(*attribute); }
    void AttributeChanged(short, Reading attribute, const FieldMask& fields) override {
        if (!fields.IsEmpty())
            marks[IdOf(attribute)] = EntryOf(*attribute);
    }
    void AttributeDeleted(short, short index) override {
        std::erase_if(marks, [index](const auto& entry) { return std::get<1>(entry.second) == index; });
    }
    void ActiveAttributeChanged(short, const Attribute& attribute) override { active = IdOf(attribute); }

    static std::string IdOf(const ODB::RefBase& attribute) { return attribute.GetId().ToString(); }
    static Entry EntryOf(const GeneralAttribute& attribute) {
        return {attribute.GetName().ToCStr(), attribute.GetIndex(), attribute.GetFlags(),
                attribute.GetModificationTime()};
    }

    std::map<std::string, Entry> marks;
    std::string active;
};

// Takes no memory.
class Counter : public ADB::AttributeSetObserver {
public:
    void AttributeCreated(short, Reading) override { ++events; }
    void AttributeChanged(short, Reading, const FieldMask&) override { ++events; }
    void AttributeDeleted(short, short) override { ++events; }

    int events = 0;
};

class AttributeUndoTest : public SetFixture {
protected:
    struct Step {
        ODB::Delta forward;
        ODB::Delta back;
    };

    // All that a state is: contents, identities, the order of links.
    static std::string StateOf(const ODB::Ref<ADB::AttributeSet>& written) {
        Kest::MemoryOChannel channel;
        EXPECT_EQ(written.GetConst()->Write(channel), 0);
        return std::string(channel.GetBytes(), channel.GetSize());
    }
    std::string State() const { return StateOf(set); }

    bool AreAllFound() const {
        bool found = true;
        Look().EnumerateConstAttributes(markType, [&](const Reading& mark) {
            found =
                found && Get(mark->GetIndex()) == mark && Look().GetConstAttribute(markType, mark->GetName()) == mark;
        });
        return found;
    }

    Step Record(const std::function<void()>& edit) {
        Step step{ODB::Delta(&space), ODB::Delta(&space)};
        const ODB::ChangeRecorder recorder(&space);
        edit();
        EXPECT_EQ(recorder.CreateDeltas(&step.forward, &step.back), 0);
        return step;
    }

    void ThroughChannel(ODB::Delta& delta) const {
        Kest::MemoryOChannel written;
        ASSERT_EQ(delta.Write(written), 0);
        Kest::MemoryIChannel read(written.GetBytes(), written.GetSize());
        delta.Clear();
        ASSERT_EQ(delta.Read(read), 0);
    }
};

// Random edits of every sort, as an application would make them.
class Editor {
public:
    Editor(ODB::Ref<ADB::AttributeSet> editedSet, short type, unsigned seed)
        : set(std::move(editedSet)),
          typeId(type),
          random(seed) {}

    void Edit() {
        const Attribute mark = Pick();
        switch (Draw(10)) {
        case 0:
        case 1:
            Add();
            break;
        case 2:
            set->DeleteAttribute(typeId, mark ? mark.GetConst()->GetIndex() : short{0}, true);
            break;
        case 3:
            OnMark(mark, [this](GeneralAttribute& it) { it.SetName(AnyName()); });
            break;
        case 4:
            OnMark(mark, [this](GeneralAttribute& it) { it.SetIndex(static_cast<short>(Draw(60) + 1)); });
            break;
        case 5:
            OnMark(mark, [this](GeneralAttribute& it) { it.SetFlags(static_cast<short>(Draw(4))); });
            break;
        case 6:
            OnMark(mark, [this](GeneralAttribute& it) { it.SetModificationTime(static_cast<int>(Draw(9))); });
            break;
        case 7:
            OnMark(mark, [this](GeneralAttribute& it) { ChangeUserData(it); });
            break;
        case 8:
            set->SetActiveAttribute(typeId, mark);
            break;
        case 9:
            Move(mark);
            break;
        }
    }

    void EditOften() {
        for (int edits = 0; edits < 60; ++edits)
            Edit();
    }

private:
    unsigned Draw(unsigned below) { return std::uniform_int_distribution<unsigned>(0, below - 1)(random); }
    UniString AnyName() { return UniString::Printf("a mark with a long name %d", static_cast<int>(Draw(40))); }

    Attribute Pick() {
        const unsigned count = set.GetConst()->GetAttributeNumber(typeId);
        Attribute picked;
        unsigned skip = count > 0 ? Draw(count) : 0;
        set.GetConst()->EnumerateAttributes(typeId, [&](const Attribute& mark) {
            if (skip-- == 0)
                picked = mark;
        });
        return picked;
    }
    template <class Change>
    static void OnMark(const Attribute& mark, Change&& change) {
        if (mark)
            change(*mark.GetLogicalConst());
    }
    void Add() {
        Mark mark(AnyName());
        set->NewAttribute(typeId, &mark, false, false);
    }
    void ChangeUserData(GeneralAttribute& mark) {
        if (Draw(3) == 0)
            mark.DeleteUserData(1, Draw(2));
        else
            SetData(mark, 1, Draw(2), std::string(Draw(9) + 1, 'd'));
    }
    void Move(const Attribute& mark) {
        const auto& links = ADB::AttributeContainer::GetAttributeAssociation();
        const Container marks = set.GetConst()->GetAttributeContainer(typeId);
        const auto count = static_cast<unsigned>(links.GetConnectionCount(marks));
        std::size_t from = 0;
        std::size_t place = 0;
        links.ForEachRight(ODB::ConstRef<ADB::AttributeContainer>(marks), [&](const Reading& each) {
            from = each == mark ? place : from;
            ++place;
        });
        if (mark)
            links.ReorderLinkFromLeftObject(marks, mark, from, Draw(count));
    }
    ODB::Ref<ADB::AttributeSet> set;
    short typeId;
    std::mt19937 random;
};

TEST_F(AttributeUndoTest, RandomEditsGoBackAndForthAsOftenAsOneLikes) {
    for (unsigned seed = 1; seed <= 12; ++seed) {
        const bool inBytes = seed % 2 == 0;   // as shared projects and files keep deltas
        set = CreateAttributeSet(&space, Kest::Guid(), false);
        Editor editor(set, markType, seed);
        std::mt19937 random(seed);
        Mirror mirror;
        set->Attach(mirror);
        std::vector<std::string> states{State()};
        std::vector<std::map<std::string, Mirror::Entry>> known{mirror.marks};
        std::vector<Step> steps;
        for (int count = 0; count < 12; ++count) {
            steps.push_back(Record([&] {
                for (auto edits = random() % 20; edits > 0; --edits)
                    editor.Edit();
            }));
            states.push_back(State());
            known.push_back(mirror.marks);
            if (inBytes) {
                ThroughChannel(steps.back().forward);
                ThroughChannel(steps.back().back);
            }
        }
        std::size_t at = steps.size();
        for (int walk = 0; walk < 60; ++walk) {
            const bool goesBack = at == steps.size() || (at > 0 && random() % 2 == 0);
            ASSERT_EQ(set.GetLogicalConst()->ApplyDelta(goesBack ? steps[at - 1].back : steps[at].forward), 0);
            at = goesBack ? at - 1 : at + 1;
            ASSERT_TRUE(State() == states[at]) << "seed " << seed << ", state " << at;
            ASSERT_EQ(mirror.marks, known[at]) << "seed " << seed << ", state " << at;
            ASSERT_TRUE(Look().CheckInvariants() && space.CheckInvariants());
        }
        DisposeAttributeSet(set);
    }
    set = GetCurrentAttributeSet();
}

TEST_F(AttributeUndoTest, TheDeltaOfTwoSetsLeadsFromOneToTheOtherAndBack) {
    const auto ownedBy = [](const ODB::Ref<ADB::AttributeSet>& owner) {
        return ODB::DetermineOwnedObjectSet({ODB::Ref<ODB::Object>(owner.GetInfo())});
    };
    for (unsigned seed = 1; seed <= 8; ++seed) {
        Editor(set, markType, seed).EditOften();
        ODB::IdSpace elsewhere;
        const ODB::Ref<ADB::AttributeSet> other = CloneAttributeSet(set, &elsewhere);
        Editor(other, markType, seed + 100).EditOften();
        const std::string here = State();
        const std::string there = StateOf(other);
        ODB::Delta toOther(&space);
        ODB::Delta fromOther(&space);
        const auto inside = ODB::LinkBoundary::Inside;
        ASSERT_EQ(ODB::CreateDelta(ownedBy(set), ownedBy(other), &toOther, inside, nullptr), 0);
        ASSERT_EQ(ODB::CreateDelta(ownedBy(other), ownedBy(set), &fromOther, inside, nullptr), 0);
        ThroughChannel(toOther);
        ASSERT_EQ(set.GetLogicalConst()->ApplyDelta(toOther), 0);
        ASSERT_TRUE(State() == there) << "seed " << seed;
        ASSERT_EQ(set.GetLogicalConst()->ApplyDelta(fromOther), 0);
        ASSERT_TRUE(State() == here) << "seed " << seed;
        DisposeAttributeSet(other);
    }
}

TEST_F(AttributeUndoTest, EverybodyHearsWhatTheEditsInTheOtherDirectionWouldTell) {
    const Attribute wall = Add(u"Wall", 4);
    const Attribute roof = Add(u"Roof", 5);
    Add(u"Door", 9);
    set->SetActiveAttribute(markType, roof);
    const Step step = Record([&] {
        wall->SetName(u"Outer wall");
        SetData(*wall.GetLogicalConst(), 7, 8, "data");
        set->DeleteAttribute(markType, 5, true);
        Add(u"Window", 12);
        set->SetActiveAttribute(markType, wall);
    });
    SetRecorder heard;
    set->Attach(heard);
    Recorder own;
    wall.GetLogicalConst()->Attach(own);

    ASSERT_EQ(set->ApplyDelta(step.back), 0);
    EXPECT_EQ(heard.Take(), (Texts{"deleted 1 #12", "created 1 Roof", "changed 1 Wall: 1 5", "active 1 Roof"}));
    EXPECT_EQ(own.Take(), (Texts{"was Outer wall", "name Wall", "data 7/8", "changed 1 5"}));
    EXPECT_TRUE(roof) << "the reference from before lives again";
    roof->SetName(u"Flat roof");
    EXPECT_EQ(heard.Take(), (Texts{"changed 1 Flat roof: 1"})) << "what came back is followed";
    roof->SetName(u"Roof");
    heard.Take();

    ASSERT_EQ(set->ApplyDelta(step.forward), 0);
    EXPECT_EQ(heard.Take(),
              (Texts{"deleted 1 #5", "created 1 Window", "changed 1 Outer wall: 1 5", "active 1 Outer wall"}));
    EXPECT_FALSE(roof);
}

TEST_F(AttributeUndoTest, WhatComesBackToAnotherSetOfTheSpaceIsFollowedThere) {
    const ODB::Ref<ADB::AttributeSet> other = CreateAttributeSet(&space, Kest::Guid(), false);
    Mark mark(u"Wall", 4);
    ASSERT_EQ(other->NewAttribute(markType, &mark, true, false), 0);
    const Attribute wall = other->GetAttribute(markType, 4);
    const Step step = Record([&] { other->DeleteAttribute(markType, 4, true); });
    SetRecorder heard;
    other->Attach(heard);
    ASSERT_EQ(set->ApplyDelta(step.back), 0);
    ASSERT_TRUE(wall);
    wall->SetName(u"Roof");
    EXPECT_EQ(heard.Take(), Texts{"changed 1 Roof: 1"});
    EXPECT_TRUE(other.GetConst()->CheckInvariants());
}

TEST_F(AttributeUndoTest, WhatDoesNotFitChangesAndTellsNothing) {
    const Attribute wall = Add(u"Wall", 4);
    const Step renamed = Record([&] { wall->SetName(u"Outer wall"); });
    const Step added = Record([&] { Add(u"Roof"); });
    SetRecorder heard;
    set->Attach(heard);
    const std::string state = State();
    EXPECT_EQ(set->ApplyDelta(added.forward), ADB::Error::WrongCall) << "it is there already";
    set->DeleteAttribute(markType, 4, false);
    const std::string without = State();
    EXPECT_EQ(set->ApplyDelta(renamed.back), ADB::Error::WrongCall) << "there is nothing to rename";
    EXPECT_TRUE(State() == without);
    EXPECT_FALSE(State() == state);
    EXPECT_EQ(heard.Take(), Texts());
}

TEST_F(AttributeUndoTest, WhatAClashHidIsFoundAgain) {
    const Attribute wall = Add(u"Wall", 4), roof = Add(u"Roof", 5);
    const Step clash = Record([&] {
        const Mark likeRoof(u"Roof", 5);
        FieldMask changed;
        Marks()->PutAttribute(Reading(&likeRoof), 4, &changed);
    });
    ASSERT_EQ(set->ApplyDelta(clash.back), 0);
    EXPECT_TRUE(AreAllFound());
}

TEST_F(AttributeUndoTest, WithoutMemoryNothingIsUndoneAndNobodyHears) {
    const Attribute wall = Add(u"a wall whose name takes memory", 4);
    const Attribute roof = Add(u"a roof whose name takes memory", 300);
    const Attribute first = Add(u"one of two with names that take memory", 1), second = Add(u"two of two", 2);
    const Step step = Record([&] {
        first->SetIndex(3);
        second->SetIndex(1);
        first->SetIndex(2);
        wall->SetName(u"another name that takes memory too");
        wall->SetIndex(700);
        set->DeleteAttribute(markType, 300, true);
        Add(u"a window whose name takes memory", 900);
    });
    const std::string edited = State();
    Counter heard;
    set->Attach(heard);
    int status = 0;
    const FailureCount count = ForEachFailure([&] { status = set.GetLogicalConst()->ApplyDelta(step.back); },
                                              [&](bool failed) {
                                                  EXPECT_TRUE(AreAllFound());
                                                  if (failed && status != 0) {
                                                      EXPECT_EQ(status, ADB::Error::MemoryFull);
                                                      EXPECT_TRUE(State() == edited);
                                                      EXPECT_EQ(heard.events, 0);
                                                  } else {
                                                      EXPECT_TRUE(roof);
                                                      ASSERT_EQ(set->ApplyDelta(step.forward), 0);
                                                      ASSERT_TRUE(State() == edited);
                                                      heard.events = 0;
                                                  }
                                              });
    EXPECT_GT(count.failures, 10u);
}

}   // namespace
