#pragma once

#include <cstddef>

#include <ZalUtil/MemoRecord.hpp>

#include <AttributeManager/RegTblData.hpp>

#include "SeenOwners.hpp"

namespace ADB {

/// Walks over the first records of all owners of a table, in their stored order. A record without data at the very end
/// of the table is not seen.
class FirstRecordWalk {
public:
    /// \p table must outlive the walk and stay as it is.
    explicit FirstRecordWalk(const RegTblData& table) noexcept
        : size(table.GetSize()),
          walk(table.GetBytes(), table.GetSize()) {}

    /// Reads the next such record. \returns false at the end. \throws std::bad_alloc
    bool Next(ZalUtil::MemoRecord& record) {
        while (walk.Next(record) && record.offset + ZalUtil::MemoHeaderSize < size)
            if (seen.Add(record.owner))
                return true;
        return false;
    }

private:
    std::size_t size;
    ZalUtil::MemoRecordWalk walk;
    SeenOwners seen;
};

}   // namespace ADB
