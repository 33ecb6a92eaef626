#include <ODB/Ref.hpp>

#include <new>
#include <utility>

#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

#include <ODB/IdReadingScope.hpp>
#include <ODB/IdSpace.hpp>
#include <ODB/Object.hpp>

#include "DeadIdScope.hpp"
#include "Links.hpp"
#include "RecordTable.hpp"
#include "Records.hpp"

namespace ODB {
namespace {

thread_local bool writesDeadIds = false;

}   // namespace

DeadIdScope::DeadIdScope() noexcept : wasOpen(std::exchange(writesDeadIds, true)) {}

DeadIdScope::~DeadIdScope() {
    writesDeadIds = wasOpen;
}

bool DeadIdScope::IsOpen() noexcept {
    return writesDeadIds;
}

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
    if (IsAlive() && info->space == nullptr) {
        const ObjectInfo* const record = space.Identify(*info, id);
        return record == info || (record != nullptr && FollowSuccessor());
    }
    ObjectInfo& record = space.GetRecord(id.IsNull() ? space.MakeFreeId() : id);
    record.AddReference();
    Release();
    info = &record;
    return true;
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
    return channel.Write(IsAlive() || DeadIdScope::IsOpen() ? GetId().GetGuid() : Kest::Guid());
}

}   // namespace ODB
