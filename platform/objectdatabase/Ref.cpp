#include <ODB/Ref.hpp>

#include <utility>

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

}   // namespace ODB
