#pragma once

#include "Command.hpp"

namespace Host {

/// `import`: reads drawings, libraries and documents into one attribute set and saves it.
extern const Command ImportCommand;

}   // namespace Host
