#pragma once

/// \file
/// Filter and sort functions for a sort-rule table.
///
/// The extension of a name is what stands behind its first dot ("x.y" of "c.x.y"), empty without a dot; base is what
/// stands before it. Filters and the order by extension look at the first 255 bytes of a name, in the system code page.
///
/// The filters give a handle of 2 * (count + 1) bytes with the indexes in ascending order. They return 0;
/// Error::NullArgument for a null set or handle; Error::WrongCall for a negative maximum index; what BMError reports
/// when there is no memory. A null count is allowed: the handle then has room for every index up to the maximum.
///
/// The sort functions keep equal names in the order they had; an index without an attribute counts as an empty name.
/// They return 0; Error::NullArgument for a null set or handle; Error::MemoryFull with nothing moved.

#include <AttributeManager/Export.hpp>
#include <AttributeManager/ISortRuleTable.hpp>

/// Every attribute of the type; the extension has no effect.
ADB_API int NoFilter(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short*** handle, char* extension,
                     short* count);

/// The attributes whose name has exactly the extension given.
ADB_API int FilterByThisExtension(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short*** handle, char* extension,
                                  short* count);

/// Leaves the order as it is and returns 0, whatever it is given.
ADB_API int NoSort(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short** handle, short count);

/// Leaves the order as it is, since filters list indexes in ascending order, and returns 0, whatever it is given.
ADB_API int AttributeSortByIndex(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short** handle, short count);

/// By name, letter case ignored.
ADB_API int AttributeSortByName(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short** handle, short count);

/// By extension, then by base, letter case ignored; names without an extension come first.
ADB_API int AttributeSortByExtension(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short** handle, short count);
