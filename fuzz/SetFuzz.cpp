// The streams of an attribute set.
#include <Kest/ClassManager.hpp>
#include <Kest/DebugOutput.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

std::vector<std::string> MakeBases(const ADB::AttributeSet& set) {
    std::vector<std::string> bases;
    for (const int version : {0, 3, 2, 1}) {
        const Kest::ClassManager::OutputVersionBlock older(version);
        bases.push_back(Record([&](Kest::OChannel& channel) { return set.Write(channel); }));
    }
    return bases;
}

void Run(Bytes bytes) {
    DBSetSink([](const Kest::UniString&) {});
    Session session;
    session.AddStickers();
    const ODB::Ref<ADB::AttributeSet>& set = session.GetSet();
    const std::string stream = MakeStream(bytes, MakeBases(*set));
    for (const bool isState : {true, false}) {
        Kest::MemoryIChannel channel(stream.data(), stream.size());
        const int status = isState ? set->ReadIsolatedState(channel) : set->Read(channel);
        Require(set->CheckInvariants(), "the set is not whole");
        if (status != 0 || isState)
            continue;
        const auto write = [&](Kest::OChannel& out) { return set.GetConst()->Write(out); };
        const std::string written = Record(write);
        Kest::MemoryIChannel again(written.data(), written.size());
        Require(set->Read(again) == 0, "what was written cannot be read");
        Require(Record(write) == written, "reading back gives another content");
    }
}

const Registration registration("Set", Run);

}   // namespace
}   // namespace Fuzz
