#include "ProcessState.hpp"

#include <AttributeManager/AttributeSet.hpp>

namespace ADB {

ProcessState& GetProcessState() {
    static auto& state = *new ProcessState;
    return state;
}

}   // namespace ADB
