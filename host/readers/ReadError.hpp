#pragma once

#include <cstddef>
#include <stdexcept>
#include <string>

namespace Host {

/// A file that cannot be read. The message says what is wrong and what to do about it, without file name and line:
/// whoever prints it puts them in front. A reader that throws gives no result at all.
class ReadError : public std::runtime_error {
public:
    /// \param newLine line of the fault, counted from 1; 0 when the fault has no place
    ReadError(std::size_t newLine, const std::string& message) : std::runtime_error(message), line(newLine) {}

    /// Line of the fault, counted from 1; 0 when it has no place.
    std::size_t GetLine() const noexcept { return line; }

private:
    std::size_t line;
};

/// Something odd that did not keep a file from being read.
struct ReadWarning {
    std::size_t line = 0;   ///< counted from 1; of the first case when the message counts several
    std::string message;    ///< UTF-8, one line
};

}   // namespace Host
