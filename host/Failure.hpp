#pragma once

#include <stdexcept>

namespace Host {

/// Why a command cannot do its work. The message is one line for the user: what is wrong, with file and line where
/// there are any, and what to do. The command line prints it and answers with the exit code 2.
class Failure : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}   // namespace Host
