#include <utility>

#include "Links.hpp"

namespace ODB {

Association1NUntyped::RightWalk::RightWalk(const Association1NUntyped& association, const RefBase& left) noexcept
    : list(left.IsAlive() ? LinkList::Find(*left.GetInfo(), association) : nullptr) {
    if (list == nullptr)
        return;
    end = list->entries.size();
    position = list->first;
    outer = std::exchange(list->walks, this);
}

Association1NUntyped::RightWalk::~RightWalk() {
    if (snapshot != nullptr)
        for (ObjectInfo* const record : *snapshot)
            record->ReleaseObjectInfo();
    if (list == nullptr)
        return;
    // Walks nest, so that this is nearly always the innermost one.
    RightWalk** place = &list->walks;
    while (*place != this)
        place = &(*place)->outer;
    *place = outer;
}

ObjectInfo* Association1NUntyped::RightWalk::Next() noexcept {
    if (list == nullptr)
        return nullptr;
    while (position < end) {
        ObjectInfo* const record = snapshot != nullptr ? (*snapshot)[position] : list->entries[position];
        ++position;
        if (record != nullptr && (snapshot == nullptr || LinkTable::FindPlace(*record, *list) != nullptr))
            return record;
    }
    return nullptr;
}

}   // namespace ODB
