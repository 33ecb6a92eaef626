#include <AttributeManager/AttributeSet.hpp>

#include <cstdint>

#include <Kest/Frames.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/ReadReport.hpp>

#include "CatchMemoryFull.hpp"
#include "RegisteredTypeId.hpp"
#include "ReportLaterFrame.hpp"
#include "SizeForecast.hpp"
#include "UnsupportedVersion.hpp"
#include "WriteOrFail.hpp"

// Object stream, all versions:
//   count of types (32 bits) | for each type: GUID of its kind | the container's own stream
// Versions 1 and 2 leave out the building materials, version 1 also graphic overrides and operation profiles: the
// systems that read them do not know these types.
//
// Isolated state:
//   4.0   short solid | short empty | short 25 % | short 50 % | short 75 %

namespace ADB {
namespace {

constexpr unsigned int BuildingMaterials = 0x424D4154;   // 'BMAT'
constexpr unsigned int GraphicOverrides = 0x474F5652;    // 'GOVR'
constexpr unsigned int OperationProfiles = 0x45444F50;   // 'EDOP'
constexpr std::size_t LeastEntrySize = 16;               // a GUID: all that is read of an unknown type

bool WasKnownIn(Kest::ClassVersion version, unsigned int refId) {
    if (version < Kest::ClassVersion(2, 0) && (refId == GraphicOverrides || refId == OperationProfiles))
        return false;
    return refId != BuildingMaterials;
}

// Those that a stream carries: a type that is not registered has no GUID to be found by.
template <class IsWanted>
ODB::ConstRefList<AttributeContainer> CollectFilled(const AttributeSet& set, IsWanted&& isWanted) {
    ODB::ConstRefList<AttributeContainer> filled;
    set.EnumerateConstAttributeContainers([&](const ODB::ConstRef<AttributeContainer>& container) {
        const unsigned int refId = container->GetRefId();
        if (isWanted(refId) && container->GetAttributeNumber() != 0 && RegisteredTypeIdOf(refId) != 0)
            filled.Push(container);
    });
    return filled;
}

int WriteContainers(Kest::OChannel& channel, const ODB::ConstRefList<AttributeContainer>& containers) {
    std::size_t total = 0;
    for (const ODB::ConstRef<AttributeContainer>& container : containers)
        total += container->GetAttributeNumber();
    channel.Write(static_cast<std::uint32_t>(containers.GetSize()));
    SizeForecast forecast(channel, total);
    for (const ODB::ConstRef<AttributeContainer>& container : containers) {
        channel.Write(::GetAttributeRegister()->GetTypeGuid(RegisteredTypeIdOf(container->GetRefId())));
        if (const int status = container->Write(channel); status != 0)
            return status;
        forecast.Count(container->GetAttributeNumber());
    }
    return channel.GetStatus();
}

}   // namespace

int AttributeSet::Write(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    const int status = WriteOrFail(channel, [&] {
        return frame.GetVersion().GetMajor() <= 2 ? WriteVersion12(channel, frame) : WriteVersion34(channel);
    });
    const int closed = frame.Close();
    return status != 0 ? status : closed;
}

int AttributeSet::WriteVersion12(Kest::OChannel& channel, const Kest::OutputFrame& frame) const {
    return WriteContainers(
        channel, CollectFilled(*this, [&frame](unsigned int refId) { return WasKnownIn(frame.GetVersion(), refId); }));
}

int AttributeSet::WriteVersion34(Kest::OChannel& channel) const {
    return WriteContainers(channel, CollectFilled(*this, [](unsigned int) { return true; }));
}

int AttributeSet::Read(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetStatus() != 0)
        return frame.GetStatus();
    const Kest::ClassVersion version = frame.GetVersion();
    if (version.GetMajor() < 1 || version.GetMajor() > 4) {
        NoteSkippedFrame("ADB::AttributeSet::Read", *GetClassInfoStatic(), version, 0);
        return frame.Close();
    }
    ReportLaterFrame(*GetClassInfoStatic(), version);
    const int status = CatchMemoryFull([&] { return ReadVersion1234(channel); });
    const int closed = frame.Close();
    return status != 0 ? status : closed;
}

int AttributeSet::ReadVersion1234(Kest::IChannel& channel) {
    ODB::ModificationGate(*this).Close();
    EnumerateAttributeContainers(
        [](const ODB::Ref<AttributeContainer>& container) { container.GetLogicalConst()->ResetContainer(); });

    const IAttributeRegister* const types = ::GetAttributeRegister();
    const ODB::ConstRef<AttributeSet> self(this);
    std::uint32_t count = 0;
    channel.ReadCount(count, LeastEntrySize);
    for (std::uint32_t entry = 0; entry < count; ++entry) {
        Kest::Guid guid;
        if (channel.Read(guid) != 0)
            break;
        if (!self)   // an observer has deleted the set
            return Error::NullArgument;
        const ODB::Ref<AttributeContainer> container =
            GetAttributeContainer(types != nullptr ? types->GetTypeIdByGuid(guid) : short{0});
        if (!container) {   // nothing is skipped: that is how the form has always been read
            if (ReadReport::IsWanted())
                ReadReport::Add({.kind = ReadReport::TypeSkipped, .name = guid.ToText().c_str()});
        } else if (const int status = container.GetLogicalConst()->Read(channel); status != 0) {
            return status;
        }
    }
    return channel.GetStatus();
}

int AttributeSet::WriteIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetVersion().GetMajor() != 4) {
        PrintUnsupportedVersion("ADB::AttributeSet::WriteIsolatedState", frame.GetVersion());
        return frame.Close();
    }
    channel.Write(fills.solid);
    channel.Write(fills.empty);
    channel.Write(fills.percent25);
    channel.Write(fills.percent50);
    channel.Write(fills.percent75);
    return frame.Close();
}

int AttributeSet::ReadIsolatedState(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetStatus() != 0)
        return frame.GetStatus();
    if (frame.GetVersion().GetMajor() != 4) {
        NoteSkippedFrame("ADB::AttributeSet::ReadIsolatedState", *GetClassInfoStatic(), frame.GetVersion(), 0);
        return frame.Close();
    }
    ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
    Fills read;
    channel.Read(read.solid);
    channel.Read(read.empty);
    channel.Read(read.percent25);
    channel.Read(read.percent50);
    channel.Read(read.percent75);
    const int status = frame.Close();
    if (status == 0)
        TakeFills(read);
    return status;
}

int AttributeSet::WriteLumIsolatedState(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    return frame.Close();
}

int AttributeSet::ReadLumIsolatedState(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetStatus() == 0)
        ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
    return frame.Close();
}

}   // namespace ADB
