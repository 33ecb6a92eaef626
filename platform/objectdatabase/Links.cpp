#include "Links.hpp"

#include <algorithm>
#include <utility>

#include <Kest/EventSource.hpp>

namespace ODB {
namespace {

constexpr std::size_t MinimumGaps = 32;   // a list with fewer gaps is not worth compacting

}   // namespace

LinkList::LinkList(const Association1NUntyped& listAssociation, ObjectInfo& leftRecord)
    : association(listAssociation),
      left(&leftRecord) {}

LinkList::~LinkList() {
    if (ObjectInfo::recorders != nullptr)
        ShowEndToRecorders();
    for (auto* walk = walks; walk != nullptr; walk = walk->outer)
        walk->list = nullptr;
}

LinkList* LinkList::Find(const ObjectInfo& leftRecord, const Association1NUntyped& association) noexcept {
    if (LinkTable* const table = LinkTable::Find(leftRecord))
        for (const auto& list : table->lists)
            if (&list->association == &association)
                return list.get();
    return nullptr;
}

LinkList& LinkList::Get(ObjectInfo& leftRecord, const Association1NUntyped& association) {
    if (LinkList* const list = Find(leftRecord, association))
        return *list;
    auto list = std::make_unique<LinkList>(association, leftRecord);
    if (association.indexFactory)
        list->AttachIndex(association.indexFactory());
    LinkTable& table = LinkTable::Get(leftRecord);
    table.lists.push_back(std::move(list));
    return *table.lists.back();
}

bool LinkList::IsOwning() const noexcept {
    return association.GetProperties().Has(AssociationProperty::Ownership);
}

bool LinkList::Propagates() const noexcept {
    return IsOwning() || association.GetProperties().Has(AssociationProperty::DeletePropagation);
}

void LinkList::Reserve(std::size_t more) {
    if (entries.capacity() - entries.size() < more && MayCompact())
        Compact();
    if (entries.capacity() - entries.size() < more)
        entries.reserve(std::max({std::size_t{4}, entries.size() * 2, entries.size() + more}));
    if (followed)
        queue.reserve(entries.capacity());
    for (const auto& index : indexes)
        index->Reserve(count + more);
}

void LinkList::Append(ObjectInfo& right) noexcept {
    ShowPlacing(entries.size());
    LinkTable::AddRight(right, *this, static_cast<std::uint32_t>(entries.size()));
    entries.push_back(&right);
    ++count;
}

void LinkList::Remove(ObjectInfo& right) noexcept {
    const std::uint32_t place = LinkTable::PlaceOf(*LinkTable::FindPlace(right, *this));
    ShowLeaving(place);
    entries[place] = nullptr;
    LinkTable::RemoveRight(right, *this);
    --count;
    if (MayCompact())
        Compact();
}

void LinkList::Cut(ObjectInfo& right) noexcept {
    if (!indexesStale) {
        Drain(right.GetObject());
        TellDeleted(right);
    }
    left->Touch();
    Remove(right);
    right.Touch();
}

bool LinkList::MayCompact() const noexcept {
    return walks == nullptr && !draining && entries.size() > 2 * count + MinimumGaps && !left->IsDying();
}

void LinkList::Compact() noexcept {
    ShowOrder();
    Drain();
    std::size_t next = 0;
    for (ObjectInfo* const right : entries)
        if (right != nullptr) {
            *LinkTable::FindPlace(*right, *this) = static_cast<std::uint32_t>(next);
            entries[next++] = right;
        }
    entries.resize(next);
    queue.clear();
    shown = 0;
    first = 0;
}

void LinkList::Move(std::size_t from, std::size_t to) {
    std::vector<ObjectInfo*> order = GetAll();
    const auto begin = order.begin();
    const auto source = begin + static_cast<std::ptrdiff_t>(from);
    const auto target = begin + static_cast<std::ptrdiff_t>(to);
    if (from < to)
        std::rotate(source, source + 1, target + 1);
    else
        std::rotate(target, source, source + 1);
    Arrange(order);
}

void LinkList::Arrange(const std::vector<ObjectInfo*>& order) {
    TakeSnapshots();
    ShowOrder();
    Drain();
    std::copy(order.begin(), order.end(), entries.begin());
    entries.resize(order.size());
    for (std::size_t place = 0; place < entries.size(); ++place)
        *LinkTable::FindPlace(*entries[place], *this) = static_cast<std::uint32_t>(place);
    queue.clear();
    shown = 0;
    first = 0;
}

void LinkList::PlaceBehind(ObjectInfo& right, ObjectInfo* behind) noexcept {
    const std::size_t border = behind != nullptr ? LinkTable::PlaceOf(*LinkTable::FindPlace(*behind, *this)) + 1 : 0;
    if (border < entries.size() && entries[border] == &right)
        return;
    ForgetQueue();
    const std::uint32_t place = LinkTable::PlaceOf(*LinkTable::FindPlace(right, *this));
    ShowLeaving(place);
    entries[place] = nullptr;
    std::size_t gap = FindGap(border);
    first = std::min({first, gap, border});
    for (; gap > border; --gap)
        Shift(gap - 1, gap);
    for (; gap + 1 < border; ++gap)
        Shift(gap + 1, gap);
    Put(gap, right);
    while (entries.back() == nullptr)
        entries.pop_back();
}

// The one nearest to the border between two places; there is one.
std::size_t LinkList::FindGap(std::size_t border) const noexcept {
    for (std::size_t distance = 0;; ++distance) {
        if (border + distance < entries.size() && entries[border + distance] == nullptr)
            return border + distance;
        if (distance < border && entries[border - distance - 1] == nullptr)
            return border - distance - 1;
    }
}

void LinkList::Shift(std::size_t from, std::size_t to) noexcept {
    ShowLeaving(from);
    Put(to, *entries[from]);
}

void LinkList::Put(std::size_t place, ObjectInfo& right) noexcept {
    ShowPlacing(place);
    entries[place] = &right;
    *LinkTable::FindPlace(right, *this) = static_cast<std::uint32_t>(place);
}

void LinkList::TakeSnapshots() {
    for (auto* walk = walks; walk != nullptr; walk = walk->outer) {
        if (walk->snapshot != nullptr)
            continue;
        auto rest = std::make_unique<Kest::Array<ObjectInfo*>>();
        for (std::size_t place = walk->position; place < walk->end; ++place)
            if (entries[place] != nullptr)
                rest->Push(entries[place]);
        for (ObjectInfo* const record : *rest)
            record->AddReference();   // the walk may outlive what it is to visit
        walk->snapshot = std::move(rest);
        walk->position = 0;
        walk->end = walk->snapshot->GetSize();
    }
}

ObjectInfo* LinkList::GetFirst() noexcept {
    while (first < entries.size() && entries[first] == nullptr)
        ++first;
    return first < entries.size() ? entries[first] : nullptr;
}

ObjectInfo* LinkList::GetAt(std::size_t place) const noexcept {
    if (place >= count)
        return nullptr;
    if (count == entries.size())
        return entries[place];
    for (ObjectInfo* const right : entries)
        if (right != nullptr && place-- == 0)
            return right;
    return nullptr;
}

std::vector<ObjectInfo*> LinkList::GetAll() const {
    std::vector<ObjectInfo*> all;
    all.reserve(count);
    std::copy_if(entries.begin(), entries.end(), std::back_inserter(all), [](ObjectInfo* right) { return right; });
    return all;
}

void LinkList::Replace(std::uint32_t place, ObjectInfo& newRight) noexcept {
    ObjectInfo* const oldRight = std::exchange(entries[place], &newRight);
    for (auto* walk = walks; walk != nullptr; walk = walk->outer)
        if (walk->snapshot != nullptr)
            for (ObjectInfo*& record : *walk->snapshot)
                if (record == oldRight) {
                    newRight.AddReference();
                    std::exchange(record, &newRight)->ReleaseObjectInfo();
                }
}

bool LinkList::CheckInvariants() const {
    std::size_t live = 0;
    for (std::size_t place = 0; place < entries.size(); ++place) {
        if (entries[place] == nullptr)
            continue;
        ++live;
        const std::uint32_t* const end = LinkTable::FindPlace(*entries[place], *this);
        if (place < first || end == nullptr || LinkTable::PlaceOf(*end) != place || !entries[place]->IsAlive())
            return false;
    }
    return live == count && (!followed || queue.capacity() >= entries.size());
}

void TellLeft(LeftEvent event, const Association1NUntyped& association, ObjectInfo& left, ObjectInfo& right) {
    if (!association.GetProperties().Has(AssociationProperty::EventSending) || !left.IsAlive())
        return;
    const Kest::EventSource::Announcement announcement;
    (left.GetObject()->*event)(association, ConstRef<Object>(&right));
}

void CutLink(LinkList& list, ObjectInfo& right, CutReason reason) noexcept {
    const Association1NUntyped& association = list.GetAssociation();
    ObjectInfo& left = list.GetLeft();
    if (!association.GetProperties().Has(AssociationProperty::EventSending))
        reason = CutReason::Silent;
    if (reason == CutReason::Silent) {
        list.Cut(right);
        return;
    }
    const ConstRef<Object> heldLeft(&left);   // whoever is told may do anything
    const ConstRef<Object> heldRight(&right);
    if (reason == CutReason::RightDeleted) {
        TellLeft(&Object::ObjectDeleted, association, left, right);
        if (LinkTable::FindRight(right, association) != &list)
            return;   // deleting the left object was the answer
    }
    list.Cut(right);
    if (reason == CutReason::Disconnected)
        TellLeft(&Object::ObjectDisconnected, association, left, right);
}

bool IsOwned(ObjectInfo& record) noexcept {
    return LinkTable::AnyRight(record, [](const LinkList& list, std::uint32_t) { return list.IsOwning(); });
}

LinkTable* LinkTable::Find(const ObjectInfo& record) noexcept {
    return (record.links & TableBit) != 0 ? reinterpret_cast<LinkTable*>(record.links & ~TableBit) : nullptr;
}

LinkTable& LinkTable::Get(ObjectInfo& record) {
    if (LinkTable* const table = Find(record))
        return *table;
    auto table = std::make_unique<LinkTable>();
    if (record.links != 0)
        table->rights.push_back({reinterpret_cast<LinkList*>(record.links), record.position});
    record.links = reinterpret_cast<std::uintptr_t>(table.get()) | TableBit;
    return *table.release();
}

void LinkTable::FreeIfEmpty(ObjectInfo& record) noexcept {
    LinkTable* const table = Find(record);
    if (table == nullptr || table->kept || !table->rights.empty() || !table->lists.empty())
        return;
    record.links = 0;
    delete table;
}

LinkList* LinkTable::FindRight(const ObjectInfo& record, const Association1NUntyped& association) noexcept {
    if (record.links == 0)
        return nullptr;
    if (const LinkTable* const table = Find(record)) {
        for (const LinkEnd& end : table->rights)
            if (&end.list->GetAssociation() == &association)
                return end.list;
        return nullptr;
    }
    auto* const list = reinterpret_cast<LinkList*>(record.links);
    return &list->GetAssociation() == &association ? list : nullptr;
}

std::uint32_t* LinkTable::FindPlace(ObjectInfo& record, const LinkList& list) noexcept {
    if (LinkTable* const table = Find(record)) {
        for (LinkEnd& end : table->rights)
            if (end.list == &list)
                return &end.place;
        return nullptr;
    }
    return record.links == reinterpret_cast<std::uintptr_t>(&list) ? &record.position : nullptr;
}

void LinkTable::ReserveRight(ObjectInfo& record) {
    if (record.links == 0)
        return;
    LinkTable& table = Get(record);
    table.rights.reserve(table.rights.size() + 1);
}

void LinkTable::ReserveRights(ObjectInfo& record, std::size_t more) {
    LinkTable& table = Get(record);
    table.rights.reserve(table.rights.size() + more);
    table.kept = true;
}

void LinkTable::Release(ObjectInfo& record) noexcept {
    if (LinkTable* const table = Find(record)) {
        table->kept = false;
        FreeIfEmpty(record);
    }
}

void LinkTable::AddRight(ObjectInfo& record, LinkList& list, std::uint32_t place) noexcept {
    if (LinkTable* const table = Find(record)) {
        table->rights.push_back({&list, place});
        return;
    }
    record.links = reinterpret_cast<std::uintptr_t>(&list);
    record.position = place;
}

void LinkTable::RemoveRight(ObjectInfo& record, const LinkList& list) noexcept {
    LinkTable* const table = Find(record);
    if (table == nullptr) {
        record.links = 0;
        return;
    }
    std::erase_if(table->rights, [&](const LinkEnd& end) { return end.list == &list; });
    FreeIfEmpty(record);
}

void LinkTable::Transfer(ObjectInfo& from, ObjectInfo& to) noexcept {
    to.links = std::exchange(from.links, 0);
    to.position = from.position;
    AnyRight(to, [&](LinkList& list, std::uint32_t place) {
        list.Replace(LinkTable::PlaceOf(place), to);
        return false;
    });
    if (LinkTable* const table = Find(to))
        for (const auto& list : table->lists)
            list->Rebind(to);
}

}   // namespace ODB
