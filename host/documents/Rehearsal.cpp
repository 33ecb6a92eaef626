#include "Rehearsal.hpp"

#include "DebugCapture.hpp"
#include "Failure.hpp"
#include "LogSilence.hpp"
#include "StatusText.hpp"
#include "output/SafeText.hpp"

#include <string_view>

#include <Kest/MemoryChannels.hpp>

#include <AttributeManager/DumpDelta.hpp>

namespace Host {

namespace {

void Require(int status, const char* what) {
    if (status != 0)
        throw Failure(std::string("the change cannot be ") + what + ": " + TextOfStatus(status));
}

// Contents, identities and the order of links: all that a state is.
std::string WriteBytes(const ODB::Ref<ADB::AttributeSet>& set) {
    Kest::MemoryOChannel channel;
    Require(set.GetConst()->Write(channel), "compared");
    return std::string(channel.GetBytes(), channel.GetSize());
}

// The library lists deltas for its developers; here the user asked for it.
std::string ListDelta(const ODB::Delta& delta) {
    std::string lines;
    const DebugCapture listing;
    const LogSilence log;
    ADB::DumpDelta(u"zalattributes", delta, ODB::Delta::WithoutStates, true);
    for (const Kest::UniString& line : listing.GetTexts()) {
        std::u16string_view text(line.GetView());
        const bool isItem = text.starts_with(u'\t');
        text.remove_prefix(isItem ? 1 : 0);
        text.remove_suffix(text.ends_with(u'\n') ? 1 : 0);
        lines += (isItem ? "    " : "  ") + ReplaceControls(text) + '\n';
    }
    return lines;
}

}   // namespace

Rehearsal::Rehearsal(const ODB::Ref<ADB::AttributeSet>& rehearsedSet)
    : set(rehearsedSet),
      before(WriteBytes(rehearsedSet)),
      recorder(rehearsedSet.GetIdSpace()) {}

std::string Rehearsal::Finish(const Kest::UniString& title) {
    ODB::Delta forward(title, set.GetIdSpace());
    ODB::Delta back(title, set.GetIdSpace());
    Require(recorder.CreateDeltas(&forward, &back), "listed");
    const std::string after = WriteBytes(set);
    const std::string listing = ListDelta(forward);

    Require(set.GetLogicalConst()->ApplyDelta(back), "taken back");
    const bool wasUndone = WriteBytes(set) == before;
    Require(set.GetLogicalConst()->ApplyDelta(forward), "made again");
    if (!wasUndone || WriteBytes(set) != after)
        throw Failure("the change was taken back and made again, but the set is not what it was: please report this");
    return listing + "taken back and made again: each time the set was the same, byte by byte\n";
}

}   // namespace Host
