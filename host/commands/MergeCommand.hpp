#pragma once

#include "Command.hpp"

namespace Host {

/// `merge`: brings what the clients of a shared project have made into the server's set.
extern const Command MergeCommand;

}   // namespace Host
