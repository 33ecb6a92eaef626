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

class IdSpace;

/// Which links a delta takes along.
enum class LinkBoundary : int {
    Inside = 3   ///< links whose two ends are both among the objects
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

/// Puts into \p delta what is among \p newObjects and not among \p oldObjects, with the links that \p boundary names,
/// in the order of the objects and of their links. Only objects that \p filter lets pass take part. \returns 0, -7001
/// for a null delta or a null or dead object, -7003 for an object without an id, -108 when memory runs out, or what
/// storing an object's state returns; then the delta is empty
ODB_API int CreateDelta(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, Delta* delta,
                        LinkBoundary boundary, const ObjectFilter& filter);

/// Makes the new objects and links of \p delta in \p target: checks all ids, makes all objects, restores all contents,
/// then makes the links, each in its place. All or nothing; no observer is told. Only what is new can be merged:
/// a delta in which anything was modified, deleted or reordered is refused.
/// \returns 0, or -7003 with nothing changed when the delta is refused, an id is taken in \p target, a class cannot be
/// made, a link's right object is not new or linked twice, or its left object or its neighbour is not there; what
/// restoring a content returns, or -108 when memory runs out, with nothing changed
ODB_API int MergeDelta(IdSpace& target, const Delta& delta);

/// \p objects and everything that they own, directly or through others: each once, behind the owner through which it
/// was first met, in link order. Objects that \p filter rejects are left out with what they own.
ODB_API RefList<Object> DetermineOwnedObjectSet(const RefList<Object>& objects, const ObjectFilter& filter = nullptr);

}   // namespace ODB
