#pragma once

#include <Kest/UniString.hpp>

#include <AttributeManager/ReadReport.hpp>

namespace ADB {

/// Puts into the read report that an attribute of the type \p refId was stored as \p stored and is now \p name.
inline void ReportRename(unsigned int refId, const Kest::UniString& stored, const Kest::UniString& name, short index) {
    if (ReadReport::IsWanted())
        ReadReport::Add(
            {.kind = ReadReport::AttributeRenamed, .refId = refId, .name = stored, .newName = name, .index = index});
}

}   // namespace ADB
