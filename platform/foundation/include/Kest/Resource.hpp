#pragma once

/// \file
/// Resources of the application: typed, numbered blocks of bytes in a module. Where they come from is the host's
/// business.

#include <cstdint>
#include <functional>

#include <Kest/Export.hpp>

namespace Kest {

/// Gives the resource \p number of the type \p type, a four-character code, of the module \p module: a new handle (see
/// MemoryHandle.hpp), which the caller frees, or null when there is none.
using ResourceProvider = std::function<char**(std::int64_t module, unsigned int type, short number)>;

/// Makes \p provider the source of the process's resources; an empty one: there are none.
KEST_API void SetResourceProvider(ResourceProvider provider);

/// A resource in a new handle, which the caller frees with BMKillHandle; null when there is none, or when the provider
/// throws.
KEST_API char** LoadResource(std::int64_t module, unsigned int type, short number) noexcept;

}   // namespace Kest
