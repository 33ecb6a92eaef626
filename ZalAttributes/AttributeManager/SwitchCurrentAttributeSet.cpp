#include <AttributeManager/SwitchCurrentAttributeSet.hpp>

#include <utility>

#include <AttributeManager/AttributeSet.hpp>

#include "ProcessState.hpp"

namespace ADB {

SwitchCurrentAttributeSet::SwitchCurrentAttributeSet(const ODB::Ref<AttributeSet>& set)
    : previous(std::exchange(GetProcessState().currentSet, set)) {}

SwitchCurrentAttributeSet::~SwitchCurrentAttributeSet() {
    GetProcessState().currentSet = previous ? previous : ODB::Ref<AttributeSet>();
}

}   // namespace ADB
