#pragma once

#include "output/Progress.hpp"

#include <ostream>
#include <span>
#include <string>
#include <string_view>

namespace Host {

/// What a command answers with. Scripts rely on the numbers.
enum ExitCode : int {
    Done = 0,
    Findings = 1,   ///< it was done, and something was found that should be looked at
    Cannot = 2      ///< it was not done; a line on standard error says why
};

/// A command of the command line. Each has a file of its own and a place in the table of CommandLine.cpp.
struct Command {
    std::string_view name;
    std::string_view summary;   ///< one line for the general help

    /// All that `--help` of the command says.
    std::string (*getHelp)();

    /// Does it. \p arguments are those behind the command's name. Results go to \p out; lines for the user, which the
    /// caller prints when everything else is done or has failed, to \p notes. How far it is goes to \p progress.
    /// \throws Failure when it cannot be done
    ExitCode (*run)(std::span<const std::string> arguments, std::ostream& out, std::ostream& notes, Progress& progress);
};

}   // namespace Host
