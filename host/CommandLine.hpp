#pragma once

#include <ostream>
#include <span>
#include <string>

namespace Host {

/// Runs the program.
/// \param arguments  what stands behind the program's name, UTF-8
/// \param out  results; a failure to write them counts as one of the command
/// \param err  lines for the user
/// \returns the exit code, see ExitCode. Nothing is thrown.
int RunCommandLine(std::span<const std::string> arguments, std::ostream& out, std::ostream& err);

}   // namespace Host
