#pragma once

#include <cstdint>

namespace LumCB {

/// A right in a shared project. The numbers belong to the host; 0 stands for no right needed.
enum class PermissionID : std::uint32_t { None = 0 };

}   // namespace LumCB
