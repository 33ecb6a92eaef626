#pragma once

#include <AttributeManager/IAttributeRegister.hpp>

namespace ADB {

/// The type id that the process's register has for \p typeRefId, 0 without one.
inline short RegisteredTypeIdOf(unsigned int typeRefId) {
    const IAttributeRegister* const attributeRegister = ::GetAttributeRegister();
    return attributeRegister != nullptr ? attributeRegister->GetTypeIdByRefId(typeRefId) : short{0};
}

}   // namespace ADB
