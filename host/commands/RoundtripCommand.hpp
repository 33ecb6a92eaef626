#pragma once

#include "Command.hpp"

namespace Host {

/// `roundtrip`: writes a set in every form, reads it back and compares.
extern const Command RoundtripCommand;

}   // namespace Host
