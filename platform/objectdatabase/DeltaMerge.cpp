#include <cstdint>
#include <new>
#include <utility>
#include <vector>

#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>

#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include "MakeObject.hpp"

namespace ODB {
namespace {

constexpr int MemoryFull = -108;
constexpr int WrongCall = -7003;

// The objects of a merge that is under way: destroyed again, with their links, unless the merge is completed.
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

    int Make(const Delta::StoredObject& description) {
        std::unique_ptr<Object> object = MakeObject(*description.classInfo);
        if (object == nullptr)
            return WrongCall;
        Ref<Object> ref(object.get());
        object.release();
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

// The links of one left object in one association; with a neighbour, a place among them.
struct Place {
    const Association1NUntyped* association;
    Id left;
    Id behind;

    friend bool operator==(const Place&, const Place&) = default;
};

struct PlaceHash {
    std::uint64_t operator()(const Place& place) const noexcept {
        const std::uint64_t left = Kest::Hash<Id>()(place.left);
        const std::uint64_t behind = Kest::Hash<Id>()(place.behind);
        return (left << 32 | behind) ^ Kest::Hash<const void*>()(place.association) * 0x9E3779B97F4A7C15;
    }
};

// Makes the new links. Those of a list nearly always come in its order; a list where that is not so is arranged when
// all are made.
class LinkMaker {
public:
    LinkMaker(IdSpace& targetSpace, const Delta& madeDelta) : target(targetSpace), delta(madeDelta) {}

    int Make() {
        for (const Delta::PlacedLink& link : delta.GetNewLinks())
            if (!Append(link))
                return WrongCall;
        if (disordered.IsEmpty())
            return 0;
        for (const Delta::PlacedLink& link : delta.GetNewLinks())
            if (!followers.Add({link.association, link.left, link.behind}, link.right))
                return WrongCall;
        for (const Place& list : disordered)
            if (!Arrange(list))
                return WrongCall;
        return 0;
    }

private:
    bool Append(const Delta::PlacedLink& link) {
        const Association1NUntyped& association = *link.association;
        if (last == nullptr || last->left != link.left)
            left = target.Find(link.left);
        const Ref<Object> right = target.Find(link.right);
        if (association.IsConnectedAsRight(right))
            return false;
        const bool goesOn = last != nullptr && last->association == &association && last->left == link.left;
        const bool isNext =
            goesOn ? last->right == link.behind : link.behind.IsNull() && !association.IsConnectedAsLeft(left);
        if (!isNext)
            disordered.Add({&association, link.left, NullId});
        last = &link;
        return association.CreateIsolatedLink(left, right) == 0;
    }

    // What stood there keeps its order; each new link comes behind its neighbour.
    bool Arrange(const Place& list) const {
        const Ref<Object> owner = target.Find(list.left);
        RefList<Object> present;
        RefList<Object> order;
        list.association->AppendRight(owner, &present);
        AppendFollowers(list, order);
        for (const Ref<Object>& right : present)
            if (!IsNew(right)) {
                order.Push(right);
                AppendFollowers({list.association, list.left, right.GetId()}, order);
            }
        return list.association->ReorderIsolatedLinks(owner, order) == 0;   // fails when some neighbour is not there
    }

    // Ends: each new link follows one object only, so that no chain that begins outside of a ring leads into it.
    void AppendFollowers(Place place, RefList<Object>& order) const {
        while (const Id* const right = followers.Find(place)) {
            order.Push(target.Find(*right));
            place.behind = *right;
        }
    }

    bool IsNew(const RefBase& right) const {
        return right.GetIdSpace() == &target && delta.ContainsNewObject(right.GetId());
    }

    IdSpace& target;
    const Delta& delta;
    const Delta::PlacedLink* last = nullptr;
    Ref<Object> left;   // of the last link
    Kest::HashSet<Place, PlaceHash> disordered;
    Kest::HashTable<Place, Id, PlaceHash> followers;
};

// Taking such changes back could fail for want of memory, so that nothing but additions is all or nothing.
bool HoldsOnlyAdditions(const Delta& delta) {
    return delta.GetModifiedObjectCount() == 0 && delta.GetDeletedObjectCount() == 0 &&
           delta.GetModifiedLinkCount() == 0 && delta.GetDeletedLinkCount() == 0 && delta.GetReorderedLinkCount() == 0;
}

int MergeInto(IdSpace& target, const Delta& delta) {
    if (!HoldsOnlyAdditions(delta))
        return WrongCall;
    for (const Delta::StoredObject& object : delta.GetNewObjects())
        if (target.Contains(object.id))
            return WrongCall;
    for (const Delta::PlacedLink& link : delta.GetNewLinks())
        if (!delta.ContainsNewObject(link.right))   // deleting it again would not bring its old link back
            return WrongCall;
    const IdSpace::InputScope scope(&target);
    Newcomers newcomers(target, delta.GetNewObjectCount());
    for (const Delta::StoredObject& object : delta.GetNewObjects())
        if (const int status = newcomers.Make(object); status != 0)
            return status;
    if (const int status = newcomers.Restore(delta); status != 0)
        return status;
    if (const int status = LinkMaker(target, delta).Make(); status != 0)
        return status;
    newcomers.Keep();
    return 0;
}

}   // namespace

int MergeDelta(IdSpace& target, const Delta& delta) {
    try {
        return MergeInto(target, delta);
    } catch (const std::bad_alloc&) {
        return MemoryFull;
    }
}

}   // namespace ODB
