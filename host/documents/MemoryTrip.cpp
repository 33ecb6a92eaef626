#include "MemoryTrip.hpp"

#include "Session.hpp"
#include "kinds/KindTable.hpp"

#include <string>
#include <utility>

#include <Kest/ByteSink.hpp>
#include <Kest/MemoryChannels.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLIChannelException.hpp>
#include <Kest/XMLOChannel.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

namespace Host {

namespace {

using SetRef = ODB::ConstRef<ADB::AttributeSet>;

constexpr char DocumentName[] = "AttributeSet";

// The bytes of a set: one stream, or a document for each kind.
using Parts = std::vector<std::string>;

int WriteStream(const SetRef& set, SetForm form, Parts& parts) {
    ADB::AttributeSetStore store;
    if (const int status = store.Update(set, static_cast<int>(form)); status != 0)
        return status;
    Kest::MemoryOChannel channel;
    const int status = store.WriteIsolatedState(channel);
    parts.emplace_back(channel.GetBytes(), channel.GetSize());
    return status;
}

int ReadStream(const Parts& parts, const ODB::Ref<ADB::AttributeSet>& set) {
    ADB::AttributeSetStore store;
    Kest::MemoryIChannel channel(parts.front().data(), parts.front().size());
    const int status = store.ReadIsolatedState(channel);
    return status != 0 ? status : store.Load(set);
}

int WriteDocuments(const SetRef& set, Parts& parts) {
    for (const KindEntry& kind : GetKinds()) {
        Kest::StringSink sink;
        Kest::XMLOChannel channel(sink, DocumentName);
        channel.BeginDocument();
        set->SaveAttributeTypeToXMLFile(channel, TypeIdOf(kind.record.refId));
        if (const int status = channel.EndDocument(); status != 0)
            return status;
        parts.push_back(sink.TakeText());
    }
    return 0;
}

int ReadDocuments(const Parts& parts, const ODB::Ref<ADB::AttributeSet>& set) try {
    short typeId = 0;
    for (const std::string& part : parts) {
        Kest::XMLIChannel channel(part, DocumentName);
        if (const int status = set->LoadAttributeTypeFromXMLFile(channel, ++typeId, Kest::PlatformSign::LittleEndian);
            status != 0)
            return status;
        if (const int status = channel.EndDocument(); status != 0)
            return status;
    }
    return 0;
} catch (const KestXML::XMLIChannelException&) {
    return Kest::ChannelStatus::Damaged;
}

int Write(const SetRef& set, SetForm form, Parts& parts) {
    return form == SetForm::Xml ? WriteDocuments(set, parts) : WriteStream(set, form, parts);
}

int Read(SetForm form, const Parts& parts, const ODB::Ref<ADB::AttributeSet>& set) {
    return form == SetForm::Xml ? ReadDocuments(parts, set) : ReadStream(parts, set);
}

}   // namespace

MemoryTrip MakeMemoryTrip(const SetRef& set, SetForm form) {
    MemoryTrip trip;
    Parts parts;
    trip.writeStatus = Write(set, form, parts);
    for (const std::string& part : parts)
        trip.bytes += part.size();
    if (trip.writeStatus != 0)
        return trip;
    const ScratchSet scratch(ScratchSet::OwnSpace);
    trip.readStatus = Read(form, parts, scratch.GetSet());
    if (trip.readStatus != 0)
        return trip;

    const SetRef copy = scratch.GetSet();
    trip.differences = CompareAttributes(set, copy);
    if (form != SetForm::Xml)
        for (Difference& difference : CompareFills(set, copy))
            trip.differences.push_back(std::move(difference));
    Parts again;
    trip.isRepeatable = Write(copy, form, again) == 0 && again == parts;
    return trip;
}

bool IsExplained(SetForm form, const Difference& difference) noexcept {
    switch (difference.aspect) {
    case Aspect::Attribute:
        return LeavesOut(form, difference.refId);
    case Aspect::Fill:
        return form != SetForm::Xml;
    case Aspect::LinkOrder:
    case Aspect::ActiveAttribute:
    case Aspect::UserDataVersion:
        return form == SetForm::Xml;
    default:
        return false;
    }
}

bool CanBeReadBack(SetForm form) noexcept {
    return form != SetForm::Stream1;
}

}   // namespace Host
