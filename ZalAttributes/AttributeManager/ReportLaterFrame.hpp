#pragma once

#include <Kest/ClassInfo.hpp>

#include <ODB/IdReadingScope.hpp>

#include <AttributeManager/ReadReport.hpp>

namespace ADB {

/// Puts a frame of \p info's class into the read report when its \p version has something that we do not read: it is
/// later than today's or none at all.
inline void ReportLaterFrame(const Kest::ClassInfo& info, Kest::ClassVersion version) noexcept {
    if ((version > info.GetVersion() || version.GetMajor() == 0) && ReadReport::IsWanted())
        ReadReport::Add({.kind = ReadReport::FrameSkipped, .className = info.GetName(), .version = version});
}

/// The same, once, for the base parts of all objects that were read in the scope of \p identities.
/// \param partClass of the base parts
/// \param refId of the attribute type, 0 when it is none's business
inline void ReportLaterParts(const ODB::IdReadingScope& identities, const Kest::ClassInfo& partClass,
                             unsigned int refId) noexcept {
    if (identities.HasMetLaterParts() && ReadReport::IsWanted())
        ReadReport::Add({.kind = ReadReport::FrameSkipped,
                         .refId = refId,
                         .className = partClass.GetName(),
                         .version = identities.GetLaterVersion()});
}

}   // namespace ADB
