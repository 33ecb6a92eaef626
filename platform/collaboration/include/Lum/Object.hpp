#pragma once

#include <ODB/Object.hpp>

#include <Lum/Export.hpp>

namespace Lum {

/// An object of the database that takes part in shared projects.
class LUM_API Object : public ODB::DynamicObject {
public:
    class LUM_API IsolatedState : public ODB::DynamicObject::IsolatedState {};

    static const Kest::ClassInfo* GetClassInfoStatic();

    /// The record that the dynamic classes of the layers above derive from.
    static const Kest::ClassInfo* const dynamicClass;

    IsolatedState* CreateIsolatedState() const override;
    std::size_t GetIsolatedSize() const override;

protected:
    explicit Object(const Kest::ClassInfo* objectClass) noexcept : DynamicObject(objectClass) {}
    Object(const Object&) noexcept = default;
    Object& operator=(const Object&) noexcept = default;
};

}   // namespace Lum
