#pragma once

#include "Command.hpp"

namespace Host {

/// `convert`: turns documents into a store, a store into documents, and either into one for older programs.
extern const Command ConvertCommand;

}   // namespace Host
