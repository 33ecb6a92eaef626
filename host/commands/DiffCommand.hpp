#pragma once

#include "Command.hpp"

namespace Host {

/// `diff`: shows what one set of attributes has other than another.
extern const Command DiffCommand;

}   // namespace Host
