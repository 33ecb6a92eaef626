#include <new>

#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include "Conflicts.hpp"
#include "DeletionPlan.hpp"
#include "LinkEvents.hpp"
#include "LinkMerge.hpp"
#include "LinkOrder.hpp"
#include "LinkPlan.hpp"
#include "MergeTarget.hpp"
#include "ObjectMerge.hpp"
#include "ObjectPlan.hpp"
#include "OwnershipCheck.hpp"
#include "ResultCodes.hpp"

namespace ODB {
namespace {

// One merge: planned first, then done in steps of which the last one that can fail comes before the first one that
// cannot be taken back.
class DeltaMerge {
public:
    DeltaMerge(IdSpace& space, ConflictResolver* resolver) noexcept
        : target(space),
          conflicts(resolver),
          objects(target, conflicts),
          links(objects, conflicts) {}

    /// \returns as MergeDelta. \throws std::bad_alloc with nothing changed
    int Do(const Delta& delta, const IsolatedStateIO* io, bool sendEvents) {
        if (!Plan(delta))
            return WrongCall;
        if (sendEvents)
            events.Note(links, objects);
        ObjectMerge contents(objects, io);
        if (const int status = contents.Make(); status != 0)
            return status;
        LinkMerge linking(links);
        linking.MakeRoom();
        linking.Apply();
        contents.Stay();
        return 0;
    }

    /// The last steps, which others hear of.
    void Finish() const {
        events.TellOfDeletions();
        for (const Ref<Object>& object : objects.GetDoomed())
            if (objects.IsDeleted(*object.GetInfo()))
                Database::DeleteObject(object);
        events.TellOfOthers();
    }

private:
    bool Plan(const Delta& delta) {
        if (!objects.Make(delta) || !links.Make(delta) || !DeletionPlan(objects, links, conflicts).Make())
            return false;
        links.DropCuts();
        for (ListPlan& list : links.GetLists())
            if (!LinkOrder(list, links, objects, conflicts).Make())
                return false;
        return !OwnershipCheck(links).FindsRing();
    }

    MergeTarget target;
    Conflicts conflicts;
    ObjectPlan objects;
    LinkPlan links;
    LinkEvents events;
};

}   // namespace

int MergeDelta(IdSpace& target, const Delta& delta, IsolatedStateIO* io, ConflictResolver* resolver, bool sendEvents) {
    DeltaMerge merge(target, resolver);
    try {
        if (const int status = merge.Do(delta, io, sendEvents); status != 0)
            return status;
    } catch (const std::bad_alloc&) {
        return MemoryFull;
    }
    merge.Finish();
    return 0;
}

int MergeDelta(IdSpace& target, const Delta& delta) {
    return MergeDelta(target, delta, nullptr, nullptr, false);
}

}   // namespace ODB
