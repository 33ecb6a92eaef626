#pragma once

#include <cstddef>

#include <Kest/PlatformSign.hpp>

#include <ZalUtil/Export.hpp>

namespace ZalUtil {

/// What a memo table is: known as soon as it holds a record.
struct MemoTypeHeader {
    unsigned int signal;   ///< the mark of the kind of table
    short version;         ///< of the layout of its records
};

/// The version of the record layout of MemoRecord.hpp.
inline constexpr short MemoLayoutVersion = 1;

/// Whether the \p size bytes of a table that a system of \p writer wrote begin with a whole record.
ZALUTIL_API bool HoldsMemoRecord(const char* table, std::size_t size, Kest::PlatformSign writer) noexcept;

}   // namespace ZalUtil

/// Converts the numbers in the records of \p table, \p size bytes that a system of \p writer wrote, to our byte order,
/// in place. The data of the records are left: their platform sign says who wrote them. Bytes behind the last whole
/// record stay as they are.
/// \returns 0, or -7003, with nothing changed, for a layout that is not known
ZALUTIL_API int IVRegTblData(Kest::PlatformSign writer, const ZalUtil::MemoTypeHeader& header, char* table,
                             std::size_t size) noexcept;
