#pragma once

#include <string>
#include <vector>

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

namespace Host {

/// Makes references and fills of \p set that lead to no attribute refer to none: in a merge they would come to lead to
/// whatever gets that index. Times stay. \returns a line for each
std::vector<std::string> ClearLooseReferences(const ODB::Ref<ADB::AttributeSet>& set);

}   // namespace Host
