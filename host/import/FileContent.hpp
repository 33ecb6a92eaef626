#pragma once

#include "Failure.hpp"

#include <string>
#include <string_view>

namespace Host {

/// The bytes of the file \p path (UTF-8), never empty.
/// \throws Failure when there is no such file, it is a device, it is empty or it cannot be read
std::string ReadFileContent(const std::string& path);

enum class FileKind { Drawing, LineTypes, Patterns, Store };

/// What the file \p path with the content \p bytes is: by its extension, or by how it begins.
/// \throws Failure when it is none of these
FileKind DetectFileKind(const std::string& path, std::string_view bytes);

}   // namespace Host
