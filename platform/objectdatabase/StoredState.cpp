#include "StoredState.hpp"

#include <memory>

#include <Kest/ClassManager.hpp>
#include <Kest/OChannel.hpp>

#include "DeadIdScope.hpp"
#include "MakeObject.hpp"

namespace ODB {

int WriteStoredState(const Delta::StoredObject& object, Kest::OChannel& channel) {
    const std::unique_ptr<Object> carrier = MakeObject(*object.classInfo);
    if (carrier == nullptr)
        return Kest::ChannelStatus::WrongCall;
    if (const int status = carrier->RestoreIsolatedState(object.state.get()); status != 0)
        return status;
    const Kest::ClassManager::OutputVersionBlock current(0);
    const DeadIdScope references;
    return carrier->WriteIsolatedState(channel);
}

}   // namespace ODB
