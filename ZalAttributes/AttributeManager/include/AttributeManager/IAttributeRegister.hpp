#pragma once

#include <Kest/Guid.hpp>
#include <Kest/UniString.hpp>

#include <Lum/PermissionID.hpp>

#include <ZalUtil/Owner.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// The attribute types of the application. The host announces each kind once, before the first attribute set is made;
/// type ids come out dense from 1. A query for a type that is not registered answers with the empty value.
class ADB_API IAttributeRegister {
public:
    /// \param refId four-character code that containers and streams carry
    /// \param owner owner of the type's external data
    /// \param typeGuid GUID of the kind's class record
    /// \param containerGuid id of the type's container in sets made with registered GUIDs
    /// \param flags four bits of the host's own: 0x1, 0x2, 0x4, 0x8
    /// \returns the new type id, or 0, with nothing changed, when \p refId is registered already
    virtual short RegisterAttributeType(unsigned int refId, const ZalUtil::Owner& owner, const Kest::Guid& typeGuid,
                                        const Kest::Guid& containerGuid, const Kest::UniString& name,
                                        LumCB::PermissionID createPermission,
                                        LumCB::PermissionID deleteModifyPermission, unsigned int flags) = 0;
    /// The number of types, which is the highest type id.
    virtual short GetAttributeTypeNumber() const = 0;
    virtual unsigned int GetRefId(short typeId) const = 0;
    /// The reference stays valid while the register lives.
    virtual const Kest::Guid& GetTypeGuid(short typeId) const = 0;
    virtual ZalUtil::Owner GetOwner(short typeId) const = 0;
    /// The reference stays valid while the register lives.
    virtual const Kest::Guid& GetContainerGuid(short typeId) const = 0;
    virtual Kest::UniString GetTypeName(short typeId) const = 0;
    virtual LumCB::PermissionID GetCreatePermissionID(short typeId) const = 0;
    virtual LumCB::PermissionID GetDeleteModifyPermissionID(short typeId) const = 0;
    /// 0 when no type has the GUID.
    virtual short GetTypeIdByGuid(const Kest::Guid& typeGuid) const = 0;
    /// 0 when no type has the ref id.
    virtual short GetTypeIdByRefId(unsigned int refId) const = 0;
    virtual bool HasTypeFlag1(short typeId) const = 0;
    virtual bool HasTypeFlag2(short typeId) const = 0;
    virtual bool HasTypeFlag4(short typeId) const = 0;
    virtual bool HasTypeFlag8(short typeId) const = 0;
    /// Sets or clears the flag 0x1 of a registered type.
    virtual void SetTypeFlag1(short typeId, bool on) = 0;
    virtual ~IAttributeRegister() = default;
};

}   // namespace ADB

/// A new, empty register, owned by the caller; null when memory runs out.
ADB_API ADB::IAttributeRegister* CreateAttributeRegister();

/// Frees \p *attributeRegister and sets it to null; null is ignored.
ADB_API void DisposeAttributeRegister(ADB::IAttributeRegister** attributeRegister);

/// The register given to InitAttributeSetContainer, null before that and after FreeAttributeSetContainer.
ADB_API const ADB::IAttributeRegister* GetAttributeRegister();
