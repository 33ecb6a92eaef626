#pragma once

#include "SetDifference.hpp"

#include <ostream>
#include <string>

namespace Host {

/// For people: the attributes with their fields, a line each, and a summary; "no differences" when there are none.
void WriteDifferenceText(const SetDifference& difference, std::ostream& out);

/// One JSON object with the names of both inputs, UTF-8, whether they are equal, and the differences.
void WriteDifferenceJson(const SetDifference& difference, const std::string& first, const std::string& second,
                         std::ostream& out);

}   // namespace Host
