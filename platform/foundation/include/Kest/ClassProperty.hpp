#pragma once

#include <Kest/Export.hpp>

namespace Kest {

/// A trait that class records carry. A property is known by its address: define each one once, as a constant with
/// external linkage, in the library whose trait it is.
class KEST_API ClassProperty {
public:
    constexpr explicit ClassProperty(const char* propertyName) noexcept : name(propertyName) {}
    ClassProperty(const ClassProperty&) = delete;
    ClassProperty& operator=(const ClassProperty&) = delete;

    /// The property's name, for diagnostics.
    constexpr const char* GetName() const noexcept { return name; }

private:
    const char* name;
};

}   // namespace Kest
