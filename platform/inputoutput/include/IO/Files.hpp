#pragma once

#include <string>

#include <Kest/ChannelStatus.hpp>

#include <IO/Export.hpp>
#include <IO/Location.hpp>

/// \file
/// Whole files and folders. Symbolic links are followed.
namespace IO {

/// Reads the file at \p location into \p bytes. Memory is taken in growing steps, only for bytes that are there.
/// \returns 0; ReadFailed when nothing is there, or no file (a folder, a device), or when it cannot be read;
/// MemoryFull. When not 0, \p bytes is as before.
IO_API int ReadFile(const Location& location, std::string& bytes) noexcept;

/// Whether a file is at \p location: no folder, no device.
IO_API bool IsFile(const Location& location) noexcept;

/// Whether a folder is at \p location.
IO_API bool IsFolder(const Location& location) noexcept;

/// Makes the folder at \p location, inside one that is there. \returns 0, also when there is such a folder already;
/// WriteFailed; MemoryFull
IO_API int MakeFolder(const Location& location) noexcept;

}   // namespace IO
