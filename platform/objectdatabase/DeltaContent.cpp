#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <tuple>
#include <vector>

#include <Kest/HashSet.hpp>
#include <Kest/MemoryChannels.hpp>

#include <ODB/ContentEnumerator.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include "StoredState.hpp"

namespace ODB {
namespace {

template <class Item>
using Items = std::vector<const Item*>;

template <class StoredOrDeleted>
const Kest::Guid& KeyOf(const StoredOrDeleted& object) {
    return object.id.GetGuid();
}

template <class Link>
auto LinkKeyOf(const Link& link) {
    return std::tie(link.association->GetId().GetGuid(), link.left.GetGuid(), link.right.GetGuid());
}

auto KeyOf(const Delta::PlacedLink& link) {
    return LinkKeyOf(link);
}

auto KeyOf(const Delta::ModifiedLink& link) {
    return LinkKeyOf(link);
}

auto KeyOf(const Delta::DeletedLink& link) {
    return LinkKeyOf(link);
}

// The content of a delta as it is to be told. Once it is complete, telling it takes no memory.
class ContentWalk {
public:
    ContentWalk(const Delta& walkedDelta, Delta::EnumerationOrdering walkOrdering)
        : delta(walkedDelta),
          ordering(walkOrdering),
          space(delta.GetIdSpace() != nullptr ? delta.GetIdSpace() : GetDefaultIdSpace()) {}

    /// \returns 0 or, when states are wanted, what making them returns
    int AddObjects(bool withStates) {
        Take(delta.GetNewObjects(), newObjects);
        Take(delta.GetModifiedObjects(), modifiedObjects);
        Take(delta.GetDeletedObjects(), deletedObjects);
        if (!withStates)
            return 0;
        stateEnds.reserve(newObjects.size() + modifiedObjects.size());
        const int status = WriteStates(newObjects);
        return status != 0 ? status : WriteStates(modifiedObjects);
    }

    /// \p isInDelta tells objects of the delta from control objects.
    template <class Predicate>
    void AddLinks(Predicate&& isInDelta) {
        Take(delta.GetNewLinks(), newLinks);
        Take(delta.GetModifiedLinks(), modifiedLinks);
        Take(delta.GetReorderedLinks(), reorderedLinks);
        Take(delta.GetDeletedLinks(), deletedLinks);
        const auto note = [&](std::initializer_list<Id> ends) {
            for (const Id& id : ends)
                if (!id.IsNull() && !isInDelta(id))
                    controlObjects.Add(id);
        };
        for (const Delta::PlacedLink* const link : newLinks)
            note({link->left, link->right, link->behind});
        for (const Delta::ModifiedLink* const link : modifiedLinks)
            note({link->oldLeft, link->left, link->right, link->behind});
        for (const Delta::PlacedLink* const link : reorderedLinks)
            note({link->left, link->right, link->behind});
        for (const Delta::DeletedLink* const link : deletedLinks)
            note({link->left, link->right});
    }

    void Tell(ContentEnumerator& enumerator) const {
        TellObjects(enumerator);
        for (const Delta::PlacedLink* const link : newLinks)
            enumerator.NewLinkFound(*link->association, link->left, link->right);
        for (const Delta::ModifiedLink* const link : modifiedLinks)
            enumerator.ModifiedLinkFound(*link->association, link->left, link->right);
        for (const Delta::PlacedLink* const link : reorderedLinks)
            enumerator.ReorderedLinkFound(*link->association, link->left, link->right, link->behind);
        for (const Delta::DeletedLink* const link : deletedLinks)
            enumerator.DeletedLinkFound(*link->association, link->left, link->right);
        for (const Id& id : controlObjects)
            enumerator.ControlObjectFound(id, space);
    }

private:
    template <class Item>
    void Take(const std::vector<Item>& source, Items<Item>& items) const {
        items.reserve(source.size());
        for (const Item& item : source)
            items.push_back(&item);
        if (ordering == Delta::ById)
            std::sort(items.begin(), items.end(),
                      [](const Item* one, const Item* other) { return KeyOf(*one) < KeyOf(*other); });
    }

    int WriteStates(const Items<Delta::StoredObject>& objects) {
        for (const Delta::StoredObject* const object : objects) {
            if (const int status = WriteStoredState(*object, states); status != 0)
                return status;
            stateEnds.push_back(states.GetSize());
        }
        return states.GetStatus();
    }

    void TellObjects(ContentEnumerator& enumerator) const {
        std::size_t place = 0;
        const auto tell = [&](auto call, const Delta::StoredObject& object) {
            const bool hasState = !stateEnds.empty();
            const std::size_t begin = hasState && place > 0 ? stateEnds[place - 1] : 0;
            const std::size_t length = hasState ? stateEnds[place] - begin : 0;
            (enumerator.*call)(object.classInfo->GetId(), object.id, space,
                               hasState ? states.GetBytes() + begin : nullptr, length);
            ++place;
        };
        for (const Delta::StoredObject* const object : newObjects)
            tell(&ContentEnumerator::NewObjectFound, *object);
        for (const Delta::StoredObject* const object : modifiedObjects)
            tell(&ContentEnumerator::ModifiedObjectFound, *object);
        for (const Delta::DeletedObject* const object : deletedObjects)
            enumerator.DeletedObjectFound(object->classInfo->GetId(), object->id, space);
    }

    const Delta& delta;
    Delta::EnumerationOrdering ordering;
    IdSpace* space;
    Items<Delta::StoredObject> newObjects;
    Items<Delta::StoredObject> modifiedObjects;
    Items<Delta::DeletedObject> deletedObjects;
    Items<Delta::PlacedLink> newLinks;
    Items<Delta::ModifiedLink> modifiedLinks;
    Items<Delta::PlacedLink> reorderedLinks;
    Items<Delta::DeletedLink> deletedLinks;
    Kest::MemoryOChannel states;          // of new and modified objects, one after the other
    std::vector<std::size_t> stateEnds;   // none: no states are told
    Kest::HashSet<Id> controlObjects;
};

}   // namespace

int Delta::EnumerateContent(ContentEnumerator& enumerator, EnumerationOrdering ordering, EnumerationMode mode) const {
    ContentWalk walk(*this, ordering);
    if (mode != LinksOnly)
        if (const int status = walk.AddObjects(mode != WithoutStates); status != 0)
            return status;
    if (mode != ObjectsOnly)
        walk.AddLinks([this](const Id& id) { return changes.Contains(id); });
    walk.Tell(enumerator);
    return 0;
}

}   // namespace ODB
