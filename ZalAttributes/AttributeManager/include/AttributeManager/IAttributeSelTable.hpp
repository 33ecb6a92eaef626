#pragma once

#include <AttributeManager/Export.hpp>

namespace ADB {

/// A selection: for each attribute type the indexes that are selected. Whether there are such attributes is not
/// checked; any index will do, 0 and negative ones too.
class ADB_API IAttributeSelTable {
public:
    /// Selects \p index, behind those of the type that are selected already; one of these stays where it is.
    /// \returns 0; with nothing changed, Error::UnknownType for a type id below 1, or Error::MemoryFull
    virtual int SelectAttribute(short typeId, short index) = 0;

    /// Takes \p index out of the selection, if it is there; the others keep their order.
    /// \returns 0, or Error::UnknownType for a type id below 1
    virtual int DeselectAttribute(short typeId, short index) = 0;

    /// Whether \p index is selected; false for a type id below 1.
    virtual bool IsAttributeSelected(short typeId, short index) const = 0;

    virtual ~IAttributeSelTable() = default;
};

}   // namespace ADB

/// A new, empty selection, to be freed with DisposeAttributeSelTable; null when it cannot be made.
ADB_API ADB::IAttributeSelTable* CreateAttributeSelTable();

/// Frees \p *table and sets it to null; a null pointer and a null table are ignored.
ADB_API void DisposeAttributeSelTable(ADB::IAttributeSelTable** table);
