// The stream forms of a container, and old attribute files.
#include <Kest/ClassManager.hpp>
#include <Kest/DebugOutput.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

enum Form : std::uint8_t { ObjectStream, State, LumState, OldFile, Forms };

std::string MakeOldFile() {
    std::string file(4, '\0');
    const Kest::ClassManager::OutputVersionBlock older(2);
    for (const short index : {short{1}, short{2}, short{2}}) {
        Sticker sticker;
        Fill(sticker, "Wall", index);
        file += Record([&](Kest::OChannel& channel) { return sticker.Write(channel); });
    }
    return file;
}

std::vector<std::string> MakeBases(Form form, const ADB::AttributeContainer& container) {
    if (form == OldFile)
        return {MakeOldFile()};
    std::vector<std::string> bases;
    for (const int version : {0, 2, 1}) {
        const Kest::ClassManager::OutputVersionBlock older(version);
        bases.push_back(Record([&](Kest::OChannel& channel) {
            return form == ObjectStream ? container.Write(channel)
                   : form == State      ? container.WriteIsolatedState(channel)
                                        : container.WriteLumIsolatedState(channel);
        }));
    }
    return bases;
}

int ReadForm(Form form, ADB::AttributeContainer& container, const std::string& stream) {
    Kest::MemoryIChannel channel(stream.data(), stream.size());
    switch (form) {
    case ObjectStream:
        return container.Read(channel);
    case State:
        return container.ReadIsolatedState(channel);
    case LumState:
        return container.ReadLumIsolatedState(channel);
    default:
        return container.LoadAttributeTypeFromFile(channel, static_cast<int>(stream.size()),
                                                   Kest::PlatformSign::LittleEndian);
    }
}

void Run(Bytes bytes) {
    if (bytes.empty())
        return;
    DBSetSink([](const Kest::UniString&) {});
    Session session;
    session.AddStickers();
    const auto form = static_cast<Form>(bytes[0] % Forms);
    const ODB::Ref<ADB::AttributeContainer> container = session.GetContainer();
    const std::string stream = MakeStream(bytes.subspan(1), MakeBases(form, *container));
    const int status = ReadForm(form, *container, stream);
    Require(container->CheckInvariants(), "the container is not whole");
    if (status != 0 || form == State || form == LumState)
        return;
    if (form == OldFile)
        container->CheckContainer();   // old files are taken with equal names
    const auto write = [&](Kest::OChannel& out) { return container.GetConst()->Write(out); };
    const std::string written = Record(write);
    Kest::MemoryIChannel again(written.data(), written.size());
    Require(container->Read(again) == 0, "what was written cannot be read");
    Require(Record(write) == written, "reading back gives another content");
}

const Registration registration("Container", Run);

}   // namespace
}   // namespace Fuzz
