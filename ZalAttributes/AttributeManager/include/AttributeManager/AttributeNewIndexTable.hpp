#pragma once

#include <functional>

#include <Kest/HashTable.hpp>

#include <AttributeManager/Export.hpp>
#include <AttributeManager/IAttributeNewIndexTable.hpp>

namespace ADB {

/// The library's renumbering table. It belongs to no attribute set; copies are deep.
class ADB_API AttributeNewIndexTable : public IAttributeNewIndexTable {
public:
    int SetNewIndex(short typeId, short oldIndex, short newIndex) override;
    int ClearNewIndex(short typeId, short oldIndex) override;
    void SetAttributeTypeAsUsed(short typeId) override;
    void SetAttributeTypeAsUnused(short typeId) override;
    short GetMaxIndex(short typeId) const override;
    short GetNewIndex(short typeId, short oldIndex) const override;
    bool IsUsedAttributeType(short typeId) const override;
    bool HasChanged(bool useTypeMask, int typeMask) const override;
    ODB::ConstRef<AttributeSet> GetAttributeSet() const override;

    /// As SetNewIndex, with its codes; besides, mappings of the type that lead to \p oldIndex lead to \p newIndex from
    /// now on, so that chains collapse: after 5 to 6 and 6 to 9, both 5 and 6 lead to 9.
    int ReplaceNewIndex(short typeId, short oldIndex, short newIndex);

    /// Calls \p callback with each mapping as (type id, old index, new index), type by type, in storage order. The
    /// callback must not change the table.
    /// \throws std::bad_function_call for an empty callback, at the first mapping
    void EnumerateEntries(const std::function<void(const short&, const short&, const short&)>& callback) const;

private:
    using TypeTable = Kest::HashTable<short, short>;

    const TypeTable* FindMappings(short typeId) const;

    Kest::HashTable<short, TypeTable> types;   // the used types, each with its new indexes by the old ones
};

}   // namespace ADB
