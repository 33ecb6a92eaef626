#include <ZalUtil/MemoConversion.hpp>

#include <cstdint>

#include <Kest/ByteOrder.hpp>

#include <ZalUtil/MemoRecord.hpp>

namespace {

constexpr int WrongCall = -7003;
constexpr std::size_t LengthOffset = 16;

// The numbers of a record's header, by their offsets.
constexpr std::size_t LongNumbers[] = {0, 4, 12, 16, 20};
constexpr std::size_t ShortNumbers[] = {8, 10};

template <class Number>
void SwapNumber(char* bytes) noexcept {
    Kest::StoreNumber(bytes, Kest::LoadNumber<Number>(bytes, true), false);
}

void SwapHeader(char* record) noexcept {
    for (const std::size_t offset : LongNumbers)
        SwapNumber<std::uint32_t>(record + offset);
    for (const std::size_t offset : ShortNumbers)
        SwapNumber<std::uint16_t>(record + offset);
}

// Bytes of the record at the front of `size` bytes; 0 when they do not begin with a whole one.
std::size_t GetRecordSize(const char* bytes, std::size_t size, bool swapped) noexcept {
    if (size < ZalUtil::MemoHeaderSize)
        return 0;
    const std::uint32_t length = Kest::LoadNumber<std::uint32_t>(bytes + LengthOffset, swapped);
    return length <= size - ZalUtil::MemoHeaderSize ? ZalUtil::MemoHeaderSize + length : 0;
}

}   // namespace

bool ZalUtil::HoldsMemoRecord(const char* table, std::size_t size, Kest::PlatformSign writer) noexcept {
    return GetRecordSize(table, size, Kest::HasOtherByteOrder(writer)) > 0;
}

int IVRegTblData(Kest::PlatformSign writer, const ZalUtil::MemoTypeHeader& header, char* table,
                 std::size_t size) noexcept {
    if (header.version != ZalUtil::MemoLayoutVersion)
        return WrongCall;
    if (!Kest::HasOtherByteOrder(writer))
        return 0;
    std::size_t offset = 0;
    while (const std::size_t recordSize = GetRecordSize(table + offset, size - offset, true)) {
        SwapHeader(table + offset);
        offset += recordSize;
    }
    return 0;
}
