#include <Kest/MemoryChannels.hpp>

namespace Kest {

MemoryIChannel::MemoryIChannel(const void* bytes, std::size_t size) noexcept {
    const auto* const begin = static_cast<const char*>(bytes);
    SetWindow(begin, begin, begin + size, 0);
}

MemoryIChannel::~MemoryIChannel() = default;

MemoryOChannel::~MemoryOChannel() = default;

}   // namespace Kest
