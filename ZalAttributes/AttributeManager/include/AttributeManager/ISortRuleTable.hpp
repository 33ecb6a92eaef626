#pragma once

#include <ODB/Ref.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

class AttributeSet;

/// Chooses the attributes of a list: puts their indexes into a new handle, which the caller frees with BMKillHandle.
/// \param extension what the names are to end in, in the system code page
/// \param count receives the number of indexes. \returns 0, or a code
using AttributeFilterFunction = int (*)(ODB::ConstRef<AttributeSet> set, short typeId, short*** handle, char* extension,
                                        short* count);

/// Puts the first \p count indexes of \p handle in order, in place. \returns 0, or a code
using AttributeSortFunction = int (*)(ODB::ConstRef<AttributeSet> set, short typeId, short** handle, short count);

/// The host's rules for lists of attributes: which ones, and in what order. The library asks the table that
/// InitAttributeManager was given.
class ADB_API ISortRuleTable {
public:
    /// Stores the two functions under \p ruleId, in place of those that may be there. \returns 0, Error::NullArgument
    /// with nothing changed when one is null, or Error::MemoryFull with nothing changed
    virtual int SetSortRule(short ruleId, AttributeFilterFunction filter, AttributeSortFunction sort) = 0;
    /// The function of the rule, or null.
    virtual AttributeFilterFunction GetFilterFunction(short ruleId) const = 0;
    /// The function of the rule, or null.
    virtual AttributeSortFunction GetSortFunction(short ruleId) const = 0;
    virtual ~ISortRuleTable() = default;
};

}   // namespace ADB

/// A new, empty table, owned by the caller; null when memory runs out.
ADB_API ADB::ISortRuleTable* CreateSortRuleTable();

/// Frees \p *table and sets it to null; null is ignored.
ADB_API void DisposeSortRuleTable(ADB::ISortRuleTable** table);
