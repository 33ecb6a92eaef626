// The state of a store, and loading what it holds.
#include <Kest/DebugOutput.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

#include "FrameTree.hpp"
#include "FuzzTarget.hpp"
#include "Stickers.hpp"

namespace Fuzz {
namespace {

void Run(Bytes bytes) {
    DBSetSink([](const Kest::UniString&) {});
    Session session;
    session.AddStickers();
    const ODB::Ref<ADB::AttributeSet>& set = session.GetSet();
    ADB::AttributeSetStore store;
    Require(store.Update(set, 0) == 0, "the store takes no set");
    const auto write = [&](Kest::OChannel& channel) { return store.WriteIsolatedState(channel); };
    const std::string before = Record(write);
    const std::string stream = MakeStream(bytes, {before});
    Kest::MemoryIChannel channel(stream.data(), stream.size());
    if (store.ReadIsolatedState(channel) != 0) {
        Require(Record(write) == before, "a failed read changed the store");
        return;
    }
    const int status = store.Load(set);
    Require(set->CheckInvariants(), "the set is not whole");
    if (status == 0) {
        Require(store.Update(set, 0) == 0, "the store takes no set");
        Require(store.Load(set) == 0, "what was stored cannot be loaded");
    }
}

const Registration registration("Store", Run);

}   // namespace
}   // namespace Fuzz
