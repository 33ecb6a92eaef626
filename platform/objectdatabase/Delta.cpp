#include <ODB/Delta.hpp>

#include <algorithm>
#include <utility>

#include <Kest/HashSet.hpp>

#include "Links.hpp"
#include "ResultCodes.hpp"

namespace ODB {
namespace {

using RecordSet = Kest::HashSet<const ObjectInfo*>;

// Grown geometrically, so that making room one by one stays linear.
template <class Item>
void MakeRoom(std::vector<Item>& items) {
    if (items.size() == items.capacity())
        items.reserve(std::max<std::size_t>(4, items.size() * 2));
}

bool IsLink(const Id& left, const Id& right, const Id& behind) {
    return !left.IsNull() && !right.IsNull() && behind != right;
}

}   // namespace

Delta::Delta(IdSpace* idSpace) : space(idSpace) {}

Delta::Delta(const Kest::UniString& deltaName, IdSpace* idSpace) : name(deltaName), space(idSpace) {}

bool Delta::IsRecordedAs(ObjectChange change, const Id& id) const {
    const ObjectChange* const recorded = changes.Find(id);
    return recorded != nullptr && *recorded == change;
}

int Delta::AddNewObject(const ConstRef<Object>& object) {
    return AddPresent(ObjectChange::New, object);
}

int Delta::AddModifiedObject(const ConstRef<Object>& object) {
    return AddPresent(ObjectChange::Modified, object);
}

int Delta::AddPresent(ObjectChange change, const ConstRef<Object>& object) {
    if (!object)
        return NullArgument;
    if (object.GetIdSpace() == nullptr)
        return WrongCall;
    if (const ObjectChange* const recorded = changes.Find(object.GetId()))
        return *recorded == change ? 0 : WrongCall;
    std::unique_ptr<Object::IsolatedState> state(object->CreateIsolatedState());
    if (const int status = object->StoreIsolatedState(state.get()); status != 0)
        return status;
    Store(change, {object->GetClassInfo(), object.GetId(), std::move(state)});
    return 0;
}

void Delta::Store(ObjectChange change, StoredObject object) {
    std::vector<StoredObject>& objects = StoredObjects(change);
    objects.push_back(std::move(object));
    try {
        changes.Add(objects.back().id, change);
    } catch (...) {
        objects.pop_back();
        throw;
    }
}

int Delta::AddDeletedObject(const Kest::ClassInfo& classInfo, const Id& id) {
    if (id.IsNull())
        return WrongCall;
    if (changes.Contains(id))
        return IsRecordedAs(ObjectChange::Deleted, id) ? 0 : WrongCall;
    deletedObjects.push_back({&classInfo, id});
    try {
        changes.Add(id, ObjectChange::Deleted);
    } catch (...) {
        deletedObjects.pop_back();
        throw;
    }
    return 0;
}

int Delta::AddNewLink(const Association1NUntyped& association, const Id& left, const Id& right, const Id& behind) {
    if (!IsLink(left, right, behind))
        return WrongCall;
    newLinks.push_back({&association, left, right, behind});
    return 0;
}

int Delta::AddModifiedLink(const Association1NUntyped& association, const Id& oldLeft, const Id& left, const Id& right,
                           const Id& behind) {
    if (!IsLink(left, right, behind) || oldLeft.IsNull() || oldLeft == left)
        return WrongCall;
    modifiedLinks.push_back({&association, oldLeft, left, right, behind});
    return 0;
}

int Delta::AddDeletedLink(const Association1NUntyped& association, const Id& left, const Id& right) {
    if (!IsLink(left, right, NullId))
        return WrongCall;
    deletedLinks.push_back({&association, left, right});
    return 0;
}

int Delta::AddReorderedLink(const Association1NUntyped& association, const Id& left, const Id& right,
                            const Id& behind) {
    if (!IsLink(left, right, behind))
        return WrongCall;
    reorderedLinks.push_back({&association, left, right, behind});
    return 0;
}

void Delta::ReserveOne() {
    changes.Reserve(changes.GetSize() + 1);
    MakeRoom(deletedObjects);
    MakeRoom(newLinks);
    MakeRoom(modifiedLinks);
    MakeRoom(deletedLinks);
    MakeRoom(reorderedLinks);
}

void Delta::Clear() noexcept {
    newObjects.clear();
    modifiedObjects.clear();
    deletedObjects.clear();
    newLinks.clear();
    modifiedLinks.clear();
    deletedLinks.clear();
    reorderedLinks.clear();
    changes.Clear();
}

void Delta::Clear(IdSpace* idSpace) noexcept {
    Clear();
    space = idSpace;
}

RefList<Object> DetermineOwnedObjectSet(const RefList<Object>& objects, const ObjectFilter& filter) {
    RefList<Object> owned;
    RecordSet seen;
    const auto take = [&](const Ref<Object>& object) {
        if (object && (!filter || filter(object)) && seen.Add(object.GetInfo()))
            owned.Push(object);
    };
    for (const Ref<Object>& object : objects)
        take(object);
    for (std::size_t place = 0; place < owned.GetSize(); ++place)
        if (const LinkTable* const table = LinkTable::Find(*owned[place].GetInfo()))
            for (const auto& list : table->lists)
                if (list->IsOwning())
                    for (ObjectInfo* const right : list->GetAll())
                        take(Ref<Object>(right));
    return owned;
}

}   // namespace ODB
