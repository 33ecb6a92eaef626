#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include <Kest/HashTable.hpp>

#include <ODB/Delta.hpp>

#include "Conflicts.hpp"
#include "MergeTarget.hpp"

namespace ODB {

/// Which objects a merge makes, modifies and deletes, and where the objects of its links are. Planning changes nothing
/// but that identities that are to come have a record.
class ObjectPlan {
public:
    struct Newcomer {
        const Delta::StoredObject* source;
        Ref<Object> identity;
        const Association1NUntyped* rightOf = nullptr;   // for LinkPlan: where it was a right object first
    };
    struct Change {
        const Delta::StoredObject* source;
        Ref<Object> object;
    };
    /// An object as end of a link; without a record there is none.
    struct End {
        ObjectInfo* record = nullptr;
        const Kest::ClassInfo* classInfo = nullptr;
        Newcomer* newcomer = nullptr;

        explicit operator bool() const noexcept { return record != nullptr; }
    };

    ObjectPlan(MergeTarget& mergeTarget, const Conflicts& mergeConflicts) noexcept
        : target(mergeTarget),
          conflicts(mergeConflicts) {}

    /// \returns false when a conflict is refused. \throws std::bad_alloc
    bool Make(const Delta& delta);

    const MergeTarget& GetTarget() const noexcept { return target; }
    const std::vector<Newcomer>& GetNewcomers() const noexcept { return newcomers; }
    const std::vector<Change>& GetChanges() const noexcept { return changes; }
    /// What is in the target and the delta deletes; see IsDeleted.
    const std::vector<Ref<Object>>& GetDoomed() const noexcept { return doomed; }

    /// The object with \p id as it will be there after the merge. Quick for newcomers in their order.
    End FindNext(const Id& id);
    /// The same, wherever it may stand.
    End Find(const Id& id);
    /// The object that is in the target now and not on its way out, null when there is none.
    ObjectInfo* FindPresent(const Id& id) const noexcept;

    /// Whether the merge deletes the object.
    bool IsDeleted(const ObjectInfo& record) const noexcept { return Is(record, Fate::Deleted); }
    /// Whether the delta deletes the object, and a resolver has decided that it stays.
    bool IsKept(const ObjectInfo& record) const noexcept { return Is(record, Fate::Kept); }
    void KeepObject(const ObjectInfo& record) { fates.Put(&record, Fate::Kept); }

private:
    enum class Fate : unsigned char { Deleted, Kept };

    bool AddNew(const Delta::StoredObject& source);
    bool AddModified(const Delta::StoredObject& source);
    bool AddDeleted(const Delta::DeletedObject& source);
    void AddNewcomer(const Delta::StoredObject& source, Ref<Object> identity);
    Newcomer* FindNewcomer(const ObjectInfo& record) noexcept;
    bool Is(const ObjectInfo& record, Fate fate) const noexcept {
        const Fate* const found = fates.IsEmpty() ? nullptr : fates.Find(&record);
        return found != nullptr && *found == fate;
    }

    MergeTarget& target;
    const Conflicts& conflicts;
    std::vector<Newcomer> newcomers;
    std::vector<Change> changes;
    std::vector<Ref<Object>> doomed;
    Kest::HashTable<const void*, Fate> fates;   // of the doomed
    std::size_t next = 0;                       // newcomer that FindNext expects
};

}   // namespace ODB
