#pragma once

#include <Kest/Guid.hpp>
#include <Kest/PagedArray.hpp>

#include <ODB/Ref.hpp>

#include <Lum/Export.hpp>
#include <Lum/PermissionID.hpp>

namespace Lum {

/// A set of objects that several clients of a shared project may add to, and that can make what this client added fit
/// what the others did.
class LUM_API IResolvableObjectSet {
public:
    /// The right needed to make objects of the set.
    virtual LumCB::PermissionID GetCreatePermissionID() const = 0;

    /// The right needed to delete or modify objects of the set.
    virtual LumCB::PermissionID GetDeleteModifyPermissionID() const = 0;

    /// The ids of the associations whose changes count as modifications of the set.
    virtual Kest::PagedArray<Kest::Guid, 8> GetAssociationsForModificationDetection() const = 0;

    /// Changes the client-created objects of this set so that they clash neither with its other objects nor with those
    /// of \p other, its counterpart, normally as the server has it; null and this set itself stand for none.
    virtual void ResolveConflicts(const ODB::ConstIRef<IResolvableObjectSet>& other) = 0;

protected:
    ~IResolvableObjectSet() = default;
};

}   // namespace Lum
