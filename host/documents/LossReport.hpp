#pragma once

#include "SetForm.hpp"

#include <string>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// One line for each attribute and part of it that \p form cannot carry, empty when it carries everything. Where the
/// form can be read back, they are what a copy that made the trip differs in.
/// \throws Failure when \p set cannot be written in that form, or what was written cannot be read
std::vector<std::string> FindLosses(const ODB::ConstRef<ADB::AttributeSet>& set, SetForm form);

}   // namespace Host
