#pragma once

#include <string>
#include <string_view>

namespace Kest {

/// \p text in UTF-8 with control characters (also line and paragraph separators) written as "\n", "\t", "\u001B" and
/// so on, so that text from outside can neither forge lines nor steer a terminal. Those in \p allowed pass.
std::string EscapeControls(std::u16string_view text, std::u16string_view allowed = {});

/// Writes \p text to standard error in one piece.
void WriteToStandardError(const std::string& text) noexcept;

}   // namespace Kest
