#include "ObjectPlan.hpp"

namespace ODB {
namespace {

using Decision = ConflictResolver::Decision;

bool IsOfClass(const Ref<Object>& object, const Kest::ClassInfo& classInfo) {
    return object.GetConst()->GetClassInfo()->GetId() == classInfo.GetId();
}

}   // namespace

bool ObjectPlan::Make(const Delta& delta) {
    target.GetSpace().Reserve(delta.GetNewObjectCount());
    newcomers.reserve(delta.GetNewObjectCount());
    for (const Delta::StoredObject& object : delta.GetNewObjects())
        if (!AddNew(object))
            return false;
    for (const Delta::StoredObject& object : delta.GetModifiedObjects())
        if (!AddModified(object))
            return false;
    for (const Delta::DeletedObject& object : delta.GetDeletedObjects())
        if (!AddDeleted(object))
            return false;
    return true;
}

bool ObjectPlan::AddNew(const Delta::StoredObject& source) {
    Ref<Object> object = target.Identify(source.id);
    if (!object) {
        AddNewcomer(source, std::move(object));
        return true;
    }
    const Decision decision = conflicts.Ask(&ConflictResolver::NewObjectExists, source.id);
    if (decision == Decision::TakeDelta && IsOfClass(object, *source.classInfo))
        changes.push_back({&source, std::move(object)});
    return decision != Decision::Refuse;
}

bool ObjectPlan::AddModified(const Delta::StoredObject& source) {
    Ref<Object> object = target.GetSpace().Find(source.id);
    if (object && IsOfClass(object, *source.classInfo)) {
        changes.push_back({&source, std::move(object)});
        return true;
    }
    if (object)
        return conflicts.Ask(&ConflictResolver::ModifiedObjectDiffersInClass, source.id) != Decision::Refuse;
    const Decision decision = conflicts.Ask(&ConflictResolver::ModifiedObjectMissing, source.id);
    if (decision == Decision::TakeDelta)
        AddNewcomer(source, target.Identify(source.id));
    return decision != Decision::Refuse;
}

bool ObjectPlan::AddDeleted(const Delta::DeletedObject& source) {
    Ref<Object> object = target.GetSpace().Find(source.id);
    if (!object)
        return conflicts.Ask(&ConflictResolver::DeletedObjectMissing, source.id) != Decision::Refuse;
    fates.Add(object.GetInfo(), Fate::Deleted);
    doomed.push_back(std::move(object));
    return true;
}

// Until it has links, its record knows which newcomer it is.
void ObjectPlan::AddNewcomer(const Delta::StoredObject& source, Ref<Object> identity) {
    MergeTarget::Note(*identity.GetInfo(), static_cast<std::uint32_t>(newcomers.size()));
    newcomers.push_back({&source, std::move(identity)});
}

ObjectPlan::Newcomer* ObjectPlan::FindNewcomer(const ObjectInfo& record) noexcept {
    const std::uint32_t place = MergeTarget::GetNote(record);
    return place < newcomers.size() && newcomers[place].identity.GetInfo() == &record ? &newcomers[place] : nullptr;
}

ObjectPlan::End ObjectPlan::FindNext(const Id& id) {
    if (next >= newcomers.size() || newcomers[next].source->id != id) {
        const End end = Find(id);
        if (end.newcomer != nullptr)
            next = static_cast<std::size_t>(end.newcomer - newcomers.data()) + 1;
        return end;
    }
    Newcomer& newcomer = newcomers[next++];
    return {newcomer.identity.GetInfo(), newcomer.source->classInfo, &newcomer};
}

ObjectPlan::End ObjectPlan::Find(const Id& id) {
    ObjectInfo* const record = target.Find(id);
    if (record == nullptr)
        return {};
    if (Newcomer* const newcomer = FindNewcomer(*record))
        return {record, newcomer->source->classInfo, newcomer};
    if (!record->IsAlive() || MergeTarget::IsDying(*record) || IsDeleted(*record))
        return {};
    return {record, record->GetObject()->GetClassInfo(), nullptr};
}

ObjectInfo* ObjectPlan::FindPresent(const Id& id) const noexcept {
    ObjectInfo* const record = target.Find(id);
    return record != nullptr && record->IsAlive() && !MergeTarget::IsDying(*record) ? record : nullptr;
}

}   // namespace ODB
