#include <Kest/IChannel.hpp>

#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>

#include "CatchMemoryFull.hpp"
#include "ContainerFilling.hpp"

namespace ADB {

int AttributeContainer::LoadAttributeTypeFromFile(Kest::IChannel& channel, int length, Kest::PlatformSign platform) {
    channel.SetProtocolPlatform(platform);
    if (channel.Skip<int>() != 0)
        return Error::None;
    return CatchMemoryFull([&] {
        ResetContainer();
        return ReadFileAttributes(channel, std::int64_t{length} - std::int64_t{sizeof(int)});
    });
}

// A last record that passes the end is taken: the length was the writer's, the record is whole.
int AttributeContainer::ReadFileAttributes(Kest::IChannel& channel, std::int64_t size) {
    ContainerFilling filling(*this);
    if (const int status = filling.FindKind(); status != 0)
        return status;
    const ODB::IdSpace::InputScope inputs(GetIdSpace() != nullptr ? GetIdSpace() : ODB::GetInputIdSpace());
    const std::uint64_t start = channel.GetPosition();
    const auto readOne = [&channel](GeneralAttribute& attribute) -> int {
        const std::uint64_t before = channel.GetPosition();
        if (const int status = attribute.Read(channel); status != 0)
            return status;
        if (channel.GetStatus() != 0)
            return channel.GetStatus();
        return channel.GetPosition() > before ? Error::None : Error::WrongCall;
    };
    while (static_cast<std::int64_t>(channel.GetPosition() - start) < size)
        if (const int status = filling.Replace(readOne); status != 0)
            return status;
    CompleteAttributes();
    filling.Keep();
    return Error::None;
}

void AttributeContainer::CompleteAttributes() {
    EnumerateAttributes(SortByIndex, Ascending, [](const ODB::Ref<GeneralAttribute>& attribute) {
        if (!attribute.GetConst()->CheckAttribute())
            attribute->CorrectAttribute();
    });
}

}   // namespace ADB
