#include "FuzzTarget.hpp"

namespace Fuzz {

std::vector<Target>& GetTargets() {
    static std::vector<Target> targets;
    return targets;
}

}   // namespace Fuzz
