#include "LinkEvents.hpp"

#include <new>

#include <ODB/Object.hpp>

namespace ODB {
namespace {

bool SendsEvents(const Association1NUntyped& association) {
    return association.GetProperties().Has(AssociationProperty::EventSending);
}

}   // namespace

void LinkEvents::Note(const LinkPlan& links, const ObjectPlan& objects) {
    for (const auto& [list, right] : links.GetCuts()) {
        const Association1NUntyped& association = list->GetAssociation();
        if (!SendsEvents(association))
            continue;
        const bool isDeleted = objects.IsDeleted(*right);
        (isDeleted ? deletions : others)
            .push_back({isDeleted ? &Object::ObjectDeleted : &Object::ObjectDisconnected, &association,
                        ConstRef<Object>(&list->GetLeft()), ConstRef<Object>(right)});
    }
    for (const ListPlan& list : links.GetLists())
        if (SendsEvents(*list.association))
            Note(list);
}

void LinkEvents::Note(const ListPlan& list) {
    const ConstRef<Object> left(list.left);
    for (const ListPlan::Link& link : list.links) {
        const ConstRef<Object> right(link.right);
        if (!list.IsNew(link)) {
            others.push_back({&Object::ObjectReordered, list.association, left, right});
            continue;
        }
        if (link.from != nullptr)
            others.push_back(
                {&Object::ObjectDisconnected, list.association, ConstRef<Object>(&link.from->GetLeft()), right});
        others.push_back({&Object::ObjectConnected, list.association, left, right});
    }
}

// The merge is done, whatever a left object makes of it.
void LinkEvents::Tell(const std::vector<Event>& events) {
    for (const Event& event : events)
        try {
            if (event.right)
                TellLeft(event.call, *event.association, *event.left.GetInfo(), *event.right.GetInfo());
        } catch (const std::bad_alloc&) {
        }
}

}   // namespace ODB
