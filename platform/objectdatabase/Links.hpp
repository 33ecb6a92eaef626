#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include <ODB/Association1NUntyped.hpp>
#include <ODB/ObjectInfo.hpp>

namespace ODB {

/// The right objects of one left object in one association, and the indexes over them.
///
/// Entries keep their place until the list is compacted: a cut link leaves a gap, a new one goes to the end. A right
/// object knows its place, so that cutting in any order costs the same. Objects written through bare references are
/// queued by place; the queue has room for every place, so that queueing never allocates.
class LinkList {
public:
    LinkList(const Association1NUntyped& listAssociation, ObjectInfo& leftRecord);
    ~LinkList();
    LinkList(const LinkList&) = delete;
    LinkList& operator=(const LinkList&) = delete;

    /// The list of \p left in \p association, null when there is none.
    static LinkList* Find(const ObjectInfo& left, const Association1NUntyped& association) noexcept;
    /// The same, made when there is none. \throws std::bad_alloc with nothing changed
    static LinkList& Get(ObjectInfo& left, const Association1NUntyped& association);

    const Association1NUntyped& GetAssociation() const noexcept { return association; }
    ObjectInfo& GetLeft() const noexcept { return *left; }
    std::size_t GetCount() const noexcept { return count; }
    bool IsOwning() const noexcept;
    /// Whether deleting the left object deletes right ones that nobody else owns.
    bool Propagates() const noexcept;

    /// Makes room for \p more links. \throws std::bad_alloc with nothing changed
    void Reserve(std::size_t more);
    /// Appends \p right; room has been made on both sides.
    void Append(ObjectInfo& right) noexcept;
    /// Before most links are cut: the indexes are told no more and, should anybody ask them, filled anew.
    void SuspendIndexes() noexcept;
    /// The indexes are filled anew before they hear or answer again: what they have seen has been taken back.
    void RefillIndexes() noexcept {
        if (!indexes.empty())
            MarkStale();
    }
    /// Takes \p right out, of the indexes first. Both ends count as changed.
    void Cut(ObjectInfo& right) noexcept;
    /// Moves the live entry at ordinal place \p from to \p to. \throws std::bad_alloc with nothing changed
    void Move(std::size_t from, std::size_t to);
    /// Puts the entries into the order of \p order, a permutation of them.
    void Arrange(const std::vector<ObjectInfo*>& order);
    /// Moves \p right directly behind \p behind, before all others when that is null. Only what stands between its
    /// place and the nearest gap moves along. The walks have snapshots.
    void PlaceBehind(ObjectInfo& right, ObjectInfo* behind) noexcept;
    /// Lets the walks remember what they have still to visit: before places change. \throws std::bad_alloc
    void TakeSnapshots();
    /// Before entries get other places, or objects in them another identity: the recorders take the order.
    void ShowOrder() noexcept {
        if (ObjectInfo::recorders != nullptr)
            ShowOrderToRecorders();
    }

    /// The first live entry, null when there is none.
    ObjectInfo* GetFirst() noexcept;
    /// The live entry at ordinal place \p place, null when there is none.
    ObjectInfo* GetAt(std::size_t place) const noexcept;
    /// All entries by place, null where a link was cut.
    const std::vector<ObjectInfo*>& GetEntries() const noexcept { return entries; }
    /// All live entries in order. \throws std::bad_alloc
    std::vector<ObjectInfo*> GetAll() const;

    void Queue(ObjectInfo& right, std::uint32_t& place) noexcept;
    /// Brings the indexes up to date: shows them the queued objects in the order of their last changes, but for
    /// \p changing, about to be changed by its own operation, which stays queued.
    void Drain(const Object* changing = nullptr) noexcept;
    /// Takes the object at \p place out of the queue, where it is the only one: the indexes have just seen it.
    void Forget(std::uint32_t& place) noexcept;
    /// Stamps and queues all right objects.
    void StampAll() noexcept;

    /// \throws what an index throws; then none of them has \p right
    void TellCreated(ObjectInfo& right);
    /// \p right stands in the list already, under another record until now.
    void TellArrived(ObjectInfo& right) noexcept;
    void TellDeleted(ObjectInfo& right) noexcept;
    /// A change that passed the gate: brings the indexes up to date.
    void TellModified(ObjectInfo& right) noexcept;

    void AttachIndex(std::unique_ptr<Index> index);
    void DetachIndexes() noexcept;
    const std::vector<std::unique_ptr<Index>>& GetIndexes() const noexcept { return indexes; }
    /// Drain, and a rebuild of the indexes that ask for one: before queries are answered.
    void PrepareAnswer() noexcept;
    /// Whether the indexes wait to be shown something.
    bool HasPending() const noexcept { return !queue.empty() || indexesStale; }
    /// Whether the indexes may answer: false when they could not be brought up to date for want of memory.
    bool AreIndexesCurrent() const noexcept { return !indexesStale; }

    bool CheckInvariants() const;
    void Rebind(ObjectInfo& newLeft) noexcept;
    void Replace(std::uint32_t place, ObjectInfo& newRight) noexcept;

private:
    friend class Association1NUntyped::RightWalk;

    void Remove(ObjectInfo& right) noexcept;
    void ShowPlacing(std::size_t place) noexcept {
        if (ObjectInfo::recorders != nullptr)
            ShowPlacingToRecorders(place);
    }
    void ShowLeaving(std::size_t place) noexcept {
        if (ObjectInfo::recorders != nullptr)
            ShowLeavingToRecorders(place);
    }
    void ShowPlacingToRecorders(std::size_t place) noexcept;
    void ShowLeavingToRecorders(std::size_t place) noexcept;
    void ShowOrderToRecorders() noexcept;
    void ShowEndToRecorders() noexcept;
    bool MayCompact() const noexcept;
    void Compact() noexcept;
    std::size_t FindGap(std::size_t border) const noexcept;
    void Put(std::size_t place, ObjectInfo& right) noexcept;
    void Shift(std::size_t from, std::size_t to) noexcept;
    void ForgetQueue() noexcept;
    bool IsOnlyQueued(const Object* changing) const noexcept;
    void ShowQueue(const Object* changing) noexcept;
    void Fill(Index& index) const;
    void Rebuild() noexcept;
    void MarkIndexes(bool current) noexcept;
    void MarkStale() noexcept;
    bool IndexesRequireRebuild() const;

    const Association1NUntyped& association;
    ObjectInfo* left;
    std::vector<ObjectInfo*> entries;   // null where a link was cut
    std::size_t first = 0;              // no live entry stands before it
    std::size_t count = 0;
    std::vector<std::uint32_t> queue;   // places; each at most once behind the first `shown`
    std::size_t shown = 0;              // those of the queue that the indexes have seen while it is drained
    std::vector<std::unique_ptr<Index>> indexes;
    Association1NUntyped::RightWalk* walks = nullptr;
    bool followed = false;   // some index follows modifications
    bool draining = false;
    bool indexesStale =
        false;   // an index could not take a change: all are filled anew before they hear or answer again
};

/// Where a right object stands.
struct LinkEnd {
    LinkList* list;
    std::uint32_t place;   // in the list's entries; the highest bit: queued there
};

/// All links of an object that has more than one link as right side, or any as left side.
class LinkTable {
public:
    std::vector<LinkEnd> rights;
    std::vector<std::unique_ptr<LinkList>> lists;

    /// The table of \p record, null when it has none.
    static LinkTable* Find(const ObjectInfo& record) noexcept;
    /// The same, made when there is none. \throws std::bad_alloc with nothing changed
    static LinkTable& Get(ObjectInfo& record);
    /// Frees the table when nothing is in it any more.
    static void FreeIfEmpty(ObjectInfo& record) noexcept;

    static bool HasAny(const ObjectInfo& record) noexcept { return record.links != 0; }

    /// Calls \p call with (list, place&) of each link of \p record as right side, until it returns true.
    template <class Call>
    static bool AnyRight(ObjectInfo& record, Call&& call) {
        if (record.links == 0)
            return false;
        if (LinkTable* const table = Find(record)) {
            for (LinkEnd& end : table->rights)
                if (call(*end.list, end.place))
                    return true;
            return false;
        }
        return call(*reinterpret_cast<LinkList*>(record.links), record.position);
    }

    /// The list in which \p record is a right side of \p association, null when there is none.
    static LinkList* FindRight(const ObjectInfo& record, const Association1NUntyped& association) noexcept;
    /// The place of \p record in \p list; null when it is not there.
    static std::uint32_t* FindPlace(ObjectInfo& record, const LinkList& list) noexcept;

    /// Makes room for one more link as right side. \throws std::bad_alloc with nothing changed
    static void ReserveRight(ObjectInfo& record);
    /// The same for \p more links, which may be made and others cut in any order until Release.
    static void ReserveRights(ObjectInfo& record, std::size_t more);
    static void Release(ObjectInfo& record) noexcept;
    static void AddRight(ObjectInfo& record, LinkList& list, std::uint32_t place) noexcept;
    static void RemoveRight(ObjectInfo& record, const LinkList& list) noexcept;

    /// Lets \p to take over the links of \p from.
    static void Transfer(ObjectInfo& from, ObjectInfo& to) noexcept;

    static constexpr std::uint32_t QueuedBit = std::uint32_t{1} << 31;
    /// The place without the mark.
    static std::uint32_t PlaceOf(std::uint32_t place) noexcept { return place & ~QueuedBit; }
    static constexpr std::uintptr_t TableBit = 1;

private:
    bool kept = false;   // stays when nothing is in it: room has been made
};

using LeftEvent = void (Object::*)(const Association1NUntyped& association, const ConstRef<Object>& right);

/// Sends the left object an event about \p right, when the association sends events and the object lives. It stays in
/// memory until it returns, whatever it does.
void TellLeft(LeftEvent event, const Association1NUntyped& association, ObjectInfo& left, ObjectInfo& right);

/// Why a link is cut, which decides what the left object is told.
enum class CutReason { Silent, Disconnected, RightDeleted };

/// Cuts the link of \p right in \p list: indexes first, then both ends, then the event. Destroys nothing. Of a deletion
/// the left object hears before.
void CutLink(LinkList& list, ObjectInfo& right, CutReason reason) noexcept;

/// Whether \p record has an owner.
bool IsOwned(ObjectInfo& record) noexcept;

}   // namespace ODB
