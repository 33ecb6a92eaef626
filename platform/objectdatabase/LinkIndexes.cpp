#include <algorithm>
#include <utility>

#include "Links.hpp"

// The indexes over the links of one left object, and the queue of what they have not seen yet.

namespace ODB {
namespace {

constexpr std::size_t FewLinks = 8;   // are taken out of indexes one by one, whatever follows

}   // namespace

void LinkList::Queue(ObjectInfo&, std::uint32_t& place) noexcept {
    if (!followed || (place & LinkTable::QueuedBit) != 0)
        return;
    if (queue.size() == queue.capacity()) {   // only while it is drained: there is room for every place
        queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(shown));
        shown = 0;
    }
    if (queue.empty())
        MarkIndexes(false);
    queue.push_back(place);
    place |= LinkTable::QueuedBit;
}

void LinkList::MarkIndexes(bool current) noexcept {
    for (const auto& index : indexes)
        index->current = current;
}

void LinkList::MarkStale() noexcept {
    indexesStale = true;
    MarkIndexes(false);
}

void LinkList::Drain(const Object* changing) noexcept {
    if (draining || !HasPending() || IsOnlyQueued(changing))
        return;
    draining = true;
    if (!queue.empty())
        ShowQueue(changing);
    if (indexesStale)
        Rebuild();
    draining = false;
    MarkIndexes(queue.empty() && !indexesStale);
}

// Nearly every change made through a reference: the object is queued, and shown when its own change is complete.
bool LinkList::IsOnlyQueued(const Object* changing) const noexcept {
    if (changing == nullptr || indexesStale || queue.size() != 1)
        return false;
    const ObjectInfo* const right = entries[queue.front()];
    return right != nullptr && right->GetObject() == changing;
}

void LinkList::PrepareAnswer() noexcept {
    Drain();
    if (!draining && IndexesRequireRebuild()) {
        draining = true;
        Rebuild();
        draining = false;
    }
}

void LinkList::ShowQueue(const Object* changing) noexcept {
    const auto stampAt = [this](std::uint32_t place) {
        return entries[place] != nullptr ? entries[place]->GetModificationStamp() : 0;
    };
    if (queue.size() > 1)
        std::sort(queue.begin(), queue.end(),
                  [&](std::uint32_t one, std::uint32_t other) { return stampAt(one) < stampAt(other); });
    ObjectInfo* leftOut = nullptr;
    // What an index changes meanwhile waits for the next time.
    for (std::size_t rest = queue.size(); rest > 0 && shown < queue.size(); --rest) {
        ObjectInfo* const right = entries[queue[shown++]];
        if (right == nullptr)
            continue;
        *LinkTable::FindPlace(*right, *this) &= ~LinkTable::QueuedBit;
        if (right->GetObject() != changing)
            TellModified(*right);
        else
            leftOut = right;
    }
    queue.erase(queue.begin(), queue.begin() + static_cast<std::ptrdiff_t>(shown));
    shown = 0;
    if (leftOut != nullptr)
        Queue(*leftOut, *LinkTable::FindPlace(*leftOut, *this));
}

void LinkList::Forget(std::uint32_t& place) noexcept {
    if (draining || queue.size() != 1 || queue.front() != LinkTable::PlaceOf(place))
        return;
    queue.clear();
    place = LinkTable::PlaceOf(place);
    MarkIndexes(!indexesStale);
}

void LinkList::StampAll() noexcept {
    for (ObjectInfo* const right : entries)
        if (right != nullptr)
            right->Touch();
}

void LinkList::TellCreated(ObjectInfo& right) {
    if (indexesStale)
        return;
    std::size_t told = 0;
    try {
        for (; told < indexes.size(); ++told)
            indexes[told]->ObjectCreated(Borrowed<Ref<Object>>(right));
    } catch (...) {
        if (told > 0)
            MarkStale();   // some have it, some not
        throw;
    }
}

void LinkList::TellArrived(ObjectInfo& right) noexcept {
    try {
        TellCreated(right);
    } catch (...) {
        MarkStale();
    }
}

void LinkList::TellDeleted(ObjectInfo& right) noexcept {
    if (indexesStale)
        return;
    try {
        for (const auto& index : indexes)
            index->ObjectDeleted(Borrowed<Ref<Object>>(right));
    } catch (...) {
        MarkStale();
    }
}

void LinkList::TellModified(ObjectInfo& right) noexcept {
    if (indexesStale)
        return;
    try {
        for (const auto& index : indexes)
            if (index->FollowsModifications())
                index->ObjectModified(Borrowed<Ref<Object>>(right));
    } catch (...) {
        MarkStale();   // the change stands; the indexes are filled anew before they answer again
    }
}

bool LinkList::IndexesRequireRebuild() const {
    return std::any_of(indexes.begin(), indexes.end(), [](const auto& index) { return index->RequiresRebuild(); });
}

void LinkList::Fill(Index& index) const {
    index.Reserve(count);
    for (ObjectInfo* const right : entries)
        if (right != nullptr)
            index.ObjectCreated(Borrowed<Ref<Object>>(*right));
}

void LinkList::Rebuild() noexcept {
    try {
        for (const auto& index : indexes) {
            index->Clear();
            Fill(*index);
        }
        indexesStale = false;
    } catch (...) {
        MarkStale();
    }
}

void LinkList::AttachIndex(std::unique_ptr<Index> index) {
    indexes.reserve(indexes.size() + 1);
    index->ScopeAssigned(Ref<Object>(left));
    Fill(*index);
    if (index->FollowsModifications())
        queue.reserve(entries.capacity());
    followed = followed || index->FollowsModifications();
    indexes.push_back(std::move(index));
    MarkIndexes(!HasPending());
}

void LinkList::DetachIndexes() noexcept {
    Drain();
    indexes.clear();
    followed = false;
    indexesStale = false;
}

void LinkList::Rebind(ObjectInfo& newLeft) noexcept {
    left = &newLeft;
    try {
        for (const auto& index : indexes)
            index->ScopeAssigned(Ref<Object>(left));
    } catch (...) {
        MarkStale();
    }
}

void LinkList::SuspendIndexes() noexcept {
    if (indexes.empty() || draining || count <= FewLinks)
        return;
    Drain(GetFirst()->GetObject());   // as cutting the first one would
    MarkStale();
}

// Before places change. What an index wants to look at again it sees when all is filled anew.
void LinkList::ForgetQueue() noexcept {
    Drain();
    if (queue.empty())
        return;
    MarkStale();
    for (const std::uint32_t place : queue)
        if (entries[place] != nullptr)
            *LinkTable::FindPlace(*entries[place], *this) = place;
    queue.clear();
    shown = 0;
}

}   // namespace ODB
