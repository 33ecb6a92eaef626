#pragma once

#include <ODB/ObjectInfo.hpp>

#include "RecordPool.hpp"

namespace ODB {

/// The memory of all records.
RecordPool<ObjectInfo>& GetRecordPool();

}   // namespace ODB
