#pragma once

#include <ODB/ObjectInfo.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

/// Logs that an attribute takes a key from its holder.
using LogClash = void (*)(const GeneralAttribute& attribute, const GeneralAttribute& holder);

void LogCreatedIndexClash(const GeneralAttribute& attribute, const GeneralAttribute& holder);
void LogCreatedNameClash(const GeneralAttribute& attribute, const GeneralAttribute& holder);
void LogModifiedIndexClash(const GeneralAttribute& attribute, const GeneralAttribute& holder);
void LogModifiedNameClash(const GeneralAttribute& attribute, const GeneralAttribute& holder);

/// Calls \p log when \p holder is another attribute than that of \p record and still there.
void LogIfOther(LogClash log, const ODB::ObjectInfo& record, const ODB::ObjectInfo* holder);

}   // namespace ADB
