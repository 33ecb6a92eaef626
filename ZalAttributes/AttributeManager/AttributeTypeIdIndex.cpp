#include <AttributeManager/AttributeTypeIdIndex.hpp>

#include <algorithm>
#include <utility>

#include <Kest/ClassManager.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "RegisteredTypeId.hpp"

namespace ADB {
namespace {

const Kest::ClassRegistration<AttributeTypeIdIndex> registration;
const Kest::ClassRegistration<AttributeTypeIdIndex::Query> queryRegistration;

short KeyOf(const AttributeContainer& container) {
    return RegisteredTypeIdOf(container.GetRefId());
}

}   // namespace

AttributeTypeIdIndex::Query* AttributeTypeIdIndex::Query::Clone() const {
    return new Query(*this);
}

bool AttributeTypeIdIndex::Query::Matches(const Subject& subject) const {
    const auto* const container = dynamic_cast<const AttributeContainer*>(subject.Get());
    return container != nullptr && KeyOf(*container) == typeId;
}

const Kest::ClassInfo* AttributeTypeIdIndex::Query::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::AttributeTypeIdIndex::Query",
                                      Kest::Guid("{75CDAA64-AA80-4A5D-A5C7-33C968F2961A}"), Kest::ClassVersion(1, 0),
                                      ODB::Query::GetClassInfoStatic());
    return &info;
}

const Kest::ClassInfo* AttributeTypeIdIndex::Query::GetClassInfo() const {
    return GetClassInfoStatic();
}

AttributeTypeIdIndex::~AttributeTypeIdIndex() = default;

AttributeTypeIdIndex* AttributeTypeIdIndex::Clone() const {
    return new AttributeTypeIdIndex;
}

const Kest::ClassInfo* AttributeTypeIdIndex::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::AttributeTypeIdIndex", Kest::Guid("{D1BC6A7A-984E-4D53-96AA-16519C2CD983}"),
                                      Kest::ClassVersion(1, 0), ODB::Index::GetClassInfoStatic(), {},
                                      []() -> Kest::Object* { return new AttributeTypeIdIndex; });
    return &info;
}

const Kest::ClassInfo* AttributeTypeIdIndex::GetClassInfo() const {
    return GetClassInfoStatic();
}

bool AttributeTypeIdIndex::Supports(const ODB::Query& query) const {
    return query.GetClassInfo() == Query::GetClassInfoStatic();
}

bool AttributeTypeIdIndex::Execute(const ODB::Query& query, ODB::RefList<ODB::Object>* result, ResultMode mode) const {
    if (mode == Replace)
        result->Clear();
    if (ODB::ObjectInfo* const found = FindContainer(static_cast<const Query&>(query).GetAttributeTypeId()))
        result->Push(ODB::Ref<ODB::Object>(found));
    return true;
}

void AttributeTypeIdIndex::ObjectCreated(const ODB::Ref<ODB::Object>& object) {
    const ODB::Ref<AttributeContainer> container(object.GetInfo());
    containers.Add(KeyOf(*container.GetConst()), container);
}

// The register may have changed since: the key is the one that the container is filed under.
void AttributeTypeIdIndex::ObjectDeleted(const ODB::Ref<ODB::Object>& object) {
    const auto& entries = std::as_const(containers);
    const auto* const found =
        std::find_if(entries.begin(), entries.end(), [&object](const auto& entry) { return entry.value == object; });
    if (found != entries.end())
        containers.DeleteAt(static_cast<std::size_t>(found - entries.begin()));
}

void AttributeTypeIdIndex::Clear() {
    containers.Clear();
}

void AttributeTypeIdIndex::Reserve(std::size_t count) {
    containers.Reserve(count);
}

ODB::ObjectInfo* AttributeTypeIdIndex::FindContainer(short typeId) const {
    const ODB::Ref<AttributeContainer>* const found = containers.Find(typeId);
    return found != nullptr ? found->GetInfo() : nullptr;
}

bool AttributeTypeIdIndex::CheckInvariants(const ODB::ConstRef<ODB::Object>& set) const {
    const AttributeSet::ContainerAssociation& association = AttributeSet::GetContainerAssociation();
    return containers.GetSize() <= association.GetConnectionCount(set) &&
           std::all_of(containers.begin(), containers.end(),
                       [&](const auto& entry) { return association.IsConnected(set, entry.value); });
}

}   // namespace ADB
