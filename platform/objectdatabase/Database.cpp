#include <ODB/Database.hpp>

#include <Kest/EventSource.hpp>

#include "Links.hpp"

namespace ODB {
namespace {

constexpr int NoObject = -7001;

// Deleted while something announced: the first and the last to be freed, chained through their unused record pointers.
thread_local Object* graveyard = nullptr;
thread_local Object* lastBuried = nullptr;

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
    root.stamp |= ObjectInfo::DeletingFlag;
    if (LinkTable::Find(root) == nullptr) {
        DestroyOne(root);
        return;
    }
    SuspendIndexes(root);
    root.AddReference();         // `object` itself may die on the way
    Ref<Object> record(&root);   // counted: whoever hears of the deletions may do anything
    while (root.IsAlive()) {
        if (ObjectInfo* const owned = FindDoomed(*record.GetInfo())) {
            owned->stamp |= ObjectInfo::DeletingFlag;
            SuspendIndexes(*owned);
            record = Ref<Object>(owned);
            continue;
        }
        const Ref<Object> next(record.GetInfo() != &root ? FindDoomingOwner(*record.GetInfo()) : &root);
        if (record.IsAlive())
            DestroyOne(*record.GetInfo());
        record = next ? next : Ref<Object>(&root);
    }
    root.ReleaseObjectInfo();
}

// What an object owns goes before it: nearly always nobody asks an index over that any more.
void Database::SuspendIndexes(const ObjectInfo& record) noexcept {
    if (const LinkTable* const table = LinkTable::Find(record))
        for (const auto& list : table->lists)
            if (list->Propagates())
                list->SuspendIndexes();
}

// A right object of a dying one that dies first: one of the database that nobody else owns. Links to other dying owners
// are cut, so that it has exactly one propagating link from a dying object left: the way back. Nobody else cuts that
// link, since dying objects are neither linked nor unlinked any more.
ObjectInfo* Database::FindDoomed(ObjectInfo& owner) noexcept {
    const LinkTable* const table = LinkTable::Find(owner);
    if (table == nullptr)
        return nullptr;
    for (const auto& list : table->lists) {
        if (!list->Propagates())
            continue;
        while (ObjectInfo* const right = list->GetFirst()) {
            if (right->IsDying() || (right->stamp & ObjectInfo::ManagedFlag) == 0) {
                CutLink(*list, *right, CutReason::Disconnected);
                continue;
            }
            LinkList* const other = FindOtherOwner(*right, *list);
            if (other == nullptr)
                return right;
            CutLink(other->GetLeft().IsDying() ? *other : *list, *right, CutReason::Disconnected);
        }
    }
    return nullptr;
}

// Another list that keeps `right` alive, or one of a dying left object that would delete it too; these first.
LinkList* Database::FindOtherOwner(ObjectInfo& right, const LinkList& list) noexcept {
    LinkList* owner = nullptr;
    LinkTable::AnyRight(right, [&](LinkList& found, std::uint32_t) {
        const bool dying = found.GetLeft().IsDying();
        if (&found == &list || !(dying ? found.Propagates() : found.IsOwning()))
            return false;
        owner = &found;
        return dying;
    });
    return owner;
}

ObjectInfo* Database::FindDoomingOwner(ObjectInfo& record) noexcept {
    ObjectInfo* owner = nullptr;
    LinkTable::AnyRight(record, [&owner](const LinkList& list, std::uint32_t) {
        if (!list.Propagates() || !list.GetLeft().IsDying())
            return false;
        owner = &list.GetLeft();
        return true;
    });
    return owner != nullptr ? owner : &NullObjectInfo;
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
    record.object->SetInfo(nullptr);
    record.object = nullptr;
    record.stamp &= ObjectInfo::StampMask;
}

void Database::DestroyOne(ObjectInfo& record) noexcept {
    Object* const object = record.object;
    record.ShowContent();
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
    object->info = Object::BuriedBit;
    if (graveyard == nullptr)
        graveyard = object;
    else
        lastBuried->info = reinterpret_cast<std::uintptr_t>(object) | Object::BuriedBit;
    lastBuried = object;
    Kest::EventSource::CallWhenQuiet(&EmptyGraveyard);
}

void Database::EmptyGraveyard() noexcept {
    while (Object* const object = graveyard) {
        graveyard = reinterpret_cast<Object*>(object->info & ~Object::BuriedBit);
        object->info = 0;
        delete object;
    }
}

}   // namespace ODB
