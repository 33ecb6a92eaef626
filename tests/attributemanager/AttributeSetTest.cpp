#include <AttributeManager/AttributeSet.hpp>

#include <memory>

#include <AttributeManager/AttributeTypeIdIndex.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
namespace Error = ADB::Error;
using ADB::AttributeSet;

constexpr short Pax = GeneralAttribute::FromPax;
constexpr short Client = GeneralAttribute::ClientCreated;

class AttributeSetTest : public SetFixture {
protected:
    AttributeSetTest() { set->Attach(heard); }
    ~AttributeSetTest() override { set ? set->Detach(heard) : void(); }

    /// Adds marks without any event being kept.
    void Fill(const Names& names) {
        for (const UniString& name : names)
            Add(name);
        heard.Take();
    }
    static std::string Shown(const GeneralAttribute& attribute) {
        return std::to_string(attribute.GetIndex()) + " " + attribute.GetName().ToCStr();
    }

    SetRecorder heard;
};

TEST_F(AttributeSetTest, KeepsFiveFillsThroughConstSetters) {
    const std::uint64_t before = set.GetModificationStamp();
    Look().SetSolidFill(0);
    EXPECT_EQ(set.GetModificationStamp(), before) << "an equal value is no change";
    Look().SetSolidFill(1);
    Look().SetEmptyFill(2);
    for (short type = -1; type <= 3; ++type)
        Look().SetPercentFill(static_cast<AttributeSet::PercentFillTypes>(type), static_cast<short>(type + 10));
    EXPECT_GT(set.GetModificationStamp(), before);

    AttributeSet copy;
    EXPECT_EQ(copy.CopyIsolatedState(Look()), 0);
    const std::unique_ptr<AttributeSet> clone(copy.Clone());
    for (const AttributeSet* const each : {&Look(), static_cast<const AttributeSet*>(clone.get())}) {
        Indexes fills{each->GetSolidFill(), each->GetEmptyFill()};
        for (int type = 0; type <= 3; ++type)
            fills.push_back(each->GetPercentFill(static_cast<AttributeSet::PercentFillTypes>(type)));
        EXPECT_EQ(fills, (Indexes{1, 2, 10, 11, 12, 0}));
    }
    EXPECT_EQ(copy.RestoreIsolatedState(nullptr), Error::WrongCall);
}

TEST_F(AttributeSetTest, AnUnknownTypeHasNothing) {
    Mark mark(u"Wall");
    UniString name(u"kept");
    short index = 42;
    AttributeSet::AttributeForPaxFoundResult result = AttributeSet::PaxMatchFound;
    for (const short typeId : {short{0}, short{-1}, short{3}, short{32767}}) {
        EXPECT_FALSE(Look().GetAttributeContainer(typeId) || Look().GetConstAttribute(typeId, short{1}) ||
                     Look().GetAttribute(typeId, u"Wall") || Look().GetActiveAttribute(typeId) ||
                     Look().GetFirstValidAttribute(typeId) || Look().GetFirstValidAttributeByName(typeId) ||
                     Look().Clone(typeId, 1) || Look().GetAttributeNumber(typeId) != 0 ||
                     Look().GetAttributeMaximumIndex(typeId) != 0 || !Look().GetAttributeName(typeId, 1).IsEmpty());
        const int codes[] = {Look().AttributeIndexExist(typeId, 1),
                             Look().AttributeIndexToName(typeId, 1, name),
                             Look().AttributeNameToIndex(typeId, u"Wall", &index),
                             Look().CheckBeforeNewAttribute(typeId, UniString(), false, 0),
                             Look().FindMatchingAttributeForPax(typeId, mark, result, index),
                             set->SetActiveAttribute(typeId, ODB::NullRef),
                             set->NewAttribute(typeId, nullptr, false, false),
                             set->AddAttribute(typeId, nullptr, false),
                             set->AddPaxAttribute(typeId, &mark),
                             set->PutAttribute(typeId, nullptr, false),
                             set->DeleteAttribute(typeId, 1, true),
                             set->DeleteAttributeType(typeId)};
        for (const int code : codes)
            EXPECT_EQ(code, Error::UnknownType);
    }
    EXPECT_EQ(name, u"kept");
    EXPECT_EQ(heard.Take(), Texts());
}

TEST_F(AttributeSetTest, FindsWhatItsContainersHoldAndChangesNoStamp) {
    Fill({u"Wall", u"Beam", u"Arch"});
    Stamp stamp(u"Sandwich");
    set->NewAttribute(stampType, &stamp, false, false);
    const Attribute wall = Get(1), beam = Get(2), arch = Get(3);
    set->SetActiveAttribute(markType, beam);
    const std::uint64_t before = ODB::ObjectInfo::GetLastStamp();
    EXPECT_EQ(Look().GetConstAttribute(markType, u"BEAM"), beam);
    EXPECT_EQ(Look().AttributeIndexExist(markType, 4), Error::NoSuchIndex);
    EXPECT_EQ(Look().GetAttributeName(markType, 3), u"Arch");
    EXPECT_EQ(Look().GetAttributeNumber(markType), 3U);
    EXPECT_EQ(Look().GetAttributeMaximumIndex(markType), 3);
    EXPECT_EQ(Look().GetFirstValidAttribute(markType), wall);
    EXPECT_EQ(Look().GetFirstValidAttributeByName(markType), arch);
    EXPECT_EQ(Look().GetConstActiveAttribute(markType), beam);
    const std::unique_ptr<GeneralAttribute> clone(Look().Clone(markType, 2));
    EXPECT_EQ(clone->GetName(), u"Beam");
    Texts names;
    const auto note = [&names](const auto& attribute) { names.push_back(NameOf(attribute)); };
    Look().EnumerateConstAttributes(note);
    Look().EnumerateAttributes(markType, ADB::SortByName, ADB::Ascending, note);
    EXPECT_EQ(names, (Texts{"Wall", "Beam", "Arch", "Sandwich", "Arch", "Beam", "Wall"}));
    AttributeSet& writing = *set.GetLogicalConst();
    EXPECT_EQ(writing.SetActiveAttribute(markType, beam), 0);
    EXPECT_NE(writing.DeleteAttribute(markType, 9, true), 0);
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), before);
}

TEST_F(AttributeSetTest, ChecksANameBeforeItIsUsed) {
    Fill({u"Wall", u"Roof"});
    const struct {
        const char16_t* name;
        bool replacing;
        int index, expected;
    } cases[] = {
        {u"Beam", false, 0, 0},
        {u"", false, 0, Error::EmptyName},
        {u"", true, 1, Error::EmptyName},
        {u"WALL", false, 0, Error::NameUsed},
        {u"Wall", false, 1, Error::NameUsed},
        {u"wall", true, 1, 0},
        {u"Roof", true, 1, Error::NameUsed},
        {u"Beam", true, 9, 0},
        {u"Wall", true, 9, Error::NameUsed},
        {u"Wall", true, -1, Error::NameUsed},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Look().CheckBeforeNewAttribute(markType, c.name, c.replacing, c.index), c.expected)
            << UniString(c.name) << ' ' << c.index;
}

TEST_F(AttributeSetTest, NewAttributeStoresUnderAFreeNameAndIndex) {
    Fill({u"Wall"});
    const struct {
        const char* when;
        const char16_t* name;
        short index, flags;
        bool keepIndex;
        int expected;
        const char* stored;   // "index name" in the attribute handed over, too
    } cases[] = {
        {"a free name", u"Roof", 77, 0, false, 0, "2 Roof"},
        {"a taken name", u"WALL", 0, 0, false, 0, "3 WALL (1)"},
        {"no name", u"", 0, 0, false, 0, "4 Generated Attribute Name (1)"},
        {"a script's without a name", u"", 0, Pax, false, 0, "5 Generated Attribute Name (2)"},
        {"a script's with a taken name", u"wall", 5, Pax, false, Error::NameUsed, "0 wall"},
        {"an index to keep", u"Beam", 40, 0, true, 0, "40 Beam"},
        {"an index to keep that is taken", u"Arch", 40, 0, true, Error::NoSuchIndex, "40 Arch"},
        {"index 0 cannot be kept", u"Arch", 0, 0, true, Error::NoSuchIndex, "0 Arch"},
        {"nor a negative one", u"Arch", -1, 0, true, Error::NoSuchIndex, "-1 Arch"},
        {"index 32767 passes and is replaced", u"Dome", 32767, 0, true, 0, "6 Dome"},
        {"the largest index", u"Cone", 32766, 0, true, 0, "32766 Cone"},
    };
    for (const auto& c : cases) {
        Mark mark(c.name, c.index, 5, c.flags);
        const bool isAdded = c.expected == 0;
        EXPECT_EQ(set->NewAttribute(markType, &mark, c.keepIndex, true), c.expected) << c.when;
        EXPECT_EQ(Shown(mark), c.stored) << c.when;
        EXPECT_EQ(heard.Take(), isAdded ? Texts{"created 1 " + NameOf(&mark)} : Texts()) << c.when;
        EXPECT_EQ(mark.GetModificationTime(), 0) << "only the copy is dated";
        if (isAdded) {
            const Attribute stored = Get(mark.GetIndex());
            EXPECT_EQ(Shown(*stored.GetConst()), c.stored);
            EXPECT_EQ(stored.GetConst()->GetModificationTime(), Now);
            EXPECT_EQ(static_cast<const Mark&>(*stored.GetConst()).color, 5);
        }
    }
    EXPECT_EQ(set->NewAttribute(markType, nullptr, false, false), Error::NullArgument);
}

TEST_F(AttributeSetTest, NewAttributeGivesUpAfterElevenChecks) {
    Fill({u"Wall"});
    Mark mark(u"Wall");
    Recorder stubborn;   // gives the taken name again after each rename
    int renames = 0;
    stubborn.act = [&](const std::string& event) {
        if (event == "was Wall") {
            ++renames;
            mark.SetName(u"Wall");
        }
    };
    mark.Attach(stubborn);
    EXPECT_EQ(set->NewAttribute(markType, &mark, false, false), Error::NameUsed);
    EXPECT_EQ(renames, 10);
    EXPECT_EQ(Look().GetAttributeNumber(markType), 1U);
}

TEST_F(AttributeSetTest, ACopyOfAStoredAttributeKeepsTimeAndTakesAnId) {
    Fill({u"Wall"});
    Get(1)->SetModificationTime(33);
    heard.Take();
    const Kest::Guid guid("{BBF0C7BD-D54E-4449-B081-9C1E6CECF7B3}");
    int error = 99;
    const Attribute copy = set->NewAttribute(Get(1), &error, false, true, guid);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(copy.GetId(), ODB::Id(guid));
    EXPECT_EQ(copy.GetIdSpace(), &space);
    EXPECT_EQ(Shown(*copy.GetConst()), "2 Wall (1)");
    EXPECT_EQ(copy.GetConst()->GetModificationTime(), 33);
    EXPECT_EQ(heard.Take(), (Texts{"created 1 Wall (1)"}));
    const Attribute fresh = set->NewAttribute(copy, nullptr, false, false, Kest::Guid());
    EXPECT_TRUE(fresh && !fresh.GetId().IsNull() && fresh.GetIdSpace() == &space);

    Mark far(u"Far", 1);
    class Unregistered : public Mark {
        unsigned int GetAttributeTypeId() const override { return 1; }
    } unregistered;
    const struct {
        Reading source;
        bool keepIndex;
        Kest::Guid id;
        int expected;
    } refused[] = {{&far, true, {}, Error::NoSuchIndex},
                   {&far, false, guid, Error::MemoryFull},   // the id is taken
                   {ODB::NullRef, false, guid, Error::ForeignAttribute},
                   {&unregistered, false, {}, Error::UnknownType}};
    heard.Take();
    for (const auto& c : refused) {
        EXPECT_FALSE(set->NewAttribute(c.source, &error, c.keepIndex, false, c.id));
        EXPECT_EQ(error, c.expected);
    }
    far.SetIndex(11);
    EXPECT_EQ(set->NewAttribute(&far, &error, true, false, Kest::Guid()).GetConst()->GetIndex(), 11);
    EXPECT_EQ(heard.Take(), (Texts{"created 1 Far"}));
}

TEST_F(AttributeSetTest, AddAttributeReusesEqualContent) {
    Add(u"Wall", 4, 5);
    Add(u"Roof", 0, 5, Pax);
    Add(u"Roof1", 0, 5);
    heard.Take();
    const struct {
        const char* when;
        const char16_t* name;
        int color;
        short flags;
        const char* result;
        std::size_t added;
    } cases[] = {
        {"equal content", u"Wall", 5, 0, "4 Wall", 0},
        {"another letter case is other content", u"wall", 5, 0, "3 wall (1)", 1},
        {"other content", u"Wall", 6, 0, "5 Wall (2)", 1},
        {"equal to a script's", u"Roof", 5, Pax, "1 Roof", 0},
        {"a script's with other content counts up", u"Roof", 6, Pax, "6 Roo1", 1},
        {"as far as needed", u"Roof1", 6, Pax, "7 Roof2", 1},
        {"a new name", u"Beam", 5, 0, "8 Beam", 1},
    };
    for (const auto& c : cases) {
        Mark mark(c.name, 99, c.color, c.flags);
        EXPECT_EQ(set->AddAttribute(markType, &mark, false), 0) << c.when;
        EXPECT_EQ(Shown(mark), c.result) << c.when;
        EXPECT_EQ(heard.Take().size(), c.added) << c.when;
    }
    EXPECT_EQ(set->AddAttribute(markType, nullptr, false), Error::NullArgument);
}

TEST_F(AttributeSetTest, AddAttributeEndsWhenNoNameIsFree) {
    Fill({u"1", u"2", u"3"});
    Mark mark(u"1", 0, 9, Pax);
    Mark::cloneFailure = 1;
    EXPECT_EQ(set->AddAttribute(markType, &mark, false), Error::MemoryFull) << "4 is free but cannot be stored";
    Mark::cloneFailure = 0;
    EXPECT_EQ(mark.GetName(), u"4");

    // a name of nines counts round: with all of 0 to 9 taken nothing else ever comes
    Fill({u"0", u"4", u"5", u"6", u"7", u"8", u"9"});
    EXPECT_EQ(set->AddAttribute(markType, &mark, false), Error::NameUsed);
    EXPECT_EQ(mark.GetName(), u"5") << "eleven names were tried";
    EXPECT_EQ(Look().GetAttributeNumber(markType), 10U);
}

TEST_F(AttributeSetTest, FindsWhatAScriptsAttributeMeans) {
    Add(u"User", 0, 5);
    Add(u"Script", 0, 5, Pax | Client);
    Add(u"Done", 0, Mark::CompletedColor, Pax);
    heard.Take();
    const struct {
        const char* when;
        const char16_t* name;
        int color;
        short flags;
        AttributeSet::AttributeForPaxFoundResult expected;
        short index;
    } cases[] = {
        {"no such name", u"New", 5, 0, AttributeSet::PaxMatchNone, 0},
        {"of the user, whatever its content", u"user", 8, 0, AttributeSet::PaxMatchFound, 1},
        {"of a script, the same but for flags and letter case", u"SCRIPT", 5, 0, AttributeSet::PaxMatchFound, 2},
        {"of a script, other content", u"Script", 6, Pax, AttributeSet::PaxMatchDiffers, 2},
        {"of a script, another flag", u"Script", 5, 1, AttributeSet::PaxMatchDiffers, 2},
        {"the same once completed", u"Done", -1, 0, AttributeSet::PaxMatchFound, 3},
    };
    auto result = AttributeSet::PaxMatchNone;
    short index = -1;
    for (const auto& c : cases) {
        Mark mark(c.name, 99, c.color, c.flags);
        mark.SetModificationTime(1234);
        EXPECT_EQ(Look().FindMatchingAttributeForPax(markType, mark, result, index), 0) << c.when;
        EXPECT_EQ(result, c.expected) << c.when;
        EXPECT_EQ(index, c.index) << c.when;
        EXPECT_EQ(mark.color, c.color) << "what is asked about stays as it is";
    }
    EXPECT_EQ(Look().FindMatchingAttributeForPax(markType, Mark(), result, index), Error::EmptyName);
    EXPECT_EQ(index, 0);
    Mark script(u"Script", 0, 6);
    for (Mark::cloneFailure = 1; Mark::cloneFailure <= 2; ++Mark::cloneFailure)
        EXPECT_EQ(Look().FindMatchingAttributeForPax(markType, script, result, index), Error::MemoryFull);
    Mark::cloneFailure = 0;
    Stamp other(u"Script");
    EXPECT_EQ(Look().FindMatchingAttributeForPax(markType, other, result, index), 0);
    EXPECT_EQ(result, AttributeSet::PaxMatchDiffers) << "another kind is never the same";
    EXPECT_EQ(set->AddPaxAttribute(markType, &other), Error::WrongCall);
    EXPECT_EQ(heard.Take(), Texts());
}

TEST_F(AttributeSetTest, AddsWhatAScriptMade) {
    const struct {
        const char* when;
        const char16_t* name;
        int color;
        short flags;   // of what was handed over, afterwards
        const char16_t* storedName;
        int storedColor, storedTime;
        Texts events;
    } cases[] = {
        {"new: completed", u"Script", -1, Pax | Client, u"Script", Mark::CompletedColor, Now, {"created 1 Script"}},
        {"the same", u"script", -1, Pax, u"Script", Mark::CompletedColor, Now, {}},
        {"changed", u"SCRIPT", 3, Pax | Client, u"SCRIPT", 3, 0, {"changed 1 SCRIPT: 1 4"}},
    };
    for (const auto& c : cases) {
        Mark mark(c.name, 0, c.color);
        EXPECT_EQ(set->AddPaxAttribute(markType, &mark), 0) << c.when;
        EXPECT_EQ(mark.GetIndex(), 1) << c.when;
        EXPECT_EQ(mark.GetFlags(), c.flags) << c.when;
        EXPECT_EQ(heard.Take(), c.events) << c.when;
        const Attribute stored = Get(1);
        EXPECT_EQ(stored.GetConst()->GetName(), c.storedName) << c.when;
        EXPECT_EQ(stored.GetConst()->GetFlags(), Pax | Client);
        EXPECT_EQ(stored.GetConst()->GetModificationTime(), c.storedTime) << c.when;
        EXPECT_EQ(static_cast<const Mark&>(*stored.GetConst()).color, c.storedColor) << c.when;
        if (c.color == -1 && !c.events.empty()) {
            EXPECT_EQ(mark.GetIdSpace(), &space) << "a fresh id of its own";
        }
    }
    Add(u"Plain", 0, 1, Pax);
    Mark plain(u"Plain", 0, 2);
    EXPECT_EQ(set->AddPaxAttribute(markType, &plain), 0);
    EXPECT_EQ(Get(2).GetConst()->GetFlags(), Pax) << "client-created only as the stored one is";
    heard.Take();
    EXPECT_EQ(set->AddPaxAttribute(0, nullptr), Error::NullArgument);
}

TEST_F(AttributeSetTest, PutAttributeOverwritesAndTellsWhatDiffered) {
    Fill({u"Wall", u"Roof"});
    const struct {
        const char* when;
        const char16_t* name;
        short index;
        bool touch;
        int expected;
        Texts events;
    } cases[] = {
        {"nothing differs", u"Wall", 1, false, 0, {}},
        {"a new letter case", u"WALL", 1, false, 0, {"changed 1 WALL: 1"}},
        {"dated now", u"WALL", 1, true, 0, {"changed 1 WALL: 4"}},
        {"a name that another one has", u"roof", 1, false, Error::NameUsed, {}},
        {"also when there is no such index", u"Roof", 9, false, Error::NameUsed, {}},
        {"no name", u"", 1, false, Error::EmptyName, {}},
        {"no such index", u"Beam", 9, false, Error::NotLoadable, {}},
    };
    for (const auto& c : cases) {
        Mark mark(c.name, c.index);
        EXPECT_EQ(set->PutAttribute(markType, &mark, c.touch), c.expected) << c.when;
        EXPECT_EQ(heard.Take(), c.events) << c.when;
    }
    EXPECT_EQ(set->PutAttribute(markType, nullptr, false), Error::NullArgument);
    EXPECT_EQ(ListMarks(set), (Texts{"1 WALL", "2 Roof"}));
}

TEST_F(AttributeSetTest, DeletesOneATypeOrAll) {
    Fill({u"Wall", u"Roof", u"Beam"});
    EXPECT_EQ(set->DeleteAttribute(markType, 9, true), Error::NoSuchIndex);
    Mark::cloneFailure = 2;   // deleting needs no memory
    EXPECT_EQ(set->DeleteAttribute(markType, 2, true), 0);
    EXPECT_EQ(set->DeleteAttribute(markType, 1, false), 0);
    EXPECT_EQ(heard.Take(), (Texts{"deleted 1 #2"}));
    EXPECT_EQ(ListMarks(set), (Texts{"3 Beam"}));
    EXPECT_EQ(set->DeleteAttributeType(markType), 0);
    EXPECT_EQ(heard.Take(), (Texts{"restored 1"}));
    Mark::cloneFailure = 0;

    Fill({u"Wall"});
    Stamp stamp(u"Sandwich");
    set->NewAttribute(stampType, &stamp, false, false);
    heard.Take();
    EXPECT_EQ(set->Clear(), 0);
    EXPECT_EQ(space.GetObjectCount(), 3U) << "the set and its containers";
    EXPECT_EQ(heard.Take(), Texts());
}

TEST_F(AttributeSetTest, TellsOfEachStatusWhatItCan) {
    const Mark stray(u"Stray");
    const Reading none;
    for (const auto status : {AttributeSet::Created, AttributeSet::Changed, AttributeSet::Deleted}) {
        Look().NotifyObservers(5, none, status, FieldMask());
        Look().NotifyObservers(5, &stray, status, FieldMask());
    }
    Look().NotifyObservers(5, none, AttributeSet::TypeRestored, FieldMask());
    Look().NotifyObservers(5, none, AttributeSet::ActiveChanged, FieldMask());
    EXPECT_EQ(heard.Take(),
              (Texts{"created 5 Stray", "changed 5 Stray:", "deleted 5 #0", "restored 5", "active 5 null"}));
}

TEST_F(AttributeSetTest, TellsLastAttachedFirstAndNobodyOfWhatIsGone) {
    SetRecorder second("second "), third("third ");
    second.heard = third.heard = &heard.own;
    set->Detach(heard);
    for (SetRecorder* const each : {&second, &third, &second})
        set->Attach(*each);
    Add(u"Wall");
    EXPECT_EQ(heard.Take(), (Texts{"third created 1 Wall", "second created 1 Wall"}));
    third.act = [&](const std::string&) { ODB::Database::DeleteObject(Get(2)); };
    Mark roof(u"Roof");
    EXPECT_EQ(set->NewAttribute(markType, &roof, false, false), 0);
    EXPECT_EQ(heard.Take(), (Texts{"third created 1 Roof"}));
    third.act = [&](const std::string&) { set->Detach(second); };
    set->DeleteAttribute(markType, 1, true);
    EXPECT_EQ(heard.Take(), (Texts{"third deleted 1 #1"}));
}

TEST_F(AttributeSetTest, ObserversMayDeleteTheSetOrTheContainerDuringEveryEvent) {
    const short type = markType;
    using Operation = int (*)(AttributeSet&, GeneralAttribute&, short);
    const Operation operations[] = {
        [](AttributeSet& in, GeneralAttribute& with, short id) { return in.NewAttribute(id, &with, false, true); },
        [](AttributeSet& in, GeneralAttribute& with, short id) { return in.AddAttribute(id, &with, true); },
        [](AttributeSet& in, GeneralAttribute& with, short id) { return in.AddPaxAttribute(id, &with); },
        [](AttributeSet& in, GeneralAttribute& with, short id) { return in.PutAttribute(id, &with, true); },
        [](AttributeSet& in, GeneralAttribute&, short id) { return in.DeleteAttribute(id, 1, true); },
        [](AttributeSet& in, GeneralAttribute&, short id) { return in.DeleteAttributeType(id); },
        [](AttributeSet& in, GeneralAttribute&, short id) {
            return in.SetActiveAttribute(id, in.GetAttribute(id, short{2}));
        },
        [](AttributeSet& in, GeneralAttribute&, short id) { return in.GetAttribute(id, short{1})->SetName(u"Slab"); },
        [](AttributeSet& in, GeneralAttribute&, short) { return in.Clear(); },
    };
    int died = 0;
    for (const Operation operation : operations)
        for (const bool killSet : {true, false})
            for (std::size_t moment = 1; moment <= 6; ++moment) {
                const ODB::Ref<AttributeSet> doomed = CloneAttributeSet(set, nullptr);
                for (const char16_t* name : {u"Wall", u"Roof"}) {
                    Mark mark(name, 0, 2);
                    doomed->NewAttribute(type, &mark, false, false);
                }
                const Container container = doomed.GetConst()->GetAttributeContainer(type);
                SetRecorder inSet;
                Recorder onAttributes;
                onAttributes.heard = &inSet.own;
                inSet.act = onAttributes.act = [&](const std::string&) {
                    if (inSet.own.size() != moment)
                        return;
                    ODB::Database::DeleteObject(killSet ? ODB::Ref<ODB::Object>(doomed)
                                                        : ODB::Ref<ODB::Object>(container));
                    ++died;
                };
                Mark source(u"Wall", 1, 9);   // its name is taken
                doomed->Attach(inSet);
                source.Attach(onAttributes);
                doomed.GetConst()->GetAttribute(type, short{1})->Attach(onAttributes);
                operation(*doomed.Get(), source, type);
                inSet.act = onAttributes.act = nullptr;
                EXPECT_TRUE(space.CheckInvariants());
                DisposeAttributeSet(doomed);
            }
    EXPECT_GT(died, 40);
}

/// Counts what is created, without any memory.
class CreationCounter : public ADB::AttributeSetObserver {
public:
    void AttributeCreated(short, Reading) override { ++created; }

    unsigned int created = 0;
};

TEST_F(AttributeSetTest, AWantOfMemoryLeavesTheSetAsItWas) {
    Fill({u"A wall with a name of some length"});
    CreationCounter counter;
    set->Detach(heard);
    set->Attach(counter);
    using Operation = std::function<int(GeneralAttribute&)>;
    const std::pair<const char16_t*, Operation> operations[] = {
        {u"a wall with a name of some length",
         [this](GeneralAttribute& with) { return set->NewAttribute(markType, &with, false, true); }},
        {u"a wall with a name of some length",
         [this](GeneralAttribute& with) { return set->AddAttribute(markType, &with, true); }},
        {u"Another name of some length",
         [this](GeneralAttribute& with) { return set->AddPaxAttribute(markType, &with); }},
        {u"a wall with a name of some length",
         [this](GeneralAttribute& with) {
             const auto source = [&with] {
                 const AllocationsSucceed preparing;
                 return Reading(&with);
             }();
             int error = 0;
             set->NewAttribute(source, &error, false, false, Kest::Guid());
             return error;
         }},
    };
    for (const auto& [name, operation] : operations) {
        int status = 1;
        std::unique_ptr<Mark> mark;
        const auto run = [&, &newName = name, &act = operation] {
            {
                const AllocationsSucceed preparing;
                mark = std::make_unique<Mark>(newName, short{0}, 8);
                counter.created = 0;
                status = 1;
            }
            status = act(*mark);
        };
        const auto count = ForEachFailure(run, [&](bool failed) {
            const unsigned int added = status == 0 ? 1 : 0;
            EXPECT_TRUE(status == 0 || (failed && status == Error::MemoryFull)) << status;
            EXPECT_EQ(Look().GetAttributeNumber(markType), 1 + added);
            EXPECT_EQ(counter.created, added);
            EXPECT_TRUE(Look().CheckInvariants());
            set->DeleteAttribute(markType, 2, false);
            mark.reset();
            EXPECT_EQ(space.GetObjectCount(), 4U);
        });
        EXPECT_GT(count.failures, 3U);
    }
    set->Detach(counter);
}

TEST_F(AttributeSetTest, ASecondContainerOfATypeIsKeptButNotFound) {
    const Container first = Marks();
    const Container second(new ADB::AttributeContainer(Mark::RefId, Kest::Guid(), &space, u"More",
                                                       LumCB::PermissionID::None, LumCB::PermissionID::None));
    EXPECT_EQ(set->AddAttributeContainer(second), 0);
    EXPECT_EQ(set->AddAttributeContainer(ODB::NullRef), Error::NullArgument);
    EXPECT_EQ(Marks(), first);
    const auto& association = AttributeSet::GetContainerAssociation();
    const ADB::AttributeTypeIdIndex::Query query(markType);
    ODB::ConstRefList<ODB::Object> found;
    EXPECT_EQ(association.AppendRight(ODB::ConstRef<ODB::Object>(set), &found, &query), 0);
    ASSERT_EQ(found.GetSize(), 1U);
    EXPECT_EQ(found[0], first);
    EXPECT_TRUE(query.Matches(first) && query.Matches(second) && !query.Matches(set));
    found.Clear();
    const ODB::Query::ConstScope scope{association, ODB::ConstRef<ODB::Object>(set)};
    EXPECT_EQ(query.ExecuteCustom(&scope, &found), 0);
    EXPECT_EQ(found.GetSize(), 2U) << "a walk finds both";
    ODB::Database::DeleteObject(first);
    EXPECT_FALSE(Marks()) << "nobody takes the place";
}

TEST_F(AttributeSetTest, MovesToAnotherSpaceWholeOrNot) {
    Fill({u"Wall", u"Roof"});
    ODB::IdSpace elsewhere, third, fourth;
    EXPECT_FALSE(Look().CopyToIdSpace(nullptr) || Look().CopyToIdSpace(&space));
    const ODB::Ref<AttributeSet> copy = Look().CopyToIdSpace(&elsewhere);
    EXPECT_EQ(Look().CopyToIdSpace(&elsewhere), copy) << "it is there already";
    set->MoveToIdSpace(&elsewhere);   // its id is taken
    EXPECT_EQ(set.GetIdSpace(), &space);
    Mark stranger;
    Attribute(&stranger).Init(Get(2).GetId(), &third);
    set->MoveToIdSpace(&third);   // an attribute's id is taken
    EXPECT_EQ(space.GetObjectCount(), 5U);
    set->MoveToIdSpace(&fourth);
    EXPECT_EQ(space.GetObjectCount(), 0U);
    EXPECT_EQ(fourth.GetObjectCount(), 5U);
    EXPECT_TRUE(Look().CheckInvariants() && fourth.CheckInvariants());
    EXPECT_EQ(ListMarks(set), (Texts{"1 Wall", "2 Roof"}));
    set->MoveToIdSpace(&space);
}

TEST_F(AttributeSetTest, ReachesTheUserDataOfAllTypes) {
    Fill({u"Wall"});
    Stamp stamp(u"Sandwich");
    set->NewAttribute(stampType, &stamp, false, false);
    Look().EnumerateAttributes([](const Attribute& attribute) {
        EXPECT_EQ(SetData(*attribute, 7, attribute.GetConst()->GetAttributeTypeId(), "data"), 0);
    });
    struct : ZalUtil::ICBOwnerFound {
        void OwnerFound(const ZalUtil::Owner& owner) override { found.Push(owner); }
        ZalUtil::OwnerList found;
    } owners;
    Look().LookupExternalDataHandlers(&owners);
    EXPECT_EQ(owners.found, (ZalUtil::OwnerList{{7, Mark::RefId}, {7, Stamp::RefId}}));
    set->DeleteExternalDataHandlers({{7, Mark::RefId}});
    owners.found.Clear();
    Look().LookupExternalDataHandlers(&owners);
    EXPECT_EQ(owners.found, ZalUtil::OwnerList({{7, Stamp::RefId}}));
}

}   // namespace
