#include <ODB/Delta.hpp>

#include <new>
#include <utility>

#include <Kest/HashSet.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include "Links.hpp"

namespace ODB {
namespace {

constexpr int MemoryFull = -108;
constexpr int NullArgument = -7001;
constexpr int WrongCall = -7003;

using RecordSet = Kest::HashSet<const ObjectInfo*>;

RecordSet MakeRecordSet(const RefList<Object>& objects) {
    RecordSet records;
    records.Reserve(objects.GetSize());
    for (const Ref<Object>& object : objects)
        records.Add(object.GetInfo());
    return records;
}

// The objects of a merge that is under way: destroyed again unless the merge is completed.
class Newcomers {
public:
    Newcomers(IdSpace& targetSpace, std::size_t count) : target(targetSpace) { objects.reserve(count); }
    Newcomers(const Newcomers&) = delete;
    Newcomers& operator=(const Newcomers&) = delete;

    ~Newcomers() {
        for (std::size_t place = objects.size(); place > 0; --place)
            if (objects[place - 1])
                Database::DeleteObject(objects[place - 1]);
    }

    int Make(const Delta::NewObject& description) {
        std::unique_ptr<Kest::Object> made(description.classInfo->CreateObject());
        auto* const object = dynamic_cast<Object*>(made.get());
        if (object == nullptr)
            return WrongCall;
        Ref<Object> ref(object);
        made.release();
        Database::AddObject(ref, false);
        objects.push_back(ref);
        return ref.Init(description.id, &target) ? 0 : WrongCall;
    }

    int Restore(const Delta& delta) {
        int status = 0;
        for (std::size_t place = 0; place < objects.size() && status == 0; ++place)
            status = objects[place]->RestoreIsolatedState(delta.GetNewObjects()[place].state.get());
        return status;
    }

    void Keep() { objects.clear(); }

private:
    IdSpace& target;
    std::vector<Ref<Object>> objects;
};

int MergeInto(IdSpace& target, const Delta& delta) {
    for (const Delta::NewObject& object : delta.GetNewObjects())
        if (target.Contains(object.id))
            return WrongCall;
    for (const Delta::NewLink& link : delta.GetNewLinks())
        if (!delta.ContainsNewObject(link.right))   // deleting it again would not bring its old link back
            return WrongCall;
    const IdSpace::InputScope scope(&target);
    Newcomers newcomers(target, delta.GetNewObjectCount());
    for (const Delta::NewObject& object : delta.GetNewObjects())
        if (const int status = newcomers.Make(object); status != 0)
            return status;
    if (const int status = newcomers.Restore(delta); status != 0)
        return status;
    for (const Delta::NewLink& link : delta.GetNewLinks())
        if (link.association->CreateIsolatedLink(target.Find(link.left), target.Find(link.right)) != 0)
            return WrongCall;
    newcomers.Keep();
    return 0;
}

int FillDelta(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, Delta& delta,
              const ObjectFilter& filter) {
    const RecordSet old = MakeRecordSet(oldObjects);
    RefList<Object> added;
    for (const Ref<Object>& object : newObjects)
        if (!old.Contains(object.GetInfo()) && (!filter || filter(object)))
            added.Push(object);
    for (const Ref<Object>& object : added)
        if (const int status = delta.AddNewObject(object); status != 0)
            return status;
    const RecordSet inside = MakeRecordSet(added);
    for (const Ref<Object>& left : added)
        if (const LinkTable* const table = LinkTable::Find(*left.GetInfo()))
            for (const auto& list : table->lists)
                for (ObjectInfo* const right : list->GetAll())
                    if (inside.Contains(right))
                        delta.AddNewLink(list->GetAssociation(), left, Ref<Object>(right));   // both have ids
    return 0;
}

}   // namespace

Delta::Delta(IdSpace* idSpace) : space(idSpace) {}

Delta::Delta(const Kest::UniString& deltaName, IdSpace* idSpace) : name(deltaName), space(idSpace) {}

int Delta::AddNewObject(const ConstRef<Object>& object) {
    if (!object)
        return NullArgument;
    if (object.GetIdSpace() == nullptr)
        return WrongCall;
    if (places.Contains(object.GetId()))
        return 0;
    std::unique_ptr<Object::IsolatedState> state(object->CreateIsolatedState());
    if (const int status = object->StoreIsolatedState(state.get()); status != 0)
        return status;
    std::shared_ptr<const Object::IsolatedState> shared(std::move(state));
    newObjects.push_back({object->GetClassInfo(), object.GetId(), std::move(shared)});
    try {
        places.Add(object.GetId(), newObjects.size() - 1);
    } catch (...) {
        newObjects.pop_back();
        throw;
    }
    return 0;
}

int Delta::AddNewLink(const Association1NUntyped& association, const RefBase& left, const RefBase& right) {
    if (left.GetId().IsNull() || right.GetId().IsNull())
        return WrongCall;
    newLinks.push_back({&association, left.GetId(), right.GetId()});
    return 0;
}

void Delta::Clear() noexcept {
    newObjects.clear();
    newLinks.clear();
    places.Clear();
}

int CreateDelta(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, Delta* delta, LinkBoundary,
                const ObjectFilter& filter) {
    if (delta == nullptr)
        return NullArgument;
    delta->Clear();
    int status = 0;
    try {
        status = FillDelta(oldObjects, newObjects, *delta, filter);
    } catch (const std::bad_alloc&) {
        status = MemoryFull;
    }
    if (status != 0)
        delta->Clear();
    return status;
}

int MergeDelta(IdSpace& target, const Delta& delta) {
    try {
        return MergeInto(target, delta);
    } catch (const std::bad_alloc&) {
        return MemoryFull;
    }
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
