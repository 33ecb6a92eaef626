#pragma once

#include <ODB/Ref.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class AttributeSet;

/// Somebody who knows an attribute set.
class ADB_API IAttributeSetProvider {
public:
    /// \param mode for the provider to interpret
    virtual ODB::Ref<AttributeSet> GetAttributeSet(int mode) const = 0;
    virtual ~IAttributeSetProvider() = default;
};

}   // namespace ADB
