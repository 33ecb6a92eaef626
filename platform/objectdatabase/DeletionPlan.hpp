#pragma once

#include <vector>

#include <Kest/HashSet.hpp>

#include "Conflicts.hpp"
#include "LinkPlan.hpp"
#include "ObjectPlan.hpp"

namespace ODB {

/// Asks about deleted objects that own more than the delta deletes. Whoever deletes them would delete that, too.
class DeletionPlan {
public:
    DeletionPlan(ObjectPlan& objectPlan, const LinkPlan& linkPlan, const Conflicts& mergeConflicts) noexcept
        : objects(objectPlan),
          links(linkPlan),
          conflicts(mergeConflicts) {}

    /// Notes in the object plan what is kept. \returns false when a conflict is refused. \throws std::bad_alloc
    bool Make();

private:
    bool OwnsMore(const ObjectInfo& object) const;
    void Keep(ObjectInfo& object);

    ObjectPlan& objects;
    const LinkPlan& links;
    const Conflicts& conflicts;
    std::vector<ObjectInfo*> open;        // to be looked at, again when something beneath them is kept
    Kest::HashSet<const void*> settled;   // deleted with all that they own
};

}   // namespace ODB
