#include "StateBytes.hpp"

#include <Kest/ClassManager.hpp>

#include <ODB/Object.hpp>

#include "DeadIdScope.hpp"

namespace ODB {

int StateBytes::Take(const Object& object) {
    DropBytes();
    const Kest::ClassManager::OutputVersionBlock current(0);
    const DeadIdScope references;
    return object.WriteIsolatedState(*this);
}

}   // namespace ODB
