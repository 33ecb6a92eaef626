#include <AttributeManager/GeneralAttribute.hpp>

#include <Kest/MemoryChannels.hpp>

#include <AttributeManager/ReadReport.hpp>
#include <AttributeManager/UserDataConverter.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/DamagedStreams.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using ADB::ReadReport;
using ADB::RegTblData;
using Access = ADB::GeneralAttributeTestAccess;
using Kest::PlatformSign;

enum Form { ObjectStream, State, LumState };

int WriteAs(Form form, const GeneralAttribute& attribute, Kest::OChannel& channel) {
    return form == ObjectStream ? attribute.Write(channel)
           : form == State      ? attribute.WriteIsolatedState(channel)
                                : attribute.WriteLumIsolatedState(channel);
}

int ReadAs(Form form, GeneralAttribute& attribute, Kest::IChannel& channel) {
    return form == ObjectStream ? attribute.Read(channel)
           : form == State      ? attribute.ReadIsolatedState(channel)
                                : attribute.ReadLumIsolatedState(channel);
}

std::string Write(Form form, int system, const GeneralAttribute& attribute) {
    const Kest::ClassManager::OutputVersionBlock version(system);
    Kest::MemoryOChannel channel;
    EXPECT_EQ(WriteAs(form, attribute, channel), 0);
    return {channel.GetBytes(), channel.GetSize()};
}

int Read(Form form, GeneralAttribute& attribute, const std::string& bytes,
         PlatformSign platform = PlatformSign::Unknown) {
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    channel.SetProtocolPlatform(platform);
    return ReadAs(form, attribute, channel);
}

std::string Describe(GeneralAttribute& attribute) {
    const RegTblData& memo = Access::Memo(attribute);
    return attribute.GetName().ToCStr() + " " + std::to_string(attribute.GetIndex()) + " " +
           std::to_string(attribute.GetFlags() & 0xFFFF) + " " + std::to_string(attribute.GetModificationTime()) + " " +
           ToHex({memo.GetBytes(), memo.GetSize()});
}

const std::string Class = "08DE19E5D6A14E65B87A550201F72C02 ";
const std::string ObjectPart =
    "0C2A7B446E0D4E8F9B6B2F1D6B1C7A10 0100 0000 1000000000000000 A1A2A3A4B1B2C1C2D1D2E1E2E3E4E5E6 ";
const std::string LumPart =
    "6C4D1A532E8B4C549E0A7A41C1D7B9F4 0100 0000 1000000000000000 A1A2A3A4B1B2C1C2D1D2E1E2E3E4E5E6 ";
const std::string Table = "01000000 02000000 5757 0300 10000000 03000000 00000000 616263";
const std::string Memo = "10C533E3179E4F83A762F415D8B0A0CA 0100 0000 1F00000000000000 1B000000 [" + Table + "] ";
const std::string FixedName = "57C3A46E64 " + std::string(54, '0');
const std::string Name = "04000000 [5700E4006E006400] ";
const std::string SwappedMemo = "10C533E3179E4F83A762F415D8B0A0CA 0100 0000 000000000000001F 0000001B "
                                "00000001 00000002 5757 0003 00000010 00000003 00000000 616263";

// What reads into the attribute that Prepare makes: everything, or not all of it.
const std::string TableText = ToHex(FromHex(Table));
const std::string OldTable = ToHex(FromHex("09000000 09000000 5757 0100 00000000 03000000 00000000 6F6C64"));
const std::string Old = "Old 3 128 9 " + OldTable;
const std::string Whole = "W\xC3\xA4nd 7 33217 776994832 " + TableText;
const std::string WholeLum = "W\xC3\xA4nd 7 33089 776994832 " + TableText;
const std::string LumWithoutTime = "W\xC3\xA4nd 7 33089 9 " + TableText;

constexpr int ReadOnly = -1;

// Streams as they were written once: never made anew. In brackets what writing gives back as it was read.
const struct Fixture {
    const char* name;
    Form form;
    int system;   // that writes it, or ReadOnly
    std::string hex;
    std::string content;
    PlatformSign platform = PlatformSign::LittleEndian;
} fixtures[] = {
    {"version 1 and a memo", ObjectStream, ReadOnly,
     Class + "0100 0100 6B00000000000000 00000000" + FixedName + "0700 C181 1000502E 0000 0500" + Memo + "0D6AF5B3",
     Whole},
    {"version 2", ObjectStream, 2,
     Class + "0200 0100 8100000000000000 00000000" + ObjectPart + Name + "[0700 C181 1000502E 0500]" + Memo +
         "FAFBA345",
     Whole},
    {"version 3", ObjectStream, 3,
     Class + "0301 0100 8100000000000000 00000000" + LumPart + Name + "[0700 C181 1000502E] 0500" + Memo + "4C115240",
     Whole},
    {"version 4", ObjectStream, 4,
     Class + "0400 0100 7B00000000000000" + LumPart + Name + "[0700 C181 1000502E]" + Memo + "0C5CB31E", Whole},
    {"state 3", State, 3, Class + "0301 0100 2C00000000000000" + LumPart + "00AB5BCF", Old},
    {"state 4", State, 0,
     Class + "0400 0100 7B00000000000000" + LumPart + Name + "[0700 C181]" + Memo + "[1000502E] BD43C198", Whole},
    {"collaboration 2.0", LumState, 2,
     Class + "0200 0100 5100000000000000 00000000" + Name + "[0700] 41[81] 0000" + Memo + "8D9DDDC2", LumWithoutTime},
    {"collaboration 3.0", LumState, ReadOnly,
     Class + "0300 0100 5100000000000000 00000000" + Name + "[0700] 41[81] 0000" + Memo + "E343CAC8", LumWithoutTime},
    {"collaboration 3.1", LumState, 3,
     Class + "0301 0100 5500000000000000 00000000" + Name + "[0700] 41[81] 0000" + Memo + "[1000502E] 39304F97",
     WholeLum},
    {"collaboration 4", LumState, 4,
     Class + "0400 0100 4F00000000000000" + Name + "[0700] 41[81]" + Memo + "[1000502E] 3D691BCA", WholeLum},
    {"version 1 of a big-endian system", ObjectStream, ReadOnly,
     Class + "0100 0001 000000000000006B 00000000 578A6E64" + std::string(56, '0') + "0007 81C1 2E500010 0000 0005" +
         SwappedMemo + "8F343563",
     Whole, PlatformSign::BigEndian},
    {"version 4 of a big-endian system", ObjectStream, ReadOnly,
     Class +
         "0400 0001 000000000000007B 6C4D1A532E8B4C549E0A7A41C1D7B9F4 0100 0000 0000000000000010"
         "A1A2A3A4B1B2C1C2D1D2E1E2E3E4E5E6 00000004 005700E4006E0064 0007 81C1 2E500010" +
         SwappedMemo + "B82FD2C0",
     Whole, PlatformSign::BigEndian},
};

class GeneralAttributeStreamTest : public LogFixture {
protected:
    GeneralAttributeStreamTest() {
        Attribute(&wall).Init(ODB::Id(Kest::Guid("{A1A2A3A4-B1B2-C1C2-D1D2-E1E2E3E4E5E6}")), &space);
        EXPECT_EQ(Read(ObjectStream, wall, FromHex(fixtures[1].hex)), 0);   // the version that brings reservedShort
    }

    static void Prepare(GeneralAttribute& attribute) {
        attribute.SetName(u"Old");
        attribute.SetIndex(3);
        attribute.SetFlags(GeneralAttribute::ClientCreated);
        attribute.SetModificationTime(9);
        attribute.DeleteUserData(1, 2);
        SetData(attribute, 9, 9, "old");
    }

    Mark wall;   // what the fixtures hold
};

TEST_F(GeneralAttributeStreamTest, EveryVersionKeepsItsBytes) {
    EXPECT_EQ(Describe(wall), Whole);
    for (const Fixture& fixture : fixtures) {
        if (fixture.system != ReadOnly) {
            EXPECT_EQ(ToHex(Write(fixture.form, fixture.system, wall)), ToHex(FromHex(fixture.hex))) << fixture.name;
        }
        Mark read;
        Prepare(read);
        EXPECT_EQ(Read(fixture.form, read, FromHex(fixture.hex), fixture.platform), 0) << fixture.name;
        EXPECT_EQ(Describe(read), fixture.content) << fixture.name;
    }
    const std::string empty = Write(ObjectStream, 0, Mark(u"Bare"));
    EXPECT_EQ(ToHex(empty).substr(2 * (empty.size() - 16), 24), "04000000000000000000"
                                                                "0000");
}

// Whatever was damaged: a code and nothing changed, or what the bytes say.
TEST_F(GeneralAttributeStreamTest, DamagedStreamsChangeNothingOrAreReadAsTheyStand) {
    for (const Fixture& fixture : fixtures) {
        const std::vector<bool> carried = MarkedBytes(fixture.hex);
        const std::string whole = FromHex(fixture.hex);
        for (const Damage damage : {Damage::Plain, Damage::Repaired}) {
            const auto read = [&](const std::string& bytes, std::size_t position) {
                Mark attribute, again;
                Prepare(attribute);
                Prepare(again);
                Access::Memo(attribute) = Access::Memo(again);
                const int status = Read(fixture.form, attribute, bytes, fixture.platform);
                const std::string content = Describe(attribute);
                if (status != 0) {
                    const bool isVersion1 = bytes.size() > 16 && bytes[16] == 1 && fixture.form == ObjectStream;
                    EXPECT_TRUE(content == Old || (isVersion1 && content.ends_with(OldTable))) << fixture.name;
                } else if (damage == Damage::Plain) {
                    EXPECT_EQ(content, fixture.content) << fixture.name << ' ' << position;
                } else {
                    EXPECT_EQ(Read(fixture.form, again, bytes, fixture.platform), 0);
                    EXPECT_EQ(content, Describe(again)) << fixture.name << ' ' << position;
                }
                if (damage == Damage::Plain || position >= carried.size() || !carried[position])
                    return;
                EXPECT_EQ(status, 0) << fixture.name << ' ' << position;
                if (fixture.system == ReadOnly)
                    return;
                const std::string written = Write(fixture.form, fixture.system, attribute);
                for (std::size_t place = 0; place < std::min(written.size(), bytes.size()); ++place)
                    EXPECT_TRUE(!carried[place] || written[place] == bytes[place]) << fixture.name << ' ' << place;
            };
            ForEachTruncation(whole, damage, fixture.platform,
                              [&](const std::string& bytes) { read(bytes, whole.size()); });
            ForEachBitFlip(whole, damage, fixture.platform, read);
        }
    }
}

TEST_F(GeneralAttributeStreamTest, FramesOfLaterVersionsArePassedOverAndReported) {
    for (const Fixture& fixture : fixtures) {
        std::string later = FromHex(fixture.hex);
        later[16] = 5;
        later = Sealed(std::move(later), fixture.platform) + "next";
        Kest::MemoryIChannel channel(later.data(), later.size());
        channel.SetProtocolPlatform(fixture.platform);
        if (fixture.form == State)   // its part comes first in any version
            continue;
        ReadReport report;
        const ReadReport::Scope scope(report);
        Mark read;
        Prepare(read);
        EXPECT_EQ(ReadAs(fixture.form, read, channel), 0) << fixture.name;
        EXPECT_EQ(Describe(read), Old) << fixture.name;
        EXPECT_EQ(channel.GetPosition() + 4, later.size()) << fixture.name;
        ASSERT_EQ(report.GetEntries().GetSize(), 1U) << fixture.name;
        const ReadReport::Entry& entry = report.GetEntries().GetFirst();
        EXPECT_EQ(entry.kind, ReadReport::FrameSkipped);
        EXPECT_STREQ(entry.className, "ADB::GeneralAttribute");
        EXPECT_EQ(entry.version.GetMajor(), 5);
    }
}

TEST_F(GeneralAttributeStreamTest, ARecordWithoutUserDataLeavesThoseThereAre) {
    for (const int system : {2, 3, 4}) {
        Mark read;
        Prepare(read);
        EXPECT_EQ(Read(ObjectStream, read, Write(ObjectStream, system, Mark(u"Bare", 8))), 0);
        EXPECT_EQ(Describe(read), "Bare 8 0 0 " + OldTable);
    }
}

TEST_F(GeneralAttributeStreamTest, OfVersion1WithoutItsMemoTheRestIsTaken) {
    const std::string bytes = Write(ObjectStream, 1, wall);
    EXPECT_EQ(ToHex(bytes), ToHex(FromHex(Class + "0100 0100 3000000000000000 00000000" + FixedName +
                                          "0700 C181 1000502E 0000 0500 51898529")));
    Mark read;
    Prepare(read);
    EXPECT_EQ(Read(ObjectStream, read, bytes), Kest::ChannelStatus::EndOfData);
    EXPECT_EQ(Describe(read), "W\xC3\xA4nd 7 33217 776994832 " + OldTable);
}

// The fields of a record of version 1.
struct Record {
    int leading = 4;
    UniString name = u"Old";
    short index = 3;
    short flags = 2;
    int time = 1;
    short reserved1 = -1;
    short reserved2 = -2;
    RegTblData memo;

    int Read(const std::string& bytes) {
        Kest::MemoryIChannel channel(bytes.data(), bytes.size());
        return GeneralAttribute::ReadVersion1(channel, &leading, &name, &index, &flags, &time, &reserved1, &reserved2,
                                              &memo);
    }
    std::string Write() const {
        Kest::MemoryOChannel channel;
        EXPECT_EQ(
            GeneralAttribute::WriteVersion1(channel, leading, name, index, flags, time, reserved1, reserved2, memo), 0);
        return {channel.GetBytes(), channel.GetSize()};
    }
};

TEST_F(GeneralAttributeStreamTest, ARecordOfVersion1ReadsBackByItsFields) {
    const Record stored{0, u"W\u00E4nd", 7, static_cast<short>(0x81C1), 776994832, 0, 5, Access::Memo(wall)};
    const std::string bytes = stored.Write();
    EXPECT_EQ(ToHex(bytes), ToHex(FromHex(fixtures[0].hex)));
    const Record untouched;
    const auto read = [&](const std::string& damaged, std::size_t = 0) {
        Record found;
        if (found.Read(damaged) != 0) {
            EXPECT_EQ(found.Write(), untouched.Write());
        }
    };
    for (const Damage damage : {Damage::Plain, Damage::Repaired}) {
        ForEachTruncation(bytes, damage, PlatformSign::LittleEndian, read);
        ForEachBitFlip(bytes, damage, PlatformSign::LittleEndian, read);
    }
    Record found;
    EXPECT_EQ(found.Read(bytes), 0);
    EXPECT_EQ(found.Write(), bytes);
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    EXPECT_EQ(GeneralAttribute::ReadVersion1(channel, nullptr, &found.name, &found.index, &found.flags, &found.time,
                                             &found.reserved1, &found.reserved2, &found.memo),
              ADB::Error::NullArgument);
    EXPECT_EQ(channel.GetPosition(), 0U);
}

TEST_F(GeneralAttributeStreamTest, NamesOfVersion1AreCutToThirtyTwoBytes) {
    const auto repeat = [](const std::string& text, int count) {
        std::string repeated;
        for (int turn = 0; turn < count; ++turn)
            repeated += text;
        return repeated;
    };
    const struct {
        std::string name;
        short index;
        std::string stored;
    } cases[] = {
        {"", 1, ""},
        {repeat("a", 31), 12, repeat("a", 31)},
        {repeat("a", 32), 12, repeat("a", 27) + "#0012"},
        {repeat("a", 100000), 32000, repeat("a", 26) + "#32000"},
        {repeat("a", 32), -1, repeat("a", 27) + "#-001"},
        {repeat("\xC3\xA4", 16), 1, repeat("\xC3\xA4", 16)},
        {repeat("\xE2\x82\xAC", 20), 1, repeat("\xE2\x82\xAC", 10)},
        {repeat("\xE2\x82\xAC", 32), -32768, repeat("\xE2\x82\xAC", 8) + "#-32768"},
        {repeat("\xF0\x9F\x98\x80", 16), 5, repeat("\xF0\x9F\x98\x80", 6) + "#0005"},
    };
    for (const auto& c : cases) {
        Record record;
        record.name = UniString::FromUtf8(c.name);
        record.index = c.index;
        const std::string bytes = record.Write();
        std::string field = c.stored;
        field.resize(32);
        EXPECT_EQ(bytes.substr(Kest::FrameHeaderSize + 4, 32), field) << c.name.substr(0, 40);
        Record found;
        EXPECT_EQ(found.Read(bytes), 0);
        EXPECT_EQ(found.name, UniString::FromUtf8(c.stored));
    }
}

TEST_F(GeneralAttributeStreamTest, AForeignTableWithoutARecordIsRefused) {
    std::string bytes = FromHex(fixtures[11].hex);
    bytes[bytes.size() - 4 - 27 + 16] = 1;   // a data length that reaches far behind the table
    bytes = Sealed(std::move(bytes), PlatformSign::BigEndian);
    Mark read;
    Prepare(read);
    EXPECT_EQ(Read(ObjectStream, read, bytes, PlatformSign::BigEndian), ADB::Error::WrongCall);
    EXPECT_EQ(Describe(read), Old);
}

class ShoutConverter : public GeneralAttribute::UserDataConverter {
public:
    ShoutConverter() : UserDataConverter(1, 2, 0) { SetOutputPlanVersion(9); }
    ~ShoutConverter() override { SetOutputPlanVersion(0); }
    bool ConvertUserData(Reading, unsigned short&, short&, unsigned int&, char**& data) override {
        std::copy_n("ABC", 3, *data);
        return true;
    }
};

TEST_F(GeneralAttributeStreamTest, OnlyObjectStreamsConvertUserDataForAnOlderPlan) {
    const ShoutConverter converter;
    for (const Fixture& fixture : fixtures) {
        if (fixture.system == ReadOnly || fixture.content == Old)
            continue;
        const bool converts = Write(fixture.form, fixture.system, wall).find("ABC") != std::string::npos;
        EXPECT_EQ(converts, fixture.form == ObjectStream) << fixture.name;
        const FailureCount count = ForEachFailure(
            [&] {
                const Kest::ClassManager::OutputVersionBlock version(fixture.system);
                Kest::MemoryOChannel channel;
                const int status = WriteAs(fixture.form, wall, channel);
                EXPECT_EQ(channel.GetStatus(), status);
            },
            [](bool) {});
        EXPECT_EQ(count.leakedBlocks, 0) << fixture.name;
    }
    EXPECT_EQ(Describe(wall), Whole);
}

TEST_F(GeneralAttributeStreamTest, AStoredContentIsUnconvertedAndEmptiesWhatWasEmpty) {
    const ShoutConverter converter;
    Mark restored(u"Old");
    SetData(restored, 9, 9, "old");
    for (const bool isEmptied : {false, true}) {
        if (isEmptied)
            wall.Destruct();
        const std::string before = Describe(wall);
        Kest::ObjectState state;
        EXPECT_EQ(wall.Store(state), 0);
        EXPECT_EQ(restored.Restore(state), 0);
        EXPECT_EQ(Describe(restored), before);
        EXPECT_EQ(GeneralAttribute::UserDataConverter::GetOutputPlanVersion(), 9) << "left as it was";
    }
}

TEST_F(GeneralAttributeStreamTest, IdsFollowFromKindNameIndexFlagsAndUserData) {
    const auto idOf = [this](auto change) {
        Mark other;
        Read(State, other, Write(State, 0, wall));
        change(other);
        return other.GenerateIdFromContent();
    };
    const ODB::Id id = wall.GenerateIdFromContent();
    EXPECT_EQ(id, idOf([](Mark&) {}));
    EXPECT_EQ(id, idOf([](Mark& mark) { mark.SetClientCreated(false); }));
    EXPECT_EQ(id, idOf([](Mark& mark) { mark.SetModificationTime(1); }));
    EXPECT_NE(id, idOf([](Mark& mark) { mark.SetName(u"WAND"); }));
    EXPECT_NE(id, idOf([](Mark& mark) { mark.SetIndex(8); }));
    EXPECT_NE(id, idOf([](Mark& mark) { mark.SetFlags(1); }));
    EXPECT_NE(id, idOf([](Mark& mark) { mark.DeleteUserData(1, 2); }));
}

class GeneralAttributeReadingTest : public ContainerFixture {};

TEST_F(GeneralAttributeReadingTest, InAContainerAllIsTakenAndFoundOrNothingWhenMemoryEnds) {
    Mark source(u"A name that is longer than a short text", 40, 0, 5);
    SetData(source, 1, 2, "some data");
    const std::string expected = Describe(source);
    for (const Form form : {ObjectStream, State, LumState}) {
        const std::string bytes = Write(form, 0, source);
        const Attribute mark = Add(u"Another name that is long enough", 2);
        SetData(*mark, 3, 4, "other data");
        const std::string before = Describe(*mark);
        const std::string beforeBytes = Write(State, 0, *mark);
        Recorder recorder;
        mark->Attach(recorder);
        int status = 0;
        ForEachFailure([&] { status = Read(form, *mark, bytes); },
                       [&](bool failed) {
                           EXPECT_TRUE(failed || status == 0);
                           EXPECT_EQ(Describe(*mark), status == 0 ? expected : before);
                           EXPECT_EQ(static_cast<bool>(marks.GetConst()->GetConstAttribute(source.GetName())),
                                     status == 0);
                           EXPECT_TRUE(IsSound());
                           EXPECT_EQ(Read(State, *mark, beforeBytes), 0);
                       });
        EXPECT_EQ(recorder.Take(), Texts{});
        mark->Detach(recorder);
        ODB::Database::DeleteObject(mark);
    }
}

}   // namespace
