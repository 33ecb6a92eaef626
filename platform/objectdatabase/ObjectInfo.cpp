#include <ODB/ObjectInfo.hpp>

#include <utility>

#include <ODB/IdSpace.hpp>
#include <ODB/Object.hpp>

#include "ChangeRecord.hpp"
#include "Links.hpp"
#include "RecordPool.hpp"
#include "Records.hpp"

namespace ODB {

std::atomic<std::uint64_t> ObjectInfo::lastStamp = 0;
constinit ObjectInfo ObjectInfo::nullInfo;
constinit ChangeRecorder* ObjectInfo::recorders = nullptr;

// Never destroyed: references in statics of other libraries are released after this one's statics are gone.
RecordPool<ObjectInfo>& GetRecordPool() {
    static auto* const pool = new RecordPool<ObjectInfo>;
    return *pool;
}

void ObjectInfo::QueueOnLists() noexcept {
    LinkTable::AnyRight(*this, [this](LinkList& list, std::uint32_t& place) {
        list.Queue(*this, place);
        return false;
    });
}

// An object arrives under the identity of this dead record: the references of both come to name this one, and indexes
// file the object anew.
void ObjectInfo::TakeOver(ObjectInfo& other) noexcept {
    ChangeRecorder::Record::ShowArrival(other, *space, id);
    LinkTable::AnyRight(other, [&other](LinkList& list, std::uint32_t) {
        list.Drain();
        list.TellDeleted(other);
        return false;
    });
    object = std::exchange(other.object, nullptr);
    object->SetInfo(this);
    AddReference();
    LinkTable::Transfer(other, *this);
    stamp = other.stamp & ManagedFlag;
    Stamp();
    other.stamp |= MovedFlag;
    other.successor = this;
    AddReference();
    other.ReleaseObjectInfo();   // the object's own
    LinkTable::AnyRight(*this, [this](LinkList& list, std::uint32_t) {
        list.TellArrived(*this);
        return false;
    });
}

void ObjectInfo::Free() noexcept {
    if ((stamp & MovedFlag) != 0)
        successor->ReleaseObjectInfo();
    else if (space != nullptr)
        space->Leave(*this);
    GetRecordPool().Destroy(this);
}

}   // namespace ODB
