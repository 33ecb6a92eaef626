#include <Kest/ByteString.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/ISortRuleTable.hpp>

#include "ProcessState.hpp"

namespace ADB {

int AttributeSet::SortAttributeType(short typeId, short ruleId, const char* extension, short* count,
                                    short*** handle) const {
    if (count == nullptr || handle == nullptr)
        return Error::NullArgument;
    constexpr int ExtensionSize = 256;
    char wanted[ExtensionSize] = "";
    CHTruncate(extension, wanted, ExtensionSize);

    const ISortRuleTable* const rules = GetProcessState().sortRules;
    const AttributeFilterFunction filter = rules != nullptr ? rules->GetFilterFunction(ruleId) : nullptr;
    const AttributeSortFunction sort = rules != nullptr ? rules->GetSortFunction(ruleId) : nullptr;
    if (filter == nullptr || sort == nullptr)
        return Error::NoSortRule;
    const ODB::ConstRef<AttributeSet> self(this);
    if (const int status = filter(self, typeId, handle, wanted, count); status != Error::None)
        return status;
    return sort(self, typeId, *handle, *count);
}

}   // namespace ADB
