#pragma once

#include "Command.hpp"

namespace Host {

/// `edit`: adds, renames, deletes and replaces attributes of a kind.
extern const Command EditCommand;

}   // namespace Host
