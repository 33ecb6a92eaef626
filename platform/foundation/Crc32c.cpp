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

__attribute__((target("sse4.2"))) std::uint32_t SumByInstruction(std::uint32_t start, const unsigned char* bytes,
                                                                 std::size_t size) noexcept {
    std::uint64_t sum = start;
    for (; size >= sizeof(std::uint64_t); size -= sizeof(std::uint64_t), bytes += sizeof(std::uint64_t))
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
