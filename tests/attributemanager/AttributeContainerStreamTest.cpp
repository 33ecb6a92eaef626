#include <AttributeManager/AttributeContainer.hpp>

#include <cstring>

#include <Kest/DebugOutput.hpp>
#include <Kest/MemoryChannels.hpp>

#include <AttributeManager/ReadReport.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/DamagedStreams.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using ADB::AttributeContainer;
using ADB::ReadReport;
using Kest::PlatformSign;

using Writer = int (AttributeContainer::*)(Kest::OChannel&) const;
using Reader = int (AttributeContainer::*)(Kest::IChannel&);

// Streams as they were written once: never made anew.
constexpr std::string_view Version1 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B01000100B000000000000000070000000200000008DE19E5D6A14E65B87A550201F72C0201000000
    30000000000000000000000057616C6C0000000000000000000000000000000000000000000000000000000007000000E903000000000000
    08DE19E5D6A14E65B87A550201F72C0201000000300000000000000000000000526F6F6620C3A90000000000000000000000000000000000
    000000000000000002004001EA03000000000000A0000000000040008000000000000002A7E90093)";
constexpr std::string_view Version1WithMemos = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B01000100F000000000000000070000000200000008DE19E5D6A14E65B87A550201F72C0201000000
    50000000000000000000000057616C6C0000000000000000000000000000000000000000000000000000000007000000E903000000000000
    10C533E3179E4F83A762F415D8B0A0CA0100000004000000000000000000000008DE19E5D6A14E65B87A550201F72C020100000050000000
    0000000000000000526F6F6620C3A90000000000000000000000000000000000000000000000000002004001EA0300000000000010C533E3
    179E4F83A762F415D8B0A0CA01000000040000000000000000000000A0000000000040008000000000000002CB02221F)";
constexpr std::string_view Version2 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B020001005401000000000000070000000200000008DE19E5D6A14E65B87A550201F72C0202000000
    7E00000000000000000000000C2A7B446E0D4E8F9B6B2F1D6B1C7A10010000001000000000000000A0000000000040008000000000000001
    04000000570061006C006C0007000000E9030000000010C533E3179E4F83A762F415D8B0A0CA010000001C00000000000000180000000700
    0000010000005757010000000000000000000000000008DE19E5D6A14E65B87A550201F72C02020000008600000000000000000000000C2A
    7B446E0D4E8F9B6B2F1D6B1C7A10010000001000000000000000A00000000000400080000000000000020600000052006F006F0066002000
    E90002004001EA030000000010C533E3179E4F83A762F415D8B0A0CA0100000020000000000000001C000000070000000200000057570100
    00000000040000000000000064617461A00000000000400080000000000000026443D10B)";
constexpr std::string_view Version2OfSystem3 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B020001005401000000000000070000000200000008DE19E5D6A14E65B87A550201F72C0203010000
    7E00000000000000000000006C4D1A532E8B4C549E0A7A41C1D7B9F4010000001000000000000000A0000000000040008000000000000001
    04000000570061006C006C0007000000E9030000000010C533E3179E4F83A762F415D8B0A0CA010000001C00000000000000180000000700
    0000010000005757010000000000000000000000000008DE19E5D6A14E65B87A550201F72C02030100008600000000000000000000006C4D
    1A532E8B4C549E0A7A41C1D7B9F4010000001000000000000000A00000000000400080000000000000020600000052006F006F0066002000
    E90002004001EA030000000010C533E3179E4F83A762F415D8B0A0CA0100000020000000000000001C000000070000000200000057570100
    00000000040000000000000064617461A00000000000400080000000000000020D974F74)";
constexpr std::string_view Version3 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B030001004801000000000000070000000200000008DE19E5D6A14E65B87A550201F72C0204000000
    78000000000000006C4D1A532E8B4C549E0A7A41C1D7B9F4010000001000000000000000A000000000004000800000000000000104000000
    570061006C006C000700000010C533E3179E4F83A762F415D8B0A0CA010000001C0000000000000018000000070000000100000057570100
    000000000000000000000000E903000008DE19E5D6A14E65B87A550201F72C020400000080000000000000006C4D1A532E8B4C549E0A7A41
    C1D7B9F4010000001000000000000000A00000000000400080000000000000020600000052006F006F0066002000E9000200400110C533E3
    179E4F83A762F415D8B0A0CA0100000020000000000000001C00000007000000020000005757010000000000040000000000000064617461
    EA030000A00000000000400080000000000000021E18B50A)";
constexpr std::string_view Empty = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B030001000800000000000000000000000000000064CE7A62)";
constexpr std::string_view State2 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B020001007A010000000000002B9D6C0E7A134F68B1E95C8F04A7D36B020100009400000000000000
    E5E0B1C20F544C378D4B93B0A6C1D2F70100000034000000000000006C4D1A532E8B4C549E0A7A41C1D7B9F4010000001000000000000000
    C00000000000400080000000000000C0010000000200000000000000000000006E0B5A1D93C44B7E8F215D70C9A3E8460100000020000000
    000000000000000000000000000000000000000000000000000000000000000000000000050000004D00610072006B0073004B52414D4D00
    000000000000A00000000000400080000000000000029D1E5A703C424B8FA6D317F05E2B84C9010000004000000000000000020000000600
    000052004F004F0046002000C900A000000000004000800000000000000204000000570041004C004C00A000000000004000800000000000
    00019D1E5A703C424B8FA6D317F05E2B84C9010000002800000000000000020000000200A00000000000400080000000000000020700A000
    0000000040008000000000000001927AB8A3)";
constexpr std::string_view State3 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B030001005E000000000000006C4D1A532E8B4C549E0A7A41C1D7B9F4010000001000000000000000
    C00000000000400080000000000000C00100000002000000050000004D00610072006B0073004B52414D4D00000000000000A00000000000
    4000800000000000000245497BE9)";
constexpr std::string_view LumState1 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B0100010032000000000000000100000002000000050000004D00610072006B0073004B52414D4D00
    000000000000A000000000004000800000000000000293461B6B)";
constexpr std::string_view LumState3 = R"(
    4814DB0BC5A44929A9E0B54229A3FD1B0300010032000000000000000100000002000000050000004D00610072006B0073004B52414D4D00
    000000000000A0000000000040008000000000000002DF51FB72)";

const Writer ObjectStream = &AttributeContainer::Write;
const Writer State = &AttributeContainer::WriteIsolatedState;
const Writer LumState = &AttributeContainer::WriteLumIsolatedState;

const struct Fixture {
    const char* name;
    Writer writer;
    int system;
    std::string_view hex;
} written[] = {
    {"version 1", ObjectStream, 1, Version1},
    {"version 2", ObjectStream, 2, Version2},
    {"system 3", ObjectStream, 3, Version2OfSystem3},
    {"version 3", ObjectStream, 0, Version3},
    {"state 2", State, 2, State2},
    {"state 3", State, 4, State3},
    {"collaboration 1", LumState, 1, LumState1},
    {"collaboration 3", LumState, 0, LumState3},
};

Reader ReaderOf(Writer writer) {
    return writer == ObjectStream ? &AttributeContainer::Read
           : writer == State      ? &AttributeContainer::ReadIsolatedState
                                  : &AttributeContainer::ReadLumIsolatedState;
}

/// A mark that is incomplete until it has the flag 1, which completing announces.
class Draft : public Mark {
public:
    static constexpr unsigned int RefId = 0x44524654;   // 'DRFT'

    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Draft", Kest::Guid("{6E0E4E27-1E36-4A0C-93D4-5C2C27C9D003}"), {1, 0},
                                          Mark::GetClassInfoStatic(), {}, []() -> Kest::Object* { return new Draft; });
        return &info;
    }
    bool CheckAttribute() const override { return (GetFlags() & 1) != 0; }
    int CorrectAttribute() override {
        SetFlags(static_cast<short>(GetFlags() | 1));
        return 0;
    }
};

class AttributeContainerStreamTest : public SetFixture {
protected:
    AttributeContainerStreamTest() {
        DBSetSink([this](const UniString& text) { printed += text.ToCStr(); });
    }
    ~AttributeContainerStreamTest() override { DBSetSink(nullptr); }

    // A container of marks that stands alone.
    static Container NewContainer(ODB::IdSpace& home, unsigned int refId = Mark::RefId,
                                  const char* guid = "{C0000000-0000-4000-8000-0000000000C0}") {
        const Container made(new AttributeContainer(refId, Kest::Guid(guid), &home, u"Marks", LumCB::PermissionID(1),
                                                    LumCB::PermissionID(2)));
        ODB::Database::AddObject(made, false);
        return made;
    }
    static Attribute Put(const Container& container, int number, const UniString& name, short index, short flags = 0) {
        Mark source(name, index, 0, flags);
        source.SetModificationTime(1000 + number);
        SetData(source, 7, static_cast<unsigned int>(number), number % 2 == 0 ? "data" : "");
        const Kest::Guid guid(UniString::Printf("{A0000000-0000-4000-8000-%012d}", number).ToCStr().c_str());
        return container->NewAttribute(Reading(&source), index, guid, container.GetIdSpace());
    }
    static Container NewSample(ODB::IdSpace& home) {
        const Container made = NewContainer(home);
        Put(made, 1, u"Wall", 7);
        made->SetActiveAttribute(Put(made, 2, u"Roof \x00E9", 2, 0x0140));
        made.GetLogicalConst()->SetContainerLastUpdatedStamp(77);
        return made;
    }

    static std::string Write(const Container& container, Writer writer = ObjectStream, int system = 0) {
        const Kest::ClassManager::OutputVersionBlock block(system);
        Kest::MemoryOChannel channel;
        channel.SetProtocolPlatform(PlatformSign::LittleEndian);
        EXPECT_EQ((container.GetConst()->*writer)(channel), 0);
        return {channel.GetBytes(), channel.GetSize()};
    }
    static int Read(const Container& container, const std::string& stream, Reader reader = &AttributeContainer::Read) {
        Kest::MemoryIChannel channel(stream.data(), stream.size());
        channel.SetProtocolPlatform(PlatformSign::LittleEndian);
        return (container.GetLogicalConst()->*reader)(channel);
    }

    // "7 Wall 0 1001 data active {id}", in link order.
    static Texts Describe(const Container& container, bool withIds = true) {
        Texts lines;
        container.GetConst()->EnumerateConstAttributes([&](const Reading& attribute) {
            lines.push_back(std::to_string(attribute->GetIndex()) + " " + NameOf(attribute) + " " +
                            std::to_string(attribute->GetFlags()) + " " +
                            std::to_string(attribute->GetModificationTime()) +
                            (attribute->GetOwners().IsEmpty() ? "" : " data") +
                            (container.GetConst()->GetConstActiveAttribute() == attribute ? " active" : "") +
                            (withIds ? " " + attribute->GetGuid().ToText() : ""));
        });
        return lines;
    }
    static std::string DescribeFields(const Container& container) {
        const AttributeContainer& fields = *container.GetConst();
        const Reading active = fields.GetConstActiveAttribute();
        return std::to_string(static_cast<unsigned int>(fields.GetCreatePermissionID())) + " " +
               std::to_string(static_cast<unsigned int>(fields.GetDeleteModifyPermissionID())) + " " +
               fields.GetTypeName().ToCStr() + " " + std::to_string(fields.GetRefId()) + " " +
               std::to_string(fields.GetContainerLastUpdatedStamp()) + " " + NameOf(active);
    }
    static Texts Keys(const Container& container) {
        Texts lines;
        container.GetConst()->EnumerateConstAttributes([&lines](const Reading& attribute) {
            lines.push_back(std::to_string(attribute->GetIndex()) + " " + NameOf(attribute));
        });
        return lines;
    }
    static bool IsSound(const Container& container) {
        return container.GetConst()->CheckInvariants() && container.GetIdSpace()->CheckInvariants();
    }

    std::string printed;
};

TEST_F(AttributeContainerStreamTest, WritesWhatItAlwaysWrote) {
    ODB::IdSpace home;
    const Container sample = NewSample(home);
    for (const Fixture& fixture : written) {
        const std::uint64_t stamp = sample.GetModificationStamp();
        EXPECT_EQ(ToHex(Write(sample, fixture.writer, fixture.system)), ToHex(FromHex(fixture.hex))) << fixture.name;
        EXPECT_EQ(sample.GetModificationStamp(), stamp) << fixture.name;
    }
    ODB::IdSpace other;
    EXPECT_EQ(Write(NewContainer(other)), FromHex(Empty));
    EXPECT_EQ(printed, "");
    Write(sample, State, 1);
    EXPECT_EQ(printed, "ADB::AttributeContainer::WriteIsolatedState: Unsupported object version: (1, 0)\n");
}

TEST_F(AttributeContainerStreamTest, ReadsEveryVersion) {
    const Texts whole = {"7 Wall 0 1001 {A0000000-0000-4000-8000-000000000001}",
                         "2 Roof \xC3\xA9 320 1002 data active {A0000000-0000-4000-8000-000000000002}"};
    const struct {
        std::string_view hex;
        bool carriesIds;
        Texts content;
    } cases[] = {
        {Version3, true, whole},
        {Version2, true, whole},
        {Version2OfSystem3, true, whole},
        {Version1WithMemos, false, {"7 Wall 0 1001", "2 Roof \xC3\xA9 320 1002 active"}},
        {Empty, false, {}},
    };
    for (const auto& c : cases) {
        ODB::IdSpace home;
        const Container container = NewContainer(home);
        container->SetActiveAttribute(Put(container, 9, u"Old", 9));
        container.GetLogicalConst()->SetContainerLastUpdatedStamp(5);
        ReadReport report;
        const ReadReport::Scope scope(report);
        ASSERT_EQ(Read(container, FromHex(c.hex)), 0);
        EXPECT_EQ(Describe(container, c.carriesIds), c.content);
        EXPECT_EQ(container.GetConst()->GetContainerLastUpdatedStamp(), 0U);
        EXPECT_EQ(home.GetObjectCount(), 1 + c.content.size());
        // Without ids, the active attribute cannot be found, and the first one stands in for it.
        EXPECT_EQ(report.Contains(ReadReport::ReferenceWithoutTarget), !c.carriesIds && !c.content.empty());
        EXPECT_TRUE(IsSound(container));
        const std::string again = Write(container);
        ASSERT_EQ(Read(container, again), 0);
        EXPECT_EQ(Write(container), again);
    }
    ODB::IdSpace home;
    const Container container = NewContainer(home);
    EXPECT_NE(Read(container, FromHex(Version1)), 0);   // the reader wants the memos that the writer leaves out
    EXPECT_EQ(Describe(container), Texts());
}

TEST_F(AttributeContainerStreamTest, StatesCarryTheFields) {
    ODB::IdSpace home;
    const std::string fields = DescribeFields(NewSample(home));
    for (const Fixture& fixture : written) {
        if (fixture.writer == ObjectStream)
            continue;
        ODB::IdSpace other;
        const Container target = NewSample(other);
        target->SetActiveAttribute(ODB::NullRef);
        target->SetTypeName(u"Other");
        target.GetLogicalConst()->SetContainerLastUpdatedStamp(5);
        const Texts before = Keys(target);
        EXPECT_EQ(Read(target, FromHex(fixture.hex), ReaderOf(fixture.writer)), 0) << fixture.name;
        EXPECT_EQ(DescribeFields(target), fields) << fixture.name;
        EXPECT_EQ(Keys(target), before) << fixture.name;
    }
}

TEST_F(AttributeContainerStreamTest, OlderSetsOfLockableObjectsCarryOtherDeltas) {
    constexpr std::size_t setFrame = 28;
    constexpr std::size_t deltaSize = 60;
    constexpr std::size_t behindDelta = setFrame + 28 + 0x94;
    const struct {
        char major;
        char minor;
        std::size_t deltas;
        bool isRight;
    } cases[] = {{2, 1, 1, true}, {2, 0, 2, true}, {1, 0, 1, true}, {2, 0, 1, false}, {2, 1, 0, false}};
    for (const auto& c : cases) {
        std::string stream = FromHex(State2);
        const std::string delta = stream.substr(behindDelta - deltaSize, deltaSize);
        stream.erase(behindDelta - deltaSize, deltaSize);
        for (std::size_t count = 0; count < c.deltas; ++count)
            stream.insert(behindDelta - deltaSize, delta);
        stream[setFrame + 16] = c.major;
        stream[setFrame + 17] = c.minor;
        stream[setFrame + 20] = static_cast<char>(0x94 - deltaSize + c.deltas * deltaSize);
        ODB::IdSpace home;
        const Container container = NewContainer(home);
        container->SetTypeName(u"Other");
        const int status = Read(container, Sealed(stream), &AttributeContainer::ReadIsolatedState);
        EXPECT_EQ(status == 0, c.isRight) << int{c.major} << "." << int{c.minor} << " " << c.deltas;
        EXPECT_EQ(container.GetConst()->GetTypeName() == u"Marks", c.isRight);
    }
}

TEST_F(AttributeContainerStreamTest, StateMayNameAnAttributeThatComesLater) {
    ODB::IdSpace home;
    const Container container = NewContainer(home);
    ASSERT_EQ(Read(container, FromHex(State3), &AttributeContainer::ReadIsolatedState), 0);
    EXPECT_FALSE(container.GetConst()->GetConstActiveAttribute());
    const Attribute active = Put(container, 2, u"Roof", 7);
    Put(container, 1, u"Wall", 1);
    EXPECT_EQ(container.GetConst()->GetConstActiveAttribute(), Reading(active));

    // What comes under the id need not be an attribute.
    ODB::IdSpace other;
    const Container victim = NewContainer(other);
    const Container stranger = NewContainer(other, Mark::RefId, "{A0000000-0000-4000-8000-000000000002}");
    ASSERT_EQ(Read(victim, FromHex(State3), &AttributeContainer::ReadIsolatedState), 0);
    EXPECT_FALSE(victim.GetConst()->GetConstActiveAttribute());
    const Attribute lowest = Put(victim, 1, u"Wall", 1);
    EXPECT_EQ(victim.GetConst()->GetConstActiveAttribute(), Reading(lowest));
}

TEST_F(AttributeContainerStreamTest, ClashesAreMendedInOrder) {
    const struct {
        const char* when;
        std::vector<std::pair<UniString, short>> stored;
        Texts read;
        Texts mended;
    } cases[] = {
        {"nothing to mend", {{u"Wall", 3}, {u"Roof", -4}}, {"3 Wall", "-4 Roof"}, {}},
        {"the later one gets the next index",
         {{u"A", 3}, {u"B", 3}, {u"C", 4}, {u"D", 3}},
         {"3 A", "5 B", "4 C", "6 D"},
         {"B 3 > 5", "D 3 > 6"}},
        {"behind the last index from the first", {{u"A", 32766}, {u"B", 32766}}, {"32766 A", "1 B"}, {"B 32766 > 1"}},
        {"an index out of range clashes too", {{u"A", 0}, {u"B", 0}, {u"C", 1}}, {"0 A", "2 B", "1 C"}, {"B 0 > 2"}},
        {"names, letter case ignored",
         {{u"Wall", 1}, {u"WALL", 2}, {u"Wall (1)", 3}, {u"wall", 4}},
         {"1 Wall", "2 WALL (2)", "3 Wall (1)", "4 wall (3)"},
         {"WALL > WALL (2) #2", "wall > wall (3) #4"}},
        {"first indexes, then names",
         {{u"", 1}, {u"", 1}},
         {"1 ", "2 Generated Attribute Name (1)"},
         {" 1 > 2", " > Generated Attribute Name (1) #2"}},
    };
    for (const auto& c : cases) {
        ODB::IdSpace home;
        const Container source = NewContainer(home);
        for (std::size_t number = 0; number < c.stored.size(); ++number)
            Put(source, static_cast<int>(number), u"", 0);
        std::size_t place = 0;
        source->EnumerateAttributes([&](const Attribute& attribute) {
            Mark::State state;
            state.name = c.stored[place].first;
            state.index = c.stored[place++].second;
            attribute->RestoreIsolatedState(&state);
        });
        const std::string stream = Write(source);
        TakeLog();
        ODB::IdSpace other;
        const Container target = NewContainer(other);
        ReadReport report;
        const ReadReport::Scope scope(report);
        ASSERT_EQ(Read(target, stream), 0) << c.when;
        EXPECT_EQ(Keys(target), c.read) << c.when;
        EXPECT_TRUE(IsSound(target) && TakeLog().empty()) << c.when;
        Texts mended;
        for (const ReadReport::Entry& entry : report.GetEntries())
            mended.push_back(
                entry.kind == ReadReport::AttributeRenumbered
                    ? entry.name.ToCStr() + " " + std::to_string(entry.index) + " > " + std::to_string(entry.newIndex)
                    : entry.name.ToCStr() + " > " + entry.newName.ToCStr() + " #" + std::to_string(entry.index));
        EXPECT_EQ(mended, c.mended) << c.when;
    }
}

TEST_F(AttributeContainerStreamTest, MoreAttributesThanIndexesClash) {
    constexpr int count = 32768;
    ODB::IdSpace home;
    const Container source = NewContainer(home);
    Kest::MemoryOChannel channel;
    {
        Kest::OutputFrame frame(channel, *AttributeContainer::GetClassInfoStatic());
        channel.Write(1);
        channel.Write(count);
        for (int number = 0; number < count; ++number)
            ASSERT_EQ(Mark(u"Wall", 5).WriteIsolatedState(channel), 0);
        channel.Write(Kest::Guid());
    }
    ASSERT_EQ(Read(source, {channel.GetBytes(), channel.GetSize()}), 0);
    EXPECT_EQ(source.GetConst()->GetAttributeNumber(), unsigned{count});
    EXPECT_EQ(source.GetConst()->GetAttributeMaximumIndex(), 32766);
    EXPECT_TRUE(source.GetConst()->GetConstAttribute(u"wall (32767)"));
    EXPECT_EQ(TakeLog().size(), 2U);   // two of them share the index 5 with the first
}

TEST_F(AttributeContainerStreamTest, IdsThatAreTakenGiveWayAndReferencesFollow) {
    ODB::IdSpace home;
    const Container first = NewSample(home);
    const Container second = NewContainer(home);
    ASSERT_EQ(Read(second, FromHex(Version3)), 0);
    EXPECT_EQ(Describe(second, false), Describe(first, false));
    EXPECT_EQ(second.GetConst()->GetConstActiveAttribute()->GetConstAttributeContainer(), second);
    EXPECT_EQ(home.GetObjectCount(), 6U);
    EXPECT_TRUE(IsSound(first) && IsSound(second));
}

TEST_F(AttributeContainerStreamTest, ReadingAnnouncesTheActiveAttributeAlone) {
    Add(u"Old", 1);
    SetRecorder recorder;
    set->Attach(recorder);
    ASSERT_EQ(Read(Marks(), FromHex(Version3)), 0);
    EXPECT_EQ(recorder.Take(), Texts{"active 1 Roof \xC3\xA9"});
    const Attribute wall = Get(7);
    EXPECT_EQ(wall->SetName(u"Wand"), 0);
    EXPECT_EQ(recorder.Take(), Texts{"changed 1 Wand: 1"});
    set->Detach(recorder);
}

TEST_F(AttributeContainerStreamTest, IncompleteAttributesAreCompletedInTheContainer) {
    const short type = Register(Draft::RefId, Draft::GetClassInfoStatic(), Kest::Guid(), u"Drafts");
    const Container drafts = NewContainer(space, Draft::RefId);
    ADB::AttributeSet::GetContainerAssociation().Connect(set, drafts);
    SetRecorder recorder;
    set->Attach(recorder);
    ASSERT_EQ(Read(drafts, FromHex(Version3)), 0);
    const Texts heard = {"changed " + std::to_string(type) + " Wall: 3",
                         "changed " + std::to_string(type) + " Roof \xC3\xA9: 3",
                         "active " + std::to_string(type) + " Roof \xC3\xA9"};
    EXPECT_EQ(recorder.Take(), heard);

    // Whoever hears of a completion may delete what is there.
    recorder.act = [&](const std::string&) {
        if (drafts.GetConst()->GetAttributeNumber() == 1)
            drafts->DeleteAttribute(7);
    };
    ASSERT_EQ(Read(drafts, FromHex(Version3)), 0);
    EXPECT_EQ(Keys(drafts), Texts{"2 Roof \xC3\xA9"});
    set->Detach(recorder);
}

TEST_F(AttributeContainerStreamTest, TypeMustBeKnown) {
    const struct {
        const char* when;
        Kest::Guid classId;
        int code;
    } cases[] = {
        {"not registered", {}, ADB::Error::UnknownType},
        {"registered without a class", {}, ADB::Error::UnknownType},
        {"a class that nobody bears", Kest::Guid("{00000000-0000-0000-0000-000000000001}"), ADB::Error::MemoryFull},
        {"a class of other objects", AttributeContainer::GetClassInfoStatic()->GetId(), ADB::Error::WrongCall},
        {"a class without a factory", GeneralAttribute::GetClassInfoStatic()->GetId(), ADB::Error::MemoryFull},
    };
    unsigned int refId = 100;
    for (const auto& c : cases) {
        if (++refId > 101)
            kinds->RegisterAttributeType(refId, {}, c.classId, {}, u"Odd", {}, {}, 0);
        ODB::IdSpace home;
        const Container container = NewContainer(home, refId);
        Put(container, 9, u"Old", 9);
        EXPECT_EQ(Read(container, FromHex(Version3)), c.code) << c.when;
        EXPECT_EQ(container.GetConst()->GetAttributeNumber(), 0U) << c.when;
        EXPECT_EQ(Read(container, FromHex(Empty)), 0) << c.when;   // nothing is asked for
        EXPECT_EQ(home.GetObjectCount(), 1U) << c.when;
    }
}

TEST_F(AttributeContainerStreamTest, LaterVersionsArePassedOver) {
    const struct {
        const char* name;
        std::string_view hex;
        Reader reader;
        char version;
    } cases[] = {
        {"Read", Version3, &AttributeContainer::Read, 4},
        {"Read", Version3, &AttributeContainer::Read, 0},
        {"ReadIsolatedState", State3, &AttributeContainer::ReadIsolatedState, 4},
        {"ReadIsolatedState", State3, &AttributeContainer::ReadIsolatedState, 1},
        {"ReadLumIsolatedState", LumState3, &AttributeContainer::ReadLumIsolatedState, 4},
    };
    for (const auto& c : cases) {
        ODB::IdSpace home;
        const Container container = NewSample(home);
        const std::string before = DescribeFields(container);
        std::string stream = FromHex(c.hex);
        stream[16] = c.version;
        printed.clear();
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(Read(container, Sealed(stream), c.reader), 0);
        EXPECT_EQ(printed, std::string("ADB::AttributeContainer::") + c.name + ": Unsupported object version: (" +
                               std::to_string(c.version) + ", 0)\n");
        EXPECT_TRUE(report.Contains(ReadReport::FrameSkipped));
        const bool isObjectStream = std::strcmp(c.name, "Read") == 0;
        EXPECT_EQ(container.GetConst()->GetAttributeNumber(), isObjectStream ? 0U : 2U);
        EXPECT_EQ(DescribeFields(container) == before, !isObjectStream);
    }
}

// Damage that the checksum tells is refused before anything changes; behind it, what is read is whole or refused.
TEST_F(AttributeContainerStreamTest, DamagedStreamsDoNoHarm) {
    ODB::IdSpace home;
    const Container container = NewSample(home);
    const Texts content = Describe(container);
    const std::string fields = DescribeFields(container);
    ODB::IdSpace other;
    const Container reader = NewContainer(other);
    for (const Fixture& fixture : written) {
        const std::string stream = FromHex(fixture.hex == Version1 ? Version1WithMemos : fixture.hex);
        ForEachDamage(stream, [&](const std::string& damaged, bool isTold, std::size_t position) {
            if (HasFailure())
                return;
            SCOPED_TRACE(testing::Message() << fixture.name << " at " << position);
            if (isTold) {
                EXPECT_NE(Read(container, damaged, ReaderOf(fixture.writer)), 0);
                EXPECT_TRUE(DescribeFields(container) == fields && Describe(container) == content);
                return;
            }
            reader->ResetContainer();
            const std::string before = DescribeFields(reader);
            const int status = Read(reader, damaged, ReaderOf(fixture.writer));
            TakeLog();
            EXPECT_TRUE(IsSound(reader));
            if (status != 0 && fixture.writer == ObjectStream) {
                EXPECT_EQ(other.GetObjectCount(), 1U);
            } else if (status != 0) {
                EXPECT_EQ(DescribeFields(reader), before);
            } else {
                const std::string said = Write(reader, fixture.writer);
                EXPECT_EQ(Read(reader, said, ReaderOf(fixture.writer)), 0);
                EXPECT_EQ(Write(reader, fixture.writer), said);
            }
        });
    }
}

TEST_F(AttributeContainerStreamTest, WithoutMemoryTheContainerIsEmptyOrWhole) {
    ODB::IdSpace source;
    const Container sample = NewSample(source);
    for (int number = 3; number < 40; ++number)
        Put(sample, number, UniString::Printf("Quite a long name %d", number), static_cast<short>(number * 300));
    const std::string stream = Write(sample);
    const Texts whole = Describe(sample);
    ODB::IdSpace home;
    const Container container = NewContainer(home);
    ASSERT_EQ(Read(container, stream), 0);
    container->ResetContainer();   // what stays for the next time is there
    int code = 0;
    const auto readAndReset = [&] {
        code = Read(container, stream);
        const AllocationsSucceed succeed;
        if (code == 0)
            EXPECT_EQ(Describe(container), whole);
        else
            EXPECT_EQ(home.GetObjectCount(), 1U);
        EXPECT_TRUE(IsSound(container));
        container->ResetContainer();
    };
    const auto check = [&](bool failed) { EXPECT_EQ(code, failed ? ADB::Error::MemoryFull : 0); };
    EXPECT_GT(ForEachFailure(readAndReset, check).failures, 100U);
    EXPECT_EQ(ForEachFailure(readAndReset, check).leakedBlocks, 0);   // the room for ids is there now
}

TEST_F(AttributeContainerStreamTest, OldFilesEndWhereTheirLengthSays) {
    std::string file(4, '\0');
    std::vector<int> ends = {4};
    const std::pair<UniString, short> records[] = {{u"Wall", 2}, {u"Roof", 1}, {u"Wand", 2}, {u"Dach", 3}};
    for (const auto& [name, index] : records) {
        const Kest::ClassManager::OutputVersionBlock older(2);
        Kest::MemoryOChannel channel;
        channel.SetProtocolPlatform(PlatformSign::BigEndian);
        ASSERT_EQ(Mark(name, index, index == 1 ? -1 : 0).Write(channel), 0);
        file.append(channel.GetBytes(), channel.GetSize());
        ends.push_back(static_cast<int>(file.size()));
    }
    const struct {
        const char* when;
        int length;
        std::size_t bytes;
        int code;
        Texts read;
    } cases[] = {
        {"all", ends[4], file.size(), 0, {"1 Roof", "2 Wand", "3 Dach"}},
        {"the length ends behind a record", ends[2], file.size(), 0, {"2 Wall", "1 Roof"}},
        {"the length ends inside a record", ends[2] + 1, file.size(), 0, {"1 Roof", "2 Wand"}},
        {"no records", 4, file.size(), 0, {}},
        {"less than the leading number", 1, file.size(), 0, {}},
        {"a negative length", -2147483647 - 1, file.size(), 0, {}},
        {"no leading number", 100, 3, 0, {"9 Old"}},
        {"the file ends too early", ends[4] + 1, file.size(), Kest::ChannelStatus::EndOfData, {}},
        {"a record is cut", ends[4], file.size() - 1, Kest::ChannelStatus::EndOfData, {}},
    };
    for (const auto& c : cases) {
        ODB::IdSpace home;
        const Container container = NewContainer(home);
        Put(container, 9, u"Old", 9);
        ReadReport report;
        const ReadReport::Scope scope(report);
        Kest::MemoryIChannel channel(file.data(), c.bytes);
        EXPECT_EQ(container->LoadAttributeTypeFromFile(channel, c.length, PlatformSign::BigEndian), c.code) << c.when;
        EXPECT_EQ(Keys(container), c.read) << c.when;
        EXPECT_EQ(report.Contains(ReadReport::RecordDropped), c.read == Texts({"1 Roof", "2 Wand", "3 Dach"}) ||
                                                                  c.read == Texts({"1 Roof", "2 Wand"}) || c.code != 0)
            << c.when;
        EXPECT_TRUE(IsSound(container)) << c.when;
    }
    ODB::IdSpace home;
    Kest::MemoryIChannel channel(file.data(), file.size());
    EXPECT_EQ(NewContainer(home, 4711)->LoadAttributeTypeFromFile(channel, 4, PlatformSign::BigEndian),
              ADB::Error::UnknownType);
}

}   // namespace
