#include "ChangeRecord.hpp"

#include <algorithm>
#include <utility>

#include <Kest/HashSet.hpp>

#include <ODB/IdSpace.hpp>

#include "Links.hpp"
#include "StateBytes.hpp"

namespace ODB {
namespace {

// Whether the link counts: the right object is where the left one is.
bool IsSeen(const LinkList& list, const ObjectInfo* right) {
    return right != nullptr && right->GetIdSpace() == list.GetLeft().GetIdSpace();
}

// The id of the last right object before `end`, and not before `begin`; the null id without one.
Id FindLast(const LinkList& list, std::size_t begin, std::size_t end) {
    while (end > begin)
        if (const ObjectInfo* const right = list.GetEntries()[--end]; IsSeen(list, right))
            return right->GetId();
    return NullId;
}

std::vector<Id> GetOrder(const LinkList* list) {
    std::vector<Id> order;
    if (list == nullptr)
        return order;
    order.reserve(list->GetCount());
    for (const ObjectInfo* const right : list->GetEntries())
        if (IsSeen(*list, right))
            order.push_back(right->GetId());
    return order;
}

int StoreContent(const Object& object, std::shared_ptr<const Object::IsolatedState>& content) {
    std::unique_ptr<Object::IsolatedState> state(object.CreateIsolatedState());
    const int status = object.StoreIsolatedState(state.get());
    content = std::move(state);
    return status;
}

}   // namespace

void ObjectInfo::ShowContentToRecorders() noexcept {
    if (object != nullptr)
        ChangeRecorder::Record::ForEach(space, [this](auto& record) { record.NoteContent(*object, id); });
}

void LinkList::ShowPlacingToRecorders(std::size_t place) noexcept {
    ChangeRecorder::Record::ForEach(left->GetIdSpace(),
                                    [this, place](auto& record) { record.NotePlacing(*this, place); });
}

void LinkList::ShowLeavingToRecorders(std::size_t place) noexcept {
    ChangeRecorder::Record::ForEach(left->GetIdSpace(),
                                    [this, place](auto& record) { record.NoteLeaving(*this, place); });
}

void LinkList::ShowOrderToRecorders() noexcept {
    ChangeRecorder::Record::ForEach(left->GetIdSpace(), [this](auto& record) { record.NoteOrder(*this); });
}

void LinkList::ShowEndToRecorders() noexcept {
    ChangeRecorder::Record::ForEach(left->GetIdSpace(), [this](auto& record) { record.NoteEnd(*this); });
}

void ChangeRecorder::Record::ShowDepartureToAll(ObjectInfo& record) noexcept {
    record.ShowContent();
    LinkTable::AnyRight(record, [](LinkList& list, std::uint32_t) {
        list.ShowOrder();
        return false;
    });
    if (const LinkTable* const table = LinkTable::Find(record))
        for (const auto& list : table->lists)
            list->ShowOrder();
}

// Its links to left objects that are there already begin to count, and so do those to right objects.
void ChangeRecorder::Record::ShowArrivalToAll(ObjectInfo& record, IdSpace& newSpace, const Id& newId) noexcept {
    LinkTable::AnyRight(record, [](LinkList& list, std::uint32_t) {
        list.ShowOrder();
        return false;
    });
    ForEach(&newSpace, [&](Record& noting) {
        noting.NoteNewObject(newId);
        if (const LinkTable* const table = LinkTable::Find(record))
            for (const auto& list : table->lists)
                noting.NoteNewLinks({&list->GetAssociation(), newId});
    });
}

void ChangeRecorder::Record::ShowLossToAll(ObjectInfo& record) noexcept {
    ForEach(record.GetIdSpace(), [&record](Record& noting) { noting.NoteLoss(record.GetId()); });
}

void ChangeRecorder::Record::Forget(IdSpace& dyingSpace) noexcept {
    for (ChangeRecorder* recorder = ObjectInfo::recorders; recorder != nullptr; recorder = recorder->next)
        if (recorder->space == &dyingSpace) {
            recorder->space = nullptr;
            recorder->record->Clear();
        }
}

void ChangeRecorder::Record::Clear() noexcept {
    objects.Clear();
    lists.Clear();
    status = 0;
}

void ChangeRecorder::Record::NoteContent(const Object& object, const Id& id) {
    if (objects.Contains(id))
        return;
    objects.Add(id, {object.GetClassInfo(), nullptr, {}});   // first: storing may come by here again
    State state;
    if (const int code = StoreContent(object, state); code != 0)
        return Fail(code);
    StateBytes bytes;
    const int code = bytes.Take(object);
    if (code == MemoryFull)
        return Fail(code);
    StoredObject* const stored = objects.Find(id);
    if (stored == nullptr)
        return;
    stored->state = std::move(state);
    if (code == 0)
        stored->bytes = bytes.Get();
}

void ChangeRecorder::Record::NoteLoss(const Id& id) {
    if (objects.Contains(id))
        return;
    Fail(WrongCall);
    objects.Add(id, {});   // nobody is to look for the content of what is left of it
}

// The list as it stands is old as far as nothing of it is known.
ChangeRecorder::Record::KnownList& ChangeRecorder::Record::Know(const LinkList& list) {
    const AssociationEnd end{&list.GetAssociation(), list.GetLeft().GetId()};
    if (KnownList* const known = lists.Find(end))
        return *known;
    return lists.Put(end, {&list, list.GetEntries().size(), {}, {}});
}

void ChangeRecorder::Record::NotePlacing(const LinkList& list, std::size_t place) {
    KnownList& known = Know(list);
    if (known.list != nullptr && place < known.oldEnd)
        known.strangers.Add(place);
}

void ChangeRecorder::Record::NoteLeaving(const LinkList& list, std::size_t place) {
    KnownList& known = Know(list);
    const ObjectInfo* const right = list.GetEntries()[place];
    if (known.list != nullptr && known.Stays(place) && IsSeen(list, right))
        known.olds.push_back({place, right->GetId()});
}

void ChangeRecorder::Record::NoteOrder(const LinkList& list) {
    TakeOrder(Know(list));
}

// All links of the list have been cut; another list may follow under its name.
void ChangeRecorder::Record::NoteEnd(const LinkList& list) noexcept {
    KnownList* const known = lists.Find({&list.GetAssociation(), list.GetLeft().GetId()});
    if (known == nullptr || known->list != &list)
        return;
    SortByPlace(*known);
    known->list = nullptr;
}

void ChangeRecorder::Record::TakeOrder(KnownList& known) {
    const LinkList* const list = std::exchange(known.list, nullptr);
    if (list == nullptr)
        return;
    known.olds.reserve(known.olds.size() + list->GetCount());
    for (std::size_t place = 0; place < std::min(known.oldEnd, list->GetEntries().size()); ++place)
        if (const ObjectInfo* const right = list->GetEntries()[place]; known.Stays(place) && IsSeen(*list, right))
            known.olds.push_back({place, right->GetId()});
    SortByPlace(known);
}

void ChangeRecorder::Record::SortByPlace(KnownList& known) noexcept {
    std::sort(known.olds.begin(), known.olds.end(),
              [](const PlacedRight& one, const PlacedRight& other) { return one.place < other.place; });
}

int ChangeRecorder::Record::Fill(const IdSpace& presentSpace, Delta* forward, Delta* back) {
    for (std::size_t place = 0; place < objects.GetSize() && status == 0; ++place)
        if (const int code = FillObject(place, presentSpace, forward, back); code != 0)
            return code;
    if (status == 0)
        FillLinks(presentSpace, forward, back);
    return status;
}

// Storing and writing may note more objects: nothing of the table is held meanwhile.
int ChangeRecorder::Record::FillObject(std::size_t place, const IdSpace& presentSpace, Delta* forward,
                                       Delta* back) const {
    const Id id = objects.GetEntry(place).key;
    const Kest::ClassInfo* const oldClass = objects.GetEntry(place).value.classInfo;
    const ConstRef<Object> object = presentSpace.FindConst(id);
    StoredObject present;
    if (object) {
        present.classInfo = object->GetClassInfo();
        if (oldClass != nullptr && oldClass != present.classInfo)
            return WrongCall;
        bool isSame = false;
        int code = oldClass != nullptr ? CompareContent(*object, place, isSame) : 0;
        if (code != 0 || isSame)
            return code;
        if (forward != nullptr)
            code = StoreContent(*object, present.state);
        if (code != 0)
            return code;
    }
    if (forward != nullptr)
        AddObject(*forward, id, objects.GetEntry(place).value, present);
    if (back != nullptr)
        AddObject(*back, id, present, objects.GetEntry(place).value);
    return 0;
}

// What cannot be written counts as other.
int ChangeRecorder::Record::CompareContent(const Object& object, std::size_t place, bool& isSame) const {
    StateBytes bytes;
    const int code = bytes.Take(object);
    isSame = code == 0 && bytes.Get() == objects.GetEntry(place).value.bytes;
    return code == MemoryFull ? code : 0;
}

void ChangeRecorder::Record::AddObject(Delta& delta, const Id& id, const StoredObject& then, const StoredObject& now) {
    if (now.classInfo != nullptr)
        delta.Store(then.classInfo != nullptr ? Delta::ObjectChange::Modified : Delta::ObjectChange::New,
                    {now.classInfo, id, now.state});
    else if (then.classInfo != nullptr)
        delta.AddDeletedObject(*then.classInfo, id);
}

void ChangeRecorder::Record::FillLinks(const IdSpace& presentSpace, Delta* forward, Delta* back) {
    LinkDifference difference;
    for (const auto& [end, known] : lists) {
        const LinkList* const present = LinkList::Find(*presentSpace.FindConst(end.id).GetInfo(), *end.association);
        difference.Add(*end.association, end.id, Compare(known, present));
    }
    if (forward != nullptr)
        difference.Fill(*forward);
    if (back != nullptr)
        difference.FillBack(*back);
}

ListDifference ChangeRecorder::Record::Compare(KnownList& known, const LinkList* present) {
    if (known.list == nullptr)
        return CompareLists(GetOldOrder(known), GetOrder(present), NullId);
    SortByPlace(known);
    std::optional<ListDifference> difference;
    if (known.strangers.IsEmpty())
        difference = CompareEnd(known);
    return difference ? std::move(*difference) : CompareSpan(known);
}

std::vector<Id> ChangeRecorder::Record::GetOldOrder(const KnownList& known) {
    std::vector<Id> order;
    order.reserve(known.olds.size());
    for (const PlacedRight& placed : known.olds)
        order.push_back(placed.right);
    return order;
}

// Links were cut and others made, which stand at the end: the rest is as it was. No answer when one is among both.
std::optional<ListDifference> ChangeRecorder::Record::CompareEnd(const KnownList& known) {
    ListDifference difference;
    const LinkList& list = *known.list;
    Kest::HashSet<Id> cut;
    cut.Reserve(known.olds.size());
    Id previous;
    std::size_t begin = 0;   // behind that one
    for (const PlacedRight& placed : known.olds) {
        const Id between = FindLast(list, begin, placed.place);
        difference.cut.push_back({placed.right, between.IsNull() ? previous : between});
        cut.Add(placed.right);
        previous = placed.right;
        begin = placed.place + 1;
    }
    for (std::size_t place = known.oldEnd; place < list.GetEntries().size(); ++place)
        if (const ObjectInfo* const right = list.GetEntries()[place]; IsSeen(list, right)) {
            if (cut.Contains(right->GetId()))
                return std::nullopt;
            const Id behind = difference.made.empty() ? FindLast(list, 0, known.oldEnd) : difference.made.back().right;
            difference.made.push_back({right->GetId(), behind});
        }
    return difference;
}

// From the first place where something has happened to the last one; around it all is as it was.
ListDifference ChangeRecorder::Record::CompareSpan(const KnownList& known) {
    const LinkList& list = *known.list;
    std::size_t begin = known.oldEnd;
    std::size_t end = list.GetEntries().size() > known.oldEnd ? list.GetEntries().size() : 0;
    const auto include = [&](std::size_t place) {
        begin = std::min(begin, place);
        end = std::max(end, place + 1);
    };
    for (const std::size_t place : known.strangers)
        include(place);
    for (const PlacedRight& placed : known.olds)
        include(placed.place);

    std::vector<Id> oldOrder;
    std::vector<Id> newOrder;
    auto old = known.olds.begin();
    for (std::size_t place = begin; place < end; ++place) {
        const ObjectInfo* const right = place < list.GetEntries().size() ? list.GetEntries()[place] : nullptr;
        if (IsSeen(list, right))
            newOrder.push_back(right->GetId());
        if (old != known.olds.end() && old->place == place)
            oldOrder.push_back((old++)->right);
        else if (known.Stays(place) && IsSeen(list, right))
            oldOrder.push_back(right->GetId());
    }
    return CompareLists(oldOrder, newOrder, FindLast(list, 0, begin));
}

}   // namespace ODB
