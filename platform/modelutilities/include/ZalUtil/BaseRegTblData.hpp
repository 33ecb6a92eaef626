#pragma once

#include <cstdint>

#include <ZalUtil/Export.hpp>
#include <ZalUtil/KestMemoData.hpp>
#include <ZalUtil/MemoRecord.hpp>

namespace ZalUtil {

/// A table of memo records, see MemoRecord.hpp. Copies share their storage until one of them is changed.
class ZALUTIL_API BaseRegTblData : public KestMemoData {
public:
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    /// Puts a copy of the table into \p *handle, a new handle that the caller frees; null when the table is empty.
    /// \returns 0, or -108 with \p *handle null
    int GetRegTbl(char*** handle) const;

    /// The table in place, valid until it is changed; null when it is empty. \p size, in bytes and at most the largest
    /// int, may be null; it is 0 for an empty table.
    const char* GetRegTblPtr(int* size) const noexcept;

    /// Replaces the table by a copy of \p size bytes, which are not checked; 0 empties it.
    /// \returns 0, or -108 with nothing changed
    int UpdateRegTbl(const char* bytes, std::int64_t size) { return PutData(bytes, size); }

    /// Finds the record of \p owner; its data stand in the table. \returns false when there is none
    bool FindRecord(const Owner& owner, MemoRecord& record) const noexcept {
        return FindMemoRecord(GetBytes(), GetSize(), owner, record);
    }

    /// Reports the owner of each record to \p callback, each owner once, in the order of their first records.
    void LookupExternalDataHandlers(ICBOwnerFound* callback) const;

    /// Removes the records of \p owners; a table without any stays the storage that it is.
    /// \returns 0, or -108 with nothing changed
    int DeleteExternalDataHandlers(const OwnerList& owners);

protected:
    BaseRegTblData() noexcept = default;
    BaseRegTblData(const BaseRegTblData&) noexcept = default;
    BaseRegTblData& operator=(const BaseRegTblData&) noexcept = default;
};

}   // namespace ZalUtil
