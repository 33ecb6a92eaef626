#pragma once

#include <cstdint>
#include <vector>

#include <Kest/HashTable.hpp>

#include "LinkPlan.hpp"

namespace ODB {

/// Finds how the planned links of one list come to stand behind their neighbours. What stays in the list keeps its
/// order.
class LinkOrder {
public:
    LinkOrder(ListPlan& plannedList, const LinkPlan& linkPlan, const ObjectPlan& objectPlan,
              const Conflicts& mergeConflicts) noexcept
        : list(plannedList),
          plan(linkPlan),
          objects(objectPlan),
          conflicts(mergeConflicts) {}

    /// Puts the links into an order in which each neighbour stands in its place when its turn comes, and marks those
    /// that have to be placed; or notes the whole order. \returns false when a conflict is refused, two links follow
    /// one object, or links follow each other in a ring. \throws std::bad_alloc
    bool Make();

private:
    using Link = ListPlan::Link;

    bool Stays(ObjectInfo& right) const;
    ObjectInfo* FindLastStaying() const;
    bool NoteFollowers();
    bool MayBeLast(Link& link);
    void MakeSequence();
    void AppendChain(ObjectInfo* behind, std::vector<Link>& chain) const;
    void MakeOrder();

    ListPlan& list;
    const LinkPlan& plan;
    const ObjectPlan& objects;
    const Conflicts& conflicts;
    Kest::HashTable<const void*, std::uint32_t> rights;      // places in the list's links
    Kest::HashTable<const void*, std::uint32_t> followers;   // the same, by whom they follow
    std::vector<Link> sequence;
};

}   // namespace ODB
