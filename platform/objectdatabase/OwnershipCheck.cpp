#include "OwnershipCheck.hpp"

#include <algorithm>

namespace ODB {

OwnershipCheck::OwnershipCheck(const LinkPlan& linkPlan) : plan(linkPlan) {
    const auto owns = [](const ListPlan& list) {
        return list.association->GetProperties().Has(AssociationProperty::Ownership);
    };
    for (const ListPlan& list : plan.GetLists())
        if (owns(list))
            newOwners.Add(list.left);
    for (const ListPlan& list : plan.GetLists())
        if (owns(list))
            for (const ListPlan::Link& link : list.links)
                if (OwnsAnything(*link.right)) {
                    if (coming.Add(link.right, {}))
                        suspects.push_back(link.right);
                    coming.Find(link.right)->push_back(list.left);
                }
}

bool OwnershipCheck::OwnsAnything(const ObjectInfo& object) const {
    const LinkTable* const table = LinkTable::Find(object);
    const auto owns = [](const auto& list) { return list->IsOwning() && list->GetCount() > 0; };
    return (table != nullptr && std::any_of(table->lists.begin(), table->lists.end(), owns)) ||
           newOwners.Contains(&object);
}

bool OwnershipCheck::FindsRing() {
    return std::any_of(suspects.begin(), suspects.end(), [this](ObjectInfo* object) { return LeadsIntoRing(*object); });
}

// Depth first: an open object is an owner's owner of those behind it.
bool OwnershipCheck::LeadsIntoRing(ObjectInfo& object) {
    std::vector<ObjectInfo*> path{&object};
    while (!path.empty()) {
        ObjectInfo& last = *path.back();
        if (State* const state = states.Find(&last)) {
            *state = State::Done;
            path.pop_back();
            continue;
        }
        states.Add(&last, State::Open);
        for (ObjectInfo* const owner : GetOwners(last)) {
            const State* const state = states.Find(owner);
            if (state != nullptr && *state == State::Open)
                return true;
            if (state == nullptr)
                path.push_back(owner);
        }
    }
    return false;
}

// After the merge.
std::vector<ObjectInfo*> OwnershipCheck::GetOwners(ObjectInfo& object) const {
    std::vector<ObjectInfo*> owners;
    LinkTable::AnyRight(object, [&](const LinkList& list, std::uint32_t) {
        if (list.IsOwning() && !plan.Departs(list.GetAssociation(), object))
            owners.push_back(&list.GetLeft());
        return false;
    });
    if (const std::vector<ObjectInfo*>* const others = coming.Find(&object))
        owners.insert(owners.end(), others->begin(), others->end());
    return owners;
}

}   // namespace ODB
