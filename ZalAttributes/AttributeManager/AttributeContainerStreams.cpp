#include <Kest/Frames.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/ReadReport.hpp>

#include "AttributeIndexTables.hpp"
#include "CatchMemoryFull.hpp"
#include "ContainerFilling.hpp"
#include "ReportLaterFrame.hpp"
#include "SizeForecast.hpp"
#include "UnsupportedVersion.hpp"
#include "WriteOrFail.hpp"

// Object stream, by the version of its frame. Numbers and orders are fixed for ever.
//   1, 2, 3   int largest index | int count | count attributes | reference active attribute
// A count below 1 ends the body. Attributes write their object streams up to 2.0, their isolated states from 2.1 on.
namespace ADB {
namespace {

constexpr Kest::ClassVersion FirstWithStates(2, 1);

bool IsSupported(Kest::ClassVersion version) {
    return version.GetMajor() >= 1 && version.GetMajor() <= 3;
}

bool IsLeftOut(const GeneralAttribute& attribute, short flagFilter) {
    return flagFilter != 0 && attribute.IsSameFlags(flagFilter);
}

int CountUnfiltered(const AttributeContainer& container, short flagFilter) {
    if (flagFilter == 0)
        return static_cast<int>(container.GetAttributeNumber());
    int count = 0;
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(),
                                              ODB::ConstRef<AttributeContainer>(&container));
    while (const ODB::ObjectInfo* const record = walk.Next())
        count += IsLeftOut(AttributeOf(*record), flagFilter) ? 0 : 1;
    return count;
}

}   // namespace

int AttributeContainer::Write(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    int status = Error::None;
    if (IsSupported(frame.GetVersion()))
        status = WriteOrFail(channel, [&] { return WriteVersion12(channel, frame, 0); });
    else
        PrintUnsupportedVersion("ADB::AttributeContainer::Write", frame.GetVersion());
    const int closing = frame.Close();
    return status != 0 ? status : closing;
}

int AttributeContainer::WriteVersion12(Kest::OChannel& channel, const Kest::OutputFrame& frame,
                                       short flagFilter) const {
    const int count = CountUnfiltered(*this, flagFilter);
    channel.Write(int{GetAttributeMaximumIndex()});
    channel.Write(count);
    if (count < 1)
        return channel.GetStatus();

    const bool asStates = frame.GetVersion() >= FirstWithStates;
    SizeForecast forecast(channel, static_cast<std::size_t>(count));
    ODB::Association1NUntyped::RightWalk written(GetAttributeAssociation(), ODB::ConstRef<AttributeContainer>(this));
    while (const ODB::ObjectInfo* const record = written.Next()) {
        const GeneralAttribute& attribute = AttributeOf(*record);
        if (IsLeftOut(attribute, flagFilter))
            continue;
        if (const int status = asStates ? attribute.WriteIsolatedState(channel) : attribute.Write(channel); status != 0)
            return status;
        forecast.Count(1);
    }
    return activeAttribute.WriteRef(channel);
}

int AttributeContainer::Read(Kest::IChannel& channel) {
    return CatchMemoryFull([&] {
        Kest::InputFrame frame(channel, *GetClassInfoStatic());
        if (frame.GetStatus() != 0)
            return frame.GetStatus();
        ResetContainer();
        if (!IsSupported(frame.GetVersion())) {
            NoteSkippedFrame("ADB::AttributeContainer::Read", *GetClassInfoStatic(), frame.GetVersion(), refId);
            return frame.Close();
        }
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
        const int status = ReadVersion12(channel, frame);
        const int closing = frame.Close();
        return status != 0 ? status : closing;
    });
}

int AttributeContainer::ReadVersion12(Kest::IChannel& channel, const Kest::InputFrame& frame) {
    int count = 0;
    channel.Skip<int>();   // the largest index follows from the attributes
    if (channel.Read(count) != 0 || count < 1)
        return channel.GetStatus();
    ContainerFilling filling(*this);
    if (const int status = filling.FindKind(); status != 0)
        return status;
    filling.Expect(count);
    const bool asStates = frame.GetVersion() >= FirstWithStates;
    const auto readOne = [&channel, asStates](GeneralAttribute& attribute) {
        const int status = asStates ? attribute.ReadIsolatedState(channel) : attribute.Read(channel);
        return status != 0 ? status : channel.GetStatus();
    };
    for (int place = 0; place < count; ++place)
        if (const int status = filling.Add(readOne); status != 0)
            return status;
    if (const int status = filling.ConnectAll(); status != 0)
        return status;

    ODB::Ref<GeneralAttribute> active;
    if (const int status = ReadActiveAttribute(channel, active); status != 0)
        return status;
    filling.Keep();
    SetActiveAttribute(active);   // one that is not ours leaves the choice open
    return Error::None;
}

int AttributeContainer::ReadActiveAttribute(Kest::IChannel& channel, ODB::Ref<GeneralAttribute>& active) const {
    if (const int status = active.ReadRef(channel, GetIdSpace()); status != 0)
        return status;
    const ODB::Id& id = active.GetId();
    if (!id.IsNull() && !Owns(active) && ReadReport::IsWanted())
        ReadReport::Add({.kind = ReadReport::ReferenceWithoutTarget,
                         .refId = refId,
                         .name = Kest::UniString::FromUtf8(id.GetGuid().ToText())});
    return Error::None;
}

}   // namespace ADB
