#include "DeletionPlan.hpp"

#include <algorithm>

namespace ODB {
namespace {

using Decision = ConflictResolver::Decision;

}   // namespace

bool DeletionPlan::Make() {
    for (const Ref<Object>& object : objects.GetDoomed())
        open.push_back(object.GetInfo());
    for (std::size_t place = 0; place < open.size(); ++place) {
        ObjectInfo& object = *open[place];
        if (!objects.IsDeleted(object) || settled.Contains(&object) || !OwnsMore(object))
            continue;
        switch (conflicts.Ask(&ConflictResolver::DeletedObjectOwnsMore, object.GetId())) {
        case Decision::Refuse:
            return false;
        case Decision::KeepTarget:
            Keep(object);
            break;
        case Decision::TakeDelta:
            settled.Add(&object);
        }
    }
    return true;
}

bool DeletionPlan::OwnsMore(const ObjectInfo& object) const {
    const LinkTable* const table = LinkTable::Find(object);
    if (table == nullptr)
        return false;
    for (const auto& list : table->lists) {
        const auto survives = [&](const ObjectInfo* right) {
            return right != nullptr && MergeTarget::IsManaged(*right) && !objects.IsDeleted(*right) &&
                   (objects.IsKept(*right) || !links.Departs(list->GetAssociation(), *right));
        };
        const std::vector<ObjectInfo*>& entries = list->GetEntries();
        if (list->Propagates() && std::any_of(entries.begin(), entries.end(), survives))
            return true;
    }
    return false;
}

// With everything beneath it that was to be deleted; its owners own more by that.
void DeletionPlan::Keep(ObjectInfo& object) {
    std::vector<ObjectInfo*> kept{&object};
    objects.KeepObject(object);
    for (std::size_t place = 0; place < kept.size(); ++place) {
        LinkTable::AnyRight(*kept[place], [this](const LinkList& list, std::uint32_t) {
            if (list.Propagates())
                open.push_back(&list.GetLeft());
            return false;
        });
        if (const LinkTable* const table = LinkTable::Find(*kept[place]))
            for (const auto& list : table->lists)
                for (ObjectInfo* const right : list->GetEntries())
                    if (list->Propagates() && right != nullptr && objects.IsDeleted(*right)) {
                        objects.KeepObject(*right);
                        kept.push_back(right);
                    }
    }
}

}   // namespace ODB
