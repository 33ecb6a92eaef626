#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <Kest/ClassInfo.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>

#include <ODB/ChangeRecorder.hpp>
#include <ODB/ObjectInfo.hpp>

#include "AssociationEnd.hpp"
#include "ListDifference.hpp"
#include "ResultCodes.hpp"

namespace ODB {

/// What a recorder has noted: how all that was changed since stood at the opening.
///
/// Links count while both their ends are in the recorded space, by the ids that they have there.
class ChangeRecorder::Record {
public:
    /// \name What the database shows to all recorders that are open
    /// Each before it happens; nothing while there is none.
    /// @{
    /// An object gives up its identity.
    static void ShowDeparture(ObjectInfo& record) noexcept {
        if (ObjectInfo::recorders != nullptr && record.IsAlive())
            ShowDepartureToAll(record);
    }
    /// An object without an identity takes one.
    static void ShowArrival(ObjectInfo& record, IdSpace& newSpace, const Id& newId) noexcept {
        if (ObjectInfo::recorders != nullptr && record.IsAlive())
            ShowArrivalToAll(record, newSpace, newId);
    }
    /// An object is being destroyed by others than the database: its content is gone.
    static void ShowLoss(ObjectInfo& record) noexcept {
        if (ObjectInfo::recorders != nullptr)
            ShowLossToAll(record);
    }
    /// A space comes to its end.
    static void Forget(IdSpace& dyingSpace) noexcept;
    /// Calls \p call with the record of each recorder of \p shownSpace. What it throws is answered later.
    template <class Call>
    static void ForEach(const IdSpace* shownSpace, Call&& call) noexcept {
        if (shownSpace == nullptr)
            return;
        for (ChangeRecorder* recorder = ObjectInfo::recorders; recorder != nullptr; recorder = recorder->next)
            if (recorder->space == shownSpace)
                recorder->record->Note(call);
    }
    /// @}

    void NoteContent(const Object& object, const Id& id);
    void NoteNewObject(const Id& id) { objects.Add(id, {}); }
    void NoteLoss(const Id& id);
    /// A left object arrives with its links.
    void NoteNewLinks(const AssociationEnd& end) { lists.Add(end, {}); }
    /// A right object comes to a free place.
    void NotePlacing(const LinkList& list, std::size_t place);
    /// The right object at \p place leaves it.
    void NoteLeaving(const LinkList& list, std::size_t place);
    void NoteOrder(const LinkList& list);
    void NoteEnd(const LinkList& list) noexcept;

    bool IsEmpty() const noexcept { return objects.IsEmpty() && lists.IsEmpty() && status == 0; }
    void Clear() noexcept;

    /// \returns as CreateDeltas. \throws std::bad_alloc; either way the deltas may hold anything then
    int Fill(const IdSpace& presentSpace, Delta* forward, Delta* back);

private:
    using State = std::shared_ptr<const Object::IsolatedState>;

    /// An object at some time; without a class there was none.
    struct StoredObject {
        const Kest::ClassInfo* classInfo = nullptr;
        State state;
        std::string bytes;   // none: it cannot be written
    };

    struct PlacedRight {
        std::size_t place;
        Id right;
    };

    /// The links of one left object in one association at the opening: those that stand in the list where they stood,
    /// which are all before `oldEnd` but strangers, and `olds`, which have left their places since. Without a list,
    /// `olds` in order.
    struct KnownList {
        bool Stays(std::size_t place) const { return place < oldEnd && !strangers.Contains(place); }

        const LinkList* list = nullptr;
        std::size_t oldEnd = 0;
        std::vector<PlacedRight> olds;
        Kest::HashSet<std::size_t> strangers;   // places
    };

    static void ShowDepartureToAll(ObjectInfo& record) noexcept;
    static void ShowArrivalToAll(ObjectInfo& record, IdSpace& newSpace, const Id& newId) noexcept;
    static void ShowLossToAll(ObjectInfo& record) noexcept;

    // After a failure nothing counts any more, and lists that were known may be gone.
    template <class Call>
    void Note(Call&& call) noexcept {
        if (status != 0)
            return;
        try {
            call(*this);
        } catch (...) {
            Fail(MemoryFull);
        }
    }
    void Fail(int code) noexcept { status = status != 0 ? status : code; }

    KnownList& Know(const LinkList& list);
    static void TakeOrder(KnownList& known);
    static void SortByPlace(KnownList& known) noexcept;

    int FillObject(std::size_t place, const IdSpace& presentSpace, Delta* forward, Delta* back) const;
    int CompareContent(const Object& object, std::size_t place, bool& isSame) const;
    static void AddObject(Delta& delta, const Id& id, const StoredObject& then, const StoredObject& now);
    void FillLinks(const IdSpace& presentSpace, Delta* forward, Delta* back);
    static ListDifference Compare(KnownList& known, const LinkList* present);
    static std::vector<Id> GetOldOrder(const KnownList& known);
    static std::optional<ListDifference> CompareEnd(const KnownList& known);
    static ListDifference CompareSpan(const KnownList& known);

    Kest::HashTable<Id, StoredObject> objects;
    Kest::HashTable<AssociationEnd, KnownList> lists;
    int status = 0;   // of the first thing that could not be noted
};

}   // namespace ODB
