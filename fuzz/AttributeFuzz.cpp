// The four stream forms of an attribute.
#include <Kest/ClassManager.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

enum Form : std::uint8_t { ObjectStream, State, LumState, Record1, Forms };

struct FieldRecord {
    int leading = 0;
    Kest::UniString name;
    short index = 0;
    short flags = 0;
    int time = 0;
    short reserved1 = 0;
    short reserved2 = 0;
    ADB::RegTblData memo;
};

int ReadRecord(Kest::IChannel& channel, FieldRecord& record) {
    return ADB::GeneralAttribute::ReadVersion1(channel, &record.leading, &record.name, &record.index, &record.flags,
                                               &record.time, &record.reserved1, &record.reserved2, &record.memo);
}

int ReadForm(Form form, ADB::GeneralAttribute& attribute, Kest::IChannel& channel) {
    FieldRecord record;
    switch (form) {
    case ObjectStream:
        return attribute.Read(channel);
    case State:
        return attribute.ReadIsolatedState(channel);
    case LumState:
        return attribute.ReadLumIsolatedState(channel);
    default:
        return ReadRecord(channel, record);
    }
}

int WriteForm(Form form, const ADB::GeneralAttribute& attribute, Kest::OChannel& channel) {
    switch (form) {
    case ObjectStream:
        return attribute.Write(channel);
    case State:
        return attribute.WriteIsolatedState(channel);
    case LumState:
        return attribute.WriteLumIsolatedState(channel);
    default:
        return ADB::GeneralAttribute::WriteVersion1(channel, 0, attribute.GetName(), attribute.GetIndex(),
                                                    attribute.GetFlags(), attribute.GetModificationTime(), 0, 0, {});
    }
}

std::vector<std::string> MakeBases(Form form) {
    Sticker sticker;
    Fill(sticker, "Wall", 7);
    std::vector<std::string> bases;
    for (const int version : {0, 3, 2, 1}) {
        const Kest::ClassManager::OutputVersionBlock older(version);
        bases.push_back(Record([&](Kest::OChannel& channel) { return WriteForm(form, sticker, channel); }));
    }
    return bases;
}

bool HasVersion1(const std::string& stream) {
    return stream.size() > 16 && stream[16] == 1;
}

void Run(Bytes bytes) {
    Input input(bytes);
    const std::uint8_t choice = input.TakeByte();
    const auto form = static_cast<Form>(choice % Forms);
    const std::string stream = MakeStream(bytes.subspan(bytes.empty() ? 0 : 1), MakeBases(form));
    Kest::MemoryIChannel channel(stream.data(), stream.size());
    if ((choice & 0x80) != 0)
        channel.SetProtocolPlatform(Kest::PlatformSign::BigEndian);
    Sticker sticker;
    Fill(sticker, "Before", 3);
    const Sticker before(sticker);
    const ODB::ConstRef<ADB::GeneralAttribute> old(&before);
    if (ReadForm(form, sticker, channel) != 0) {
        Require(HasVersion1(stream) || sticker.Compare(old).IsEmpty(), "a failed read changed the attribute");
        return;
    }
    const std::string written = Record([&](Kest::OChannel& out) { return sticker.Write(out); });
    Kest::MemoryIChannel again(written.data(), written.size());
    Sticker copy;
    Require(copy.Read(again) == 0, "what was written cannot be read");
    Require(copy.Compare(ODB::ConstRef<ADB::GeneralAttribute>(&sticker)).IsEmpty(),
            "reading back gives another content");
}

const Registration registration("Attribute", Run);

}   // namespace
}   // namespace Fuzz
