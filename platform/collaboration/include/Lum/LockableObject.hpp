#pragma once

#include <Kest/ClassInfo.hpp>

#include <Lum/Export.hpp>

namespace Lum {

/// The class record of lockable objects. No object is of this class any more: it stands in snapshots of older systems.
struct LUM_API LockableObject {
    static const Kest::ClassInfo* GetClassInfoStatic();
};

/// The same for sets of lockable objects. From version 2.0 on a second delta follows; 2.1 dropped the first one.
struct LUM_API LockableObjectSet {
    static const Kest::ClassInfo* GetClassInfoStatic();
};

}   // namespace Lum
