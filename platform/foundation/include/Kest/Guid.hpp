#pragma once

#include <Kest/ByteOrder.hpp>
#include <Kest/Export.hpp>

#include <array>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace Kest {

/// A 128-bit identifier. Ordered as its text is; the null value, all zeros, comes first.
class KEST_API Guid {
public:
    using Bytes = std::array<std::uint8_t, 16>;

    /// Makes ids: see SetSource.
    using GuidSource = Guid (*)();

    constexpr Guid() noexcept = default;

    /// The id with text \p text, as Parse reads it; null when the text is null or damaged.
    explicit Guid(const char* text) noexcept;

    /// The id with \p bytes, which are in the order of the text's digits.
    explicit Guid(const Bytes& bytes) noexcept : Guid(Load(bytes.data())) {}

    /// Reads "{08DE19E5-D6A1-4E65-B87A-550201F72C02}", in either letter case and nothing around it.
    /// \returns whether \p text is an id; when not, \p guid keeps its value.
    static bool Parse(std::string_view text, Guid& guid) noexcept;

    /// A new id, from the source in force. The default source draws random ids of version 4. They are cheap and not
    /// meant to be secret; several threads may draw at once. A process forked off after its parent has drawn ids must
    /// set a source of its own: it would draw the same ones.
    static Guid Generate();

    /// Makes \p source the source of all new ids of the process; null brings the default back.
    static void SetSource(GuidSource source) noexcept;

    constexpr bool IsNull() const noexcept { return (high | low) == 0; }

    /// Braces, five groups of upper-case digits: what Parse reads.
    std::string ToText() const;

    /// The bytes in the order of the text's digits.
    Bytes GetBytes() const noexcept {
        Bytes bytes;
        Store(bytes.data());
        return bytes;
    }

    /// The id whose 16 bytes, in the order of the text's digits, begin at \p bytes.
    static Guid Load(const void* bytes) noexcept {
        constexpr bool swapped = HasOtherByteOrder(PlatformSign::BigEndian);
        return Guid(LoadNumber<std::uint64_t>(bytes, swapped),
                    LoadNumber<std::uint64_t>(static_cast<const char*>(bytes) + 8, swapped));
    }

    /// Puts those 16 bytes at \p bytes.
    void Store(void* bytes) const noexcept {
        constexpr bool swapped = HasOtherByteOrder(PlatformSign::BigEndian);
        StoreNumber(bytes, high, swapped);
        StoreNumber(static_cast<char*>(bytes) + 8, low, swapped);
    }

    constexpr auto operator<=>(const Guid&) const noexcept = default;

private:
    constexpr Guid(std::uint64_t highHalf, std::uint64_t lowHalf) noexcept : high(highHalf), low(lowHalf) {}
    static Guid DrawRandom();

    // The digits of the text, read as two numbers.
    std::uint64_t high = 0;
    std::uint64_t low = 0;

    friend KEST_API std::uint32_t HashOf(const Guid& guid) noexcept;
};

/// A hash that differs from process to process.
KEST_API std::uint32_t HashOf(const Guid& guid) noexcept;

}   // namespace Kest

template <>
struct std::hash<Kest::Guid> {
    std::size_t operator()(const Kest::Guid& guid) const noexcept { return Kest::HashOf(guid); }
};
