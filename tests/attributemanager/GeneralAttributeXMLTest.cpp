#include <AttributeManager/GeneralAttribute.hpp>

#include <Kest/MemoryChannels.hpp>
#include <Kest/NamedEnumType.hpp>
#include <Kest/XMLTag.hpp>

#include <AttributeManager/ReadReport.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/DamagedStreams.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using ADB::ReadReport;
using Access = ADB::GeneralAttributeTestAccess;
using FlagNames = KestXML::NamedEnumType<short>;

// A mark that opens the general part and may bring names of its own flags.
class XMLMark : public Mark {
public:
    int WriteXML(Kest::XMLOChannel& channel) const override { return WriteGenAttrXML(channel, flagNames, nullptr); }
    int ReadXML(Kest::XMLIChannel& channel) override { return ReadGenAttrXML(channel, flagNames, nullptr); }

    const FlagNames* flagNames = nullptr;
};

std::string Written(const GeneralAttribute& attribute) {
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, "Doc");
    channel.BeginDocument();
    EXPECT_EQ(attribute.WriteXML(channel), 0);
    EXPECT_EQ(channel.EndDocument(), 0);
    return sink.TakeText();
}

int Read(GeneralAttribute& attribute, const std::string& document, Kest::Array<UniString>* messages = nullptr) {
    Kest::XMLIChannel channel(document, "Doc");
    channel.SetMessages(messages);
    return attribute.ReadXML(channel);
}

std::string StateOf(const GeneralAttribute& attribute) {
    Kest::MemoryOChannel channel;
    EXPECT_EQ(attribute.WriteIsolatedState(channel), 0);
    return {channel.GetBytes(), channel.GetSize()};
}

// The same without identity and checksum.
std::string ContentOf(const GeneralAttribute& attribute) {
    const std::string state = StateOf(attribute);
    return state.substr(72, state.size() - 72 - 4);
}

std::string Document(const std::string& elements) {
    return "<Doc><Id>{00000000-0000-0000-0000-000000000000}</Id>" + elements + "</Doc>";
}

const std::string Memo = "<RegMemoTable><ClassVersion>1.0</ClassVersion><MemoNumber>0</MemoNumber></RegMemoTable>";

std::string WithFlags(const std::string& flags) {
    return Document("<Name>Wall</Name><Index>7</Index>" + flags + "<ModiTime>9</ModiTime>" + Memo);
}

class GeneralAttributeXMLTest : public LogFixture {
protected:
    GeneralAttributeXMLTest() {
        wall.SetName(u"W\u00E4nd & <\u0001>");
        wall.SetIndex(-7);
        wall.SetFlags(0x0140);
        wall.SetModificationTime(776994832);
        SetData(wall, 1, 2, "abc", 0x5757, 256, 16);
        Attribute(&wall).Init(ODB::Id(Kest::Guid("{A1A2A3A4-B1B2-C1C2-D1D2-E1E2E3E4E5E6}")), &space);
        other.SetName(u"Old");
        other.SetIndex(3);
        other.SetFlags(0x0080);
        SetData(other, 9, 9, "old");
    }

    XMLMark wall, other;
};

TEST_F(GeneralAttributeXMLTest, TheDocumentIsThatOfItsFixtureAndComesBack) {
    const std::string document =
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Doc>\n"
        "\t<Id>{A1A2A3A4-B1B2-C1C2-D1D2-E1E2E3E4E5E6}</Id>\n"
        "\t<Name>W\xC3\xA4nd &amp; &lt;\\u0001&gt;</Name>\n\t<Index>-7</Index>\n"
        "\t<Flags>FromPax FromMasterPax</Flags>\n\t<ModiTime>776994832</ModiTime>\n"
        "\t<RegMemoTable>\n\t\t<ClassVersion>1.0</ClassVersion>\n"
        "\t\t<MemoNumber>1</MemoNumber>\n\t\t<RegMemo>\n\t\t\t<MemoOwnerId1>1</MemoOwnerId1>\n"
        "\t\t\t<MemoOwnerId2>2</MemoOwnerId2>\n\t\t\t<MemoPlatform>22359</MemoPlatform>\n"
        "\t\t\t<MemoFlags>16</MemoFlags>\n\t\t\t<Data>\n\t\t\t\t<CDATASize>3</CDATASize>\n"
        "\t\t\t\t<![CDATA[616263]]>\n\t\t\t</Data>\n\t\t</RegMemo>\n\t</RegMemoTable>\n</Doc>\n";
    EXPECT_EQ(Written(wall), document);
    EXPECT_EQ(Read(other, document), 0);
    EXPECT_EQ(ContentOf(other), ContentOf(wall));
}

TEST_F(GeneralAttributeXMLTest, FlagsStandAsNamesOrAsANumber) {
    const FlagNames own(true, {{0x0001, "Hidden"}, {0x0002, "Locked"}});
    const FlagNames others(true, {{0x0001, "Frozen"}});
    const struct {
        int flags;
        const FlagNames* names;
        std::string text;
    } written[] = {
        {0x0000, nullptr, ""},
        {0x01C0, nullptr, "FromPax FromMasterPax ClientCreated"},
        {0x0041, nullptr, "0x41"},
        {0x8040, nullptr, "0x8040"},
        {0x0041, &own, "FromPax Hidden"},
        {0x0003, &own, "Hidden Locked"},
        {0x0041, &others, "FromPax Frozen"},
        {0x0003, &others, "0x3"},
        {0x0041, nullptr, "0x41"},
    };
    for (const auto& c : written) {
        wall.flagNames = other.flagNames = c.names;
        wall.SetFlags(static_cast<short>(c.flags));
        const std::string document = Written(wall);
        EXPECT_NE(document.find("<Flags>" + c.text + "</Flags>"), std::string::npos) << c.text;
        EXPECT_EQ(Read(other, document), 0) << c.text;
        EXPECT_EQ(other.GetFlags(), wall.GetFlags()) << c.text;
    }
    other.flagNames = nullptr;
    other.SetFlags(0x0155);
    const struct {
        std::string text;
        int flags;   // -1: refused
    } read[] = {{"0XFFFF", 0xFFFF},     {" FromPax\n", 0x40}, {"", 0},         {"Hidden", -1},
                {"FromPax Hidden", -1}, {"0x10000", -1},      {"frompax", -1}, {"64", -1}};
    for (const auto& c : read) {
        const std::string before = StateOf(other);
        Kest::Array<UniString> messages;
        const int status = Read(other, WithFlags("<Flags>" + c.text + "</Flags>"), &messages);
        if (c.flags >= 0) {
            EXPECT_EQ(status, 0) << c.text;
            EXPECT_EQ(other.GetFlags() & 0xFFFF, c.flags) << c.text;
            continue;
        }
        EXPECT_EQ(status, ADB::Error::WrongCall) << c.text;
        EXPECT_EQ(StateOf(other), before) << c.text;
        ASSERT_EQ(messages.GetSize(), 1U);
        EXPECT_TRUE(messages[0].ToCStr().starts_with("Invalid value for NamedEnumType: \"" + c.text + "\""));
    }
}

TEST_F(GeneralAttributeXMLTest, MissingFlagsStayAndAreReportedAndNoRecordsMeanNoUserData) {
    ReadReport report;
    const ReadReport::Scope scope(report);
    EXPECT_EQ(Read(other, WithFlags("")), 0);
    EXPECT_EQ(other.GetFlags(), 0x0080);
    EXPECT_FALSE(other.HasMemoData());
    ASSERT_EQ(report.GetEntries().GetSize(), 1U);
    const ReadReport::Entry& entry = report.GetEntries().GetFirst();
    EXPECT_EQ(entry.kind, ReadReport::FlagsMissing);
    EXPECT_EQ(entry.refId, Mark::RefId);
    EXPECT_EQ(entry.name, u"Wall");
    EXPECT_EQ(entry.index, 7);
}

TEST_F(GeneralAttributeXMLTest, ADamagedPartTakesTheUserDataAndNothingElse) {
    const std::string before = StateOf(other);
    other.Destruct();
    const std::string emptied = StateOf(other);
    SetData(other, 9, 9, "old");
    const std::string start = "<Name>Wall</Name><Index>7</Index><Flags/>";
    const std::string table = "<ModiTime>9</ModiTime><RegMemoTable><ClassVersion>1.0</ClassVersion>";
    const std::string damaged[] = {
        "",
        "<Name>Wall</Name>",
        "<Name>Wall</Name><Index>32768</Index>",
        start + "<Other/>",
        start + "<ModiTime>9</ModiTime>",
        start + table + "</RegMemoTable>",
        start + table + "<MemoNumber>1</MemoNumber><RegMemo/></RegMemoTable>",
    };
    for (const std::string& elements : damaged) {
        EXPECT_EQ(Read(other, Document(elements)), Kest::ChannelStatus::Damaged) << elements;
        EXPECT_EQ(StateOf(other), emptied) << elements;
    }
    SetData(other, 9, 9, "old");
    const std::string whole = Written(wall);
    for (std::size_t size = 0; size < whole.size(); ++size)
        try {
            if (Read(other, whole.substr(0, size)) != 0) {
                EXPECT_EQ(StateOf(other), emptied) << size;
                SetData(other, 9, 9, "old");
            } else {   // only what stands behind the part was cut
                EXPECT_GT(size, whole.find("</RegMemoTable>"));
                Read(other, WithFlags(""));
                other.SetName(u"Old");
                other.SetIndex(3);
                other.SetModificationTime(0);
                SetData(other, 9, 9, "old");
            }
        } catch (const KestXML::XMLIChannelException&) {   // cut inside a character or ahead of the root
            EXPECT_EQ(StateOf(other), before) << size;
        }
}

TEST_F(GeneralAttributeXMLTest, AnyNameSurvivesDocumentAndStream) {
    const std::u16string_view lone(u"\xD800", 1);
    const UniString names[] = {
        u"",
        u" \t\r\n ",
        u"\\u0041\\",
        UniString(u"\0\x01\x1F\x7F\uFFFE\uFFFF", 6),
        lone,
        u"\xDC00\xD800",
        u"\u05D0\u202E\u0627",
        u"]]>&<\"'",
        UniString(std::u16string(100000, u'\u00E4')),
        UniString(std::u16string(100000, u'\u0001')),
    };
    for (const UniString& name : names) {
        wall.SetName(name);
        EXPECT_EQ(Read(other, Written(wall)), 0);
        EXPECT_TRUE(other.GetName() == name) << name.ToCStr().substr(0, 20);
        other.Clear();
        const std::string state = StateOf(wall);
        Kest::MemoryIChannel channel(state.data(), state.size());
        EXPECT_EQ(other.ReadIsolatedState(channel), 0);
        EXPECT_TRUE(other.GetName() == name) << name.ToCStr().substr(0, 20);
    }
}

TEST_F(GeneralAttributeXMLTest, WithoutMemoryAtMostTheUserDataGo) {
    const FlagNames own(true, {{0x0001, "AFlagOfThisKindAlone"}});
    wall.SetFlags(0x0041);
    wall.SetName(u"A name that is longer than a short text");
    wall.flagNames = other.flagNames = &own;
    const std::string document = Written(wall), before = StateOf(other), after = ContentOf(wall);
    other.Destruct();
    const std::string emptied = StateOf(other);
    int status = 0;
    const FailureCount count = ForEachFailure(
        [&] {
            status = ADB::Error::MemoryFull;
            Kest::XMLIChannel channel(document, "Doc");
            status = other.ReadXML(channel);
        },
        [&](bool failed) {
            EXPECT_TRUE(failed || status == 0);
            if (status == 0)
                EXPECT_TRUE(ContentOf(other) == after);
            else
                EXPECT_TRUE(StateOf(other) == before || StateOf(other) == emptied);
            Kest::MemoryIChannel channel(before.data(), before.size());
            EXPECT_EQ(other.ReadIsolatedState(channel), 0);
        });
    EXPECT_GT(count.failures, 4U);
}

}   // namespace
