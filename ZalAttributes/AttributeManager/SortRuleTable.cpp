#include <AttributeManager/SortRuleTable.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "CatchMemoryFull.hpp"
#include "InterfaceLifetime.hpp"

namespace ADB {

SortRuleTable::~SortRuleTable() = default;

int SortRuleTable::SetSortRule(short ruleId, AttributeFilterFunction filter, AttributeSortFunction sort) {
    if (filter == nullptr || sort == nullptr)
        return Error::NullArgument;
    return CatchMemoryFull([&] {
        rules.Put(ruleId, {filter, sort});
        return Error::None;
    });
}

AttributeFilterFunction SortRuleTable::GetFilterFunction(short ruleId) const {
    const TableElement* const rule = rules.Find(ruleId);
    return rule != nullptr ? rule->filter : nullptr;
}

AttributeSortFunction SortRuleTable::GetSortFunction(short ruleId) const {
    const TableElement* const rule = rules.Find(ruleId);
    return rule != nullptr ? rule->sort : nullptr;
}

}   // namespace ADB

ADB::ISortRuleTable* CreateSortRuleTable() {
    return ADB::CreateInterface<ADB::SortRuleTable>();
}

void DisposeSortRuleTable(ADB::ISortRuleTable** table) {
    ADB::DisposeInterface(table);
}
