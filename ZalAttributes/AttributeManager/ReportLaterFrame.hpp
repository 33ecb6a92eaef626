#pragma once

#include <Kest/ClassInfo.hpp>

#include <AttributeManager/ReadReport.hpp>

namespace ADB {

/// Puts a frame of \p info's class into the read report when its \p version has something that we do not read: it is
/// later than today's or none at all.
inline void ReportLaterFrame(const Kest::ClassInfo& info, Kest::ClassVersion version) noexcept {
    if ((version > info.GetVersion() || version.GetMajor() == 0) && ReadReport::IsWanted())
        ReadReport::Add({.kind = ReadReport::FrameSkipped, .className = info.GetName(), .version = version});
}

}   // namespace ADB
