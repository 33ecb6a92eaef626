#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include <Kest/PlatformSign.hpp>

namespace Kest {

/// A number that channels carry: 1, 2, 4 or 8 bytes.
template <class T>
concept ChannelNumber = std::is_arithmetic_v<T> && !std::is_same_v<T, bool> &&
                        (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

/// Whether numbers that a system of \p sign wrote have the other byte order than ours.
constexpr bool HasOtherByteOrder(PlatformSign sign) noexcept {
    const bool isBigEndian = sign == PlatformSign::BigEndian;
    return isBigEndian != (std::endian::native == std::endian::big);
}

constexpr std::uint8_t SwapBytes(std::uint8_t value) noexcept {
    return value;
}
constexpr std::uint16_t SwapBytes(std::uint16_t value) noexcept {
    return static_cast<std::uint16_t>(value << 8 | value >> 8);
}
constexpr std::uint32_t SwapBytes(std::uint32_t value) noexcept {
    return std::uint32_t{SwapBytes(static_cast<std::uint16_t>(value))} << 16 |
           SwapBytes(static_cast<std::uint16_t>(value >> 16));
}
constexpr std::uint64_t SwapBytes(std::uint64_t value) noexcept {
    return std::uint64_t{SwapBytes(static_cast<std::uint32_t>(value))} << 32 |
           SwapBytes(static_cast<std::uint32_t>(value >> 32));
}

namespace Detail {

template <std::size_t Size>
struct BitsOfSize;
template <>
struct BitsOfSize<1> {
    using Type = std::uint8_t;
};
template <>
struct BitsOfSize<2> {
    using Type = std::uint16_t;
};
template <>
struct BitsOfSize<4> {
    using Type = std::uint32_t;
};
template <>
struct BitsOfSize<8> {
    using Type = std::uint64_t;
};

}   // namespace Detail

/// The number whose bytes stand at \p bytes, in our byte order or, \p swapped, in the other one.
template <ChannelNumber T>
T LoadNumber(const void* bytes, bool swapped) noexcept {
    typename Detail::BitsOfSize<sizeof(T)>::Type bits;
    std::memcpy(&bits, bytes, sizeof bits);
    return std::bit_cast<T>(swapped ? SwapBytes(bits) : bits);
}

/// Puts the bytes of \p value at \p bytes.
template <ChannelNumber T>
void StoreNumber(void* bytes, T value, bool swapped) noexcept {
    auto bits = std::bit_cast<typename Detail::BitsOfSize<sizeof(T)>::Type>(value);
    if (swapped)
        bits = SwapBytes(bits);
    std::memcpy(bytes, &bits, sizeof bits);
}

}   // namespace Kest
