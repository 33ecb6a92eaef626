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

/// What was added between two states of an id space: objects with their content, and links in their order.
///
/// A delta holds copies of the content; it does not depend on the objects it was made from.
class ODB_API Delta {
public:
    struct NewObject {
        const Kest::ClassInfo* classInfo;
        Id id;
        std::shared_ptr<const Object::IsolatedState> state;
    };
    struct NewLink {
        const Association1NUntyped* association;
        Id left;
        Id right;
    };

    /// \param idSpace the space that the ids belong to
    explicit Delta(IdSpace* idSpace);
    Delta(const Kest::UniString& deltaName, IdSpace* idSpace);

    const Kest::UniString& GetName() const noexcept { return name; }
    bool HasName() const noexcept { return !name.IsEmpty(); }
    IdSpace* GetIdSpace() const noexcept { return space; }

    std::size_t GetNewObjectCount() const noexcept { return newObjects.size(); }
    std::size_t GetNewLinkCount() const noexcept { return newLinks.size(); }
    bool IsEmpty() const noexcept { return newObjects.empty() && newLinks.empty(); }
    bool ContainsNewObject(const Id& id) const { return places.Contains(id); }

    const std::vector<NewObject>& GetNewObjects() const noexcept { return newObjects; }
    const std::vector<NewLink>& GetNewLinks() const noexcept { return newLinks; }

    /// Records \p object with its present content; one that is recorded already is left as it is.
    /// \returns 0, -7001 without an object, -7003 for one without an id, or what StoreIsolatedState returns
    /// \throws std::bad_alloc with nothing changed
    int AddNewObject(const ConstRef<Object>& object);

    /// Records the link of \p left and \p right. \returns 0, or -7003 for an end without an id
    int AddNewLink(const Association1NUntyped& association, const RefBase& left, const RefBase& right);

    void Clear() noexcept;

private:
    Kest::UniString name;
    IdSpace* space;
    std::vector<NewObject> newObjects;
    std::vector<NewLink> newLinks;
    Kest::HashTable<Id, std::size_t> places;   // of the new objects
};

/// Puts into \p delta what is among \p newObjects and not among \p oldObjects, with the links that \p boundary names,
/// in the order of the objects and of their links. Only objects that \p filter lets pass take part. \returns 0, -7001
/// for a null delta or a null or dead object, -7003 for an object without an id, -108 when memory runs out, or what
/// storing an object's state returns; then the delta is empty
ODB_API int CreateDelta(const RefList<Object>& oldObjects, const RefList<Object>& newObjects, Delta* delta,
                        LinkBoundary boundary, const ObjectFilter& filter);

/// Makes the objects and links of \p delta in \p target: checks all ids, makes all objects, restores all contents, then
/// makes the links in the delta's order. All or nothing; no observer is told.
/// \returns 0, or -7003 with nothing changed when an id is taken in \p target, a class cannot be made, a content
/// cannot be restored, or a link's right object is not new or its left object is not there; -108 with nothing changed
/// when memory runs out
ODB_API int MergeDelta(IdSpace& target, const Delta& delta);

/// \p objects and everything that they own, directly or through others: each once, behind the owner through which it
/// was first met, in link order. Objects that \p filter rejects are left out with what they own.
ODB_API RefList<Object> DetermineOwnedObjectSet(const RefList<Object>& objects, const ObjectFilter& filter = nullptr);

}   // namespace ODB
