#pragma once

#include <atomic>
#include <bit>
#include <cstdint>

/// \file
/// The mixer of the library's hashes and its seed.
namespace Kest {

/// The process's hash seed, 0 until it is first asked for; ask GetHashSeed.
extern std::atomic<std::uint64_t> hashSeed;

/// Draws the seed, once per process.
std::uint64_t DrawHashSeed() noexcept;

/// The process's hash seed. It may be asked for while static objects are still being made, in any order.
inline std::uint64_t GetHashSeed() noexcept {
    const std::uint64_t seed = hashSeed.load(std::memory_order_relaxed);
    return seed != 0 ? seed : DrawHashSeed();
}

/// Takes \p word into \p state, without loss.
constexpr std::uint64_t MixWord(std::uint64_t state, std::uint64_t word) noexcept {
    state = (state ^ word) * 0x9FB21C651E98DF25U;
    return state ^ state >> 32;
}

/// The hash that \p state stands for: every bit of it depends on every bit of the state.
constexpr std::uint32_t FinishHash(std::uint64_t state) noexcept {
    state = (state ^ state >> 33) * 0xFF51AFD7ED558CCDU;
    state = (state ^ state >> 33) * 0xC4CEB9FE1A85EC53U;
    return static_cast<std::uint32_t>(state >> 32);
}

/// A generator of random numbers' one step: adds to \p state and answers the mixture.
constexpr std::uint64_t NextSplitMix(std::uint64_t& state) noexcept {
    state += 0x9E3779B97F4A7C15U;
    std::uint64_t z = state;
    z = (z ^ z >> 30) * 0xBF58476D1CE4E5B9U;
    z = (z ^ z >> 27) * 0x94D049BB133111EBU;
    return z ^ z >> 31;
}

/// 64 bits from the system's source of randomness, or from clock and addresses when it has none to give.
std::uint64_t DrawEntropy() noexcept;

}   // namespace Kest
