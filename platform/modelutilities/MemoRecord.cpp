#include <ZalUtil/MemoRecord.hpp>

#include <cstring>

#include <Kest/MemoryHandle.hpp>

namespace {

constexpr int MemoryFull = -108;
constexpr std::size_t Id1Offset = 0;
constexpr std::size_t Id2Offset = 4;
constexpr std::size_t PlatformOffset = 8;
constexpr std::size_t VersionOffset = 10;
constexpr std::size_t FlagsOffset = 12;
constexpr std::size_t LengthOffset = 16;

template <class T>
T Load(const char* bytes) {
    T value;
    std::memcpy(&value, bytes, sizeof(value));
    return value;
}

template <class T>
void Store(char* bytes, T value) {
    std::memcpy(bytes, &value, sizeof(value));
}

// A record that does not fit is none; sizes are compared so that no sum can overflow.
bool ReadRecord(const char* table, std::size_t size, std::size_t offset, ZalUtil::MemoRecord& record) {
    if (offset > size || size - offset < ZalUtil::MemoHeaderSize)
        return false;
    const char* const header = table + offset;
    const auto length = Load<std::uint32_t>(header + LengthOffset);
    if (size - offset - ZalUtil::MemoHeaderSize < length)
        return false;
    record.owner = {Load<std::uint32_t>(header + Id1Offset), Load<std::uint32_t>(header + Id2Offset)};
    record.platform = Load<std::uint16_t>(header + PlatformOffset);
    record.version = Load<std::int16_t>(header + VersionOffset);
    record.flags = Load<std::uint32_t>(header + FlagsOffset);
    record.length = length;
    record.data = header + ZalUtil::MemoHeaderSize;
    record.offset = offset;
    return true;
}

std::size_t SizeOf(char** handle) {
    return handle != nullptr ? static_cast<std::size_t>(BMGetHandleSize(handle)) : 0;
}

const char* BytesOf(char** handle) {
    return handle != nullptr ? *handle : nullptr;
}

// Puts a new table in place of the old one: the bytes from `begin` to `end` give way to `record`, if any.
int Splice(char*** handle, std::size_t begin, std::size_t end, const ZalUtil::MemoRecord* record) {
    const std::size_t behind = SizeOf(*handle) - end;
    const std::int64_t room = record != nullptr ? std::int64_t{ZalUtil::MemoHeaderSize} + record->length : 0;
    char** spliced = BMAllocateHandle(static_cast<std::int64_t>(begin + behind) + room, BMPlain);
    if (spliced == nullptr)
        return MemoryFull;
    char* const target = *spliced;
    if (record != nullptr) {
        ZalUtil::StoreMemoHeader(target + begin, *record);
        BNCopyMemory(target + begin + ZalUtil::MemoHeaderSize, record->data, record->length);
    }
    if (*handle != nullptr) {
        BNCopyMemory(target, **handle, begin);
        BNCopyMemory(target + begin + static_cast<std::size_t>(room), **handle + end, behind);
        BMKillHandle(handle);
    }
    *handle = spliced;
    return 0;
}

}   // namespace

namespace ZalUtil {

void StoreMemoHeader(char* header, const MemoRecord& record) noexcept {
    std::memset(header, 0, MemoHeaderSize);
    Store<std::uint32_t>(header + Id1Offset, record.owner.id1);
    Store<std::uint32_t>(header + Id2Offset, record.owner.id2);
    Store<std::uint16_t>(header + PlatformOffset, record.platform);
    Store<std::int16_t>(header + VersionOffset, record.version);
    Store<std::uint32_t>(header + FlagsOffset, record.flags);
    Store<std::uint32_t>(header + LengthOffset, record.length);
}

bool MemoRecordWalk::Next(MemoRecord& record) noexcept {
    if (!ReadRecord(table, size, offset, record))
        return false;
    offset = record.GetEnd();
    return true;
}

bool FindMemoRecord(const char* table, std::size_t size, const Owner& owner, MemoRecord& record) noexcept {
    MemoRecordWalk walk(table, size);
    while (walk.Next(record))
        if (record.owner == owner)
            return true;
    return false;
}

}   // namespace ZalUtil

bool ZalM_GetRegMDataOffsPtr(const char* table, std::int64_t size, std::int64_t& offset,
                             ZalUtil::MemoRecord& record) noexcept {
    if (offset < 0 || offset > size ||
        !ReadRecord(table, static_cast<std::size_t>(size), static_cast<std::size_t>(offset), record))
        return false;
    offset = static_cast<std::int64_t>(record.GetEnd());
    return true;
}

const char* ZalM_GetRegMDataPtr(unsigned int id1, unsigned int id2, char** handle, unsigned short* platform,
                                short* version, unsigned int* flags, unsigned int* length) noexcept {
    ZalUtil::MemoRecord record;
    if (!ZalUtil::FindMemoRecord(BytesOf(handle), SizeOf(handle), {id1, id2}, record))
        return nullptr;
    if (platform != nullptr)
        *platform = record.platform;
    if (version != nullptr)
        *version = record.version;
    if (flags != nullptr)
        *flags = record.flags;
    if (length != nullptr)
        *length = record.length;
    return record.data;
}

int ZalM_PutRegMData(unsigned int id1, unsigned int id2, unsigned short platform, short version, unsigned int flags,
                     unsigned int length, const char* data, char*** handle) {
    // Bytes behind the last whole record make none: a record that is put behind them could not be found.
    std::size_t begin = 0;
    std::size_t end = SizeOf(*handle);
    ZalUtil::MemoRecordWalk walk(BytesOf(*handle), end);
    ZalUtil::MemoRecord record;
    while (walk.Next(record)) {
        begin = record.GetEnd();
        if (record.owner == ZalUtil::Owner{id1, id2}) {
            begin = record.offset;
            end = record.GetEnd();
            break;
        }
    }
    const ZalUtil::MemoRecord stored{{id1, id2}, platform, version, flags, length, data, begin};
    return Splice(handle, begin, end, &stored);
}

int ZalM_DelRegMData(unsigned int id1, unsigned int id2, char*** handle, bool* found) {
    ZalUtil::MemoRecord record;
    const bool exists = ZalUtil::FindMemoRecord(BytesOf(*handle), SizeOf(*handle), {id1, id2}, record);
    if (found != nullptr)
        *found = exists;
    return exists ? Splice(handle, record.offset, record.GetEnd(), nullptr) : 0;
}
