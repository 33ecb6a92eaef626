#pragma once

#include <ODB/Ref.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class AttributeSet;

/// A renumbering: for each attribute type that takes part, a map from old to new indexes. A type that takes part is
/// *used*, also while nothing is mapped.
class ADB_API IAttributeNewIndexTable {
public:
    /// Maps \p oldIndex, which is not checked, to \p newIndex; an earlier mapping is replaced. The type becomes used.
    /// \returns 0; with nothing changed, Error::NoSuchIndex for a new index below 1, whatever the type id, else
    /// Error::UnknownType for a type id below 1, or Error::MemoryFull
    virtual int SetNewIndex(short typeId, short oldIndex, short newIndex) = 0;

    /// Removes the mapping of \p oldIndex, if any; the type stays used.
    /// \returns 0, or Error::UnknownType for a type id below 1
    virtual int ClearNewIndex(short typeId, short oldIndex) = 0;

    /// Makes the type used, whatever its id; mappings that it has stay. \throws std::bad_alloc with nothing changed
    virtual void SetAttributeTypeAsUsed(short typeId) = 0;
    /// Makes the type unused and forgets its mappings.
    virtual void SetAttributeTypeAsUnused(short typeId) = 0;

    /// The largest old index above 0 that is mapped; 0 without one, for an unused type, and for a type id below 1.
    virtual short GetMaxIndex(short typeId) const = 0;

    /// The new index; 0, the index stays as it is, without a mapping, for an unused type, and for a type id below 1.
    virtual short GetNewIndex(short typeId, short oldIndex) const = 0;

    /// Whether the type takes part.
    virtual bool IsUsedAttributeType(short typeId) const = 0;

    /// Whether any type is used, with mappings or without. With \p useTypeMask, \p typeMask names types to be passed
    /// over: the bit number of a type is the low five bits of its id, so that types 4 and 36 share bit 4.
    virtual bool HasChanged(bool useTypeMask, int typeMask) const = 0;

    /// The set that the indexes belong to: a null reference, since a renumbering knows of none.
    virtual ODB::ConstRef<AttributeSet> GetAttributeSet() const = 0;

    virtual ~IAttributeNewIndexTable() = default;
};

}   // namespace ADB

/// A new, empty table, to be freed with DisposeAttributeNewIndexTable; null when it cannot be made.
ADB_API ADB::IAttributeNewIndexTable* CreateAttributeNewIndexTable();

/// Frees \p *table and sets it to null; a null pointer and a null table are ignored.
ADB_API void DisposeAttributeNewIndexTable(ADB::IAttributeNewIndexTable** table);

/// What a reference to \p oldIndex becomes: its new index, or 0 when it stays. \p table must not be null.
ADB_API short GetNewAttributeIndex(const ADB::IAttributeNewIndexTable* table, short typeId, short oldIndex);
