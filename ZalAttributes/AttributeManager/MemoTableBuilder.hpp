#pragma once

#include <span>
#include <vector>

#include <ZalUtil/MemoRecord.hpp>

#include <AttributeManager/RegTblData.hpp>

#include "SeenOwners.hpp"

namespace ADB {

/// Collects records for a table, whose storage is then made once.
class MemoTableBuilder {
public:
    /// Adds a record with the fields of \p record but without its data. \returns where its \p record.length bytes of
    /// data are to be put, before the next record is added. \throws std::bad_alloc
    char* Append(const ZalUtil::MemoRecord& record);

    /// Puts the records into \p table, each as ZalM_PutRegMData does.
    /// \returns 0, or -108 with nothing changed. \throws std::bad_alloc likewise
    int PutInto(RegTblData& table) const;

private:
    std::vector<char> Join(std::span<const char> earlier) const;

    std::vector<char> bytes;   // records in the order of their coming
    SeenOwners owners;
    bool repeats = false;   // an owner has several records, of which the last counts
};

}   // namespace ADB
