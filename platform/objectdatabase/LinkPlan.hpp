#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>

#include <ODB/Delta.hpp>

#include "AssociationEnd.hpp"
#include "Conflicts.hpp"
#include "Links.hpp"
#include "ObjectPlan.hpp"

namespace ODB {

/// The links of one left object in one association that a merge makes, takes over or places anew.
struct ListPlan {
    struct Link {
        ObjectInfo* right;
        ObjectInfo* behind;   // whom it follows; null: nobody, it comes first
        LinkList* from;       // where `right` is linked until then, null: nowhere
        bool isLast;          // whom it was to follow is not there
        bool isPlaced;        // appending it is not enough
    };

    bool IsNew(const Link& link) const noexcept { return link.from == nullptr || link.from != list; }

    const Association1NUntyped* association;
    ObjectInfo* left;
    LinkList* list;   // null while there is none
    std::vector<Link> links;
    bool isInOrder = true;            // each follows the one before it, the first one what stands last
    std::vector<ObjectInfo*> order;   // of all entries in the end, where that is cheaper than placing links one by one
};

/// Which links a merge cuts, makes and moves. Planning changes nothing.
class LinkPlan {
public:
    struct Cut {
        LinkList* list;
        ObjectInfo* right;
    };

    LinkPlan(ObjectPlan& objectPlan, const Conflicts& mergeConflicts) noexcept
        : objects(objectPlan),
          conflicts(mergeConflicts) {}

    /// Finds the ends of all links. \returns false when a conflict is refused, classes do not fit, or a right object
    /// comes twice. \throws std::bad_alloc
    bool Make(const Delta& delta);
    /// Leaves out the cuts of objects that a resolver keeps, and of those that are deleted together.
    void DropCuts();

    const std::vector<Cut>& GetCuts() const noexcept { return cuts; }
    std::vector<ListPlan>& GetLists() noexcept { return lists; }
    const std::vector<ListPlan>& GetLists() const noexcept { return lists; }

    /// Whether the link that the object has as right side now is cut, or gets another place or left object.
    bool Departs(const Association1NUntyped& association, const ObjectInfo& right) const {
        return !departing.IsEmpty() && departing.Contains({&association, right.GetId()});
    }
    /// How many links come to right objects that are there already, or get more than one.
    const Kest::HashTable<ObjectInfo*, std::uint32_t>& GetArrivals() const noexcept { return arrivals; }

private:
    using End = ObjectPlan::End;

    bool AddPlaced(const Delta::PlacedLink& link, const Id& oldLeft);
    bool AddCut(const Delta::DeletedLink& link);
    void Append(const Delta::PlacedLink& link, const End& left, const End& right, LinkList* from);
    bool IsFirst(const Association1NUntyped& association, const End& right);
    void CountArrival(const Association1NUntyped& association, const End& right);
    bool StandsUnder(const LinkList* list, const Id& left) const;
    bool Fits(const Association1NUntyped& association, const End& left, const End& right);
    End FindLeft(const Id& id);
    ListPlan& GetList(const Association1NUntyped& association, ObjectInfo& left);

    ObjectPlan& objects;
    const Conflicts& conflicts;
    std::vector<Cut> cuts;
    std::vector<ListPlan> lists;
    Kest::HashTable<AssociationEnd, std::size_t> places;   // of the lists, by left object
    Kest::HashSet<AssociationEnd> rights;                  // seen, but for the first of each newcomer
    Kest::HashSet<AssociationEnd> departing;               // by right object
    Kest::HashTable<ObjectInfo*, std::uint32_t> arrivals;
    std::size_t lastList = 0;   // of `lists`: where the last link went
    End lastLeft;
    const Association1NUntyped* fitting = nullptr;   // the last check that was passed
    const Kest::ClassInfo* fittingLeft = nullptr;
    const Kest::ClassInfo* fittingRight = nullptr;
};

}   // namespace ODB
