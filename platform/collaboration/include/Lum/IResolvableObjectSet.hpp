#pragma once

#include <Lum/Export.hpp>
#include <Lum/PermissionID.hpp>

namespace Lum {

/// A set of objects that several clients of a shared project may add to.
class LUM_API IResolvableObjectSet {
public:
    /// The right needed to make objects of the set.
    virtual LumCB::PermissionID GetCreatePermissionID() const = 0;

    /// The right needed to delete or modify objects of the set.
    virtual LumCB::PermissionID GetDeleteModifyPermissionID() const = 0;

protected:
    ~IResolvableObjectSet() = default;
};

}   // namespace Lum
