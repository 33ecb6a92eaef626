#pragma once

#include "Command.hpp"

namespace Host {

/// `list`: reads drawings and libraries into one attribute set and prints it.
extern const Command ListCommand;

}   // namespace Host
