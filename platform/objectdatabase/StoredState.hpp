#pragma once

#include <ODB/Delta.hpp>

namespace ODB {

/// Writes the content of an object of a delta: what an object without an id writes by WriteIsolatedState, in today's
/// versions. \returns 0, -7003 for a class without a factory, or a code of the channel or of the class
int WriteStoredState(const Delta::StoredObject& object, Kest::OChannel& channel);

}   // namespace ODB
