#include <AttributeManager/AttributeSet.hpp>

#include <AttributeManager/AttributeTypeIdIndex.hpp>

#include <Kest/Clock.hpp>
#include <Kest/MemoryHandle.hpp>

#include <ODB/Database.hpp>

#include "attributemanager/AttributeTestKinds.hpp"
#include "support/ForEachFailure.hpp"

namespace {

namespace Error = ADB::Error;
using ADB::AttributeSet;
using ADB::GeneralAttribute;
using ADBTest::EventLog;
using ADBTest::RecordingObserver;
using ADBTest::RecordingSetObserver;
using ADBTest::Strings;
using ADBTest::TestComposite;
using ADBTest::TestLayer;
using Attribute = ODB::Ref<GeneralAttribute>;

class AttributeSetTest : public ADBTest::AttributeTest {
protected:
    AttributeSetTest() : observer(heard) {
        TISetClock([] { return Now; });
        set->Attach(observer);
    }
    ~AttributeSetTest() override {
        EXPECT_TRUE(!set || set.GetConst()->CheckInvariants());
        EXPECT_TRUE(space.CheckInvariants());
        TISetClock(nullptr);
    }

    /// Adds layers without any event being kept.
    void Fill(const std::vector<Kest::UniString>& names) {
        for (const Kest::UniString& name : names)
            Add(name);
        heard.Take();
    }
    const AttributeSet& Reading() const { return *set.GetConst(); }
    Attribute Get(short index) const { return Reading().GetAttribute(layerType, index); }

    static constexpr int Now = 777;

    EventLog heard;
    RecordingSetObserver observer;
};

TEST_F(AttributeSetTest, KeepsFiveFillsThroughConstSetters) {
    const AttributeSet& reading = Reading();
    const std::uint64_t before = set.GetModificationStamp();
    reading.SetSolidFill(0);
    EXPECT_EQ(set.GetModificationStamp(), before) << "an equal value is no change";
    reading.SetSolidFill(1);
    reading.SetEmptyFill(2);
    for (short type = -1; type <= 3; ++type)
        reading.SetPercentFill(static_cast<AttributeSet::PercentFillTypes>(type), static_cast<short>(type + 10));
    EXPECT_GT(set.GetModificationStamp(), before);

    AttributeSet copy;
    EXPECT_EQ(copy.CopyIsolatedState(reading), 0);
    const std::unique_ptr<AttributeSet> clone(copy.Clone());
    const AttributeSet* const all[] = {&reading, &copy, clone.get()};
    for (const AttributeSet* const each : all) {
        EXPECT_EQ(each->GetSolidFill(), 1);
        EXPECT_EQ(each->GetEmptyFill(), 2);
        EXPECT_EQ(each->GetPercentFill(AttributeSet::PercentFill25), 10);
        EXPECT_EQ(each->GetPercentFill(AttributeSet::PercentFill50), 11);
        EXPECT_EQ(each->GetPercentFill(AttributeSet::PercentFill75), 12);
        EXPECT_EQ(each->GetPercentFill(static_cast<AttributeSet::PercentFillTypes>(3)), 0);
    }
    EXPECT_EQ(clone->GetAttributeContainerList().GetSize(), 0U);
    EXPECT_EQ(copy.RestoreIsolatedState(nullptr), Error::WrongCall);
}

TEST_F(AttributeSetTest, AnUnknownTypeHasNothing) {
    TestLayer layer(u"Wall");
    Kest::UniString name(u"kept");
    short index = 42;
    AttributeSet::AttributeForPaxFoundResult result = AttributeSet::PaxMatchFound;
    for (const short typeId : {short{0}, short{-1}, short{3}, short{32767}}) {
        const AttributeSet& reading = Reading();
        EXPECT_FALSE(reading.GetAttributeContainer(typeId) || reading.GetConstAttribute(typeId, short{1}) ||
                     reading.GetAttribute(typeId, u"Wall") || reading.GetActiveAttribute(typeId) ||
                     reading.GetFirstValidAttribute(typeId) || reading.GetFirstValidAttributeByName(typeId));
        EXPECT_EQ(reading.Clone(typeId, 1), nullptr);
        EXPECT_EQ(reading.GetAttributeNumber(typeId), 0U);
        EXPECT_EQ(reading.GetAttributeMaximumIndex(typeId), 0);
        EXPECT_TRUE(reading.GetAttributeName(typeId, 1).IsEmpty());
        const int codes[] = {reading.AttributeIndexExist(typeId, 1),
                             reading.AttributeIndexToName(typeId, 1, name),
                             reading.AttributeNameToIndex(typeId, u"Wall", &index),
                             reading.CheckBeforeNewAttribute(typeId, Kest::UniString(), false, 0),
                             reading.FindMatchingAttributeForPax(typeId, layer, result, index),
                             set->SetActiveAttribute(typeId, ODB::NullRef),
                             set->NewAttribute(typeId, nullptr, false, false),
                             set->AddAttribute(typeId, nullptr, false),
                             set->AddPaxAttribute(typeId, &layer),
                             set->PutAttribute(typeId, nullptr, false),
                             set->DeleteAttribute(typeId, 1, true),
                             set->DeleteAttributeType(typeId)};
        for (const int code : codes)
            EXPECT_EQ(code, Error::UnknownType);
    }
    EXPECT_EQ(name, u"kept");
    EXPECT_TRUE(heard.lines.empty());
}

TEST_F(AttributeSetTest, FindsWhatItsContainersHold) {
    Fill({u"Wall", u"Beam", u"Arch"});
    const AttributeSet& reading = Reading();
    EXPECT_EQ(reading.GetConstAttribute(layerType, u"BEAM"), Get(2));
    EXPECT_EQ(reading.AttributeIndexExist(layerType, 4), Error::NoSuchIndex);
    EXPECT_EQ(reading.GetAttributeName(layerType, 3), u"Arch");
    EXPECT_EQ(reading.GetAttributeNumber(layerType), 3U);
    EXPECT_EQ(reading.GetAttributeMaximumIndex(layerType), 3);
    EXPECT_EQ(reading.GetFirstValidAttribute(layerType), Get(1));
    EXPECT_EQ(reading.GetFirstValidAttributeByName(layerType), Get(3));
    EXPECT_EQ(reading.GetConstActiveAttribute(layerType), Get(1));
    const std::unique_ptr<GeneralAttribute> clone(reading.Clone(layerType, 2));
    EXPECT_EQ(clone->GetName(), u"Beam");
    EXPECT_TRUE(clone->GetId().IsNull());

    TestComposite composite(u"Sandwich");
    set->NewAttribute(compositeType, &composite, false, false);
    Strings names;
    const auto note = [&names](const auto& attribute) { names.push_back(ADBTest::NameOf(attribute)); };
    reading.EnumerateConstAttributes(note);
    EXPECT_EQ(names, (Strings{"Wall", "Beam", "Arch", "Sandwich"}));
    names.clear();
    reading.EnumerateAttributes(layerType, ADB::SortByName, ADB::Descending, note);
    EXPECT_EQ(names, (Strings{"Wall", "Beam", "Arch"}));
}

TEST_F(AttributeSetTest, LookingChangesNoStamp) {
    Fill({u"Wall"});
    set->SetActiveAttribute(layerType, Get(1));
    const std::uint64_t before = ODB::ObjectInfo::GetLastStamp();
    const AttributeSet& reading = Reading();
    reading.GetAttribute(layerType, u"wall");
    reading.EnumerateAttributes([](const Attribute&) {});
    reading.GetFirstValidAttributeByName(layerType);
    EXPECT_EQ(const_cast<AttributeSet&>(reading).SetActiveAttribute(layerType, Get(1)), 0);
    EXPECT_NE(const_cast<AttributeSet&>(reading).DeleteAttribute(layerType, 9, true), 0);
    EXPECT_TRUE(reading.CheckInvariants());
    EXPECT_EQ(ODB::ObjectInfo::GetLastStamp(), before);
}

TEST_F(AttributeSetTest, ChecksANameBeforeItIsUsed) {
    Fill({u"Wall", u"Roof"});
    const struct {
        const char* when;
        const char16_t* name;
        bool replacing;
        int index;
        int expected;
    } cases[] = {
        {"new and free", u"Beam", false, 0, 0},
        {"new and empty", u"", false, 0, Error::EmptyName},
        {"replacing and empty", u"", true, 1, Error::EmptyName},
        {"new and taken, letter case ignored", u"WALL", false, 0, Error::NameUsed},
        {"new and taken by the index given", u"Wall", false, 1, Error::NameUsed},
        {"replacing under its own name", u"wall", true, 1, 0},
        {"replacing under another's name", u"Roof", true, 1, Error::NameUsed},
        {"replacing nothing under a free name", u"Beam", true, 9, 0},
        {"replacing nothing under a taken name", u"Wall", true, 9, Error::NameUsed},
        {"an index far out", u"Wall", true, -1, Error::NameUsed},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Reading().CheckBeforeNewAttribute(layerType, c.name, c.replacing, c.index), c.expected) << c.when;
}

TEST_F(AttributeSetTest, NewAttributeStoresUnderAFreeNameAndIndex) {
    Fill({u"Wall"});
    const struct {
        const char* when;
        const char16_t* name;
        short index;
        short flags;
        bool keepIndex;
        int expected;
        const char* stored;   // "index name" in the attribute handed over, too
    } cases[] = {
        {"a free name", u"Roof", 77, 0, false, 0, "2 Roof"},
        {"a taken name", u"WALL", 0, 0, false, 0, "3 WALL (1)"},
        {"no name", u"", 0, 0, false, 0, "4 Generated Attribute Name (1)"},
        {"a script's without a name", u"", 0, GeneralAttribute::FromPax, false, 0, "5 Generated Attribute Name (2)"},
        {"a script's with a taken name", u"wall", 5, GeneralAttribute::FromPax, false, Error::NameUsed, "0 wall"},
        {"an index to keep", u"Beam", 40, 0, true, 0, "40 Beam"},
        {"an index to keep that is taken", u"Arch", 40, 0, true, Error::NoSuchIndex, "40 Arch"},
        {"index 0 cannot be kept", u"Arch", 0, 0, true, Error::NoSuchIndex, "0 Arch"},
        {"nor a negative one", u"Arch", -1, 0, true, Error::NoSuchIndex, "-1 Arch"},
        {"index 32767 passes and is replaced", u"Dome", 32767, 0, true, 0, "6 Dome"},
        {"the largest index", u"Cone", 32766, 0, true, 0, "32766 Cone"},
    };
    for (const auto& c : cases) {
        TestLayer layer(c.name, 5);
        layer.SetIndex(c.index);
        layer.SetFlags(c.flags);
        EXPECT_EQ(set->NewAttribute(layerType, &layer, c.keepIndex, false), c.expected) << c.when;
        const std::string shown = std::to_string(layer.GetIndex()) + " " + layer.GetName().ToCStr();
        EXPECT_EQ(shown, c.stored) << c.when;
        const Strings events = c.expected == 0 ? Strings{"created 1 " + layer.GetName().ToCStr()} : Strings{};
        EXPECT_EQ(heard.Take(), events) << c.when;
        if (c.expected == 0) {
            EXPECT_EQ(Get(layer.GetIndex()).GetConst()->GetName(), layer.GetName());
        }
    }
    EXPECT_EQ(set->NewAttribute(layerType, nullptr, false, false), Error::NullArgument);
}

TEST_F(AttributeSetTest, NewAttributeDatesTheCopyAlone) {
    TestLayer layer(u"Wall", 5);
    EXPECT_EQ(set->NewAttribute(layerType, &layer, false, true), 0);
    EXPECT_EQ(layer.GetModificationTime(), 0);
    EXPECT_EQ(Get(1).GetConst()->GetModificationTime(), Now);
    EXPECT_EQ(static_cast<const TestLayer&>(*Get(1).GetConst()).color, 5);
}

/// Gives the attribute that it observes a taken name again after each rename.
class Stubborn : public ADB::GeneralAttributeObserver {
public:
    explicit Stubborn(const Kest::UniString& takenName) : taken(takenName) {}
    using ADB::GeneralAttributeObserver::NameChanged;
    void NameChanged(Attribute attribute, const Kest::UniString&) override {
        if (attribute.GetConst()->GetName() == taken)
            return;
        ++renames;
        attribute->SetName(taken);
    }

    Kest::UniString taken;
    int renames = 0;
};

TEST_F(AttributeSetTest, NewAttributeGivesUpAfterElevenChecks) {
    Fill({u"Wall"});
    TestLayer layer(u"Wall");
    Stubborn stubborn(u"Wall");
    layer.Attach(stubborn);
    EXPECT_EQ(set->NewAttribute(layerType, &layer, false, false), Error::NameUsed);
    EXPECT_EQ(stubborn.renames, 10);
    EXPECT_EQ(Reading().GetAttributeNumber(layerType), 1U);
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
    EXPECT_EQ(copy.GetConst()->GetIndex(), 2);
    EXPECT_EQ(copy.GetConst()->GetName(), u"Wall (1)");
    EXPECT_EQ(copy.GetConst()->GetModificationTime(), 33);
    EXPECT_EQ(heard.Take(), (Strings{"created 1 Wall (1)"}));

    const Attribute fresh = set->NewAttribute(copy, nullptr, false, false, Kest::Guid());
    EXPECT_TRUE(fresh && !fresh.GetId().IsNull() && fresh.GetIdSpace() == &space);

    TestLayer far(u"Far");
    far.SetIndex(1);
    class Unregistered : public TestLayer {
    public:
        unsigned int GetAttributeTypeId() const override { return 1; }
    } unregistered;
    heard.Take();
    EXPECT_FALSE(set->NewAttribute(&far, &error, true, false, Kest::Guid()));
    EXPECT_EQ(error, Error::NoSuchIndex);
    EXPECT_FALSE(set->NewAttribute(&far, &error, false, false, guid));
    EXPECT_EQ(error, Error::MemoryFull) << "the id is taken";
    EXPECT_FALSE(set->NewAttribute(ODB::NullRef, &error, false, false, guid));
    EXPECT_EQ(error, Error::ForeignAttribute);
    EXPECT_FALSE(set->NewAttribute(&unregistered, &error, false, false, Kest::Guid()));
    EXPECT_EQ(error, Error::UnknownType);
    far.SetIndex(11);
    EXPECT_EQ(set->NewAttribute(&far, &error, true, false, Kest::Guid()).GetConst()->GetIndex(), 11);
    EXPECT_EQ(heard.Take(), (Strings{"created 1 Far"}));
}

TEST_F(AttributeSetTest, AddAttributeReusesEqualContent) {
    Add(u"Wall", 4, 5);
    Add(u"Roof", 0, 5, GeneralAttribute::FromPax);
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
        {"equal to a script's", u"Roof", 5, GeneralAttribute::FromPax, "1 Roof", 0},
        {"a script's with other content counts up", u"Roof", 6, GeneralAttribute::FromPax, "6 Roo1", 1},
        {"as far as needed", u"Roof1", 6, GeneralAttribute::FromPax, "7 Roof2", 1},
        {"a new name", u"Beam", 5, 0, "8 Beam", 1},
    };
    for (const auto& c : cases) {
        TestLayer layer(c.name, c.color);
        layer.SetFlags(c.flags);
        layer.SetIndex(99);
        EXPECT_EQ(set->AddAttribute(layerType, &layer, false), 0) << c.when;
        EXPECT_EQ(std::to_string(layer.GetIndex()) + " " + layer.GetName().ToCStr(), c.result) << c.when;
        EXPECT_EQ(heard.Take().size(), c.added) << c.when;
    }
    EXPECT_EQ(set->AddAttribute(layerType, nullptr, false), Error::NullArgument);
}

TEST_F(AttributeSetTest, AddAttributeEndsWhenNoNameIsFree) {
    Fill({u"1", u"2", u"3"});
    TestLayer layer(u"1", 9);
    layer.SetFlags(GeneralAttribute::FromPax);
    TestLayer::cloneFailure = 1;
    EXPECT_EQ(set->AddAttribute(layerType, &layer, false), Error::MemoryFull) << "4 is free but cannot be stored";
    TestLayer::cloneFailure = 0;
    EXPECT_EQ(layer.GetName(), u"4");

    // a name of nines counts round: with all of 0 to 9 taken nothing else ever comes
    Fill({u"0", u"4", u"5", u"6", u"7", u"8", u"9"});
    EXPECT_EQ(set->AddAttribute(layerType, &layer, false), Error::NameUsed);
    EXPECT_EQ(layer.GetName(), u"5") << "eleven names were tried";
    EXPECT_EQ(Reading().GetAttributeNumber(layerType), 10U);
}

TEST_F(AttributeSetTest, FindsWhatAScriptsAttributeMeans) {
    constexpr short Pax = GeneralAttribute::FromPax;
    constexpr short Client = GeneralAttribute::ClientCreated;
    Add(u"User", 0, 5);
    Add(u"Script", 0, 5, Pax | Client);
    Add(u"Done", 0, TestLayer::CompletedColor, Pax);
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
    for (const auto& c : cases) {
        TestLayer layer(c.name, c.color);
        layer.SetFlags(c.flags);
        layer.SetIndex(99);
        layer.SetModificationTime(1234);
        auto result = AttributeSet::PaxMatchNone;
        short index = -1;
        EXPECT_EQ(Reading().FindMatchingAttributeForPax(layerType, layer, result, index), 0) << c.when;
        EXPECT_EQ(result, c.expected) << c.when;
        EXPECT_EQ(index, c.index) << c.when;
        EXPECT_EQ(layer.color, c.color) << "what is asked about stays as it is";
    }
    auto result = AttributeSet::PaxMatchNone;
    short index = -1;
    EXPECT_EQ(Reading().FindMatchingAttributeForPax(layerType, TestLayer(), result, index), Error::EmptyName);
    EXPECT_EQ(index, 0);
    TestLayer script(u"Script", 6);
    for (TestLayer::cloneFailure = 1; TestLayer::cloneFailure <= 2; ++TestLayer::cloneFailure)
        EXPECT_EQ(Reading().FindMatchingAttributeForPax(layerType, script, result, index), Error::MemoryFull);
    TestLayer::cloneFailure = 0;
    TestComposite other(u"Script");
    EXPECT_EQ(Reading().FindMatchingAttributeForPax(layerType, other, result, index), 0);
    EXPECT_EQ(result, AttributeSet::PaxMatchDiffers) << "another kind is never the same";
    EXPECT_EQ(set->AddPaxAttribute(layerType, &other), Error::WrongCall);
    EXPECT_TRUE(heard.lines.empty());
}

TEST_F(AttributeSetTest, AddsWhatAScriptMade) {
    constexpr short Pax = GeneralAttribute::FromPax;
    constexpr short Client = GeneralAttribute::ClientCreated;
    TestLayer first(u"Script", -1);
    EXPECT_EQ(set->AddPaxAttribute(layerType, &first), 0);
    EXPECT_EQ(first.GetIndex(), 1);
    EXPECT_EQ(first.GetIdSpace(), &space) << "a fresh id of its own";
    EXPECT_EQ(Get(1).GetConst()->GetFlags(), Pax | Client);
    EXPECT_EQ(Get(1).GetConst()->GetModificationTime(), Now);
    EXPECT_EQ(static_cast<const TestLayer&>(*Get(1).GetConst()).color, TestLayer::CompletedColor);
    EXPECT_EQ(heard.Take(), (Strings{"created 1 Script"}));

    TestLayer same(u"script", -1);
    EXPECT_EQ(set->AddPaxAttribute(layerType, &same), 0);
    EXPECT_EQ(same.GetIndex(), 1);
    EXPECT_EQ(same.GetFlags(), Pax);
    EXPECT_TRUE(heard.lines.empty());

    TestLayer changed(u"SCRIPT", 3);
    EXPECT_EQ(set->AddPaxAttribute(layerType, &changed), 0);
    EXPECT_EQ(changed.GetIndex(), 1);
    EXPECT_EQ(changed.GetFlags(), Pax | Client) << "as the stored one has it";
    EXPECT_EQ(Get(1).GetConst()->GetName(), u"SCRIPT");
    EXPECT_EQ(static_cast<const TestLayer&>(*Get(1).GetConst()).color, 3);
    EXPECT_EQ(heard.Take(), (Strings{"changed 1 SCRIPT: 1 4"}));
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
        Strings events;
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
        TestLayer layer(c.name);
        layer.SetIndex(c.index);
        EXPECT_EQ(set->PutAttribute(layerType, &layer, c.touch), c.expected) << c.when;
        EXPECT_EQ(heard.Take(), c.events) << c.when;
    }
    EXPECT_EQ(set->PutAttribute(layerType, nullptr, false), Error::NullArgument);
    EXPECT_EQ(ListLayers(), (Strings{"1 WALL", "2 Roof"}));
}

TEST_F(AttributeSetTest, DeletesOneATypeOrAll) {
    Fill({u"Wall", u"Roof", u"Beam"});
    const Attribute roof = Get(2);
    EXPECT_EQ(set->DeleteAttribute(layerType, 9, true), Error::NoSuchIndex);
    TestLayer::cloneFailure = 2;   // deleting needs no memory
    EXPECT_EQ(set->DeleteAttribute(layerType, 2, true), 0);
    EXPECT_EQ(set->DeleteAttribute(layerType, 1, false), 0);
    EXPECT_EQ(heard.Take(), (Strings{"deleted 1 #2"}));
    EXPECT_FALSE(roof);
    EXPECT_EQ(ListLayers(), (Strings{"3 Beam"}));
    EXPECT_EQ(set->DeleteAttributeType(layerType), 0);
    EXPECT_EQ(heard.Take(), (Strings{"restored 1"}));
    TestLayer::cloneFailure = 0;

    Fill({u"Wall"});
    TestComposite composite(u"Sandwich");
    set->NewAttribute(compositeType, &composite, false, false);
    heard.Take();
    EXPECT_EQ(set->Clear(), 0);
    EXPECT_EQ(space.GetObjectCount(), 3U) << "the set and its containers";
    EXPECT_TRUE(heard.lines.empty());
}

TEST_F(AttributeSetTest, TellsOfChangesOfItsAttributesAndOfTheActiveOne) {
    Fill({u"Wall", u"Roof"});
    Get(1)->SetName(u"Slab");
    Get(1)->SetIndex(8);
    EXPECT_EQ(heard.Take(), (Strings{"changed 1 Slab: 1", "changed 1 Slab: 2"}));
    EXPECT_EQ(set->SetActiveAttribute(layerType, Get(2)), 0);
    EXPECT_EQ(set->SetActiveAttribute(layerType, Get(2)), 0);
    EXPECT_EQ(set->SetActiveAttribute(layerType, ODB::NullRef), 0);
    EXPECT_EQ(heard.Take(), (Strings{"active 1 Roof", "active 1 null"}));
    EXPECT_EQ(set->SetActiveAttribute(compositeType, Get(2)), Error::ForeignAttribute);

    const TestLayer stray(u"Stray");
    const ODB::ConstRef<GeneralAttribute> none;
    const AttributeSet& reading = Reading();
    for (const auto status : {AttributeSet::Created, AttributeSet::Changed, AttributeSet::Deleted}) {
        reading.NotifyObservers(5, none, status, FieldMask());
        reading.NotifyObservers(5, &stray, status, FieldMask());
    }
    reading.NotifyObservers(5, none, AttributeSet::TypeRestored, FieldMask());
    reading.NotifyObservers(5, none, AttributeSet::ActiveChanged, FieldMask());
    EXPECT_EQ(heard.Take(),
              (Strings{"created 5 Stray", "changed 5 Stray:", "deleted 5 #0", "restored 5", "active 5 null"}));
}

TEST_F(AttributeSetTest, TellsLastAttachedFirstAndNobodyOfWhatIsGone) {
    EventLog both;
    RecordingSetObserver second(both, "second ");
    RecordingSetObserver third(both, "third ");
    set->Detach(observer);
    for (RecordingSetObserver* const each : {&second, &third, &second})
        set->Attach(*each);
    Add(u"Wall");
    EXPECT_EQ(both.Take(), (Strings{"third created 1 Wall", "second created 1 Wall"}));

    both.afterEach = [&] { Reading().GetAttribute(layerType, u"Roof") ? ODB::Database::DeleteObject(Get(2)) : void(); };
    TestLayer roof(u"Roof");
    EXPECT_EQ(set->NewAttribute(layerType, &roof, false, false), 0);
    EXPECT_EQ(both.Take(), (Strings{"third created 1 Roof"}));

    both.afterEach = [&] { set->Detach(second); };
    set->DeleteAttribute(layerType, 1, true);
    EXPECT_EQ(both.Take(), (Strings{"third deleted 1 #1"}));
}

TEST_F(AttributeSetTest, ObserversMayDeleteTheSetOrTheContainerDuringEveryEvent) {
    using Operation = std::function<int(AttributeSet&, GeneralAttribute&)>;
    const short type = layerType;
    const struct {
        const char* what;
        Operation run;
    } operations[] = {
        {"new", [type](AttributeSet& in, GeneralAttribute& with) { return in.NewAttribute(type, &with, false, true); }},
        {"add", [type](AttributeSet& in, GeneralAttribute& with) { return in.AddAttribute(type, &with, true); }},
        {"script", [type](AttributeSet& in, GeneralAttribute& with) { return in.AddPaxAttribute(type, &with); }},
        {"put", [type](AttributeSet& in, GeneralAttribute& with) { return in.PutAttribute(type, &with, true); }},
        {"delete", [type](AttributeSet& in, GeneralAttribute&) { return in.DeleteAttribute(type, 1, true); }},
        {"restore", [type](AttributeSet& in, GeneralAttribute&) { return in.DeleteAttributeType(type); }},
        {"active", [type](AttributeSet& in,
                          GeneralAttribute&) { return in.SetActiveAttribute(type, in.GetAttribute(type, short{2})); }},
        {"rename",
         [type](AttributeSet& in, GeneralAttribute&) { return in.GetAttribute(type, short{1})->SetName(u"Slab"); }},
        {"clear", [](AttributeSet& in, GeneralAttribute&) { return in.Clear(); }},
    };
    int died = 0;
    for (const auto& operation : operations)
        for (const bool killSet : {true, false})
            for (std::size_t moment = 1; moment <= 6; ++moment) {
                const ODB::Ref<AttributeSet> doomed = CloneAttributeSet(set, nullptr);
                for (const char16_t* name : {u"Wall", u"Roof"}) {
                    TestLayer layer(name, 2);
                    doomed->NewAttribute(type, &layer, false, false);
                }
                const ODB::Ref<ADB::AttributeContainer> container = doomed.GetConst()->GetAttributeContainer(type);
                EventLog log;
                log.afterEach = [&] {
                    if (log.lines.size() != moment)
                        return;
                    ODB::Database::DeleteObject(killSet ? ODB::Ref<ODB::Object>(doomed)
                                                        : ODB::Ref<ODB::Object>(container));
                    ++died;
                };
                RecordingSetObserver inSet(log);
                RecordingObserver onAttributes(log);
                TestLayer source(u"Wall", 9);   // its name is taken
                source.SetIndex(1);
                doomed->Attach(inSet);
                source.Attach(onAttributes);
                doomed.GetConst()->GetAttribute(type, short{1})->Attach(onAttributes);
                operation.run(*doomed.Get(), source);
                log.afterEach = nullptr;
                EXPECT_TRUE(space.CheckInvariants()) << operation.what;
                DisposeAttributeSet(doomed);
            }
    EXPECT_GT(died, 40);
}

/// Counts what is created, without any memory.
class CreationCounter : public ADB::AttributeSetObserver {
public:
    void AttributeCreated(short, ODB::ConstRef<GeneralAttribute>) override { ++created; }

    unsigned int created = 0;
};

TEST_F(AttributeSetTest, AWantOfMemoryLeavesTheSetAsItWas) {
    Fill({u"A wall with a name of some length"});
    CreationCounter counter;
    set->Detach(observer);
    set->Attach(counter);
    const struct {
        const char* what;
        const char16_t* name;
        std::function<int(GeneralAttribute&)> run;
    } operations[] = {
        {"new", u"a wall with a name of some length",
         [this](GeneralAttribute& with) { return set->NewAttribute(layerType, &with, false, true); }},
        {"add", u"a wall with a name of some length",
         [this](GeneralAttribute& with) { return set->AddAttribute(layerType, &with, true); }},
        {"script", u"Another name of some length",
         [this](GeneralAttribute& with) { return set->AddPaxAttribute(layerType, &with); }},
        {"copy", u"a wall with a name of some length",
         [this](GeneralAttribute& with) {
             const auto source = [&with] {
                 const AllocationsSucceed preparing;
                 return ODB::ConstRef<GeneralAttribute>(&with);
             }();
             int error = 0;
             set->NewAttribute(source, &error, false, false, Kest::Guid());
             return error;
         }},
    };
    for (const auto& operation : operations) {
        int status = 1;
        std::unique_ptr<TestLayer> layer;
        const auto run = [&] {
            {
                const AllocationsSucceed preparing;
                layer = std::make_unique<TestLayer>(operation.name, 8);
                counter.created = 0;
                status = 1;
            }
            status = operation.run(*layer);
        };
        const auto count = ForEachFailure(run, [&](bool failed) {
            const unsigned int added = status == 0 ? 1 : 0;
            EXPECT_TRUE(status == 0 || (failed && status == Error::MemoryFull)) << operation.what << " " << status;
            EXPECT_EQ(Reading().GetAttributeNumber(layerType), 1 + added) << operation.what;
            EXPECT_EQ(counter.created, added);
            EXPECT_TRUE(Reading().CheckInvariants());
            set->DeleteAttribute(layerType, 2, false);
            layer.reset();
            EXPECT_EQ(space.GetObjectCount(), 4U);
        });
        EXPECT_GT(count.failures, 3U) << operation.what;
    }
}

TEST_F(AttributeSetTest, ASecondContainerOfATypeIsKeptButNotFound) {
    const ODB::Ref<ADB::AttributeContainer> first = Layers();
    const ODB::Ref<ADB::AttributeContainer> second(new ADB::AttributeContainer(
        TestLayer::RefId, Kest::Guid(), &space, u"More", LumCB::PermissionID::None, LumCB::PermissionID::None));
    EXPECT_EQ(set->AddAttributeContainer(second), 0);
    EXPECT_EQ(set->AddAttributeContainer(ODB::NullRef), Error::NullArgument);
    EXPECT_EQ(Layers(), first);
    EXPECT_EQ(Reading().GetAttributeContainerList().GetSize(), 3U);

    const auto& association = AttributeSet::GetContainerAssociation();
    const ADB::AttributeTypeIdIndex::Query query(layerType);
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
    EXPECT_FALSE(Layers()) << "nobody takes the place";
}

TEST_F(AttributeSetTest, CopiesAndMovesToAnotherSpaceWhole) {
    Fill({u"Wall", u"Roof"});
    set->SetActiveAttribute(layerType, Get(2));
    ODB::IdSpace elsewhere;
    EXPECT_FALSE(Reading().CopyToIdSpace(nullptr) || Reading().CopyToIdSpace(&space));
    const ODB::Ref<AttributeSet> copy = Reading().CopyToIdSpace(&elsewhere);
    ASSERT_TRUE(copy);
    EXPECT_EQ(Reading().CopyToIdSpace(&elsewhere), copy) << "it is there already";
    EXPECT_EQ(elsewhere.GetObjectCount(), space.GetObjectCount());
    EXPECT_TRUE(copy.GetConst()->CheckInvariants() && elsewhere.CheckInvariants());

    set->MoveToIdSpace(&elsewhere);   // its id is taken
    EXPECT_EQ(set.GetIdSpace(), &space);
    ODB::IdSpace third;
    TestLayer stranger;
    Attribute(&stranger).Init(Get(2).GetId(), &third);
    set->MoveToIdSpace(&third);   // an attribute's id is taken
    EXPECT_EQ(space.GetObjectCount(), 5U);
    ODB::IdSpace fourth;
    set->MoveToIdSpace(&fourth);
    EXPECT_EQ(space.GetObjectCount(), 0U);
    EXPECT_EQ(fourth.GetObjectCount(), 5U);
    EXPECT_TRUE(Reading().CheckInvariants() && fourth.CheckInvariants());
    EXPECT_EQ(ListLayers(), (Strings{"1 Wall", "2 Roof"}));
    set->MoveToIdSpace(&space);
}

TEST_F(AttributeSetTest, MovingWithoutMemoryMovesNothing) {
    for (int number = 0; number < 40; ++number)
        Add(u"Wall");
    const std::size_t count = space.GetObjectCount();
    std::unique_ptr<ODB::IdSpace> target;
    const auto seen = ForEachFailure(
        [&] {
            {
                const AllocationsSucceed preparing;
                target = std::make_unique<ODB::IdSpace>();
            }
            set->MoveToIdSpace(target.get());
        },
        [&](bool failed) {
            EXPECT_EQ(set.GetIdSpace() == target.get(), !failed);
            EXPECT_EQ((failed ? space : *target).GetObjectCount(), count);
            EXPECT_EQ((failed ? *target : space).GetObjectCount(), 0U);
            EXPECT_TRUE(space.CheckInvariants() && target->CheckInvariants() && Reading().CheckInvariants());
            set->MoveToIdSpace(&space);
        });
    EXPECT_GT(seen.failures, 4U);
}

TEST_F(AttributeSetTest, ReachesTheUserDataOfAllTypes) {
    Fill({u"Wall"});
    TestComposite composite(u"Sandwich");
    set->NewAttribute(compositeType, &composite, false, false);
    char** data = BMPtrToHandle("data", 4);
    set.GetConst()->EnumerateAttributes([data](const Attribute& attribute) {
        attribute->SetUserData(7, attribute.GetConst()->GetAttributeTypeId(), 0, 0, 0, data);
    });
    BMKillHandle(&data);
    class Collector : public ZalUtil::ICBOwnerFound {
    public:
        void OwnerFound(const ZalUtil::Owner& owner) override { found.Push(owner); }
        ZalUtil::OwnerList found;
    } owners;
    Reading().LookupExternalDataHandlers(&owners);
    const ZalUtil::OwnerList expected{{7, TestLayer::RefId}, {7, TestComposite::RefId}};
    EXPECT_EQ(owners.found, expected);
    set->DeleteExternalDataHandlers({{7, TestLayer::RefId}});
    owners.found.Clear();
    Reading().LookupExternalDataHandlers(&owners);
    EXPECT_EQ(owners.found, ZalUtil::OwnerList({{7, TestComposite::RefId}}));
}

}   // namespace
