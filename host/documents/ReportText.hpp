#pragma once

#include <string>

#include <AttributeManager/ReadReport.hpp>

namespace Host {

/// One line for the user: what a reader could not bring in as it was stored.
std::string TextOf(const ADB::ReadReport::Entry& entry);

/// Whether \p entry tells of something lost or changed on reading: not when an interrupted save was merely seen
/// through.
bool IsLoss(const ADB::ReadReport::Entry& entry) noexcept;

}   // namespace Host
