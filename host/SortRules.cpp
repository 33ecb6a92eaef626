#include "SortRules.hpp"

#include <AttributeManager/SortFunctions.hpp>

namespace Host {

namespace {

constexpr struct {
    SortKey key;
    ADB::AttributeSortFunction sort;
} Orders[] = {
    {SortKey::Index, AttributeSortByIndex},
    {SortKey::Name, AttributeSortByName},
    {SortKey::Extension, AttributeSortByExtension},
};

}   // namespace

short GetSortRule(SortKey key, bool byExtension) {
    return static_cast<short>(1 + 2 * static_cast<int>(key) + (byExtension ? 1 : 0));
}

void SetSortRules(ADB::ISortRuleTable& rules) {
    for (const auto& [key, sort] : Orders) {
        rules.SetSortRule(GetSortRule(key, false), NoFilter, sort);
        rules.SetSortRule(GetSortRule(key, true), FilterByThisExtension, sort);
    }
}

}   // namespace Host
