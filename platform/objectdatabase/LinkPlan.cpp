#include "LinkPlan.hpp"

namespace ODB {
namespace {

using Decision = ConflictResolver::Decision;

ObjectInfo* LastOf(const LinkList* list) {
    if (list != nullptr)
        for (std::size_t place = list->GetEntries().size(); place > 0; --place)
            if (ObjectInfo* const right = list->GetEntries()[place - 1])
                return right;
    return nullptr;
}

}   // namespace

bool LinkPlan::Make(const Delta& delta) {
    for (const Delta::DeletedLink& link : delta.GetDeletedLinks())
        if (!AddCut(link))
            return false;
    for (const Delta::PlacedLink& link : delta.GetNewLinks())
        if (!AddPlaced(link, NullId))
            return false;
    for (const Delta::ModifiedLink& link : delta.GetModifiedLinks())
        if (!AddPlaced({link.association, link.left, link.right, link.behind}, link.oldLeft))
            return false;
    for (const Delta::PlacedLink& link : delta.GetReorderedLinks())
        if (!AddPlaced(link, link.left))
            return false;
    return true;
}

bool LinkPlan::AddCut(const Delta::DeletedLink& link) {
    const Association1NUntyped& association = *link.association;
    ObjectInfo* const right = objects.FindPresent(link.right);
    if (right != nullptr && !rights.Add({&association, link.right}))
        return false;
    LinkList* const list = right != nullptr ? LinkTable::FindRight(*right, association) : nullptr;
    if (list == nullptr || list->GetLeft().GetId() != link.left) {
        const Decision decision = conflicts.Ask(&ConflictResolver::LinkDiffers, association, link.left, link.right);
        if (decision != Decision::TakeDelta || list == nullptr)
            return decision != Decision::Refuse;
    }
    departing.Add({&association, link.right});
    cuts.push_back({list, right});
    return true;
}

// The link of an object that was linked to `oldLeft`; the null id: to nobody.
bool LinkPlan::AddPlaced(const Delta::PlacedLink& link, const Id& oldLeft) {
    const Association1NUntyped& association = *link.association;
    const End left = FindLeft(link.left);
    const End right = objects.FindNext(link.right);
    if (right && !IsFirst(association, right))
        return false;
    LinkList* const from = right ? LinkTable::FindRight(*right.record, association) : nullptr;
    if (!left || !right || !StandsUnder(from, oldLeft)) {
        const Decision decision = conflicts.Ask(&ConflictResolver::LinkDiffers, association, link.left, link.right);
        if (decision != Decision::TakeDelta || !left || !right)
            return decision != Decision::Refuse;
    }
    if (!Fits(association, left, right))
        return false;
    Append(link, left, right, from);
    return true;
}

void LinkPlan::Append(const Delta::PlacedLink& link, const End& left, const End& right, LinkList* from) {
    const Association1NUntyped& association = *link.association;
    ListPlan& list = GetList(association, *left.record);
    ObjectInfo* const before = list.links.empty() ? nullptr : list.links.back().right;
    const bool follows = before != nullptr && before->GetId() == link.behind;
    ObjectInfo* const behind = follows ? before : objects.GetTarget().Find(link.behind);
    const bool isLast = behind == nullptr && !link.behind.IsNull();

    list.links.push_back({right.record, behind, from, isLast, false});
    list.isInOrder = list.isInOrder && !isLast && list.IsNew(list.links.back()) &&
                     (before != nullptr ? follows : behind == LastOf(list.list));
    if (from != nullptr)
        departing.Add({&association, link.right});
    if (list.IsNew(list.links.back()))
        CountArrival(association, right);
}

// Newcomers know one of their links themselves; nearly all have no more.
bool LinkPlan::IsFirst(const Association1NUntyped& association, const End& right) {
    if (right.newcomer == nullptr)
        return rights.Add({&association, right.record->GetId()});
    const Association1NUntyped*& known = right.newcomer->rightOf;
    if (known == nullptr) {
        known = &association;
        return true;
    }
    return known != &association && rights.Add({&association, right.record->GetId()});
}

void LinkPlan::CountArrival(const Association1NUntyped& association, const End& right) {
    if (right.newcomer != nullptr && right.newcomer->rightOf == &association)
        return;
    if (std::uint32_t* const count = arrivals.Find(right.record))
        ++*count;
    else
        arrivals.Add(right.record, right.newcomer != nullptr ? 2 : 1);
}

// Whoever the merge deletes counts as nobody, too.
bool LinkPlan::StandsUnder(const LinkList* list, const Id& left) const {
    if (list == nullptr)
        return left.IsNull();
    return list->GetLeft().GetId() == left || (left.IsNull() && objects.IsDeleted(list->GetLeft()));
}

bool LinkPlan::Fits(const Association1NUntyped& association, const End& left, const End& right) {
    if (fitting == &association && fittingLeft == left.classInfo && fittingRight == right.classInfo)
        return true;
    if (!left.classInfo->IsCompatibleWith(*association.GetLeftClass()) ||
        !right.classInfo->IsCompatibleWith(*association.GetRightClass()))
        return false;
    fitting = &association;
    fittingLeft = left.classInfo;
    fittingRight = right.classInfo;
    return true;
}

ObjectPlan::End LinkPlan::FindLeft(const Id& id) {
    if (!lastLeft || lastLeft.record->GetId() != id)
        lastLeft = objects.Find(id);
    return lastLeft;
}

ListPlan& LinkPlan::GetList(const Association1NUntyped& association, ObjectInfo& left) {
    if (lastList < lists.size() && lists[lastList].association == &association && lists[lastList].left == &left)
        return lists[lastList];
    const AssociationEnd end{&association, left.GetId()};
    const std::size_t* const known = places.Find(end);
    lastList = known != nullptr ? *known : lists.size();
    if (known == nullptr) {
        places.Add(end, lastList);
        lists.push_back({&association, &left, LinkList::Find(left, association), {}, true, {}});
    }
    return lists[lastList];
}

void LinkPlan::DropCuts() {
    std::erase_if(cuts, [this](const Cut& cut) {
        const ObjectInfo& left = cut.list->GetLeft();
        if (!objects.IsKept(left) && !objects.IsKept(*cut.right))
            return objects.IsDeleted(left) && objects.IsDeleted(*cut.right);
        departing.Delete({&cut.list->GetAssociation(), cut.right->GetId()});
        return true;
    });
}

}   // namespace ODB
