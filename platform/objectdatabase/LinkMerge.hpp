#pragma once

#include <vector>

#include "LinkPlan.hpp"
#include "MergeTarget.hpp"

namespace ODB {

/// Cuts, makes, moves and places the links of a merge. All room is made first, so that nothing fails once links change;
/// an index that cannot take a newcomer all the same is filled anew later.
class LinkMerge {
public:
    explicit LinkMerge(LinkPlan& linkPlan) noexcept : plan(linkPlan) {}
    ~LinkMerge();
    LinkMerge(const LinkMerge&) = delete;
    LinkMerge& operator=(const LinkMerge&) = delete;

    /// \throws std::bad_alloc with nothing changed but that empty lists may have come
    void MakeRoom();
    /// Tells nobody. To be called once, when there is room.
    void Apply() noexcept;

private:
    void MakeRoomForRights();
    static void Fill(const ListPlan& planned) noexcept;
    static void Append(LinkList& list, ObjectInfo& right) noexcept;

    LinkPlan& plan;
    std::vector<ObjectInfo*> roomy;   // right objects with room for several links
};

}   // namespace ODB
