#include <ODB/Database.hpp>

#include <Kest/EventSource.hpp>

#include "Links.hpp"

namespace ODB {
namespace {

constexpr int NoObject = -7001;

// Deleted while something announced; chained through their unused record pointers.
thread_local Object* graveyard = nullptr;

bool Propagates(const LinkList& list) {
    const AssociationProperty& properties = list.GetAssociation().GetProperties();
    return properties.Has(AssociationProperty::Ownership) || properties.Has(AssociationProperty::DeletePropagation);
}

}   // namespace

int Database::AddObject(const Ref<Object>& object, bool generateId) {
    ObjectInfo& record = *object.GetInfo();
    if (!record.IsAlive())
        return NoObject;
    if (generateId && record.space == nullptr) {
        Ref<Object> identified(object);
        identified.GenerateId(nullptr);
    }
    record.stamp |= ObjectInfo::ManagedFlag;
    return 0;
}

int Database::AddIsolatedObject(const Ref<Object>& object, bool generateId) {
    if (!object)
        return NoObject;
    if (const int status = object->Isolate(); status != 0)
        return status;
    return AddObject(object, generateId);
}

void Database::DeleteObject(const Ref<Object>& object) noexcept {
    ObjectInfo& root = *object.GetInfo();
    if (!root.IsAlive() || (root.stamp & ObjectInfo::DeletingFlag) != 0)
        return;
    root.AddReference();   // `object` itself may die on the way
    root.stamp |= ObjectInfo::DeletingFlag;
    ObjectInfo* record = &root;
    while (root.IsAlive()) {
        if (ObjectInfo* const owned = FindDoomed(*record)) {
            owned->stamp |= ObjectInfo::DeletingFlag;
            record = owned;
            continue;
        }
        ObjectInfo* const next = record != &root ? &FindDoomingOwner(*record) : &root;
        DestroyOne(*record);
        record = next;
    }
    root.ReleaseObjectInfo();
}

// A right object of a dying one that dies first: one that has no other owner. Links that hold it otherwise are cut, so
// that one that dies has exactly one propagating link left, the way back.
ObjectInfo* Database::FindDoomed(ObjectInfo& owner) noexcept {
    const LinkTable* const table = LinkTable::Find(owner);
    if (table == nullptr)
        return nullptr;
    for (const auto& list : table->lists) {
        if (!Propagates(*list))
            continue;
        while (ObjectInfo* const right = list->GetFirst()) {
            LinkList* other = nullptr;
            const auto isOtherOwner = [&](LinkList& found, std::uint32_t) {
                other = &found;
                return &found != list.get() && Propagates(found);
            };
            const bool held = LinkTable::AnyRight(*right, isOtherOwner);
            if (!held && (right->stamp & ObjectInfo::DeletingFlag) == 0)
                return right;
            const bool dyingOwner = held && (other->GetLeft().stamp & ObjectInfo::DeletingFlag) != 0;
            CutLink(dyingOwner ? *other : *list, *right, CutReason::Disconnected);
        }
    }
    return nullptr;
}

ObjectInfo& Database::FindDoomingOwner(ObjectInfo& record) noexcept {
    ObjectInfo* owner = nullptr;
    LinkTable::AnyRight(record, [&owner](const LinkList& list, std::uint32_t) {
        owner = &list.GetLeft();
        return Propagates(list);
    });
    return *owner;
}

// Takes the object out of everything: links, indexes, references. What remains is memory.
void Database::Detach(ObjectInfo& record) noexcept {
    LinkList* list = nullptr;
    const auto takeFirst = [&list](LinkList& found, std::uint32_t) {
        list = &found;
        return true;
    };
    while (LinkTable::AnyRight(record, takeFirst))
        CutLink(*list, record, CutReason::RightDeleted);
    if (LinkTable* const table = LinkTable::Find(record)) {
        for (const auto& rights : table->lists) {
            rights->DetachIndexes();
            while (ObjectInfo* const right = rights->GetFirst())
                CutLink(*rights, *right, CutReason::Silent);
        }
        table->lists.clear();
        LinkTable::FreeIfEmpty(record);
    }
    record.object->info = nullptr;
    record.object = nullptr;
    record.stamp &= ObjectInfo::StampMask;
}

void Database::DestroyOne(ObjectInfo& record) noexcept {
    Object* const object = record.object;
    Detach(record);
    record.ReleaseObjectInfo();
    if (!Kest::EventSource::IsAnnouncing()) {
        delete object;
        return;
    }
    if (auto* const source = dynamic_cast<Kest::EventSource*>(object))
        source->Close();
    Bury(object);
}

void Database::DestroyIfUnowned(ObjectInfo& record) noexcept {
    if (record.IsAlive() && !IsOwned(record))
        DeleteObject(Ref<Object>(&record));
}

void Database::Bury(Object* object) noexcept {
    object->info = reinterpret_cast<ObjectInfo*>(graveyard);
    graveyard = object;
    Kest::EventSource::CallWhenQuiet(&EmptyGraveyard);
}

void Database::EmptyGraveyard() noexcept {
    while (Object* const object = graveyard) {
        graveyard = reinterpret_cast<Object*>(object->info);
        object->info = nullptr;
        delete object;
    }
}

}   // namespace ODB
