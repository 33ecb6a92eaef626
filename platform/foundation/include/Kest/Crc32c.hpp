#pragma once

#include <cstddef>
#include <cstdint>

#include <Kest/Export.hpp>

namespace Kest {

/// CRC-32C (polynomial 0x1EDC6F41, reflected) of \p size bytes, going on from \p previous, the sum of what came before;
/// 0 to begin.
KEST_API std::uint32_t Crc32c(std::uint32_t previous, const void* bytes, std::size_t size) noexcept;

}   // namespace Kest
