#pragma once

#include <Kest/Array.hpp>

#include <ZalUtil/BaseRegTblData.hpp>
#include <ZalUtil/Owner.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// The user data of one attribute: a table of records of other modules. Copies share their storage until one of them is
/// changed.
class ADB_API RegTblData : public ZalUtil::BaseRegTblData {
public:
    RegTblData() noexcept = default;
    RegTblData(const RegTblData&) noexcept = default;
    RegTblData& operator=(const RegTblData&) noexcept = default;

    RegTblData* Clone() const override;
    const Kest::ClassInfo* GetClassInfo() const override;
    static const Kest::ClassInfo* GetClassInfoStatic();

    /// The mark of the table: 0x5254424C.
    unsigned int GetSignal() const override;
    /// Nothing is checked at this level.
    ZalUtil::MemoCheckResult Check() const override;

    /// The owners of the records, each once, in the order of their first records. A record without data at the very end
    /// of the table is not seen.
    Kest::Array<ZalUtil::Owner> GetOwners() const;
};

}   // namespace ADB
