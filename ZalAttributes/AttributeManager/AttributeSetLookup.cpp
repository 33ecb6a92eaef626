#include <memory>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeTypeIdIndex.hpp>

#include "AttributeIndexTables.hpp"

namespace ADB {
namespace {

unsigned int AsIndex(short index) {
    return static_cast<unsigned int>(index);
}

}   // namespace

ODB::Ref<AttributeContainer> AttributeSet::GetAttributeContainer(short typeId) const {
    return ODB::Ref<AttributeContainer>(GetConstAttributeContainer(typeId));
}

ODB::ConstRef<AttributeContainer> AttributeSet::GetConstAttributeContainer(short typeId) const {
    return ODB::ConstRef<AttributeContainer>(FindContainer(typeId));
}

// For look-ups that call nobody back: no counting.
const AttributeContainer* AttributeSet::FindContainer(short typeId) const {
    if (typeId < 1)
        return nullptr;
    const auto* const index =
        static_cast<const AttributeTypeIdIndex*>(GetContainerAssociation().FindRightIndex(*GetInfo()));
    const ODB::ObjectInfo* const found = index != nullptr ? index->FindContainer(typeId) : nullptr;
    return found != nullptr ? static_cast<const AttributeContainer*>(found->GetObject()) : nullptr;
}

ODB::RefList<AttributeContainer> AttributeSet::GetAttributeContainerList() const {
    ODB::RefList<AttributeContainer> list;
    EnumerateAttributeContainers([&list](const ODB::Ref<AttributeContainer>& container) { list.Push(container); });
    return list;
}

ODB::ConstRefList<AttributeContainer> AttributeSet::GetAttributeContainerConstList() const {
    ODB::ConstRefList<AttributeContainer> list;
    EnumerateConstAttributeContainers(
        [&list](const ODB::ConstRef<AttributeContainer>& container) { list.Push(container); });
    return list;
}

int AttributeSet::AddAttributeContainer(ODB::Ref<AttributeContainer> container) {
    return GetContainerAssociation().Connect(ODB::Ref<AttributeSet>(this), container);
}

ODB::Ref<GeneralAttribute> AttributeSet::GetAttribute(short typeId, short index) const {
    return ODB::Ref<GeneralAttribute>(GetConstAttribute(typeId, index));
}

ODB::Ref<GeneralAttribute> AttributeSet::GetAttribute(short typeId, const Kest::UniString& name) const {
    return ODB::Ref<GeneralAttribute>(GetConstAttribute(typeId, name));
}

ODB::ConstRef<GeneralAttribute> AttributeSet::GetConstAttribute(short typeId, short index) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->GetConstAttribute(AsIndex(index)) : ODB::ConstRef<GeneralAttribute>();
}

ODB::ConstRef<GeneralAttribute> AttributeSet::GetConstAttribute(short typeId, const Kest::UniString& name) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->GetConstAttribute(name) : ODB::ConstRef<GeneralAttribute>();
}

int AttributeSet::AttributeIndexExist(short typeId, short index) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->AttributeIndexExist(AsIndex(index)) : Error::UnknownType;
}

int AttributeSet::AttributeIndexToName(short typeId, short index, Kest::UniString& name) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->AttributeIndexToName(AsIndex(index), name) : Error::UnknownType;
}

int AttributeSet::AttributeNameToIndex(short typeId, const Kest::UniString& name, short* index) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->AttributeNameToIndex(name, index) : Error::UnknownType;
}

unsigned int AttributeSet::GetAttributeNumber(short typeId) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->GetAttributeNumber() : 0;
}

short AttributeSet::GetAttributeMaximumIndex(short typeId) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->GetAttributeMaximumIndex() : short{0};
}

Kest::UniString AttributeSet::GetAttributeName(short typeId, short index) const {
    Kest::UniString name;
    AttributeIndexToName(typeId, index, name);
    return name;
}

ODB::Ref<GeneralAttribute> AttributeSet::GetFirstValidAttribute(short typeId) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? ODB::Ref<GeneralAttribute>(container->GetLowestAttribute())
                                : ODB::Ref<GeneralAttribute>();
}

ODB::Ref<GeneralAttribute> AttributeSet::GetFirstValidAttributeByName(short typeId) const {
    const AttributeContainer* const container = FindContainer(typeId);
    AttributeIndexTables* const tables = container != nullptr ? container->FindTables() : nullptr;
    if (tables == nullptr || container->GetAttributeNumber() == 0)
        return ODB::NullRef;
    return ODB::Ref<GeneralAttribute>(tables->GetSortedByName(*container->GetInfo()).front());
}

GeneralAttribute* AttributeSet::Clone(short typeId, short index) const {
    const ODB::ConstRef<GeneralAttribute> attribute = GetConstAttribute(typeId, index);
    return attribute ? static_cast<GeneralAttribute*>(attribute->Clone()) : nullptr;
}

ODB::Ref<GeneralAttribute> AttributeSet::GetActiveAttribute(short typeId) const {
    return ODB::Ref<GeneralAttribute>(GetConstActiveAttribute(typeId));
}

ODB::ConstRef<GeneralAttribute> AttributeSet::GetConstActiveAttribute(short typeId) const {
    const AttributeContainer* const container = FindContainer(typeId);
    return container != nullptr ? container->GetConstActiveAttribute() : ODB::ConstRef<GeneralAttribute>();
}

int AttributeSet::SetActiveAttribute(short typeId, const ODB::Ref<GeneralAttribute>& attribute) {
    const ODB::Ref<AttributeContainer> container = GetAttributeContainer(typeId);
    return container ? container.GetLogicalConst()->SetActiveAttribute(attribute) : Error::UnknownType;
}

void AttributeSet::EnumerateAttributeContainers(
    const std::function<void(const ODB::Ref<AttributeContainer>&)>& call) const {
    GetContainerAssociation().ForEachRight(ODB::Ref<AttributeSet>(GetInfo()), call);
}

void AttributeSet::EnumerateConstAttributeContainers(
    const std::function<void(const ODB::ConstRef<AttributeContainer>&)>& call) const {
    GetContainerAssociation().ForEachRight(ODB::ConstRef<AttributeSet>(GetInfo()), call);
}

void AttributeSet::EnumerateAttributes(const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const {
    EnumerateConstAttributeContainers(
        [&call](const ODB::ConstRef<AttributeContainer>& container) { container->EnumerateAttributes(call); });
}

void AttributeSet::EnumerateAttributes(short typeId,
                                       const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const {
    if (const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId))
        container->EnumerateAttributes(call);
}

void AttributeSet::EnumerateAttributes(short typeId, SortMethod method, SortOrder order,
                                       const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const {
    if (const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId))
        container->EnumerateAttributes(method, order, call);
}

void AttributeSet::EnumerateConstAttributes(
    const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const {
    EnumerateConstAttributeContainers(
        [&call](const ODB::ConstRef<AttributeContainer>& container) { container->EnumerateConstAttributes(call); });
}

void AttributeSet::EnumerateConstAttributes(
    short typeId, const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const {
    if (const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId))
        container->EnumerateConstAttributes(call);
}

void AttributeSet::EnumerateConstAttributes(
    short typeId, SortMethod method, SortOrder order,
    const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const {
    if (const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId))
        container->EnumerateConstAttributes(method, order, call);
}

void AttributeSet::LookupExternalDataHandlers(ZalUtil::ICBOwnerFound* callback) const {
    EnumerateConstAttributeContainers([callback](const ODB::ConstRef<AttributeContainer>& container) {
        container->LookupExternalDataHandlers(callback);
    });
}

void AttributeSet::DeleteExternalDataHandlers(const ZalUtil::OwnerList& owners) {
    EnumerateAttributeContainers([&owners](const ODB::Ref<AttributeContainer>& container) {
        container.GetLogicalConst()->DeleteExternalDataHandlers(owners);
    });
}

}   // namespace ADB
