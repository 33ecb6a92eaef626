#include "AttributeSetRegistry.hpp"

#include <limits>

namespace ADB {

short AttributeSetRegistry::GetFreeIndex() const {
    int index = 1;
    while (index <= std::numeric_limits<short>::max() && entries.Contains(static_cast<short>(index)))
        ++index;
    return index <= std::numeric_limits<short>::max() ? static_cast<short>(index) : short{0};
}

short AttributeSetRegistry::FindIndexOf(const ODB::RefBase& set) const {
    for (const auto& entry : entries)
        if (entry.value == set)
            return entry.key;
    return 0;
}

ODB::Ref<AttributeSet> AttributeSetRegistry::GetFirst() const {
    for (const auto& entry : entries)
        if (entry.value)
            return entry.value;
    return ODB::NullRef;
}

void AttributeSetRegistry::Remove(short index, const ODB::RefBase& set) {
    const ODB::Ref<AttributeSet>* const listed = entries.Find(index);
    if (listed != nullptr && *listed == set)
        entries.Delete(index);
}

ODB::Ref<AttributeSet> AttributeSetRegistry::TakeOne() {
    const ODB::Ref<AttributeSet> taken = entries.GetEntry(0).value;
    entries.DeleteAt(0);
    return taken;
}

}   // namespace ADB
