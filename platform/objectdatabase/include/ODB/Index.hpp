#pragma once

#include <ODB/Export.hpp>
#include <ODB/Object.hpp>
#include <ODB/Query.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

/// An index over the right side of one left object of an association: it answers queries and keeps itself current from
/// the events that the association sends it.
///
/// Writes through a bare reference reach an index late: the association notes the object and calls ObjectModified
/// before the next query, in the order of the last changes.
class ODB_API Index : public Object {
public:
    /// How Execute combines its answer with what the list holds.
    enum ResultMode : int {
        Replace = 0,   ///< the list is cleared first
        Append = 1     ///< the list is kept; any other value does the same
    };

    /// The index is attached to \p scope, the left object. Nothing in the base class.
    virtual void ScopeAssigned(const Ref<Object>& scope);

    /// Whether the index answers \p query.
    virtual bool Supports(const Query& query) const = 0;

    /// Puts the matching objects into \p result. \returns false when the index cannot answer
    virtual bool Execute(const Query& query, RefList<Object>* result, ResultMode mode) const = 0;

    /// Counts the matching objects. \returns false when the index cannot answer or \p count is null
    virtual bool Execute(const Query& query, unsigned int* count) const;

    /// Whether the index must be cleared and filled again before its next answer.
    virtual bool RequiresRebuild() const;

    using Object::ObjectDeleted;
    using Object::ObjectModified;

    /// \p object was linked.
    virtual void ObjectCreated(const Ref<Object>& object) = 0;
    /// \p object may have changed.
    virtual void ObjectModified(const Ref<Object>& object);
    /// \p object is about to be unlinked.
    virtual void ObjectDeleted(const Ref<Object>& object) = 0;
    /// Nothing is linked any more.
    virtual void Clear() = 0;

    /// Whether changes of linked objects matter to the index.
    virtual bool FollowsModifications() const;

    /// Makes room for \p count linked objects, so that ObjectCreated cannot fail for want of memory while there are no
    /// more. Nothing in the base class.
    /// \throws std::bad_alloc with nothing changed
    virtual void Reserve(std::size_t count);

    /// Whether it has seen all changes; else whoever asks it goes through the association.
    bool IsCurrent() const noexcept { return current; }

    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

private:
    friend class LinkList;
    bool current = false;
};

}   // namespace ODB
