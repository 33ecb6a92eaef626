#pragma once

#include <Kest/HashTable.hpp>
#include <Kest/PagedArray.hpp>

#include <AttributeManager/Export.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

namespace ADB {

/// The library's register. Types are never removed, and what it hands out by reference does not move. All look-ups cost
/// the same whatever the number of types.
class ADB_API AttributeRegister : public IAttributeRegister {
public:
    AttributeRegister() = default;
    AttributeRegister(const AttributeRegister&) = delete;
    AttributeRegister& operator=(const AttributeRegister&) = delete;
    ~AttributeRegister() override;

    /// Besides a ref id that is registered, 0 also answers a 32,768th type and a want of memory; nothing changes then.
    short RegisterAttributeType(unsigned int refId, const ZalUtil::Owner& owner, const Kest::Guid& typeGuid,
                                const Kest::Guid& containerGuid, const Kest::UniString& name,
                                LumCB::PermissionID createPermission, LumCB::PermissionID deleteModifyPermission,
                                unsigned int flags) override;
    short GetAttributeTypeNumber() const override;
    unsigned int GetRefId(short typeId) const override;
    const Kest::Guid& GetTypeGuid(short typeId) const override;
    ZalUtil::Owner GetOwner(short typeId) const override;
    const Kest::Guid& GetContainerGuid(short typeId) const override;
    Kest::UniString GetTypeName(short typeId) const override;
    LumCB::PermissionID GetCreatePermissionID(short typeId) const override;
    LumCB::PermissionID GetDeleteModifyPermissionID(short typeId) const override;
    /// The first type registered with the GUID.
    short GetTypeIdByGuid(const Kest::Guid& typeGuid) const override;
    short GetTypeIdByRefId(unsigned int refId) const override;
    bool HasTypeFlag1(short typeId) const override;
    bool HasTypeFlag2(short typeId) const override;
    bool HasTypeFlag4(short typeId) const override;
    bool HasTypeFlag8(short typeId) const override;
    void SetTypeFlag1(short typeId, bool on) override;

private:
    struct RegisterElement {
        unsigned int refId = 0;
        short typeId = 0;
        Kest::Guid typeGuid;
        ZalUtil::Owner owner;
        Kest::Guid containerGuid;
        Kest::UniString name;
        LumCB::PermissionID createPermission = LumCB::PermissionID::None;
        LumCB::PermissionID deleteModifyPermission = LumCB::PermissionID::None;
        unsigned int flags = 0;
    };

    const RegisterElement& GetElement(short typeId) const noexcept;
    bool HasFlag(short typeId, unsigned int flag) const noexcept;
    void Store(RegisterElement element);

    static constexpr std::size_t PageSize = 32;

    RegisterElement none;                                   // stands for an unknown type
    Kest::PagedArray<RegisterElement, PageSize> elements;   // type id t stands at place t - 1
    Kest::HashTable<unsigned int, short> typeIdsByRefId;
    Kest::HashTable<Kest::Guid, short> typeIdsByGuid;
};

}   // namespace ADB
