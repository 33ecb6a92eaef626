#include <ODB/Object.hpp>

#include <utility>

#include <ODB/Database.hpp>

#include "ChangeRecord.hpp"
#include "Links.hpp"
#include "ModificationSilence.hpp"
#include "Records.hpp"

namespace ODB {
namespace {

constexpr int WrongState = -7003;

thread_local bool isSilent = false;

}   // namespace

Object::IsolatedState::~IsolatedState() = default;

bool Object::IsolatedState::ReturnTo(Object&) noexcept {
    return false;
}

Object::~Object() {
    LeaveDatabase();
}

const Kest::ClassInfo* Object::GetClassInfoStatic() {
    static const Kest::ClassInfo classInfo("ODB::Object", Kest::Guid("{0C2A7B44-6E0D-4E8F-9B6B-2F1D6B1C7A10}"),
                                           Kest::ClassVersion(1, 0), Kest::Object::GetClassInfoStatic());
    return &classInfo;
}

const Kest::ClassInfo* Object::GetClassInfo() const {
    return GetClassInfoStatic();
}

void Object::ObjectConnected(const Association1NUntyped&, const ConstRef<Object>&) {}

void Object::ObjectDisconnected(const Association1NUntyped&, const ConstRef<Object>&) {}

void Object::ObjectDeleted(const Association1NUntyped&, const ConstRef<Object>&) {}

void Object::ObjectModified(const Association1NUntyped&, const ConstRef<Object>&) {}

void Object::ObjectReordered(const Association1NUntyped&, const ConstRef<Object>&) {}

void Object::InitializeLazyData() {}

Object::IsolatedState* Object::CreateIsolatedState() const {
    return new IsolatedState;
}

int Object::StoreIsolatedState(IsolatedState* state) const {
    return state != nullptr ? 0 : WrongState;
}

int Object::RestoreIsolatedState(const IsolatedState* state) {
    return state != nullptr ? 0 : WrongState;
}

int Object::CopyIsolatedState(const Object& other) {
    const std::unique_ptr<IsolatedState> state(other.CreateIsolatedState());
    const int status = other.StoreIsolatedState(state.get());
    return status != 0 ? status : RestoreIsolatedState(state.get());
}

std::size_t Object::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

int Object::Isolate() {
    ObjectInfo* const record = FindInfo();
    if (record == nullptr || record->IsDying())
        return 0;
    LinkList* list = nullptr;
    const auto takeFirst = [&list](LinkList& found, std::uint32_t) {
        list = &found;
        return true;
    };
    while (LinkTable::AnyRight(*record, takeFirst))
        CutLink(*list, *record, CutReason::Silent);
    if (LinkTable* const table = LinkTable::Find(*record))
        for (const auto& rights : table->lists)
            while (ObjectInfo* const right = rights->GetFirst())
                CutLink(*rights, *right, CutReason::Silent);
    return 0;
}

ObjectInfo* Object::GetInfo() const {
    if (IsBuried())
        return &NullObjectInfo;
    if (info == 0) {
        ObjectInfo* const record = GetRecordPool().Make();
        record->object = const_cast<Object*>(this);
        record->AddReference();
        SetInfo(record);
    }
    return FindInfo();
}

void Object::LeaveDatabase() noexcept {
    if (FindInfo() == nullptr)
        return;
    ObjectInfo& record = *FindInfo();
    ChangeRecorder::Record::ShowLoss(record);
    record.stamp |= ObjectInfo::DeletingFlag;
    while (ObjectInfo* const owned = Database::FindDoomed(record))
        Database::DeleteObject(Ref<Object>(owned));
    Database::Detach(record);
    record.ReleaseObjectInfo();
}

const Kest::ClassInfo* DynamicObject::GetClassInfoStatic() {
    static const Kest::ClassInfo staticInfo("ODB::DynamicObject", Kest::Guid("{3B0F3A52-8C0B-4E53-A0D2-0C1C3E7A5E11}"),
                                            Kest::ClassVersion(1, 0), Object::GetClassInfoStatic());
    return &staticInfo;
}

DynamicObject::IsolatedState* DynamicObject::CreateIsolatedState() const {
    return new IsolatedState;
}

std::size_t DynamicObject::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

ModificationSilence::ModificationSilence() noexcept : wasSilent(std::exchange(isSilent, true)) {}

ModificationSilence::~ModificationSilence() {
    isSilent = wasSilent;
}

void ModificationGate::Open() noexcept {
    if (ObjectInfo* const record = object.FindInfo()) {
        record->ShowContent();
        record->Stamp();
    }
}

void ModificationGate::Close() {
    open = false;
    ObjectInfo* const record = object.FindInfo();
    if (record == nullptr || record->links == 0)
        return;
    bool sends = false;
    LinkTable::AnyRight(*record, [&](LinkList& list, std::uint32_t& place) {
        list.Drain(&object);
        list.TellModified(*record);
        list.Forget(place);
        const AssociationProperty& properties = list.GetAssociation().GetProperties();
        if (properties.Has(AssociationProperty::OwnerPropagation))
            list.GetLeft().Touch();
        sends = sends || properties.Has(AssociationProperty::EventSending);
        return false;
    });
    if (const LinkTable* const table = LinkTable::Find(*record))
        for (const auto& rights : table->lists)
            if (rights->GetAssociation().GetProperties().Has(AssociationProperty::UserPropagation))
                rights->StampAll();
    if (sends && !isSilent)
        SendModified(*record);
}

// Whoever is told may cut and make links of the object: each turn looks afresh.
void ModificationGate::SendModified(ObjectInfo& record) {
    const ConstRef<Object> held(&record);
    for (std::size_t turn = 0;; ++turn) {
        LinkList* list = nullptr;
        std::size_t place = 0;
        const auto isTurn = [&](LinkList& found, std::uint32_t) {
            list = &found;
            return place++ == turn;
        };
        if (!LinkTable::AnyRight(record, isTurn))
            return;
        TellLeft(&Object::ObjectModified, list->GetAssociation(), list->GetLeft(), record);
    }
}

}   // namespace ODB
