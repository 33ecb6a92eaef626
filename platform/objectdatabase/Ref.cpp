#include <ODB/Ref.hpp>

#include <new>
#include <utility>

#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

#include <ODB/IdReadingScope.hpp>
#include <ODB/IdSpace.hpp>
#include <ODB/Object.hpp>

#include "Links.hpp"
#include "RecordTable.hpp"
#include "Records.hpp"

namespace ODB {

RefBase::RefBase(const Object* object) : info(object != nullptr ? object->GetInfo() : &NullObjectInfo) {
    Count();
}

bool RefBase::FollowSuccessor() const noexcept {
    while (ObjectInfo* const next = info->GetSuccessor()) {
        next->AddReference();
        std::exchange(info, next)->ReleaseObjectInfo();
    }
    return info->IsAlive();
}

void RefBase::GenerateId(IdSpace* idSpace) {
    IdSpace& space = idSpace != nullptr ? *idSpace : *GetDefaultIdSpace();
    if (!IsAlive()) {
        ObjectInfo& record = space.GetRecord(space.MakeFreeId());
        record.AddReference();
        Release();
        info = &record;
        return;
    }
    const Id fresh = space.MakeFreeId();
    space.ReserveOne();
    if (info->space != nullptr)
        info->space->Leave(*info);
    space.Enter(*info, fresh);
}

bool RefBase::Init(const Id& id, IdSpace* idSpace) {
    IdSpace& space = idSpace != nullptr ? *idSpace : *GetDefaultIdSpace();
    const Id wanted = id.IsNull() ? space.MakeFreeId() : id;
    if (!IsAlive() || info->space != nullptr) {
        ObjectInfo& record = space.GetRecord(wanted);
        record.AddReference();
        Release();
        info = &record;
        return true;
    }
    ObjectInfo* const taken = space.FindRecord(wanted);
    if (taken == nullptr) {
        space.ReserveOne();
        space.Enter(*info, wanted);
        return true;
    }
    if (taken->IsAlive() || info->IsDying())
        return false;
    taken->TakeOver(*info);
    return FollowSuccessor();
}

int RefBase::ReadRef(Kest::IChannel& channel, IdSpace* idSpace) {
    Kest::Guid guid;
    if (const int status = channel.Read(guid); status != 0)
        return status;
    try {
        RefBase found;
        if (ObjectInfo* const known = IdReadingScope::FindKnown(Id(guid)))
            found = RefBase(known);
        else if (!guid.IsNull())
            found.Init(Id(guid), idSpace != nullptr ? idSpace : GetInputIdSpace());
        std::swap(info, found.info);
    } catch (const std::bad_alloc&) {
        return channel.Fail(Kest::ChannelStatus::MemoryFull);
    }
    return channel.GetStatus();
}

int RefBase::WriteRef(Kest::OChannel& channel) const {
    return channel.Write(IsAlive() ? GetId().GetGuid() : Kest::Guid());
}

}   // namespace ODB
