#include "Terminal.hpp"

#include <iostream>

#if defined(_WIN32)
#include <io.h>
#else
#include <unistd.h>
#endif

namespace Host {

bool IsTerminal(const std::ostream& stream) noexcept {
#if defined(_WIN32)
    return &stream == &std::cerr && _isatty(2) != 0;
#else
    return &stream == &std::cerr && isatty(STDERR_FILENO) != 0;
#endif
}

}   // namespace Host
