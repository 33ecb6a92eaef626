#include <Kest/Process.hpp>

#if defined(_WIN32)
#include <process.h>
#else
#include <unistd.h>
#endif

namespace Kest {

unsigned int GetProcessId() noexcept {
#if defined(_WIN32)
    return static_cast<unsigned int>(::_getpid());
#else
    return static_cast<unsigned int>(::getpid());
#endif
}

}   // namespace Kest
