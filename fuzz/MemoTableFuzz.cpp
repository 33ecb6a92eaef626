// The table of user data: its stream, and both of its XML forms.
#include <algorithm>

#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <AttributeManager/RegTblData.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

ADB::RegTblData MakeTable() {
    Sticker sticker;
    Fill(sticker, "Wall", 7);
    const std::string stream = Record([&](Kest::OChannel& channel) { return sticker.WriteLumIsolatedState(channel); });
    ADB::RegTblData table;
    table.UpdateRegTbl(stream.data(), static_cast<std::int64_t>(std::min<std::size_t>(stream.size(), 100)));
    return table;
}

std::string WriteXml(const ADB::RegTblData& table, bool wholeTable) {
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, "Table");
    channel.BeginDocument();
    if (wholeTable)
        table.WriteXML(channel);
    else
        table.WriteXML(channel, nullptr);
    Require(channel.EndDocument() == 0, "a table could not be written");
    return sink.TakeText();
}

int ReadXml(ADB::RegTblData& table, const std::string& document, bool wholeTable) {
    Kest::XMLIChannel channel(document, "Table");
    const int status = wholeTable ? table.ReadXML(channel) : table.ReadXML(channel, nullptr);
    return status != 0 ? status : channel.EndDocument();
}

int ReadStream(ADB::RegTblData& table, const std::string& stream, bool isForeign) {
    Kest::MemoryIChannel channel(stream.data(), stream.size());
    if (isForeign)
        channel.SetProtocolPlatform(Kest::PlatformSign::BigEndian);
    return table.Read(channel);
}

void Run(Bytes bytes) {
    if (bytes.empty())
        return;
    const std::uint8_t choice = bytes[0];
    const Bytes rest = bytes.subspan(1);
    ADB::RegTblData table = MakeTable();
    try {
        if (choice % 3 == 0)
            ReadStream(table, MakeStream(rest, {Record([&](Kest::OChannel& out) { return table.Write(out); })}),
                       (choice & 0x80) != 0);
        else
            ReadXml(table, MakeText(rest, {WriteXml(table, choice % 3 == 1)}), choice % 3 == 1);
    } catch (const Kest::KestException&) {   // how these readers refuse
    }
    for (const bool wholeTable : {false, true}) {
        ADB::RegTblData copy;
        Require(ReadXml(copy, WriteXml(table, wholeTable), wholeTable) == 0, "what was written cannot be read");
    }
}

const Registration registration("MemoTable", Run);

}   // namespace
}   // namespace Fuzz
