#pragma once

#include <Kest/HashTable.hpp>

#include <AttributeManager/Export.hpp>
#include <AttributeManager/ISortRuleTable.hpp>

namespace ADB {

/// The library's sort-rule table.
class ADB_API SortRuleTable : public ISortRuleTable {
public:
    struct TableElement {
        AttributeFilterFunction filter;
        AttributeSortFunction sort;
    };

    int SetSortRule(short ruleId, AttributeFilterFunction filter, AttributeSortFunction sort) override;
    AttributeFilterFunction GetFilterFunction(short ruleId) const override;
    AttributeSortFunction GetSortFunction(short ruleId) const override;
    ~SortRuleTable() override;

private:
    Kest::HashTable<short, TableElement> rules;
};

}   // namespace ADB
