#pragma once

#include <ODB/Ref.hpp>

#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/ISortRuleTable.hpp>

#include "AttributeSetRegistry.hpp"

namespace ADB {

/// What the library keeps for the whole process.
struct ProcessState {
    const IAttributeRegister* attributeRegister = nullptr;
    const ISortRuleTable* sortRules = nullptr;
    AttributeSetRegistry sets;
    ODB::Ref<AttributeSet> currentSet;
};

/// The state. It lives as long as the process: statics of the host may use it to the very end.
ProcessState& GetProcessState();

}   // namespace ADB
