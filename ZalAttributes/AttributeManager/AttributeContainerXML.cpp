#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeIterator.hpp>
#include <AttributeManager/ReadReport.hpp>

#include "CatchMemoryFull.hpp"
#include "ContainerFilling.hpp"
#include "WriteOrFail.hpp"

namespace ADB {
namespace {

constexpr Kest::XMLName TypeElement = "Attributes";
constexpr Kest::XMLName NameElement = "Type";
constexpr Kest::XMLName RefIdElement = "RefID";
constexpr Kest::XMLName AttributeElement = "Attribute";

int WriteAttribute(Kest::XMLOChannel& channel, const GeneralAttribute& attribute) {
    channel.OpenTag(AttributeElement);
    if (const int status = attribute.WriteXML(channel); status != 0)
        return status;
    return channel.CloseTag();
}

}   // namespace

int AttributeContainer::WriteXML(Kest::XMLOChannel& channel) const {
    return WriteOrFail(channel, [&] {
        AttributeConstIterator walk(ODB::ConstRef<AttributeContainer>(this), SortByIndex, Ascending);
        for (; walk != AttributeEnd(); ++walk)
            if (const int status = WriteAttribute(channel, **walk); status != 0)
                return status;
        return channel.GetStatus();
    });
}

// The result is 0 as it always was; the channel sees to it that a document that lacks something never counts as whole.
int AttributeContainer::SaveAttributeTypeToXMLFile(Kest::XMLOChannel& channel) const {
    channel.OpenTag(TypeElement);
    channel.Write(NameElement, typeName);
    channel.Write(RefIdElement, refId);
    WriteOrFail(channel, [&] {
        const int status = WriteXML(channel);
        return status != 0 ? channel.Fail(status, u"The attributes could not be written") : status;
    });
    channel.CloseTag();
    return Error::None;
}

int AttributeContainer::LoadAttributeTypeFromXMLFile(Kest::XMLIChannel& channel, Kest::PlatformSign platform) {
    channel.SetProtocolPlatform(platform);
    Kest::UniString storedName;
    unsigned int storedRefId = 0;
    channel.OpenTag(TypeElement);
    channel.Read(NameElement, storedName);
    if (channel.Read(RefIdElement, storedRefId) != 0)
        return channel.GetStatus();
    return CatchMemoryFull([&] {
        if (storedRefId != refId)
            return channel.Fail(Error::WrongCall, u"The document holds attributes of another type");
        ResetContainer();
        return ReadXMLAttributes(channel);
    });
}

int AttributeContainer::ReadXMLAttributes(Kest::XMLIChannel& channel) {
    ContainerFilling filling(*this);
    if (const int status = filling.FindKind(); status != 0)
        return status;
    const auto readOne = [&channel](GeneralAttribute& attribute) {
        const std::size_t skipped = channel.GetSkippedElementCount();
        channel.OpenTag(AttributeElement);
        const int status = attribute.ReadXML(channel);
        const int closing = channel.CloseTag();
        if (channel.GetSkippedElementCount() > skipped && ReadReport::IsWanted())
            ReadReport::Add({.kind = ReadReport::ElementSkipped,
                             .refId = attribute.GetAttributeTypeId(),
                             .name = attribute.GetName(),
                             .index = attribute.GetIndex()});
        return status != 0 ? status : closing;
    };
    while (channel.IsNextStartTag())
        if (const int status = filling.Add(readOne); status != 0)
            return status;
    const std::size_t skipped = channel.GetSkippedElementCount();
    if (const int status = channel.CloseTag(); status != 0)
        return status;
    if (channel.GetSkippedElementCount() > skipped)   // text between them hides the attributes behind it
        return channel.Fail(Kest::ChannelStatus::Damaged, u"There is text between the attributes");
    if (const int status = filling.ConnectAll(); status != 0)
        return status;
    filling.Keep();
    return Error::None;
}

}   // namespace ADB
