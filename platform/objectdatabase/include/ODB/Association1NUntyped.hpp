#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

#include <Kest/Array.hpp>
#include <Kest/ClassInfo.hpp>

#include <ODB/AssociationProperty.hpp>
#include <ODB/Export.hpp>
#include <ODB/Index.hpp>
#include <ODB/Query.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

class LinkList;

/// How many links an object has.
struct LinkCount {
    std::size_t asLeft;
    std::size_t asRight;
};

/// The links of the object of \p record, in all associations.
ODB_API LinkCount CountLinks(const ObjectInfo& record) noexcept;

/// A kind of one-to-many link: a left object has any number of right objects in an order, a right object at most one
/// left object.
///
/// Links keep the order of connecting. Making, finding and cutting one is amortised constant. An enumeration visits
/// what was linked when it began and is still linked at its turn, whatever the callback does. Making and cutting a link
/// changes both its ends. Associations are statics of the library that defines their classes; they do not die before
/// the objects they link.
class ODB_API Association1NUntyped {
public:
    /// Makes an index for a left object; the association owns what it returns.
    using IndexFactory = std::function<std::unique_ptr<Index>()>;

    /// \param associationId the fixed identity of the association
    /// \param leftInfo, rightInfo the classes of its ends
    Association1NUntyped(const Id& associationId, const Kest::ClassInfo* leftInfo, const Kest::ClassInfo* rightInfo,
                         AssociationProperty associationProperties);
    ~Association1NUntyped();
    Association1NUntyped(const Association1NUntyped&) = delete;
    Association1NUntyped& operator=(const Association1NUntyped&) = delete;

    const Id& GetId() const noexcept { return id; }
    const Kest::ClassInfo* GetLeftClass() const noexcept { return leftClass; }
    const Kest::ClassInfo* GetRightClass() const noexcept { return rightClass; }
    const AssociationProperty& GetProperties() const noexcept { return properties; }

    /// The association with this id, or null.
    static const Association1NUntyped* Find(const Id& associationId);

    /// Links \p right behind the last right object of \p left. A link of \p right to another left object is cut first,
    /// without destroying anything; one to \p left stays where it is. An owning association takes \p right over for
    /// the database, in the id space of \p left when it has no id.
    /// \returns 0, -7001 for a null or dead end or one that is being deleted, -7003 for an end of a wrong class or an
    /// object that would own itself
    /// \throws std::bad_alloc, and what an index throws, with nothing changed
    int Connect(const Ref<Object>& left, const Ref<Object>& right) const;

    /// Links \p rights in their order behind the right objects of \p left, as Connect does, in one go: objects that
    /// have ids, no links and own nothing, for an association that sends no events.
    /// \param fillIndexes called when there is room for all, before any is linked, in place of telling the indexes of
    /// \p left of each; in the end these must know all, or, when it throws, none
    /// \throws std::bad_alloc, and what \p fillIndexes throws, with nothing changed
    void ConnectNewcomers(const Ref<Object>& left, const std::vector<ObjectInfo*>& rights,
                          const std::function<void()>& fillIndexes) const;

    /// Cuts the link between the two. An owned object that loses its last owner is destroyed.
    /// \returns 0, or -7003 when they are not linked
    int Disconnect(const Ref<Object>& left, const Ref<Object>& right) const;

    /// Cuts all links of \p left, in link order. Owned objects that lose their last owner are destroyed.
    void DisconnectAsLeft(const Ref<Object>& left) const;
    /// As DisconnectAsLeft, but the left object is sent no events.
    void ClearAsLeft(const Ref<Object>& left) const;
    /// Cuts the link of \p right, if any. Without another owner an owned object is destroyed.
    void ClearAsRight(const Ref<Object>& right) const;

    Ref<Object> GetLeft(const Ref<Object>& right) const noexcept;
    ConstRef<Object> GetLeft(const ConstRef<Object>& right) const noexcept;

    /// The record of the left object of \p right, null when there is none; counts no reference.
    ObjectInfo* FindLeft(const ObjectInfo& right) const noexcept;

    /// Appends the right objects of \p left to \p result, in link order; with a query those that match, from an index
    /// where one supports it.
    /// \returns 0, or -7001 for a null result
    int AppendRight(const Ref<Object>& left, RefList<Object>* result, const Query* query = nullptr) const;
    int AppendRight(const ConstRef<Object>& left, ConstRefList<Object>* result, const Query* query = nullptr) const;
    /// Appends the left object of \p right, if any. \returns 0, or -7001 for a null result
    int AppendLeft(const Ref<Object>& right, RefList<Object>* result) const;
    int AppendLeft(const ConstRef<Object>& right, ConstRefList<Object>* result) const;

    /// Calls \p call with each right object of \p left, in link order.
    void EnumerateRight(const Ref<Object>& left, const std::function<void(const Ref<Object>&)>& call) const;
    void EnumerateRight(const ConstRef<Object>& left, const std::function<void(const ConstRef<Object>&)>& call) const;
    /// Calls \p call with the left object of \p right, if any.
    void EnumerateLeft(const Ref<Object>& right, const std::function<void(const Ref<Object>&)>& call) const;
    void EnumerateLeft(const ConstRef<Object>& right, const std::function<void(const ConstRef<Object>&)>& call) const;

    bool IsConnected(const RefBase& left, const RefBase& right) const noexcept;
    bool IsConnectedAsLeft(const RefBase& left) const noexcept;
    bool IsConnectedAsRight(const RefBase& right) const noexcept;
    /// The number of right objects of \p left.
    std::size_t GetConnectionCount(const RefBase& left) const noexcept;

    /// Moves \p right from place \p from to place \p to, both counted from 0 among the right objects of \p left.
    /// \returns 0, or -7003 when \p right is not at \p from or \p to is no place, with nothing changed
    /// \throws std::bad_alloc with nothing changed
    int ReorderLinkFromLeftObject(const Ref<Object>& left, const Ref<Object>& right, std::size_t from,
                                  std::size_t to) const;

    /// \name Links of isolated objects
    /// As above, but nothing is destroyed for want of an owner and no event is sent: for whoever rebuilds a state.
    /// The multi forms do all or nothing.
    /// @{
    int CreateIsolatedLink(const Ref<Object>& left, const Ref<Object>& right) const;
    int DeleteIsolatedLink(const Ref<Object>& left, const Ref<Object>& right) const;
    int ReorderIsolatedLink(const Ref<Object>& left, const Ref<Object>& right, std::size_t from, std::size_t to) const;
    int CreateIsolatedLinks(const Ref<Object>& left, const RefList<Object>& rights) const;
    int DeleteIsolatedLinks(const Ref<Object>& left, const RefList<Object>& rights) const;
    /// Puts the right objects of \p left into the order of \p rights, which must name each exactly once.
    int ReorderIsolatedLinks(const Ref<Object>& left, const RefList<Object>& rights) const;
    /// @}

    /// \name Streams
    /// The links of one object, as identities. Reading makes them as isolated links; linked objects that are not there
    /// are left out, and other links stay. All or nothing; null and dead references are written as nobody.
    /// @{
    /// Writes the identity of the left object of \p right, the null id when there is none.
    /// \returns the channel's status
    int WriteLeft(const ConstRef<Object>& right, Kest::OChannel& channel) const;
    /// Writes how many right objects \p left has, in 32 bits, and their identities in link order.
    /// \returns the channel's status
    int WriteRight(const ConstRef<Object>& left, Kest::OChannel& channel) const;
    /// Reads what WriteLeft wrote and links \p right to that object, away from another one. Identities are those of
    /// \p idSpace (null: the input space), as RefBase::ReadRef finds them.
    /// \returns the channel's status, or what CreateIsolatedLink returns
    int IsolatedReadLeft(const Ref<Object>& right, Kest::IChannel& channel, IdSpace* idSpace) const;
    /// Reads what WriteRight wrote and links these objects, in that order, behind those of \p left.
    /// \returns the channel's status, or what CreateIsolatedLinks returns: -7003 also for an object that is linked
    int IsolatedReadRight(const Ref<Object>& left, Kest::IChannel& channel, IdSpace* idSpace) const;
    /// @}

    /// \name Indexes of the right side
    /// @{
    /// Gives each left object an index of its own, from its first link on. Only for associations with RightIndexBase;
    /// to be called before anything is linked.
    void SetRightIndexFactory(IndexFactory factory);
    /// Adds \p index, filled with what is linked, to the indexes of \p left. \returns 0; -7001 for a null argument;
    /// -7003 without RightIndexBase or when \p left has an index of that class already
    int AttachRightIndices(const Ref<Object>& left, std::unique_ptr<Index> index) const;
    /// The indexes of \p left, owned by the association, after they have seen all changes.
    Kest::Array<const Index*> GetAttachedRightIndices(const RefBase& left) const;
    /// Calls \p call with each index of \p left.
    void ModifyAttachedRightIndices(const Ref<Object>& left, const std::function<void(Index&)>& call) const;
    /// Removes and destroys the indexes of \p left.
    void DetachRightIndices(const Ref<Object>& left) const;
    /// Notes that \p right was changed, for the indexes above it.
    void InvalidateRightIndicesWithObjectModification(const Ref<Object>& right) const noexcept;

    /// The first index of \p left after it has seen all changes; null when there is none, or while it has lost changes
    /// for want of memory. The fast way to an index whose class is known and
    /// which never requires a rebuild of its own accord. Allocates nothing but to fill such an index
    /// anew.
    Index* FindRightIndex(const ObjectInfo& left) const noexcept;
    /// The same, leaving out what was noted of \p changing, which is about to be changed by its own operation.
    Index* FindRightIndexForChange(const ObjectInfo& left, const Object& changing) const noexcept;
    /// @}

    /// The records of the right objects of \p left in link order, as a walk that stays valid whatever happens between
    /// its steps: the ground on which the enumerations stand.
    class ODB_API RightWalk {
    public:
        RightWalk(const Association1NUntyped& association, const RefBase& left) noexcept;
        ~RightWalk();
        RightWalk(const RightWalk&) = delete;
        RightWalk& operator=(const RightWalk&) = delete;

        /// The next record, null at the end.
        ObjectInfo* Next() noexcept;

    private:
        friend class Association1NUntyped;
        friend class LinkList;

        LinkList* list;   // null once the list is gone
        RightWalk* outer = nullptr;
        std::size_t position = 0;
        std::size_t end = 0;
        std::unique_ptr<Kest::Array<ObjectInfo*>> snapshot;   // taken when somebody reorders during the walk
    };

private:
    int Check(const RefBase& left, const RefBase& right) const;
    int Link(const Ref<Object>& left, const Ref<Object>& right, bool sendEvents) const;
    void SendConnected(const ConstRef<Object>& oldLeft, const Ref<Object>& left, const Ref<Object>& right) const;
    int Unlink(const Ref<Object>& left, const Ref<Object>& right, bool isolated) const;
    void UnlinkAll(ObjectInfo& left, bool sendEvents) const;
    int Reorder(const Ref<Object>& left, const Ref<Object>& right, std::size_t from, std::size_t to,
                bool sendEvents) const;

    Id id;
    const Kest::ClassInfo* leftClass;
    const Kest::ClassInfo* rightClass;
    AssociationProperty properties;
    IndexFactory indexFactory;

    friend class LinkList;
};

}   // namespace ODB
