#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include <Kest/ClassInfo.hpp>
#include <Kest/HashTable.hpp>
#include <Kest/UniString.hpp>

#include <ODB/Association1NUntyped.hpp>
#include <ODB/Export.hpp>
#include <ODB/Id.hpp>
#include <ODB/Object.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class ConflictResolver;
class ContentEnumerator;
class IdSpace;
class IsolatedStateIO;

/// Which links a delta takes along: those whose named ends are among the objects.
enum class LinkBoundary : int {
    Touching = 0,      ///< any link of any of the objects
    LeftInside = 1,    ///< the left end is among the objects
    RightInside = 2,   ///< the right end is
    Inside = 3         ///< both ends are
};

/// Decides whether an object takes part; a null filter lets all take part.
using ObjectFilter = std::function<bool(const ConstRef<Object>&)>;

/// The way from an old state of an id space to a new one: what objects and links were added, changed and taken away.
///
/// A delta holds copies of the content; it does not depend on the objects it was made from. It leads one way: the way
/// back is a delta of its own. Everything stands in the order in which it was added.
///
/// An id stands in at most one of the three collections of objects, a right object in at most one link of an
/// association. Where a link stands among those of its left object is said by its neighbour in the new state: the right
/// object that it follows there, the null id when it comes first. Links that the delta does not name keep their order.
class ODB_API Delta {
public:
    /// A new or modified object, with its content in the new state.
    struct StoredObject {
        const Kest::ClassInfo* classInfo;
        Id id;
        std::shared_ptr<const Object::IsolatedState> state;
    };
    struct DeletedObject {
        const Kest::ClassInfo* classInfo;
        Id id;
    };
    /// A new or reordered link.
    struct PlacedLink {
        const Association1NUntyped* association;
        Id left;
        Id right;
        Id behind;   ///< the right object that `right` follows in the new state
    };
    /// A link whose right object went over to another left object.
    struct ModifiedLink {
        const Association1NUntyped* association;
        Id oldLeft;
        Id left;
        Id right;
        Id behind;   ///< as in PlacedLink, among the links of `left`
    };
    struct DeletedLink {
        const Association1NUntyped* association;
        Id left;
        Id right;
    };

    /// \param idSpace the space that the ids belong to; null means the default space
    explicit Delta(IdSpace* idSpace);
    Delta(const Kest::UniString& deltaName, IdSpace* idSpace);

    /// The record that marks the delta in streams.
    static const Kest::ClassInfo* GetClassInfoStatic();

    const Kest::UniString& GetName() const noexcept { return name; }
    bool HasName() const noexcept { return !name.IsEmpty(); }
    IdSpace* GetIdSpace() const noexcept { return space; }

    std::size_t GetNewObjectCount() const noexcept { return newObjects.size(); }
    std::size_t GetModifiedObjectCount() const noexcept { return modifiedObjects.size(); }
    std::size_t GetDeletedObjectCount() const noexcept { return deletedObjects.size(); }
    std::size_t GetNewLinkCount() const noexcept { return newLinks.size(); }
    std::size_t GetModifiedLinkCount() const noexcept { return modifiedLinks.size(); }
    std::size_t GetDeletedLinkCount() const noexcept { return deletedLinks.size(); }
    std::size_t GetReorderedLinkCount() const noexcept { return reorderedLinks.size(); }

    /// Whether nothing is recorded; the name does not count.
    bool IsEmpty() const noexcept { return !HasObjects() && !HasLinks(); }
    bool ContainsNewObject(const Id& id) const { return IsRecordedAs(ObjectChange::New, id); }
    bool ContainsModifiedObject(const Id& id) const { return IsRecordedAs(ObjectChange::Modified, id); }

    const std::vector<StoredObject>& GetNewObjects() const noexcept { return newObjects; }
    const std::vector<StoredObject>& GetModifiedObjects() const noexcept { return modifiedObjects; }
    const std::vector<DeletedObject>& GetDeletedObjects() const noexcept { return deletedObjects; }
    const std::vector<PlacedLink>& GetNewLinks() const noexcept { return newLinks; }
    const std::vector<ModifiedLink>& GetModifiedLinks() const noexcept { return modifiedLinks; }
    const std::vector<DeletedLink>& GetDeletedLinks() const noexcept { return deletedLinks; }
    const std::vector<PlacedLink>& GetReorderedLinks() const noexcept { return reorderedLinks; }

    /// \name Recording objects
    /// Each throws std::bad_alloc with nothing changed. What is recorded the same way already is left as it is.
    /// @{
    /// Records \p object with its present content.
    /// \returns 0, -7001 without an object, -7003 for one without an id or recorded otherwise, or what
    /// StoreIsolatedState returns, with nothing changed
    int AddNewObject(const ConstRef<Object>& object);
    /// The same for an object that was there before, with other content.
    int AddModifiedObject(const ConstRef<Object>& object);
    /// Records that the object \p id of class \p classInfo, which must live as long as the delta, is gone.
    /// \returns 0, or -7003 for a null id or one that is recorded otherwise
    int AddDeletedObject(const Kest::ClassInfo& classInfo, const Id& id);
    /// @}

    /// \name Recording links
    /// Each throws std::bad_alloc with nothing changed. That a right object comes but once per association is up to
    /// the caller; Read and MergeDelta refuse others.
    /// @{
    /// Records the link of \p left and \p right, which follows \p behind.
    /// \returns 0, or -7003 for a null end or a link that follows itself
    int AddNewLink(const Association1NUntyped& association, const Id& left, const Id& right, const Id& behind);
    /// Records that \p right went from \p oldLeft to \p left, where it follows \p behind.
    /// \returns as AddNewLink; -7003 also when the two left objects are the same
    int AddModifiedLink(const Association1NUntyped& association, const Id& oldLeft, const Id& left, const Id& right,
                        const Id& behind);
    /// Records that \p left and \p right are linked no more. \returns 0, or -7003 for a null end
    int AddDeletedLink(const Association1NUntyped& association, const Id& left, const Id& right);
    /// Records that \p right now follows \p behind among the right objects of \p left. \returns as AddNewLink
    int AddReorderedLink(const Association1NUntyped& association, const Id& left, const Id& right, const Id& behind);
    /// @}

    /// In what order EnumerateContent goes.
    enum EnumerationOrdering : int {
        InOrderOfAdding = 0,   ///< the seven collections one after the other, each as it was filled
        ById = 1               ///< the same, each ordered by id; links by association, left and right object
    };
    /// What EnumerateContent tells.
    enum EnumerationMode : int {
        Everything = 0,     ///< objects with their states, links, and the control objects last
        ObjectsOnly = 1,    ///< objects with their states
        LinksOnly = 2,      ///< links, and the control objects last
        WithoutStates = 3   ///< as Everything, but no states are made
    };

    /// Tells \p enumerator of everything: new, modified and deleted objects, new, modified, reordered and deleted
    /// links, at last the control objects, in the order in which links name them.
    /// \returns 0, or with nothing told what making the states returns, as Write does
    /// \throws std::bad_alloc with nothing told
    int EnumerateContent(ContentEnumerator& enumerator, EnumerationOrdering ordering, EnumerationMode mode) const;

    /// Makes room for one more deleted object and one more link of each sort: recording them cannot fail then, so that
    /// whoever does what it records does both or neither. \throws std::bad_alloc with nothing changed
    void ReserveOne();

    /// Forgets everything but name and space.
    void Clear() noexcept;
    /// The same, and ties the delta to \p idSpace.
    void Clear(IdSpace* idSpace) noexcept;

    /// Writes the delta, all contents in today's versions; the same delta gives the same bytes.
    /// \returns 0, -7003 for an object of a class without a factory, or a code of the channel or of an object's class;
    /// then the channel has failed with it
    int Write(Kest::OChannel& channel) const;

    /// Takes the delta from what Write wrote; the space stays. References inside contents are looked up in it. Of an
    /// unknown major version nothing is read, and nothing changes.
    /// \returns 0, or with nothing changed a code of the channel or of an object's class; Damaged also for a class or
    /// an association that is not known here, an id or a right object that comes twice; then the channel has failed
    int Read(Kest::IChannel& channel);

private:
    enum class ObjectChange : unsigned char { New, Modified, Deleted };
    class Reader;
    friend class ChangeRecorder;

    bool HasObjects() const noexcept {
        return !newObjects.empty() || !modifiedObjects.empty() || !deletedObjects.empty();
    }
    bool HasLinks() const noexcept {
        return !newLinks.empty() || !modifiedLinks.empty() || !deletedLinks.empty() || !reorderedLinks.empty();
    }
    bool IsRecordedAs(ObjectChange change, const Id& id) const;
    std::vector<StoredObject>& StoredObjects(ObjectChange change) noexcept {
        return change == ObjectChange::New ? newObjects : modifiedObjects;
    }
    int AddPresent(ObjectChange change, const ConstRef<Object>& object);
    void Store(ObjectChange change, StoredObject object);
    void WriteBody(Kest::OChannel& channel) const;

    Kest::UniString name;
    IdSpace* space;
    std::vector<StoredObject> newObjects;
    std::vector<StoredObject> modifiedObjects;
    std::vector<DeletedObject> deletedObjects;
    std::vector<PlacedLink> newLinks;
    std::vector<ModifiedLink> modifiedLinks;
    std::vector<DeletedLink> deletedLinks;
    std::vector<PlacedLink> reorderedLinks;
    Kest::HashTable<Id, ObjectChange> changes;   // of all objects
};

/// Puts into \p delta the way from \p oldObjects to \p newObjects, which may be the same objects, others in the same
/// id space, or objects of another space: they are told by their ids. What is among the new ones only is new, what is
/// among the old ones only is deleted, what is among both with other content, which is an isolated state of other
/// bytes, is modified; links likewise, with as few reordered ones as there can be. Only objects that \p filter lets
/// pass take part. Objects stand in the order of the lists, links in their own order, list by list.
/// \param boundary which links take part; ends of an old link are looked for among the old objects, of a new one among
/// the new ones
/// \returns 0; -7001 for a null delta or a null or dead object; -7003 for an object without an id, two in one list with
/// one id, or an id that has another class in the other list; -108 when memory runs out; what storing or writing an
/// object's state returns. Then the delta is empty
ODB_API int CreateDelta(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, Delta* delta,
                        LinkBoundary boundary, const ObjectFilter& filter);

/// Merges \p delta into \p target: checks everything, makes the new objects, restores the new and then the modified
/// contents, makes, moves, places and cuts links, deletes what is deleted. All or nothing: whatever is returned but 0,
/// the target is as it was, also when memory has run out, as long as the classes concerned can take a content back
/// without memory (Object::IsolatedState::ReturnTo). A delta that leads from A to B, merged into A, makes it B; the one
/// that leads back makes it A again, with the same ids, contents and links in the same order; references to objects
/// that come back live again. Costs what the delta costs, but for lists in which many links get another place.
///
/// Observers of attributes and the like are told nothing, except that those of objects that are deleted hear so; that
/// happens last, when everything else is done, and whatever they do then is theirs.
/// \param io how contents pass; null: as they are
/// \param resolver decides about what does not fit; null refuses
/// \param sendEvents tells left objects, in the end, of the links that came, went and moved, where associations send
/// events
/// \returns 0; -7003 when a conflict is refused, a class cannot be made, a link would make an object own itself or is
/// none for its association, a right object comes twice in one, two links follow one object or links each other in a
/// ring; what storing, restoring or passing a content returns; -108
ODB_API int MergeDelta(IdSpace& target, const Delta& delta, IsolatedStateIO* io, ConflictResolver* resolver,
                       bool sendEvents);
/// The same with nothing for \p io and \p resolver, and no events.
ODB_API int MergeDelta(IdSpace& target, const Delta& delta);

/// \p objects and everything that they own, directly or through others: each once, behind the owner through which it
/// was first met, in link order. Objects that \p filter rejects are left out with what they own.
ODB_API RefList<Object> DetermineOwnedObjectSet(const RefList<Object>& objects, const ObjectFilter& filter = nullptr);

}   // namespace ODB
