#include <new>

#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>

#include <ODB/Delta.hpp>

#include "AssociationEnd.hpp"
#include "Links.hpp"
#include "ListDifference.hpp"
#include "ResultCodes.hpp"
#include "StateBytes.hpp"

namespace ODB {
namespace {

// The objects of one state that take part.
class State {
public:
    State(const RefList<Object>& stateObjects, const ObjectFilter& objectFilter)
        : objects(stateObjects),
          filter(objectFilter) {}

    int Fill() {
        records.Reserve(objects.GetSize());
        for (const Ref<Object>& object : objects) {
            if (!object)
                return NullArgument;
            if (filter && !filter(object))
                continue;
            if (object.GetIdSpace() == nullptr)
                return WrongCall;
            records.Add(object.GetInfo());
        }
        return 0;
    }

    // Lets Find answer; without that an id may stand for two objects.
    int FileById() {
        byId.Reserve(records.GetSize());
        for (ObjectInfo* const record : records)
            if (!byId.Add(record->GetId(), record))
                return WrongCall;
        return 0;
    }

    bool IsEmpty() const { return records.IsEmpty(); }
    bool Contains(ObjectInfo* record) const { return records.Contains(record); }
    ObjectInfo* Find(const Id& id) const {
        ObjectInfo* const* const found = byId.Find(id);
        return found != nullptr ? *found : nullptr;
    }
    // Each once, in the order of the list.
    const Kest::HashSet<ObjectInfo*>& GetRecords() const { return records; }

private:
    const RefList<Object>& objects;
    const ObjectFilter& filter;
    Kest::HashSet<ObjectInfo*> records;
    Kest::HashTable<Id, ObjectInfo*> byId;
};

class DeltaCreation {
public:
    DeltaCreation(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, LinkBoundary linkBoundary,
                  const ObjectFilter& filter, Delta& createdDelta)
        : olds(oldObjects, filter),
          news(newObjects, filter),
          boundary(linkBoundary),
          delta(createdDelta) {}

    int Create() {
        int status = olds.Fill();
        if (status == 0)
            status = news.Fill();
        if (status == 0 && !olds.IsEmpty())
            status = FileStates();
        if (status == 0)
            status = AddObjects();
        if (status == 0)
            AddLinks();
        return status;
    }

private:
    // The links of one left object in one association.
    struct ListPair {
        const LinkList* old = nullptr;
        const LinkList* present = nullptr;
    };
    using Lists = Kest::HashTable<AssociationEnd, ListPair>;

    int FileStates() {
        const int status = olds.FileById();
        return status != 0 ? status : news.FileById();
    }

    int AddObjects() {
        for (ObjectInfo* const record : news.GetRecords()) {
            ObjectInfo* const old = olds.Find(record->GetId());
            const int status = old != nullptr ? AddIfModified(*old, *record) : AddNew(*record);
            if (status != 0)
                return status;
        }
        for (ObjectInfo* const record : olds.GetRecords())
            if (news.Find(record->GetId()) == nullptr)
                delta.AddDeletedObject(*record->GetObject()->GetClassInfo(), record->GetId());
        return 0;
    }

    int AddNew(ObjectInfo& record) {
        const std::size_t before = delta.GetNewObjectCount();
        const int status = delta.AddNewObject(ConstRef<Object>(&record));
        return status == 0 && delta.GetNewObjectCount() == before ? WrongCall : status;   // an id that came before
    }

    int AddIfModified(const ObjectInfo& old, ObjectInfo& record) {
        if (&old == &record)
            return 0;
        if (old.GetObject()->GetClassInfo() != record.GetObject()->GetClassInfo())
            return WrongCall;
        int status = oldBytes.Take(*old.GetObject());
        if (status == 0)
            status = newBytes.Take(*record.GetObject());
        if (status != 0 || oldBytes.Get() == newBytes.Get())
            return status;
        return delta.AddModifiedObject(ConstRef<Object>(&record));
    }

    void AddLinks() {
        Lists lists;
        NoteLists(news, &ListPair::present, lists);
        if (olds.IsEmpty()) {
            for (const auto& [end, pair] : lists)
                AddNewLinks(*pair.present);
            return;
        }
        NoteLists(olds, &ListPair::old, lists);
        LinkDifference difference;
        for (const auto& [end, pair] : lists)
            difference.Add(*end.association, end.id,
                           CompareLists(GetOrder(pair.old, olds), GetOrder(pair.present, news), NullId));
        difference.Fill(delta);
    }

    void NoteLists(const State& state, const LinkList* ListPair::*side, Lists& lists) const {
        const auto note = [&](const LinkList& list) {
            if (const AssociationEnd end{&list.GetAssociation(), list.GetLeft().GetId()}; !end.id.IsNull()) {
                lists.Add(end, {});
                lists.Find(end)->*side = &list;
            }
        };
        for (ObjectInfo* const record : state.GetRecords()) {
            if (const LinkTable* const table = LinkTable::Find(*record); table != nullptr && NamesLeft())
                for (const auto& list : table->lists)
                    note(*list);
            if (TakesForeignLefts())
                LinkTable::AnyRight(*record, [&note](const LinkList& list, std::uint32_t) {
                    note(list);
                    return false;
                });
        }
    }

    bool NamesLeft() const { return boundary != LinkBoundary::RightInside; }
    bool TakesForeignLefts() const {
        return boundary == LinkBoundary::Touching || boundary == LinkBoundary::RightInside;
    }

    // The ends that are not among the objects must be where the others are: the delta has one space.
    bool TakesPart(const LinkList& list, ObjectInfo* right, const State& state) const {
        if (right == nullptr)
            return false;
        ObjectInfo& left = list.GetLeft();
        const bool isLeftInside = state.Contains(&left);
        const bool isRightInside = state.Contains(right);
        if (isLeftInside && isRightInside)
            return true;
        if (left.GetIdSpace() != right->GetIdSpace())
            return false;
        switch (boundary) {
        case LinkBoundary::Touching:
            return isLeftInside || isRightInside;
        case LinkBoundary::LeftInside:
            return isLeftInside;
        case LinkBoundary::RightInside:
            return isRightInside;
        default:
            return false;
        }
    }

    void AddNewLinks(const LinkList& list) {
        Id behind;
        for (ObjectInfo* const right : list.GetEntries())
            if (TakesPart(list, right, news)) {
                delta.AddNewLink(list.GetAssociation(), list.GetLeft().GetId(), right->GetId(), behind);
                behind = right->GetId();
            }
    }

    std::vector<Id> GetOrder(const LinkList* list, const State& state) const {
        std::vector<Id> order;
        if (list == nullptr)
            return order;
        order.reserve(list->GetCount());
        for (ObjectInfo* const right : list->GetEntries())
            if (TakesPart(*list, right, state))
                order.push_back(right->GetId());
        return order;
    }

    State olds;
    State news;
    LinkBoundary boundary;
    Delta& delta;
    StateBytes oldBytes;
    StateBytes newBytes;
};

}   // namespace

int CreateDelta(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, Delta* delta,
                LinkBoundary boundary, const ObjectFilter& filter) {
    if (delta == nullptr)
        return NullArgument;
    delta->Clear();
    int status = MemoryFull;
    try {
        status = DeltaCreation(oldObjects, newObjects, boundary, filter, *delta).Create();
    } catch (const std::bad_alloc&) {
    }
    if (status != 0)
        delta->Clear();
    return status;
}

}   // namespace ODB
