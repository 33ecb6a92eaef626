#include <ODB/IdSpace.hpp>

#include <algorithm>
#include <new>
#include <utility>
#include <vector>

#include <ODB/Database.hpp>

#include "ChangeRecord.hpp"
#include "Links.hpp"
#include "RecordTable.hpp"
#include "Records.hpp"

namespace ODB {
namespace {

IdSpace* inputSpace = nullptr;

}   // namespace

IdSpace::IdSpace() : records(std::make_unique<RecordTable>()) {}

IdSpace::IdSpace(const Kest::UniString& spaceName) : name(spaceName), records(std::make_unique<RecordTable>()) {}

IdSpace::~IdSpace() {
    ChangeRecorder::Record::Forget(*this);
    while (DeleteObjects(false) || DeleteObjects(true))
        ;   // deleting moves records about in the table, and whoever hears of it may make objects: look again
    for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot)
        if (ObjectInfo* const record = records->GetSlot(slot)) {
            record->space = nullptr;
            if (record->IsAlive())
                record->id = NullId;
        }
}

// Deletes what nobody owns, and with `owned` the rest too, in the order of the last changes: the order of the table
// depends on a seed, which nobody is to see. Returns whether there was anything.
bool IdSpace::DeleteObjects(bool owned) noexcept {
    std::vector<Ref<Object>> doomed;
    try {
        for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot)
            if (ObjectInfo* const record = records->GetSlot(slot); IsDoomed(record, owned))
                doomed.push_back(Ref<Object>(record));
    } catch (const std::bad_alloc&) {   // then in parts, each in its order
    }
    std::sort(doomed.begin(), doomed.end(), [](const Ref<Object>& one, const Ref<Object>& other) {
        return one.GetModificationStamp() < other.GetModificationStamp();
    });
    for (const Ref<Object>& object : doomed)
        Database::DeleteObject(object);
    return !doomed.empty() || DeleteFirst(owned);
}

// Without memory for a list: one at a time.
bool IdSpace::DeleteFirst(bool owned) noexcept {
    for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot)
        if (ObjectInfo* const record = records->GetSlot(slot); IsDoomed(record, owned)) {
            Database::DeleteObject(Ref<Object>(record));
            return true;
        }
    return false;
}

bool IdSpace::IsDoomed(ObjectInfo* record, bool owned) noexcept {
    return record != nullptr && record->IsAlive() && !record->IsDying() &&
           (record->stamp & ObjectInfo::ManagedFlag) != 0 && (owned || !IsOwned(*record));
}

bool IdSpace::Contains(const Id& id) const noexcept {
    const ObjectInfo* const record = FindRecord(id);
    return record != nullptr && record->IsAlive();
}

Ref<Object> IdSpace::Find(const Id& id) const noexcept {
    return Contains(id) ? Ref<Object>(FindRecord(id)) : Ref<Object>();
}

ConstRef<Object> IdSpace::FindConst(const Id& id) const noexcept {
    return Contains(id) ? ConstRef<Object>(FindRecord(id)) : ConstRef<Object>();
}

std::size_t IdSpace::GetObjectCount() const noexcept {
    std::size_t count = 0;
    for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot)
        if (const ObjectInfo* const record = records->GetSlot(slot))
            count += record->IsAlive() ? 1 : 0;
    return count;
}

void IdSpace::EnumerateObjects(const std::function<void(const Ref<Object>&)>& call) const {
    for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot)
        if (ObjectInfo* const record = records->GetSlot(slot))
            if (record->IsAlive())
                call(Ref<Object>(record));
}

bool IdSpace::MoveObject(const Ref<Object>& object) {
    ObjectInfo& record = *object.GetInfo();
    if (!record.IsAlive() || record.space == nullptr || record.IsDying())
        return false;
    if (record.space == this)
        return true;
    const Id id = record.GetId();
    ObjectInfo* const taken = FindRecord(id);
    if (taken != nullptr && taken->IsAlive())
        return false;
    ReserveOne();
    record.space->Leave(record);
    if (taken == nullptr)
        Enter(record, id);
    else
        taken->TakeOver(record);
    return true;
}

void IdSpace::ReidentifyAllObjects(Kest::HashTable<Id, Id>* oldToNew) {
    std::vector<ObjectInfo*> living;
    RecordTable fresh;
    fresh.Reserve(records->GetSize());
    for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot)
        if (ObjectInfo* const record = records->GetSlot(slot)) {
            if (record->IsAlive())
                living.push_back(record);
            else
                fresh.Insert(*record);
        }
    std::sort(living.begin(), living.end(), [](const ObjectInfo* one, const ObjectInfo* other) {
        return one->id.GetGuid() < other->id.GetGuid();   // fresh ids are handed out in an order that no seed decides
    });
    Kest::HashTable<Id, Id> pairs;
    pairs.Reserve(living.size());
    for (const ObjectInfo* const record : living)
        pairs.Add(record->id, MakeFreeId());
    for (ObjectInfo* const record : living)
        ChangeRecorder::Record::ShowDeparture(*record);
    for (ObjectInfo* const record : living) {
        const Id& newId = *pairs.Find(record->id);
        ChangeRecorder::Record::ShowArrival(*record, *this, newId);
        record->id = newId;
        record->Stamp();
        fresh.Insert(*record);
    }
    *records = std::move(fresh);
    if (oldToNew != nullptr)
        *oldToNew = std::move(pairs);
}

bool IdSpace::CheckInvariants() const {
    for (std::size_t slot = 0; slot < records->GetSlotCount(); ++slot) {
        ObjectInfo* const record = records->GetSlot(slot);
        if (record == nullptr)
            continue;
        if (record->space != this || records->Find(record->id) != record || record->references == 0)
            return false;
        if (record->IsAlive() && record->object->FindInfo() != record)
            return false;
        const bool badEnd = LinkTable::AnyRight(*record, [record](const LinkList& list, std::uint32_t) {
            return LinkTable::FindPlace(*record, list) == nullptr || !list.GetLeft().IsAlive();
        });
        if (badEnd || (record->links != 0 && !record->IsAlive()))
            return false;
        if (const LinkTable* const table = LinkTable::Find(*record))
            for (const auto& list : table->lists)
                if (&list->GetLeft() != record || !list->CheckInvariants())
                    return false;
    }
    return true;
}

ObjectInfo* IdSpace::Identify(ObjectInfo& record, const Id& id) {
    ReserveOne();
    Id wanted = id;
    std::size_t slot = 0;
    do {
        if (id.IsNull())
            wanted = Id(Kest::Guid::Generate());
        slot = records->FindSlot(wanted);
    } while (id.IsNull() && (wanted.IsNull() || records->GetSlot(slot) != nullptr));
    if (ObjectInfo* const known = records->GetSlot(slot)) {
        if (known->IsAlive() || record.IsDying())
            return nullptr;
        known->TakeOver(record);
        return known;
    }
    ChangeRecorder::Record::ShowArrival(record, *this, wanted);
    record.id = wanted;
    record.space = this;
    records->InsertAt(slot, record);
    return &record;
}

ObjectInfo& IdSpace::GetRecord(const Id& id) {
    if (ObjectInfo* const record = FindRecord(id))
        return *record;
    ReserveOne();
    ObjectInfo& record = *GetRecordPool().Make();
    Enter(record, id);
    return record;
}

ObjectInfo* IdSpace::FindRecord(const Id& id) const noexcept {
    return id.IsNull() ? nullptr : records->Find(id);
}

void IdSpace::Reserve(std::size_t more) {
    records->Reserve(records->GetSize() + more);
}

void IdSpace::Enter(ObjectInfo& record, const Id& id) noexcept {
    ChangeRecorder::Record::ShowArrival(record, *this, id);
    record.id = id;
    record.space = this;
    records->Insert(record);
}

void IdSpace::Leave(ObjectInfo& record) noexcept {
    ChangeRecorder::Record::ShowDeparture(record);
    records->Remove(record);
    record.space = nullptr;
    record.id = NullId;
}

Id IdSpace::MakeFreeId() const {
    Id id;
    do
        id = Id(Kest::Guid::Generate());
    while (id.IsNull() || FindRecord(id) != nullptr);
    return id;
}

IdSpace::InputScope::InputScope(IdSpace* space) noexcept : previous(std::exchange(inputSpace, space)) {}

IdSpace::InputScope::~InputScope() {
    inputSpace = previous;
}

IdSpace* GetDefaultIdSpace() {
    static auto* const space = new IdSpace;   // objects in statics of the host still name it at the very end
    return space;
}

IdSpace* GetInputIdSpace() {
    return inputSpace != nullptr ? inputSpace : GetDefaultIdSpace();
}

}   // namespace ODB
