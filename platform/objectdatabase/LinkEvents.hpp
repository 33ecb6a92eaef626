#pragma once

#include <vector>

#include <ODB/Ref.hpp>

#include "LinkPlan.hpp"
#include "Links.hpp"
#include "ObjectPlan.hpp"

namespace ODB {

/// What a merge has to tell left objects of associations that send events.
class LinkEvents {
public:
    /// Notes all of it before the merge. \throws std::bad_alloc
    void Note(const LinkPlan& links, const ObjectPlan& objects);

    /// Tells of links that went with their right objects: before these are deleted.
    void TellOfDeletions() const { Tell(deletions); }
    /// Tells of all others, as far as their ends are still there.
    void TellOfOthers() const { Tell(others); }

private:
    struct Event {
        LeftEvent call;
        const Association1NUntyped* association;
        ConstRef<Object> left;
        ConstRef<Object> right;
    };

    void Note(const ListPlan& list);
    static void Tell(const std::vector<Event>& events);

    std::vector<Event> deletions;
    std::vector<Event> others;
};

}   // namespace ODB
