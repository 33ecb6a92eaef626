#pragma once

#include <AttributeManager/ISortRuleTable.hpp>

namespace Host {

/// What a list is ordered by.
enum class SortKey { Index, Name, Extension };

/// The id of the rule that lists all attributes of a type or, with \p byExtension, those with a given name extension,
/// in the order of \p key.
short GetSortRule(SortKey key, bool byExtension);

/// Fills \p rules with the rules that GetSortRule names.
void SetSortRules(ADB::ISortRuleTable& rules);

}   // namespace Host
