#include <AttributeManager/AttributeSet.hpp>

#include <algorithm>
#include <cstdint>
#include <limits>

#include <Kest/MemoryChannels.hpp>
#include <Kest/MemoryHandle.hpp>
#include <Kest/Resource.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

struct OwnedHandle {
    char** handle = nullptr;

    OwnedHandle() noexcept = default;
    ~OwnedHandle() { BMKillHandle(&handle); }
    OwnedHandle(const OwnedHandle&) = delete;
    OwnedHandle& operator=(const OwnedHandle&) = delete;

    int GetSize() const {
        return static_cast<int>(std::min<std::int64_t>(BMGetHandleSize(handle), std::numeric_limits<int>::max()));
    }
};

// Some records may have been left out; those that were taken count.
bool IsLoaded(int status) {
    return status == Error::None || status == Error::NoSuchIndex;
}

}   // namespace

// `load` null: there is nothing to load.
int AttributeSet::LoadType(short typeId, const std::function<int(AttributeContainer&)>& load) {
    const ODB::Ref<AttributeContainer> container = GetAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    const int status = CatchMemoryFull([&] {
        AttributeContainer& target = *container.GetLogicalConst();
        if (!load) {
            target.ResetContainer();
            return int{Error::None};
        }
        const int loaded = load(target);
        const int checked = IsLoaded(loaded) ? target.CheckContainer() : 0;
        return checked != 0 ? checked : loaded;
    });
    if (IsLoaded(status))
        AnnounceType(typeId);
    return status;
}

void AttributeSet::AnnounceType(short typeId) const {
    const ODB::ConstRef<AttributeSet> self(this);
    const int last = GetAttributeMaximumIndex(typeId);
    for (int index = 1; index <= last && self; ++index)   // an observer may delete the set
        if (const ODB::ConstRef<GeneralAttribute> attribute = GetConstAttribute(typeId, static_cast<short>(index)))
            NotifyObservers(typeId, attribute, Created, FieldMask());
}

int AttributeSet::LoadAttributeTypeFromFile(char* data, short typeId, int length, Kest::PlatformSign platform) {
    Kest::MemoryIChannel channel(data, static_cast<std::size_t>(std::max(length, 0)));
    channel.SetProtocolPlatform(platform);
    return LoadAttributeTypeFrom900File(channel, typeId, length, platform);
}

int AttributeSet::LoadAttributeTypeFrom900File(Kest::IChannel& channel, short typeId, int length,
                                               Kest::PlatformSign platform) {
    if (length < 1)
        return LoadType(typeId, nullptr);
    return LoadType(typeId, [&](AttributeContainer& container) {
        return container.LoadAttributeTypeFromFile(channel, length, platform);
    });
}

int AttributeSet::LoadAttributeTypeFromResource(short typeId, long long module, short resourceId) {
    OwnedHandle resource;
    if (const int status = LoadAttributeTypeFromResourceToHandle(typeId, module, resourceId, &resource.handle);
        status != 0)
        return status;
    const int size = resource.GetSize();
    return LoadAttributeTypeFromFile(size > 0 ? *resource.handle : nullptr, typeId, size,
                                     Kest::PlatformSign::LittleEndian);
}

int AttributeSet::LoadAttributeTypeFromResourceToHandle(short typeId, long long module, short resourceId,
                                                        char*** handle) const {
    const IAttributeRegister* const types = ::GetAttributeRegister();
    if (types == nullptr || typeId < 1 || typeId > types->GetAttributeTypeNumber())
        return Error::UnknownType;
    if (handle != nullptr)
        *handle = Kest::LoadResource(module, types->GetRefId(typeId), resourceId);
    return Error::None;
}

int AttributeSet::LoadAttributeTypeFromXMLFile(Kest::XMLIChannel& channel, short typeId, Kest::PlatformSign platform) {
    return LoadType(typeId, [&](AttributeContainer& container) {
        return container.LoadAttributeTypeFromXMLFile(channel, platform);
    });
}

int AttributeSet::SaveAttributeTypeToXMLFile(Kest::XMLOChannel& channel, short typeId) const {
    const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId);
    return container ? container->SaveAttributeTypeToXMLFile(channel) : Error::UnknownType;
}

}   // namespace ADB
