#pragma once

#include <compare>
#include <cstdint>

namespace Kest {

/// Version of a class's stored form. A new major number means another layout, a new minor one an addition.
/// Ordered by major number, then by minor.
class ClassVersion {
public:
    constexpr ClassVersion() noexcept = default;
    constexpr ClassVersion(std::uint8_t newMajor, std::uint8_t newMinor) noexcept
        : majorNumber(newMajor),
          minorNumber(newMinor) {}

    constexpr std::uint8_t GetMajor() const noexcept { return majorNumber; }
    constexpr std::uint8_t GetMinor() const noexcept { return minorNumber; }

    constexpr auto operator<=>(const ClassVersion&) const noexcept = default;

private:
    std::uint8_t majorNumber = 0;
    std::uint8_t minorNumber = 0;
};

}   // namespace Kest
