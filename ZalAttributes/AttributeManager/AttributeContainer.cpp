#include <AttributeManager/AttributeContainer.hpp>

#include <algorithm>
#include <utility>

#include <Kest/ClassManager.hpp>

#include <ODB/IdSpace.hpp>
#include <ODB/Properties.hpp>

#include <Lum/Properties.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeIndex.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "AttributeIndexTables.hpp"
#include "ContainerRelay.hpp"
#include "RegisteredTypeId.hpp"
#include "StreamVersions.hpp"

namespace ADB {
namespace {

const Kest::ClassRegistration<AttributeContainer> registration;

template <class Reference>
Reference MakeReference(ODB::ObjectInfo* record) {
    return record != nullptr ? Reference(record) : Reference();
}

// A state that was read may name any object as the active attribute, also one that arrives later.
bool IsAttribute(const ODB::ObjectInfo& record) {
    return record.GetObject()->GetClassInfo()->IsCompatibleWith(*GeneralAttribute::GetClassInfoStatic());
}

}   // namespace

void RelayToSet(const AttributeContainer& container, const ODB::ConstRef<GeneralAttribute>& attribute,
                AttributeSet::Status status, const FieldMask& fields) {
    ODB::ObjectInfo* const setRecord = AttributeSet::GetContainerAssociation().FindLeft(*container.GetInfo());
    if (setRecord == nullptr)
        return;
    const ODB::ConstRef<AttributeSet> set(setRecord);   // counted: an observer may delete it
    const short typeId = set ? RegisteredTypeIdOf(container.GetRefId()) : short{0};
    if (typeId != 0)
        set->NotifyObservers(typeId, attribute, status, fields);
}

// Made for a delta, it will have to observe what comes with it when nothing may fail any more.
AttributeContainer::AttributeContainer() : Lum::Object(GetClassInfoStatic()) {
    PrepareToObserve();
}

AttributeContainer::AttributeContainer(const AttributeContainer& other)
    : Lum::Object(other),
      Lum::IResolvableObjectSet(other),
      GeneralAttributeObserver(other),
      createPermission(other.createPermission),
      deleteModifyPermission(other.deleteModifyPermission),
      typeName(other.typeName),
      refId(other.refId),
      lastUpdatedStamp(other.lastUpdatedStamp),
      activeAttribute(other.activeAttribute) {}

AttributeContainer::AttributeContainer(unsigned int attributeRefId, const Kest::Guid& guid, ODB::IdSpace* idSpace,
                                       const Kest::UniString& name, LumCB::PermissionID createPermissionId,
                                       LumCB::PermissionID deleteModifyPermissionId)
    : Lum::Object(GetClassInfoStatic()),
      createPermission(createPermissionId),
      deleteModifyPermission(deleteModifyPermissionId),
      typeName(name),
      refId(attributeRefId) {
    ODB::Ref<AttributeContainer> self(this);
    const ODB::Id wanted(guid);
    const bool usable = !guid.IsNull() && idSpace != nullptr && !idSpace->Contains(wanted);
    self.Init(usable ? wanted : ODB::NullId, idSpace);
}

AttributeContainer::~AttributeContainer() {
    LeaveDatabase();   // while its attributes can still be told
}

AttributeContainer& AttributeContainer::operator=(const AttributeContainer& other) {
    if (this == &other)
        return *this;
    Kest::UniString newTypeName(other.typeName);
    const ODB::ModificationGate gate(*this);
    Lum::Object::operator=(other);
    createPermission = other.createPermission;
    deleteModifyPermission = other.deleteModifyPermission;
    typeName = std::move(newTypeName);
    refId = other.refId;
    lastUpdatedStamp = other.lastUpdatedStamp;
    activeAttribute = other.activeAttribute;
    return *this;
}

const Kest::ClassInfo* AttributeContainer::GetClassInfoStatic() {
    static const Kest::ClassInfo info(
        "ADB::AttributeContainer", Kest::Guid("{4814DB0B-C5A4-4929-A9E0-B54229A3FD1B}"),
        StreamVersions::Today.container, Lum::Object::GetClassInfoStatic(),
        {&Undo::NotUndoable, &ODB::Pinned, &ODB::ObjectsAreLogicalConstModifiableWithoutModificationScope},
        &AttributeContainer::ConstructorFunction, StreamVersions::Older<&StreamVersions::Row::container>);
    return &info;
}

Kest::Object* AttributeContainer::ConstructorFunction() {
    return new AttributeContainer;
}

AttributeContainer* AttributeContainer::Clone() const {
    return new AttributeContainer(*this);
}

const AttributeContainer::AttributeAssociation& AttributeContainer::GetAttributeAssociation() {
    // Lives as long as the process: attributes in statics of the host are destroyed after those of this library.
    static const AttributeAssociation& association = []() -> const AttributeAssociation& {
        using Property = ODB::AssociationProperty;
        auto* const made = new AttributeAssociation(
            ODB::Id("{2B7C1F0E-5D34-4B0E-8B0A-6C1D4E9F7A25}"),
            Property::Ownership | Property::DeletePropagation | Property::RightIndexBase | Lum::RightLockPropagation |
                Lum::RightResolvableObjectSetPropagation | Undo::NotUndoableAssociation);
        made->SetRightIndexFactory([] { return std::make_unique<AttributeIndex>(); });
        return *made;
    }();
    return association;
}

void AttributeContainer::SetTypeName(const Kest::UniString& name) {
    Kest::UniString newName(name);
    const ODB::ModificationGate gate(*this);
    typeName = std::move(newName);
}

// Not a change of content: the container would be newer than its own stamp for ever.
void AttributeContainer::SetContainerLastUpdatedStamp(std::uint64_t stamp) {
    lastUpdatedStamp = stamp;
}

AttributeIndexTables* AttributeContainer::FindTables() const noexcept {
    if (attributeIndex == nullptr)
        return nullptr;
    if (!attributeIndex->IsCurrent() && GetAttributeAssociation().FindRightIndex(*GetInfo()) == nullptr)
        return nullptr;
    return attributeIndex->tables.get();
}

ODB::ObjectInfo* AttributeContainer::FindRecord(unsigned int index) const noexcept {
    const AttributeIndexTables* const tables = FindTables();
    return tables != nullptr ? tables->FindByIndex(static_cast<short>(index)) : nullptr;
}

ODB::ObjectInfo* AttributeContainer::FindRecord(const Kest::UniString& name) const noexcept {
    const AttributeIndexTables* const tables = FindTables();
    return tables != nullptr ? tables->FindByName(name) : nullptr;
}

ODB::Ref<GeneralAttribute> AttributeContainer::GetAttribute(unsigned int index) const {
    return MakeReference<ODB::Ref<GeneralAttribute>>(FindRecord(index));
}

ODB::ConstRef<GeneralAttribute> AttributeContainer::GetConstAttribute(unsigned int index) const {
    return MakeReference<ODB::ConstRef<GeneralAttribute>>(FindRecord(index));
}

ODB::Ref<GeneralAttribute> AttributeContainer::GetAttribute(const Kest::UniString& name) const {
    return MakeReference<ODB::Ref<GeneralAttribute>>(FindRecord(name));
}

ODB::ConstRef<GeneralAttribute> AttributeContainer::GetConstAttribute(const Kest::UniString& name) const {
    return MakeReference<ODB::ConstRef<GeneralAttribute>>(FindRecord(name));
}

int AttributeContainer::AttributeIndexExist(unsigned int index) const {
    const ODB::ObjectInfo* const record = FindRecord(index);
    if (record == nullptr)
        return Error::NoSuchIndex;
    return record->IsAlive() ? Error::None : Error::NotLoadable;
}

int AttributeContainer::AttributeIndexToName(unsigned int index, Kest::UniString& name) const {
    const ODB::ObjectInfo* const record = FindRecord(index);
    if (record == nullptr)
        return Error::NoSuchIndex;
    if (!record->IsAlive())
        return Error::NotLoadable;
    name = AttributeOf(*record).GetName();
    return Error::None;
}

int AttributeContainer::AttributeNameToIndex(const Kest::UniString& name, short* index) const {
    const ODB::ObjectInfo* const record = FindRecord(name);
    if (record == nullptr || !record->IsAlive())
        return Error::NoSuchName;
    if (index != nullptr)
        *index = AttributeOf(*record).GetIndex();
    return Error::None;
}

unsigned int AttributeContainer::GetAttributeNumber() const noexcept {
    return static_cast<unsigned int>(
        GetAttributeAssociation().GetConnectionCount(ODB::ConstRef<AttributeContainer>(this)));
}

short AttributeContainer::GetAttributeMaximumIndex() const noexcept {
    const AttributeIndexTables* const tables = FindTables();
    return tables != nullptr ? tables->indexes.GetMaximum() : short{0};
}

ODB::Ref<AttributeSet> AttributeContainer::GetAttributeSet() const {
    return ODB::Ref<AttributeSet>(GetConstAttributeSet());
}

ODB::ConstRef<AttributeSet> AttributeContainer::GetConstAttributeSet() const {
    return AttributeSet::GetContainerAssociation().GetLeft(ODB::ConstRef<AttributeContainer>(this));
}

ODB::Ref<GeneralAttribute> AttributeContainer::GetActiveAttribute() const {
    return ODB::Ref<GeneralAttribute>(GetConstActiveAttribute());
}

ODB::ConstRef<GeneralAttribute> AttributeContainer::GetConstActiveAttribute() const {
    const bool isStranger = activeAttribute && !IsAttribute(*activeAttribute.GetInfo());
    if (activeAttribute && !isStranger)
        return activeAttribute;
    const ODB::ConstRef<GeneralAttribute> lowest = GetLowestAttribute();
    return lowest || isStranger ? lowest : ODB::ConstRef<GeneralAttribute>(activeAttribute);
}

ODB::ConstRef<GeneralAttribute> AttributeContainer::GetLowestAttribute() const {
    const AttributeIndexTables* const tables = FindTables();
    if (tables == nullptr)
        return ODB::NullRef;
    if (ODB::ObjectInfo* const first = tables->indexes.HasShadows() ? nullptr : tables->indexes.GetFirstHolder())
        return ODB::ConstRef<GeneralAttribute>(first);
    ODB::ConstRef<GeneralAttribute> lowest;
    EnumerateConstAttributes([&lowest](const ODB::ConstRef<GeneralAttribute>& attribute) {
        if (!lowest || attribute->GetIndex() < lowest->GetIndex())
            lowest = attribute;
    });
    return lowest;
}

bool AttributeContainer::Owns(const ODB::Ref<GeneralAttribute>& attribute) const noexcept {
    return GetAttributeAssociation().FindLeft(*attribute.GetInfo()) == GetInfo();
}

int AttributeContainer::SetActiveAttribute(const ODB::Ref<GeneralAttribute>& attribute) {
    const ODB::Ref<GeneralAttribute> wanted = attribute ? attribute : ODB::Ref<GeneralAttribute>();
    if (wanted == activeAttribute)
        return Error::None;
    if (wanted && !Owns(wanted))
        return Error::ForeignAttribute;

    ODB::ModificationGate gate(*this);
    activeAttribute = wanted;
    gate.Close();
    RelayToSet(*this, wanted, AttributeSet::ActiveChanged, FieldMask());
    return Error::None;
}

std::uint64_t AttributeContainer::GetLastAttributeModificationStamp() const {
    std::uint64_t newest = GetModificationStamp();
    ODB::Association1NUntyped::RightWalk walk(GetAttributeAssociation(), ODB::ConstRef<AttributeContainer>(this));
    while (const ODB::ObjectInfo* const record = walk.Next())
        newest = std::max(newest, record->GetModificationStamp());
    return newest;
}

void AttributeContainer::AttributeChanged(ODB::ConstRef<GeneralAttribute> attribute, const FieldMask& fields) {
    RelayToSet(*this, attribute, AttributeSet::Changed, fields);
}

void AttributeContainer::NameChanged(ODB::Ref<GeneralAttribute>, const Kest::UniString&) {}

}   // namespace ADB
