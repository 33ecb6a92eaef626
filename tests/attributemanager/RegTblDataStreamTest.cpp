#include <AttributeManager/RegTblData.hpp>

#include <Kest/MemoryChannels.hpp>
#include <Kest/XMLIChannelException.hpp>
#include <Kest/XMLTag.hpp>

#include <gtest/gtest.h>

#include <random>
#include <string>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeManagerException.hpp>
#include <AttributeManager/IRegDataReader.hpp>
#include <AttributeManager/IRegDataWriter.hpp>

#include "modelutilities/MemoTable.hpp"
#include "support/DamagedStreams.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using ADB::RegTblData;
using Kest::PlatformSign;

RegTblData Make(std::string_view bytes) {
    RegTblData data;
    EXPECT_EQ(data.UpdateRegTbl(bytes.data(), static_cast<std::int64_t>(bytes.size())), 0);
    return data;
}

std::string BytesOf(const RegTblData& data) {
    return {data.GetBytes(), data.GetSize()};
}

// A frame with a body, sealed.
std::string Frame(const std::string& body, PlatformSign platform = PlatformSign::LittleEndian) {
    const std::string flags = platform == PlatformSign::BigEndian ? "0001" : "0100";
    return Sealed(FromHex("10C533E3179E4F83A762F415D8B0A0CA 0100" + flags + "0000000000000000" + body + "00000000"),
                  platform);
}

int Read(RegTblData& data, const std::string& bytes, PlatformSign platform = PlatformSign::Unknown) {
    Kest::MemoryIChannel channel(bytes.data(), bytes.size());
    channel.SetProtocolPlatform(platform);
    return data.Read(channel);
}

const std::string Little = "01000000 02000000 5757 0300 10000000 03000000 00000000 616263";
const std::string Big = "00000001 00000002 5757 0003 00000010 00000003 00000000 616263";

TEST(RegTblDataStreamTest, ATableIsTakenWholeOrTheOldOneStays) {
    constexpr PlatformSign unknown = PlatformSign::Unknown;
    const struct {
        const char* when;
        std::string stream;
        PlatformSign platform;
        int status;
        std::string table;   // as hexadecimal digits; empty for the old one
    } cases[] = {
        {"a table", Frame("1B000000" + Little), unknown, 0, Little},
        {"one that is no records at all", Frame("03000000 616263"), unknown, 0, "616263"},
        {"none", Frame("00000000"), unknown, 0, ""},
        {"fewer than none", Frame("FFFFFFFF" + Little), unknown, 0, ""},
        {"more behind it", Frame("1B000000" + Little + "FFFF"), unknown, 0, Little},
        {"a byte more than there are", Frame("1C000000" + Little), unknown, Kest::ChannelStatus::EndOfData, ""},
        {"far more", Frame("FFFFFF7F" + Little), unknown, Kest::ChannelStatus::EndOfData, ""},
        {"no count", Frame("1B0000"), unknown, Kest::ChannelStatus::EndOfData, ""},
        {"big-endian", Frame("0000001B" + Big, PlatformSign::BigEndian), PlatformSign::BigEndian, 0, Little},
        {"big-endian, the last record cut",
         Frame("00000036" + Big + Big.substr(0, Big.size() - 2) + "FF", PlatformSign::BigEndian),
         PlatformSign::BigEndian, 0, Little + Little.substr(0, Little.size() - 2) + "FF"},
        {"another of our byte order", Frame("1B000000" + Little), PlatformSign{0x1234}, 0, Little},
    };
    const std::string old = "old";
    for (const auto& c : cases) {
        RegTblData data = Make(old);
        EXPECT_EQ(Read(data, c.stream, c.platform), c.status) << c.when;
        EXPECT_EQ(ToHex(BytesOf(data)), c.table.empty() ? ToHex(old) : ToHex(FromHex(c.table))) << c.when;
    }
    for (const std::string& table :
         {std::string("1A000000 FFFF"), std::string("0000001A") + Big.substr(0, Big.size() - 2)})
        for (const PlatformSign platform : {PlatformSign::BigEndian, PlatformSign{0x1234}}) {
            RegTblData data = Make(old);
            try {
                EXPECT_NE(Read(data, Frame(table, platform), platform), 0);
            } catch (const ADB::AttributeManagerException& exception) {
                EXPECT_TRUE(exception.GetMessage().IsEmpty());
                EXPECT_EQ(exception.GetFile(), nullptr);
                EXPECT_EQ(exception.GetLine(), 0U);
            }
            EXPECT_EQ(BytesOf(data), old);
        }
}

TEST(RegTblDataStreamTest, WritingGivesTheBytesInAFrame) {
    for (const std::string& table : {std::string(), Little}) {
        const std::string count = table.empty() ? "00000000" : "1B000000";
        Kest::MemoryOChannel channel;
        EXPECT_EQ(Make(FromHex(table)).Write(channel), 0);
        EXPECT_EQ(ToHex({channel.GetBytes(), channel.GetSize()}), ToHex(Frame(count + table)));
    }
}

// Reads or writes the records of owner 7 as an element "Seven".
struct Sevens : ADB::IRegDataWriter, ADB::IRegDataReader {
    bool IsHandled(const ZalUtil::Owner& owner, const char*, int) override { return owner.id1 == 7; }
    bool IsHandled(const ZalUtil::Owner& owner) override { return owner.id1 == 7; }
    void WriteData(Kest::XMLOChannel& channel, const ZalUtil::Owner&, unsigned short, short version, unsigned int,
                   const char* data, int length) override {
        channel.Write("Seven", Kest::UniString::FromUtf8({data, static_cast<std::size_t>(length)}));
        channel.Write("Version", version);
    }
    void ReadData(Kest::XMLIChannel& channel, const ZalUtil::Owner&, short& version, char*** data) override {
        Kest::UniString text;
        channel.Read("Seven", text);
        channel.Read("Version", version);
        if (refuses) {
            BMKillHandle(data);
            return;
        }
        const std::string bytes = text.ToCStr();
        BMReallocHandle(*data, static_cast<std::int64_t>(bytes.size()));
        bytes.copy(**data, bytes.size());
    }

    bool refuses = false;
};

template <class Write>
std::string Written(Write write) {
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, "Doc");
    channel.BeginDocument();
    EXPECT_EQ(write(channel), 0);
    EXPECT_EQ(channel.EndDocument(), 0);
    return sink.TakeText();
}

std::string ByRecords(const RegTblData& data, ADB::IRegDataWriter* writer) {
    return Written([&](Kest::XMLOChannel& channel) { return data.WriteXML(channel, writer); });
}

int ReadByRecords(RegTblData& data, const std::string& document, ADB::IRegDataReader* reader = nullptr) {
    Kest::XMLIChannel channel(document, "Doc");
    return data.ReadXML(channel, reader);
}

// The records as "1.2:platform,version,flags=data".
std::string Describe(const RegTblData& data) {
    std::string text;
    ZalUtil::MemoRecordWalk walk(data.GetBytes(), data.GetSize());
    ZalUtil::MemoRecord record;
    while (walk.Next(record))
        text += std::to_string(record.owner.id1) + '.' + std::to_string(record.owner.id2) + ':' +
                std::to_string(record.platform) + ',' + std::to_string(record.version) + ',' +
                std::to_string(record.flags) + '=' + std::string(record.data, record.length) + ' ';
    return text;
}

std::string Table(const std::string& records) {
    return "<Doc><RegMemoTable><ClassVersion>1.0</ClassVersion><MemoNumber>9</MemoNumber>" + records +
           "</RegMemoTable></Doc>";
}

std::string Record(int id, const std::string& data, int platform = 1) {
    return "<RegMemo><MemoOwnerId1>" + std::to_string(id) +
           "</MemoOwnerId1><MemoOwnerId2>2</MemoOwnerId2><MemoPlatform>" + std::to_string(platform) +
           "</MemoPlatform><MemoFlags>3</MemoFlags>" + data + "</RegMemo>";
}

std::string Data(const std::string& bytes) {
    return "<Data><CDATASize>" + std::to_string(bytes.size()) + "</CDATASize>" + ToHex(bytes) + "</Data>";
}

TEST(RegTblDataStreamTest, TheXMLByRecordsIsThatOfItsFixture) {
    MemoTable table;
    EXPECT_EQ(ZalM_PutRegMData(7, 1, 0x8001, 5, 0xFFFFFFFF, 2, "hi", &table.handle), 0);
    table.Put({1, 2}, "").Put({4294967295U, 0}, "\x01\xFE");
    const RegTblData data = Make(std::string(table.GetText()) + std::string(table.GetText()));   // repeated: not seen
    const std::string head = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Doc>\n\t<RegMemoTable>\n"
                             "\t\t<ClassVersion>1.0</ClassVersion>\n\t\t<MemoNumber>3</MemoNumber>\n\t\t<RegMemo>\n"
                             "\t\t\t<MemoOwnerId1>7</MemoOwnerId1>\n\t\t\t<MemoOwnerId2>1</MemoOwnerId2>\n"
                             "\t\t\t<MemoPlatform>-32767</MemoPlatform>\n\t\t\t<MemoFlags>4294967295</MemoFlags>\n";
    const std::string tail = "\t\t</RegMemo>\n\t\t<RegMemo>\n\t\t\t<MemoOwnerId1>1</MemoOwnerId1>\n"
                             "\t\t\t<MemoOwnerId2>2</MemoOwnerId2>\n\t\t\t<MemoPlatform>22359</MemoPlatform>\n"
                             "\t\t\t<MemoFlags>0</MemoFlags>\n\t\t</RegMemo>\n\t\t<RegMemo>\n"
                             "\t\t\t<MemoOwnerId1>4294967295</MemoOwnerId1>\n\t\t\t<MemoOwnerId2>0</MemoOwnerId2>\n"
                             "\t\t\t<MemoPlatform>22359</MemoPlatform>\n\t\t\t<MemoFlags>0</MemoFlags>\n\t\t\t<Data>\n"
                             "\t\t\t\t<CDATASize>2</CDATASize>\n\t\t\t\t<![CDATA[01FE]]>\n\t\t\t</Data>\n"
                             "\t\t</RegMemo>\n\t</RegMemoTable>\n</Doc>\n";
    const std::string bytes =
        "\t\t\t<Data>\n\t\t\t\t<CDATASize>2</CDATASize>\n\t\t\t\t<![CDATA[6869]]>\n\t\t\t</Data>\n";
    const std::string handled = "\t\t\t<Seven>hi</Seven>\n\t\t\t<Version>5</Version>\n";
    const std::string rest = " 1.2:22359,256,0= 4294967295.0:22359,256,0=\x01\xFE ";
    Sevens sevens;
    EXPECT_EQ(ByRecords(data, nullptr), head + bytes + tail);
    EXPECT_EQ(ByRecords(data, &sevens), head + handled + tail);
    RegTblData read;
    EXPECT_EQ(ReadByRecords(read, head + bytes + tail), 0);
    EXPECT_EQ(Describe(read), "7.1:32769,256,4294967295=hi" + rest);
    read.Delete();
    EXPECT_EQ(ReadByRecords(read, head + handled + tail, &sevens), 0);
    EXPECT_EQ(Describe(read), "7.1:32769,5,4294967295=hi" + rest);
    EXPECT_EQ(ByRecords(RegTblData(), nullptr).find("<RegMemo>"), std::string::npos);
}

TEST(RegTblDataStreamTest, RecordsInXMLAreTakenAllOrNone) {
    Sevens sevens, refusing;
    refusing.refuses = true;
    const int damaged = Kest::ChannelStatus::Damaged;
    const struct {
        const char* when;
        std::string records;
        int status;
        std::string table;
        ADB::IRegDataReader* reader = nullptr;
    } cases[] = {
        {"none", "", 0, ""},
        {"without data", Record(1, ""), 0, "1.2:1,256,3= "},
        {"with data of no bytes", Record(1, Data("")), 0, "1.2:1,256,3= "},
        {"unknown elements behind the known ones", Record(1, Data("a") + "<New><Data/></New>"), 0, "1.2:1,256,3=a "},
        {"repeated owners", Record(1, Data("a")) + Record(2, Data("b")) + Record(1, Data("ccc")), 0,
         "1.2:1,256,3=ccc 2.2:1,256,3=b "},
        {"a platform out of range", Record(1, "") + Record(2, "", 32768), damaged, ""},
        {"damaged data", Record(1, Data("a")) + Record(2, "<Data><CDATASize>2</CDATASize>0G</Data>"), damaged, ""},
        {"data too short", Record(1, "<Data><CDATASize>2</CDATASize>00</Data>"), damaged, ""},
        {"data too long", Record(1, "<Data><CDATASize>1</CDATASize>0000</Data>"), damaged, ""},
        {"a hostile size", Record(1, "<Data><CDATASize>4294967295</CDATASize>00</Data>"), damaged, ""},
        {"something else in place of data", Record(1, "<Seven>x</Seven>"), damaged, ""},
        {"something else in place of a record", Record(1, "") + "<Else/>", damaged, ""},
        {"a reader that finds what it cannot read", Record(7, Data("a")), damaged, "", &sevens},
        {"a reader that refuses", Record(7, "<Seven>x</Seven><Version>2</Version>"), ADB::Error::WrongCall, "",
         &refusing},
    };
    for (const auto& c : cases) {
        RegTblData data;
        EXPECT_EQ(ReadByRecords(data, Table(c.records), c.reader), c.status) << c.when;
        EXPECT_EQ(Describe(data), c.table) << c.when;
    }
}

// Any sequence of records makes the table that putting one after the other makes, whatever was in it before.
TEST(RegTblDataStreamTest, RecordsInXMLArePutOneAfterTheOther) {
    std::mt19937 random(4711);
    for (const bool hasOld : {false, true})
        for (int turn = 0; turn < 200; ++turn) {
            MemoTable model;
            if (hasOld)
                model.Put({2, 2}, "old").Put({30, 2}, "").Put({2, 2}, "o");
            RegTblData data = Make(model.GetText());
            std::string records;
            for (auto count = random() % 40; count > 0; --count) {
                const int id = static_cast<int>(random() % (turn % 2 == 0 ? 6 : 60));
                const std::string bytes(random() % 5, static_cast<char>(random()));
                EXPECT_EQ(ZalM_PutRegMData(static_cast<unsigned int>(id), 2, 1, 256, 3,
                                           static_cast<unsigned int>(bytes.size()), bytes.data(), &model.handle),
                          0);
                records += Record(id, Data(bytes));
            }
            EXPECT_EQ(ReadByRecords(data, Table(records)), 0);
            EXPECT_EQ(ToHex(BytesOf(data)), ToHex(model.GetText())) << "turn " << turn;
        }
}

TEST(RegTblDataStreamTest, TheXMLOfAWholeTableComesBackOrRaises) {
    const std::string bytes = FromHex(Little);
    const std::string document = Written([&](Kest::XMLOChannel& channel) { return Make(bytes).WriteXML(channel); });
    EXPECT_EQ(document, "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Doc>\n\t<RegMemoTable>\n"
                        "\t\t<ClassVersion>1.0</ClassVersion>\n\t\t<Data>\n\t\t\t<CDATASize>27</CDATASize>\n"
                        "\t\t\t<![CDATA[010000000200000057570300100000000300000000000000616263]]>\n"
                        "\t\t</Data>\n\t</RegMemoTable>\n</Doc>\n");
    const auto table = [](const std::string& content) {
        return "<Doc><RegMemoTable><ClassVersion>1.0</ClassVersion>" + content + "</RegMemoTable></Doc>";
    };
    constexpr PlatformSign big = PlatformSign::BigEndian;
    const struct {
        const char* when;
        std::string document;
        std::string outcome;
        PlatformSign platform = PlatformSign::LittleEndian;
    } cases[] = {
        {"a table", document, ToHex(bytes)},
        {"a big-endian table", table(Data(FromHex(Big))), ToHex(bytes), big},
        {"a big-endian table without a record", table(Data("abc")), "AttributeManagerException", big},
        {"no table", Written([](Kest::XMLOChannel& channel) { return RegTblData().WriteXML(channel); }), "6F6C64"},
        {"a table of no bytes", table(Data("")), ""},
        {"damaged digits", table("<Data><CDATASize>1</CDATASize>0G</Data>"), "XMLIChannelException"},
        {"damage behind it", table(Data("a") + "<x></y>"), "-7102"},
        {"another element", table("<Else/>"), "-7102"},
    };
    for (const auto& c : cases) {
        Kest::XMLIChannel channel(c.document, "Doc");
        channel.SetProtocolPlatform(c.platform);
        RegTblData data = Make("old");
        std::string outcome;
        try {
            const int status = data.ReadXML(channel);
            outcome = status != 0 ? std::to_string(status) : ToHex(BytesOf(data));
        } catch (const KestXML::XMLIChannelException& exception) {
            outcome = exception.GetName();
            EXPECT_NE(exception.GetMessage().ToCStr().find("ReadXMLCDATAHexToBin"), std::string::npos);
            EXPECT_STREQ(exception.GetFile(), "ZalAttributes/AttributeManager/RegTblDataXML");
            EXPECT_EQ(exception.GetLine(), 91U);
        } catch (const ADB::AttributeManagerException& exception) {
            outcome = exception.GetName();
        }
        EXPECT_EQ(outcome, c.outcome) << c.when;
        EXPECT_TRUE(outcome == ToHex(BytesOf(data)) || BytesOf(data) == "old") << c.when;
    }
}

TEST(RegTblDataStreamTest, WithoutMemoryNothingIsTakenAndNoDocumentPassesForWhole) {
    std::string records;
    MemoTable many;
    for (int id = 0; id < 30; ++id) {
        records += Record(id % 20, Data("data"));
        many.Put({static_cast<unsigned int>(id), 2}, "data");
    }
    const RegTblData old = Make("old"), written = Make(many.GetText());
    for (const RegTblData& before : {RegTblData(), old}) {
        RegTblData data;
        int status = 0;
        ForEachFailure(
            [&] {
                data = before;
                status = Kest::ChannelStatus::MemoryFull;
                Kest::XMLIChannel channel(Table(records), "Doc");
                status = data.ReadXML(channel, nullptr);
            },
            [&](bool failed) {
                EXPECT_TRUE(failed || status == 0);
                EXPECT_EQ(data.IsSameStorage(before), status != 0);
            });
    }
    ForEachFailure(
        [&] {
            Kest::StringSink sink;
            Kest::XMLOChannel channel(sink, "Doc");
            channel.BeginDocument();
            const int status = written.WriteXML(channel, nullptr);
            EXPECT_EQ(channel.GetStatus(), status);
        },
        [](bool) {});
}

}   // namespace
