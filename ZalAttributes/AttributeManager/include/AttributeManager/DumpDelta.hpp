#pragma once

#include <Kest/UniString.hpp>

#include <ODB/Delta.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// Lists what is in \p delta, a line for each object and link, as information lines of the log (category
/// "ZalAttributes") and on the debug output. Objects are looked up in the delta's id space: what is not there is named
/// by its id alone. Nothing is changed.
/// \param prefix what the first line begins with, behind the id of the process
/// \param mode which items are listed; see ODB::Delta::EnumerateContent
/// \param force lists even if the switch "DumpDelta" of the debug settings group "ZalAttributes" is off: the setting
/// "ZalAttributes_DumpDelta" of DBGetBool, read when first needed and then kept for the life of the process
ADB_API void DumpDelta(const Kest::UniString& prefix, const ODB::Delta& delta, ODB::Delta::EnumerationMode mode,
                       bool force);

}   // namespace ADB
