#pragma once

#include <cstddef>

#include <ZalUtil/MemoRecord.hpp>

#include <AttributeManager/RegTblData.hpp>

#include "SeenOwners.hpp"

namespace ADB {

/// Walks over the first records of all owners of a table, in their stored order.
class FirstRecordWalk {
public:
    /// \p table must outlive the walk and stay as it is.
    /// \param seesEmptyEnd whether a record without data at the very end of the table is seen
    FirstRecordWalk(const RegTblData& table, bool seesEmptyEnd) noexcept
        : end(table.GetSize() + (seesEmptyEnd ? 1 : 0)),
          walk(table.GetBytes(), table.GetSize()) {}

    /// Reads the next such record. \returns false at the end. \throws std::bad_alloc
    bool Next(ZalUtil::MemoRecord& record) {
        while (walk.Next(record) && record.offset + ZalUtil::MemoHeaderSize < end)
            if (seen.Add(record.owner))
                return true;
        return false;
    }

private:
    std::size_t end;
    ZalUtil::MemoRecordWalk walk;
    SeenOwners seen;
};

}   // namespace ADB
