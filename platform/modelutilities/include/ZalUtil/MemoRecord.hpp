#pragma once

#include <cstddef>
#include <cstdint>

#include <ZalUtil/Export.hpp>
#include <ZalUtil/Owner.hpp>

namespace ZalUtil {

/// Bytes of a record ahead of its data: owner id 1 at 0, owner id 2 at 4 (32 bits), platform sign at 8 (16 bits),
/// version at 10 (16 bits, signed), flags at 12, data length at 16, zero at 20 (32 bits). The next record begins where
/// the data end, without alignment. All numbers are in the byte order of the platform.
inline constexpr std::size_t MemoHeaderSize = 24;

/// One record of a table, read from its bytes.
struct ZALUTIL_API MemoRecord {
    Owner owner;
    unsigned short platform = 0;
    short version = 0;
    unsigned int flags = 0;
    unsigned int length = 0;
    const char* data = nullptr;   ///< in the table; \p length bytes
    std::size_t offset = 0;       ///< of the record in the table

    /// Offset of what follows the record.
    std::size_t GetEnd() const noexcept { return offset + MemoHeaderSize + length; }
};

/// Walks over the records of a table in their stored order. A record that does not fit into the table ends the walk,
/// whatever its length claims.
class ZALUTIL_API MemoRecordWalk {
public:
    MemoRecordWalk(const char* tableBytes, std::size_t tableSize) noexcept : table(tableBytes), size(tableSize) {}

    /// Reads the next record. \returns false at the end
    bool Next(MemoRecord& record) noexcept;

private:
    const char* table;
    std::size_t size;
    std::size_t offset = 0;
};

/// Puts the MemoHeaderSize bytes of the header of \p record at \p header; its data and its offset do not count.
ZALUTIL_API void StoreMemoHeader(char* header, const MemoRecord& record) noexcept;

/// Finds the first record of \p owner. \returns false when there is none
ZALUTIL_API bool FindMemoRecord(const char* table, std::size_t size, const Owner& owner, MemoRecord& record) noexcept;

}   // namespace ZalUtil

/// Gives the record at \p offset of the table, whose \p size is in bytes, and moves \p offset behind it: a walk by
/// position begins at 0 and ends with the answer false. \returns false, with nothing changed, when no whole record
/// stands there
ZALUTIL_API bool ZalM_GetRegMDataOffsPtr(const char* table, std::int64_t size, std::int64_t& offset,
                                         ZalUtil::MemoRecord& record) noexcept;

/// Finds the record of an owner; the outputs may be null and stay as they are without a record. A null handle is an
/// empty table. \returns its data inside the table, null when there is no such record
ZALUTIL_API const char* ZalM_GetRegMDataPtr(unsigned int id1, unsigned int id2, char** handle, unsigned short* platform,
                                            short* version, unsigned int* flags, unsigned int* length) noexcept;

/// Replaces the record of an owner in its place, or appends it: behind the last record, where bytes that make none are
/// dropped. The changed table is a new handle in \p *handle, in place of the old one, which may be null.
/// \param data \p length bytes, which may stand in the table; null when \p length is 0
/// \returns 0, or -108 with the table unchanged
ZALUTIL_API int ZalM_PutRegMData(unsigned int id1, unsigned int id2, unsigned short platform, short version,
                                 unsigned int flags, unsigned int length, const char* data, char*** handle);

/// Removes the record of an owner; \p found, which may be null, tells whether there was one. When there was, the
/// changed table is a new handle in \p *handle, in place of the old one. \returns 0, or -108 with the table unchanged
ZALUTIL_API int ZalM_DelRegMData(unsigned int id1, unsigned int id2, char*** handle, bool* found);
