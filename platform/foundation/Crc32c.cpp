#include <Kest/Crc32c.hpp>

#include <array>
#include <bit>
#include <cstring>

#include <Kest/ByteOrder.hpp>

namespace Kest {
namespace {

constexpr std::uint32_t ReflectedPolynomial = 0x82F63B78;
constexpr std::size_t Lanes = 8;

using Tables = std::array<std::array<std::uint32_t, 256>, Lanes>;

// Table k holds what a byte does to the sum when k more bytes follow it.
consteval Tables MakeTables() {
    Tables tables{};
    for (std::uint32_t byte = 0; byte < 256; ++byte) {
        std::uint32_t sum = byte;
        for (int bit = 0; bit < 8; ++bit)
            sum = sum >> 1 ^ ((sum & 1) != 0 ? ReflectedPolynomial : 0);
        tables[0][byte] = sum;
    }
    for (std::size_t lane = 1; lane < Lanes; ++lane)
        for (std::size_t byte = 0; byte < 256; ++byte)
            tables[lane][byte] = tables[lane - 1][byte] >> 8 ^ tables[0][tables[lane - 1][byte] & 0xFF];
    return tables;
}

constexpr Tables Table = MakeTables();

std::uint64_t LoadLittleEndian(const unsigned char* bytes) noexcept {
    std::uint64_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return std::endian::native == std::endian::big ? SwapBytes(value) : value;
}

std::uint32_t SumByTable(std::uint32_t sum, const unsigned char* bytes, std::size_t size) noexcept {
    for (; size >= Lanes; size -= Lanes, bytes += Lanes) {
        const std::uint64_t word = LoadLittleEndian(bytes) ^ sum;
        sum = 0;
        for (std::size_t lane = 0; lane < Lanes; ++lane)
            sum ^= Table[Lanes - 1 - lane][word >> 8 * lane & 0xFF];
    }
    for (; size > 0; --size, ++bytes)
        sum = sum >> 8 ^ Table[0][(sum ^ *bytes) & 0xFF];
    return sum;
}

#if defined(__x86_64__) && defined(__GNUC__)

// The instruction gives its result three cycles later, but begins a new one each cycle: so three stripes are summed at
// once. The sum of bytes with zeros behind them follows from the sum of the bytes, byte by byte of that sum.
constexpr std::size_t StripeSize = 512;

using StripeTables = std::array<std::array<std::uint32_t, 256>, 4>;

constexpr std::uint32_t SumZeros(std::uint32_t sum, std::size_t count) {
    for (; count > 0; --count)
        sum = sum >> 8 ^ Table[0][sum & 0xFF];
    return sum;
}

// What each byte of a sum becomes behind a stripe of zeros: linear, so the bits settle it.
StripeTables MakeStripeTables() {
    StripeTables tables{};
    for (std::size_t place = 0; place < tables.size(); ++place)
        for (std::uint32_t bit = 1; bit < 256; bit *= 2) {
            const std::uint32_t shifted = SumZeros(bit << 8 * place, StripeSize);
            for (std::uint32_t lower = 0; lower < bit; ++lower)
                tables[place][bit + lower] = tables[place][lower] ^ shifted;
        }
    return tables;
}

std::uint32_t PassStripe(const StripeTables& tables, std::uint64_t sum) noexcept {
    return tables[0][sum & 0xFF] ^ tables[1][sum >> 8 & 0xFF] ^ tables[2][sum >> 16 & 0xFF] ^
           tables[3][sum >> 24 & 0xFF];
}

__attribute__((target("sse4.2"))) std::uint32_t SumByInstruction(std::uint32_t start, const unsigned char* bytes,
                                                                 std::size_t size) noexcept {
    constexpr std::size_t WordSize = sizeof(std::uint64_t);
    static const StripeTables tables = MakeStripeTables();
    std::uint64_t sum = start;
    for (; size >= 3 * StripeSize; size -= 3 * StripeSize, bytes += 2 * StripeSize) {
        std::uint64_t second = 0;
        std::uint64_t third = 0;
        for (const unsigned char* const end = bytes + StripeSize; bytes < end; bytes += WordSize) {
            sum = __builtin_ia32_crc32di(sum, LoadLittleEndian(bytes));
            second = __builtin_ia32_crc32di(second, LoadLittleEndian(bytes + StripeSize));
            third = __builtin_ia32_crc32di(third, LoadLittleEndian(bytes + 2 * StripeSize));
        }
        sum = PassStripe(tables, PassStripe(tables, sum) ^ second) ^ third;
    }
    for (; size >= WordSize; size -= WordSize, bytes += WordSize)
        sum = __builtin_ia32_crc32di(sum, LoadLittleEndian(bytes));
    auto narrow = static_cast<std::uint32_t>(sum);
    for (; size > 0; --size, ++bytes)
        narrow = __builtin_ia32_crc32qi(narrow, *bytes);
    return narrow;
}

std::uint32_t Sum(std::uint32_t sum, const unsigned char* bytes, std::size_t size) noexcept {
    static const bool hasInstruction = __builtin_cpu_supports("sse4.2") != 0;
    return hasInstruction ? SumByInstruction(sum, bytes, size) : SumByTable(sum, bytes, size);
}

#else

std::uint32_t Sum(std::uint32_t sum, const unsigned char* bytes, std::size_t size) noexcept {
    return SumByTable(sum, bytes, size);
}

#endif

}   // namespace

std::uint32_t Crc32c(std::uint32_t previous, const void* bytes, std::size_t size) noexcept {
    return ~Sum(~previous, static_cast<const unsigned char*>(bytes), size);
}

}   // namespace Kest
