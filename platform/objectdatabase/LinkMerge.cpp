#include "LinkMerge.hpp"

#include <algorithm>

#include "Links.hpp"

namespace ODB {

LinkMerge::~LinkMerge() {
    for (ObjectInfo* const right : roomy)
        LinkTable::Release(*right);
}

void LinkMerge::MakeRoom() {
    for (ListPlan& list : plan.GetLists()) {
        const auto isNew = [&list](const ListPlan::Link& link) { return list.IsNew(link); };
        const auto isPlaced = [](const ListPlan::Link& link) { return link.isPlaced; };
        const auto more = std::count_if(list.links.begin(), list.links.end(), isNew);
        LinkList& links = LinkList::Get(*list.left, *list.association);
        links.Reserve(static_cast<std::size_t>(more));
        if (!list.order.empty() || std::any_of(list.links.begin(), list.links.end(), isPlaced))
            links.TakeSnapshots();
        list.list = &links;
    }
    MakeRoomForRights();   // last: a list turns the only link of its left object into a table
}

void LinkMerge::MakeRoomForRights() {
    const auto& arrivals = plan.GetArrivals();
    roomy.reserve(arrivals.GetSize());
    for (const auto& [right, count] : arrivals)
        if (count > 1) {
            roomy.push_back(right);
            LinkTable::ReserveRights(*right, count);
        }
    for (const ListPlan& list : plan.GetLists())
        for (const ListPlan::Link& link : list.links)
            if (list.IsNew(link))
                LinkTable::ReserveRight(*link.right);
}

void LinkMerge::Apply() noexcept {
    for (const LinkPlan::Cut& cut : plan.GetCuts())
        cut.list->Cut(*cut.right);
    for (const ListPlan& list : plan.GetLists())
        for (const ListPlan::Link& link : list.links)
            if (link.from != nullptr && link.from != list.list)
                link.from->Cut(*link.right);
    for (const ListPlan& list : plan.GetLists())
        Fill(list);
}

void LinkMerge::Fill(const ListPlan& planned) noexcept {
    LinkList& list = *planned.list;
    list.Drain();
    for (const ListPlan::Link& link : planned.links) {
        if (planned.IsNew(link))
            Append(list, *link.right);
        else
            MergeTarget::Touch(*link.right);
        if (link.isPlaced)
            list.PlaceBehind(*link.right, link.behind);
    }
    if (!planned.order.empty())
        list.Arrange(planned.order);
    MergeTarget::Touch(*planned.left);
}

void LinkMerge::Append(LinkList& list, ObjectInfo& right) noexcept {
    MergeTarget::Touch(right);
    if (list.IsOwning())
        MergeTarget::Manage(right);
    list.Append(right);
    list.TellArrived(right);
}

}   // namespace ODB
