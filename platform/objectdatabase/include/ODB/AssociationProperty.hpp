#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

#include <ODB/Export.hpp>

namespace ODB {

/// A property of associations that a higher layer defines: known by its address, so define each one once.
class ODB_API CustomAssociationPropertyValue {
public:
    constexpr explicit CustomAssociationPropertyValue(const char* valueName) noexcept : name(valueName) {}
    CustomAssociationPropertyValue(const CustomAssociationPropertyValue&) = delete;
    CustomAssociationPropertyValue& operator=(const CustomAssociationPropertyValue&) = delete;
    constexpr const char* GetName() const noexcept { return name; }

private:
    const char* name;
};

/// What an association does beyond linking; combined with `|`.
class ODB_API AssociationProperty {
public:
    enum Bit : std::uint32_t {
        Ownership = 1,           ///< the left object owns the right one: without an owner an owned object is destroyed
        DeletePropagation = 2,   ///< deleting the left object deletes the right ones that nobody else owns
        OwnerPropagation = 4,    ///< a change of the right object counts as a change of the left one
        UserPropagation = 8,     ///< a change of the left object counts as a change of the right ones
        EventSending = 16,       ///< the left object is told through its association events
        RightIndexBase = 32,     ///< indexes may hang on the right side
    };

    AssociationProperty() = default;
    AssociationProperty(Bit bit) : bits(bit) {}
    AssociationProperty(const CustomAssociationPropertyValue& value) : customValues{&value} {}

    bool Has(Bit bit) const noexcept { return (bits & bit) != 0; }
    bool Has(const CustomAssociationPropertyValue& value) const noexcept {
        return std::find(customValues.begin(), customValues.end(), &value) != customValues.end();
    }

    friend AssociationProperty operator|(AssociationProperty left, const AssociationProperty& right) {
        left.bits |= right.bits;
        for (const CustomAssociationPropertyValue* const value : right.customValues)
            if (!left.Has(*value))
                left.customValues.push_back(value);
        return left;
    }
    friend AssociationProperty operator|(Bit left, Bit right) {
        return AssociationProperty(left) | AssociationProperty(right);
    }

private:
    std::uint32_t bits = 0;
    std::vector<const CustomAssociationPropertyValue*> customValues;
};

}   // namespace ODB
