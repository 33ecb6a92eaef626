#pragma once

#include <vector>

#include <ODB/Delta.hpp>
#include <ODB/Id.hpp>

namespace ODB {

/// What became of the links of one left object in one association, told by the ids of the right objects.
struct ListDifference {
    /// A right object and the one that it follows, the null id for the first.
    struct Neighbour {
        Id right;
        Id behind;
    };

    std::vector<Neighbour> cut;         // in the old order, with the neighbours there
    std::vector<Neighbour> made;        // in the new order, with the neighbours there
    std::vector<Neighbour> moved;       // those with another place among the rest: in the new order
    std::vector<Neighbour> movedBack;   // the same ones in the old order

    bool IsEmpty() const noexcept { return cut.empty() && made.empty() && moved.empty(); }
};

/// The difference of two orders, in each of which an id stands once, with as few moved ones as there can be. Both come
/// behind \p before. \throws std::bad_alloc
ListDifference CompareLists(const std::vector<Id>& oldOrder, const std::vector<Id>& newOrder, const Id& before);

/// What became of the links of many lists.
class LinkDifference {
public:
    /// \throws std::bad_alloc with nothing changed
    void Add(const Association1NUntyped& association, const Id& left, ListDifference difference);

    /// Adds to \p delta what leads from the old links to the new ones. \throws std::bad_alloc
    void Fill(Delta& delta) const;
    /// Adds to \p delta what leads back.
    void FillBack(Delta& delta) const;

private:
    using Links = std::vector<ListDifference::Neighbour> ListDifference::*;

    struct List {
        const Association1NUntyped* association;
        Id left;
        ListDifference difference;
    };

    void Fill(Delta& delta, Links cut, Links made, Links moved) const;

    std::vector<List> lists;
};

}   // namespace ODB
