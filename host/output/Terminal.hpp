#pragma once

#include <ostream>

namespace Host {

/// Whether \p stream is standard error and somebody looks at it: no file, no pipe.
bool IsTerminal(const std::ostream& stream) noexcept;

}   // namespace Host
