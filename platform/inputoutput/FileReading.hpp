#pragma once

#include <cstddef>
#include <string>
#include <system_error>

#include "FileCalls.hpp"

namespace IO {

/// Appends what \p file has left until \p bytes are \p enough or the file ends. Memory is taken in growing steps, only
/// for bytes that are there.
/// \throws std::bad_alloc
std::error_code ReadUntil(OpenFile& file, std::string& bytes, std::size_t enough);

/// Opens the file at \p path and reads all of it into \p bytes, which must be empty.
/// \throws std::bad_alloc
std::error_code ReadWhole(const std::string& path, std::string& bytes);

}   // namespace IO
