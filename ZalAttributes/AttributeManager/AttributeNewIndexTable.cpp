#include <AttributeManager/AttributeNewIndexTable.hpp>

#include <algorithm>
#include <new>
#include <utility>

#include <AttributeManager/AttributeErrors.hpp>

#include "InterfaceLifetime.hpp"

namespace ADB {
namespace {

constexpr unsigned int BitNumberMask = 31;

int CheckMapping(short typeId, short newIndex) {
    if (newIndex < 1)
        return Error::NoSuchIndex;
    return typeId < 1 ? Error::UnknownType : Error::None;
}

bool IsInMask(short typeId, int typeMask) {
    const unsigned int bit = static_cast<unsigned int>(typeId) & BitNumberMask;
    return (static_cast<unsigned int>(typeMask) >> bit & 1U) != 0;
}

}   // namespace

int AttributeNewIndexTable::SetNewIndex(short typeId, short oldIndex, short newIndex) {
    if (const int status = CheckMapping(typeId, newIndex); status != Error::None)
        return status;
    try {
        if (TypeTable* const table = types.Find(typeId)) {
            table->Put(oldIndex, newIndex);
        } else {
            TypeTable fresh;   // complete before the type becomes used
            fresh.Put(oldIndex, newIndex);
            types.Put(typeId, std::move(fresh));
        }
    } catch (const std::bad_alloc&) {
        return Error::MemoryFull;
    }
    return Error::None;
}

int AttributeNewIndexTable::ReplaceNewIndex(short typeId, short oldIndex, short newIndex) {
    if (const int status = SetNewIndex(typeId, oldIndex, newIndex); status != Error::None)
        return status;
    for (auto&& entry : *types.Find(typeId))
        if (entry.value == oldIndex)
            entry.value = newIndex;
    return Error::None;
}

int AttributeNewIndexTable::ClearNewIndex(short typeId, short oldIndex) {
    if (typeId < 1)
        return Error::UnknownType;
    if (TypeTable* const table = types.Find(typeId))
        table->Delete(oldIndex);
    return Error::None;
}

void AttributeNewIndexTable::SetAttributeTypeAsUsed(short typeId) {
    types.Add(typeId, TypeTable());
}

void AttributeNewIndexTable::SetAttributeTypeAsUnused(short typeId) {
    types.Delete(typeId);
}

// A type id below 1 can be used, yet never has mappings.
const AttributeNewIndexTable::TypeTable* AttributeNewIndexTable::FindMappings(short typeId) const {
    return typeId >= 1 ? types.Find(typeId) : nullptr;
}

short AttributeNewIndexTable::GetMaxIndex(short typeId) const {
    short maximum = 0;
    if (const TypeTable* const table = FindMappings(typeId))
        for (const auto& entry : *table)
            maximum = std::max(maximum, entry.key);
    return maximum;
}

short AttributeNewIndexTable::GetNewIndex(short typeId, short oldIndex) const {
    const TypeTable* const table = FindMappings(typeId);
    const short* const newIndex = table != nullptr ? table->Find(oldIndex) : nullptr;
    return newIndex != nullptr ? *newIndex : short{0};
}

bool AttributeNewIndexTable::IsUsedAttributeType(short typeId) const {
    return types.Contains(typeId);
}

bool AttributeNewIndexTable::HasChanged(bool useTypeMask, int typeMask) const {
    return std::any_of(types.begin(), types.end(),
                       [=](const auto& type) { return !useTypeMask || !IsInMask(type.key, typeMask); });
}

ODB::ConstRef<AttributeSet> AttributeNewIndexTable::GetAttributeSet() const {
    return ODB::NullRef;
}

void AttributeNewIndexTable::EnumerateEntries(
    const std::function<void(const short&, const short&, const short&)>& callback) const {
    for (const auto& type : types)
        for (const auto& entry : type.value)
            callback(type.key, entry.key, entry.value);
}

}   // namespace ADB

ADB::IAttributeNewIndexTable* CreateAttributeNewIndexTable() {
    return ADB::CreateInterface<ADB::AttributeNewIndexTable>();
}

void DisposeAttributeNewIndexTable(ADB::IAttributeNewIndexTable** table) {
    ADB::DisposeInterface(table);
}

short GetNewAttributeIndex(const ADB::IAttributeNewIndexTable* table, short typeId, short oldIndex) {
    if (typeId < 1 || !table->IsUsedAttributeType(typeId))
        return 0;
    return table->GetNewIndex(typeId, oldIndex);
}
