#include "HashSeed.hpp"

#include <chrono>
#include <random>

namespace Kest {

constinit std::atomic<std::uint64_t> hashSeed{0};

std::uint64_t DrawEntropy() noexcept {
    try {
        std::random_device device;
        return std::uint64_t{device()} << 32 | device();
    } catch (const std::exception&) {
        const auto now = std::chrono::high_resolution_clock::now().time_since_epoch().count();
        auto state = static_cast<std::uint64_t>(now) ^ reinterpret_cast<std::uintptr_t>(&now);
        return NextSplitMix(state);
    }
}

std::uint64_t DrawHashSeed() noexcept {
    const std::uint64_t drawn = DrawEntropy() | 1;   // never the 0 that means "not drawn yet"
    std::uint64_t seed = 0;
    return hashSeed.compare_exchange_strong(seed, drawn) ? drawn : seed;
}

}   // namespace Kest
