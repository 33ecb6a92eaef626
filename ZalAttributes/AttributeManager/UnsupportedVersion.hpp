#pragma once

#include <Kest/ClassInfo.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/DebugOutput.hpp>

#include <AttributeManager/ReadReport.hpp>

namespace ADB {

/// Says on the debug output that \p operation, a qualified name, has no form of \p version.
inline void PrintUnsupportedVersion(const char* operation, Kest::ClassVersion version) noexcept {
    DBPrintf("%s: Unsupported object version: (%d, %d)\n", operation, int{version.GetMajor()}, int{version.GetMinor()});
}

/// The same of a reader that passes a frame of the class over, which goes into the read report too.
/// \param refId of the attribute type, 0 when it is none's business
inline void NoteSkippedFrame(const char* operation, const Kest::ClassInfo& frameClass, Kest::ClassVersion version,
                             unsigned int refId) noexcept {
    PrintUnsupportedVersion(operation, version);
    ReadReport::Add(
        {.kind = ReadReport::FrameSkipped, .refId = refId, .className = frameClass.GetName(), .version = version});
}

}   // namespace ADB
