#pragma once

#include <string>

namespace Host {

/// What `list --help` says.
std::string GetListHelp();

}   // namespace Host
