#include <AttributeManager/AttributeRegister.hpp>

#include <limits>
#include <utility>

#include "InterfaceLifetime.hpp"
#include "ProcessState.hpp"

namespace ADB {
namespace {

constexpr unsigned int Flag1 = 0x1;
constexpr unsigned int Flag2 = 0x2;
constexpr unsigned int Flag4 = 0x4;
constexpr unsigned int Flag8 = 0x8;

constexpr std::size_t MostTypes = std::numeric_limits<short>::max();

}   // namespace

AttributeRegister::~AttributeRegister() = default;

short AttributeRegister::RegisterAttributeType(unsigned int refId, const ZalUtil::Owner& owner,
                                               const Kest::Guid& typeGuid, const Kest::Guid& containerGuid,
                                               const Kest::UniString& name, LumCB::PermissionID createPermission,
                                               LumCB::PermissionID deleteModifyPermission, unsigned int flags) {
    if (typeIdsByRefId.Contains(refId) || elements.GetSize() == MostTypes)
        return 0;
    const auto typeId = static_cast<short>(elements.GetSize() + 1);
    try {
        Store({refId, typeId, typeGuid, owner, containerGuid, name, createPermission, deleteModifyPermission, flags});
    } catch (...) {
        return 0;
    }
    return typeId;
}

void AttributeRegister::Store(RegisterElement element) {
    const RegisterElement& stored = elements.Push(std::move(element));
    try {
        typeIdsByRefId.Add(stored.refId, stored.typeId);
        typeIdsByGuid.Add(stored.typeGuid, stored.typeId);
    } catch (...) {
        typeIdsByRefId.Delete(stored.refId);
        elements.Pop();
        throw;
    }
}

const AttributeRegister::RegisterElement& AttributeRegister::GetElement(short typeId) const noexcept {
    const bool known = typeId > 0 && static_cast<std::size_t>(typeId) <= elements.GetSize();
    return known ? elements[static_cast<std::size_t>(typeId) - 1] : none;
}

short AttributeRegister::GetAttributeTypeNumber() const {
    return static_cast<short>(elements.GetSize());
}

unsigned int AttributeRegister::GetRefId(short typeId) const {
    return GetElement(typeId).refId;
}

const Kest::Guid& AttributeRegister::GetTypeGuid(short typeId) const {
    return GetElement(typeId).typeGuid;
}

ZalUtil::Owner AttributeRegister::GetOwner(short typeId) const {
    return GetElement(typeId).owner;
}

const Kest::Guid& AttributeRegister::GetContainerGuid(short typeId) const {
    return GetElement(typeId).containerGuid;
}

Kest::UniString AttributeRegister::GetTypeName(short typeId) const {
    return GetElement(typeId).name;
}

LumCB::PermissionID AttributeRegister::GetCreatePermissionID(short typeId) const {
    return GetElement(typeId).createPermission;
}

LumCB::PermissionID AttributeRegister::GetDeleteModifyPermissionID(short typeId) const {
    return GetElement(typeId).deleteModifyPermission;
}

short AttributeRegister::GetTypeIdByGuid(const Kest::Guid& typeGuid) const {
    const short* const typeId = typeIdsByGuid.Find(typeGuid);
    return typeId != nullptr ? *typeId : short{0};
}

short AttributeRegister::GetTypeIdByRefId(unsigned int refId) const {
    const short* const typeId = typeIdsByRefId.Find(refId);
    return typeId != nullptr ? *typeId : short{0};
}

bool AttributeRegister::HasFlag(short typeId, unsigned int flag) const noexcept {
    return (GetElement(typeId).flags & flag) != 0;
}

bool AttributeRegister::HasTypeFlag1(short typeId) const {
    return HasFlag(typeId, Flag1);
}

bool AttributeRegister::HasTypeFlag2(short typeId) const {
    return HasFlag(typeId, Flag2);
}

bool AttributeRegister::HasTypeFlag4(short typeId) const {
    return HasFlag(typeId, Flag4);
}

bool AttributeRegister::HasTypeFlag8(short typeId) const {
    return HasFlag(typeId, Flag8);
}

void AttributeRegister::SetTypeFlag1(short typeId, bool on) {
    if (GetElement(typeId).typeId == 0)
        return;
    unsigned int& flags = elements[static_cast<std::size_t>(typeId) - 1].flags;
    flags = on ? flags | Flag1 : flags & ~Flag1;
}

}   // namespace ADB

ADB::IAttributeRegister* CreateAttributeRegister() {
    return ADB::CreateInterface<ADB::AttributeRegister>();
}

void DisposeAttributeRegister(ADB::IAttributeRegister** attributeRegister) {
    ADB::DisposeInterface(attributeRegister);
}

const ADB::IAttributeRegister* GetAttributeRegister() {
    return ADB::GetProcessState().attributeRegister;
}
