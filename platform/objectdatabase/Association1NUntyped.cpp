#include <ODB/Association1NUntyped.hpp>

#include <algorithm>
#include <typeinfo>
#include <utility>
#include <vector>

#include <Kest/HashSet.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include "Associations.hpp"
#include "Links.hpp"
#include "ResultCodes.hpp"

namespace ODB {
namespace {

bool OwnsAnything(const ObjectInfo& record) {
    const LinkTable* const table = LinkTable::Find(record);
    return table != nullptr && std::any_of(table->lists.begin(), table->lists.end(),
                                           [](const auto& list) { return list->IsOwning() && list->GetCount() > 0; });
}

// Whether `right` is `left` or among its owners, their owners and so on, once `right` owns anything at all.
bool OwnsItself(ObjectInfo& left, const ObjectInfo& right) {
    if (&left == &right || !OwnsAnything(right))
        return &left == &right;
    Kest::HashSet<const void*> seen;
    std::vector<ObjectInfo*> open{&left};
    while (!open.empty()) {
        ObjectInfo* const record = open.back();
        open.pop_back();
        const bool found = LinkTable::AnyRight(*record, [&](const LinkList& list, std::uint32_t) {
            ObjectInfo& owner = list.GetLeft();
            if (list.IsOwning() && seen.Add(&owner))
                open.push_back(&owner);
            return list.IsOwning() && &owner == &right;
        });
        if (found)
            return true;
    }
    return false;
}

LinkList* FindBetween(const Association1NUntyped& association, const RefBase& left, const RefBase& right) noexcept {
    LinkList* const list = LinkTable::FindRight(*right.GetInfo(), association);
    return list != nullptr && &list->GetLeft() == left.GetInfo() ? list : nullptr;
}

template <class Reference>
int AppendAll(const Association1NUntyped& association, const Reference& left, Kest::Array<Reference>* result) {
    result->Reserve(result->GetSize() + association.GetConnectionCount(left));
    Association1NUntyped::RightWalk walk(association, left);
    while (ObjectInfo* const record = walk.Next())
        result->Push(Reference(record));
    return 0;
}

const Index* FindSupporting(const LinkList* list, const Query& query) {
    if (list->AreIndexesCurrent())
        for (const auto& index : list->GetIndexes())
            if (index->Supports(query))
                return index.get();
    return nullptr;
}

}   // namespace

LinkCount CountLinks(const ObjectInfo& record) noexcept {
    const LinkTable* const table = LinkTable::Find(record);
    if (table == nullptr)
        return {0, LinkTable::HasAny(record) ? std::size_t{1} : std::size_t{0}};
    LinkCount count{0, table->rights.size()};
    for (const auto& list : table->lists)
        count.asLeft += list->GetCount();
    return count;
}

std::vector<const Association1NUntyped*>& GetAssociations() {
    static auto* const associations = new std::vector<const Association1NUntyped*>;
    return *associations;
}

Association1NUntyped::Association1NUntyped(const Id& associationId, const Kest::ClassInfo* leftInfo,
                                           const Kest::ClassInfo* rightInfo, AssociationProperty associationProperties)
    : id(associationId),
      leftClass(leftInfo),
      rightClass(rightInfo),
      properties(std::move(associationProperties)) {
    GetAssociations().push_back(this);
}

Association1NUntyped::~Association1NUntyped() {
    std::erase(GetAssociations(), this);
}

const Association1NUntyped* Association1NUntyped::Find(const Id& associationId) {
    const auto& all = GetAssociations();
    const auto found =
        std::find_if(all.begin(), all.end(), [&](const auto* association) { return association->id == associationId; });
    return found != all.end() ? *found : nullptr;
}

int Association1NUntyped::Check(const RefBase& left, const RefBase& right) const {
    if (!left || !right)
        return NullArgument;
    ObjectInfo& leftRecord = *left.GetInfo();
    const ObjectInfo& rightRecord = *right.GetInfo();
    if (leftRecord.IsDying() || rightRecord.IsDying())
        return NullArgument;
    if (!leftRecord.GetObject()->GetClassInfo()->IsCompatibleWith(*leftClass) ||
        !rightRecord.GetObject()->GetClassInfo()->IsCompatibleWith(*rightClass))
        return WrongCall;
    return properties.Has(AssociationProperty::Ownership) && OwnsItself(leftRecord, rightRecord) ? WrongCall : 0;
}

int Association1NUntyped::Connect(const Ref<Object>& left, const Ref<Object>& right) const {
    return Link(left, right, true);
}

int Association1NUntyped::Link(const Ref<Object>& left, const Ref<Object>& right, bool sendEvents) const {
    if (const int status = Check(left, right); status != 0)
        return status;
    ObjectInfo& leftRecord = *left.GetInfo();
    ObjectInfo& rightRecord = *right.GetInfo();
    LinkList* const old = LinkTable::FindRight(rightRecord, *this);
    if (old != nullptr && &old->GetLeft() == &leftRecord)
        return 0;

    LinkList& list = LinkList::Get(leftRecord, *this);
    list.Reserve(1);
    LinkTable::ReserveRight(rightRecord);
    IdSpace& space = leftRecord.GetIdSpace() != nullptr ? *leftRecord.GetIdSpace() : *GetDefaultIdSpace();
    const bool identify = properties.Has(AssociationProperty::Ownership) && rightRecord.GetIdSpace() == nullptr;
    if (identify)
        space.ReserveOne();
    const Id fresh = identify ? space.MakeFreeId() : NullId;
    list.Drain(right.GetInfo()->GetObject());
    list.TellCreated(rightRecord);

    // From here on nothing fails.
    const bool tells = sendEvents && properties.Has(AssociationProperty::EventSending);
    const ConstRef<Object> oldLeft(tells && old != nullptr ? &old->GetLeft() : &NullObjectInfo);
    if (old != nullptr)
        CutLink(*old, rightRecord, CutReason::Silent);
    if (identify)
        space.Enter(rightRecord, fresh);
    if (properties.Has(AssociationProperty::Ownership))
        rightRecord.stamp |= ObjectInfo::ManagedFlag;
    leftRecord.Touch();
    rightRecord.Touch();
    list.Append(rightRecord);
    if (tells)
        SendConnected(oldLeft, left, right);
    return 0;
}

void Association1NUntyped::ConnectNewcomers(const Ref<Object>& left, const std::vector<ObjectInfo*>& rights,
                                            const std::function<void()>& fillIndexes) const {
    ObjectInfo& leftRecord = *left.GetInfo();
    LinkList& list = LinkList::Get(leftRecord, *this);
    list.Reserve(rights.size());
    list.Drain();
    fillIndexes();

    // From here on nothing fails.
    const bool owns = properties.Has(AssociationProperty::Ownership);
    leftRecord.Touch();
    for (ObjectInfo* const right : rights) {
        if (owns)
            right->stamp |= ObjectInfo::ManagedFlag;
        right->Touch();
        list.Append(*right);
    }
}

void Association1NUntyped::SendConnected(const ConstRef<Object>& oldLeft, const Ref<Object>& left,
                                         const Ref<Object>& right) const {
    const ConstRef<Object> heldLeft(left);
    const ConstRef<Object> heldRight(right);
    TellLeft(&Object::ObjectDisconnected, *this, *oldLeft.GetInfo(), *heldRight.GetInfo());
    TellLeft(&Object::ObjectConnected, *this, *heldLeft.GetInfo(), *heldRight.GetInfo());
}

int Association1NUntyped::Disconnect(const Ref<Object>& left, const Ref<Object>& right) const {
    return Unlink(left, right, false);
}

int Association1NUntyped::Unlink(const Ref<Object>& left, const Ref<Object>& right, bool isolated) const {
    LinkList* const list = FindBetween(*this, left, right);
    if (list == nullptr)
        return WrongCall;
    const Ref<Object> held(right);
    if (held.GetInfo()->IsDying())   // its link is cut by whoever deletes it
        return 0;
    CutLink(*list, *held.GetInfo(), isolated ? CutReason::Silent : CutReason::Disconnected);
    if (!isolated && properties.Has(AssociationProperty::Ownership))
        Database::DestroyIfUnowned(*held.GetInfo());
    return 0;
}

void Association1NUntyped::DisconnectAsLeft(const Ref<Object>& left) const {
    UnlinkAll(*left.GetInfo(), true);
}

void Association1NUntyped::ClearAsLeft(const Ref<Object>& left) const {
    UnlinkAll(*left.GetInfo(), false);
}

void Association1NUntyped::UnlinkAll(ObjectInfo& left, bool sendEvents) const {
    const Ref<Object> held(&left);   // an observer of what is destroyed may destroy the left object
    RightWalk walk(*this, held);
    if (walk.list != nullptr)
        walk.list->SuspendIndexes();
    while (ObjectInfo* const record = walk.Next()) {
        const Ref<Object> right(record);
        if (record->IsDying())
            continue;
        CutLink(*walk.list, *record, sendEvents ? CutReason::Disconnected : CutReason::Silent);
        if (properties.Has(AssociationProperty::Ownership))
            Database::DestroyIfUnowned(*record);
    }
    if (walk.list != nullptr)
        walk.list->Drain();
}

void Association1NUntyped::ClearAsRight(const Ref<Object>& right) const {
    if (LinkList* const list = LinkTable::FindRight(*right.GetInfo(), *this))
        Unlink(Ref<Object>(&list->GetLeft()), right, false);
}

Ref<Object> Association1NUntyped::GetLeft(const Ref<Object>& right) const noexcept {
    LinkList* const list = LinkTable::FindRight(*right.GetInfo(), *this);
    return list != nullptr ? Ref<Object>(&list->GetLeft()) : Ref<Object>();
}

ConstRef<Object> Association1NUntyped::GetLeft(const ConstRef<Object>& right) const noexcept {
    LinkList* const list = LinkTable::FindRight(*right.GetInfo(), *this);
    return list != nullptr ? ConstRef<Object>(&list->GetLeft()) : ConstRef<Object>();
}

ObjectInfo* Association1NUntyped::FindLeft(const ObjectInfo& right) const noexcept {
    LinkList* const list = LinkTable::FindRight(right, *this);
    return list != nullptr ? &list->GetLeft() : nullptr;
}

int Association1NUntyped::AppendRight(const Ref<Object>& left, RefList<Object>* result, const Query* query) const {
    if (result == nullptr)
        return NullArgument;
    if (query == nullptr)
        return AppendAll(*this, left, result);
    if (LinkList* const list = LinkList::Find(*left.GetInfo(), *this)) {
        list->PrepareAnswer();
        if (const Index* const index = FindSupporting(list, *query))
            if (index->Execute(*query, result, Index::Append))
                return 0;
    }
    const Query::Scope scope{*this, left};
    return query->ExecuteCustom(&scope, result);
}

int Association1NUntyped::AppendRight(const ConstRef<Object>& left, ConstRefList<Object>* result,
                                      const Query* query) const {
    if (result == nullptr)
        return NullArgument;
    if (query == nullptr)
        return AppendAll(*this, left, result);
    RefList<Object> found;
    const int status = AppendRight(Ref<Object>(left), &found, query);
    for (const Ref<Object>& object : found)
        result->Push(ConstRef<Object>(object));
    return status;
}

int Association1NUntyped::AppendLeft(const Ref<Object>& right, RefList<Object>* result) const {
    if (result == nullptr)
        return NullArgument;
    EnumerateLeft(right, [result](const Ref<Object>& left) { result->Push(left); });
    return 0;
}

int Association1NUntyped::AppendLeft(const ConstRef<Object>& right, ConstRefList<Object>* result) const {
    if (result == nullptr)
        return NullArgument;
    EnumerateLeft(right, [result](const ConstRef<Object>& left) { result->Push(left); });
    return 0;
}

void Association1NUntyped::EnumerateRight(const Ref<Object>& left,
                                          const std::function<void(const Ref<Object>&)>& call) const {
    RightWalk walk(*this, left);
    while (ObjectInfo* const record = walk.Next())
        call(Ref<Object>(record));
}

void Association1NUntyped::EnumerateRight(const ConstRef<Object>& left,
                                          const std::function<void(const ConstRef<Object>&)>& call) const {
    RightWalk walk(*this, left);
    while (ObjectInfo* const record = walk.Next())
        call(ConstRef<Object>(record));
}

void Association1NUntyped::EnumerateLeft(const Ref<Object>& right,
                                         const std::function<void(const Ref<Object>&)>& call) const {
    if (const Ref<Object> left = GetLeft(right))
        call(left);
}

void Association1NUntyped::EnumerateLeft(const ConstRef<Object>& right,
                                         const std::function<void(const ConstRef<Object>&)>& call) const {
    if (const ConstRef<Object> left = GetLeft(right))
        call(left);
}

bool Association1NUntyped::IsConnected(const RefBase& left, const RefBase& right) const noexcept {
    return FindBetween(*this, left, right) != nullptr;
}

bool Association1NUntyped::IsConnectedAsLeft(const RefBase& left) const noexcept {
    return GetConnectionCount(left) > 0;
}

bool Association1NUntyped::IsConnectedAsRight(const RefBase& right) const noexcept {
    return LinkTable::FindRight(*right.GetInfo(), *this) != nullptr;
}

std::size_t Association1NUntyped::GetConnectionCount(const RefBase& left) const noexcept {
    const LinkList* const list = LinkList::Find(*left.GetInfo(), *this);
    return list != nullptr ? list->GetCount() : 0;
}

int Association1NUntyped::ReorderLinkFromLeftObject(const Ref<Object>& left, const Ref<Object>& right, std::size_t from,
                                                    std::size_t to) const {
    return Reorder(left, right, from, to, true);
}

int Association1NUntyped::Reorder(const Ref<Object>& left, const Ref<Object>& right, std::size_t from, std::size_t to,
                                  bool sendEvents) const {
    LinkList* const list = FindBetween(*this, left, right);
    if (list == nullptr || to >= list->GetCount() || list->GetAt(from) != right.GetInfo())
        return WrongCall;
    if (from == to)
        return 0;
    list->Move(from, to);
    left.GetInfo()->Touch();
    right.GetInfo()->Touch();
    if (sendEvents)
        TellLeft(&Object::ObjectReordered, *this, *left.GetInfo(), *right.GetInfo());
    return 0;
}

int Association1NUntyped::CreateIsolatedLink(const Ref<Object>& left, const Ref<Object>& right) const {
    return Link(left, right, false);
}

int Association1NUntyped::DeleteIsolatedLink(const Ref<Object>& left, const Ref<Object>& right) const {
    return Unlink(left, right, true);
}

int Association1NUntyped::ReorderIsolatedLink(const Ref<Object>& left, const Ref<Object>& right, std::size_t from,
                                              std::size_t to) const {
    return Reorder(left, right, from, to, false);
}

int Association1NUntyped::CreateIsolatedLinks(const Ref<Object>& left, const RefList<Object>& rights) const {
    for (const Ref<Object>& right : rights) {
        const int status = Check(left, right);
        if (status != 0)
            return status;
        if (IsConnectedAsRight(right))   // taking it back to another left object could fail halfway
            return WrongCall;
    }
    std::size_t linked = 0;
    try {
        for (; linked < rights.GetSize(); ++linked)
            Link(left, rights[linked], false);
    } catch (...) {
        while (linked > 0)
            Unlink(left, rights[--linked], true);
        throw;
    }
    return 0;
}

int Association1NUntyped::DeleteIsolatedLinks(const Ref<Object>& left, const RefList<Object>& rights) const {
    for (const Ref<Object>& right : rights)
        if (!IsConnected(left, right))
            return WrongCall;
    for (const Ref<Object>& right : rights)
        Unlink(left, right, true);
    return 0;
}

int Association1NUntyped::ReorderIsolatedLinks(const Ref<Object>& left, const RefList<Object>& rights) const {
    if (GetConnectionCount(left) != rights.GetSize())
        return WrongCall;
    Kest::HashSet<const void*> seen;
    std::vector<ObjectInfo*> order;
    order.reserve(rights.GetSize());
    for (const Ref<Object>& right : rights) {
        if (!IsConnected(left, right) || !seen.Add(right.GetInfo()))
            return WrongCall;
        order.push_back(right.GetInfo());
    }
    if (order.empty())
        return 0;
    LinkList::Find(*left.GetInfo(), *this)->Arrange(order);
    left.GetInfo()->Touch();
    return 0;
}

void Association1NUntyped::SetRightIndexFactory(IndexFactory factory) {
    indexFactory = std::move(factory);
}

int Association1NUntyped::AttachRightIndices(const Ref<Object>& left, std::unique_ptr<Index> index) const {
    if (!left || left.GetInfo()->IsDying() || index == nullptr)
        return NullArgument;
    if (!properties.Has(AssociationProperty::RightIndexBase))
        return WrongCall;
    LinkList& list = LinkList::Get(*left.GetInfo(), *this);
    const Index& added = *index;
    const auto isAlike = [&added](const auto& attached) {
        const Index& other = *attached;
        return typeid(other) == typeid(added);
    };
    if (std::any_of(list.GetIndexes().begin(), list.GetIndexes().end(), isAlike))   // only one would be asked
        return WrongCall;
    list.AttachIndex(std::move(index));
    return 0;
}

Kest::Array<const Index*> Association1NUntyped::GetAttachedRightIndices(const RefBase& left) const {
    Kest::Array<const Index*> result;
    if (LinkList* const list = LinkList::Find(*left.GetInfo(), *this)) {
        list->PrepareAnswer();
        for (const auto& index : list->GetIndexes())
            result.Push(index.get());
    }
    return result;
}

void Association1NUntyped::ModifyAttachedRightIndices(const Ref<Object>& left,
                                                      const std::function<void(Index&)>& call) const {
    if (LinkList* const list = LinkList::Find(*left.GetInfo(), *this)) {
        list->PrepareAnswer();
        for (const auto& index : list->GetIndexes())
            call(*index);
    }
}

void Association1NUntyped::DetachRightIndices(const Ref<Object>& left) const {
    if (LinkList* const list = LinkList::Find(*left.GetInfo(), *this))
        list->DetachIndexes();
}

void Association1NUntyped::InvalidateRightIndicesWithObjectModification(const Ref<Object>& right) const noexcept {
    ObjectInfo& record = *right.GetInfo();
    if (LinkList* const list = LinkTable::FindRight(record, *this))
        list->Queue(record, *LinkTable::FindPlace(record, *list));
}

Index* Association1NUntyped::FindRightIndex(const ObjectInfo& left) const noexcept {
    LinkList* const list = LinkList::Find(left, *this);
    if (list == nullptr || list->GetIndexes().empty())
        return nullptr;
    if (list->HasPending())
        list->Drain();
    return list->AreIndexesCurrent() ? list->GetIndexes().front().get() : nullptr;
}

Index* Association1NUntyped::FindRightIndexForChange(const ObjectInfo& left, const Object& changing) const noexcept {
    LinkList* const list = LinkList::Find(left, *this);
    if (list == nullptr || list->GetIndexes().empty())
        return nullptr;
    if (list->HasPending())
        list->Drain(&changing);
    return list->AreIndexesCurrent() ? list->GetIndexes().front().get() : nullptr;
}

}   // namespace ODB
