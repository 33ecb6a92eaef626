#pragma once

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeSet.hpp>

namespace ADB {

/// Tells the observers of the set that \p container is in; nobody when it stands alone or its type is not registered.
void RelayToSet(const AttributeContainer& container, const ODB::ConstRef<GeneralAttribute>& attribute,
                AttributeSet::Status status, const FieldMask& fields);

}   // namespace ADB
