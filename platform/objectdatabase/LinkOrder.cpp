#include "LinkOrder.hpp"

#include <algorithm>

namespace ODB {
namespace {

using Decision = ConflictResolver::Decision;

constexpr std::ptrdiff_t FewPlacements = 16;   // more are dearer than arranging the whole list, if gaps are far

}   // namespace

bool LinkOrder::Make() {
    ObjectInfo* const head = list.links.front().behind;
    if (list.isInOrder && (head == nullptr || Stays(*head)))
        return true;
    if (!NoteFollowers())
        return false;
    MakeSequence();
    if (sequence.size() != list.links.size())   // a ring has no beginning
        return false;
    const auto isPlaced = [](const Link& link) { return link.isPlaced; };
    if (std::count_if(sequence.begin(), sequence.end(), isPlaced) > FewPlacements)
        MakeOrder();
    list.links = std::move(sequence);
    return true;
}

// Whether it is in the list now and keeps its place there.
bool LinkOrder::Stays(ObjectInfo& right) const {
    return list.list != nullptr && LinkTable::FindPlace(right, *list.list) != nullptr &&
           !plan.Departs(*list.association, right) && !objects.IsDeleted(right);
}

ObjectInfo* LinkOrder::FindLastStaying() const {
    if (list.list != nullptr)
        for (std::size_t place = list.list->GetEntries().size(); place > 0; --place)
            if (ObjectInfo* const right = list.list->GetEntries()[place - 1]; right != nullptr && Stays(*right))
                return right;
    return nullptr;
}

bool LinkOrder::NoteFollowers() {
    std::uint32_t place = 0;
    for (const Link& link : list.links)
        rights.Add(link.right, place++);
    place = 0;
    for (Link& link : list.links) {
        const bool isThere = link.behind == nullptr || rights.Contains(link.behind) || Stays(*link.behind);
        const bool fits = link.isLast || !isThere ? MayBeLast(link) : followers.Add(link.behind, place);
        if (!fits)
            return false;
        ++place;
    }
    return true;
}

bool LinkOrder::MayBeLast(Link& link) {
    link.isLast = true;
    return conflicts.Ask(&ConflictResolver::NeighbourMissing, *list.association, list.left->GetId(),
                         link.right->GetId()) != Decision::Refuse;
}

// Chains that begin inside, then the one at the end, which appending makes, then what has lost its neighbour.
void LinkOrder::MakeSequence() {
    ObjectInfo* last = FindLastStaying();
    for (const Link& link : list.links)
        if (!link.isLast && link.behind != last && !rights.Contains(link.behind))
            AppendChain(link.behind, sequence);
    for (Link& link : sequence)
        link.isPlaced = true;
    const auto inner = static_cast<std::ptrdiff_t>(sequence.size());
    AppendChain(last, sequence);
    for (Link link : list.links)
        if (link.isLast) {
            link.behind = static_cast<std::ptrdiff_t>(sequence.size()) > inner ? sequence.back().right : last;
            sequence.push_back(link);
            AppendChain(link.right, sequence);
        }
    std::for_each(sequence.begin() + inner, sequence.end(), [this](Link& link) { link.isPlaced = !list.IsNew(link); });
}

// `behind` is no right object of the plan, or one that is in no chain: the chain ends.
void LinkOrder::AppendChain(ObjectInfo* behind, std::vector<Link>& chain) const {
    while (const std::uint32_t* const place = followers.Find(behind)) {
        chain.push_back(list.links[*place]);
        behind = chain.back().right;
    }
}

void LinkOrder::MakeOrder() {
    std::vector<Link> chain;
    const auto append = [&](ObjectInfo* right) {
        chain.clear();
        AppendChain(right, chain);
        for (const Link& link : chain)
            list.order.push_back(link.right);
    };
    append(nullptr);
    if (list.list != nullptr)
        for (ObjectInfo* const right : list.list->GetEntries())
            if (right != nullptr && !plan.Departs(*list.association, *right)) {
                list.order.push_back(right);
                append(right);
            }
    for (const Link& link : list.links)
        if (link.isLast) {
            list.order.push_back(link.right);
            append(link.right);
        }
    for (Link& link : sequence)
        link.isPlaced = false;
}

}   // namespace ODB
