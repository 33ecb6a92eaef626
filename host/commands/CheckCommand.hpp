#pragma once

#include "Command.hpp"

namespace Host {

/// `check`: looks for what is wrong in a set of attributes.
extern const Command CheckCommand;

}   // namespace Host
