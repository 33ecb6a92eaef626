#include <limits>
#include <memory>
#include <optional>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeTypeSet.hpp>

#include "AttributeTypeSetWorkplace.hpp"
#include "CatchMemoryFull.hpp"

// Each edit is recorded before it is made, since the working set's observers hear of it, too, and may look at the
// records, edit on or destroy the type set.

namespace ADB {

// The next index above the largest one, past those that were deleted; 0 when there is none.
short AttributeTypeSet::FindNextIndex(const AttributeContainer& container) const {
    for (int index = container.GetAttributeMaximumIndex() + 1; index <= std::numeric_limits<short>::max(); ++index)
        if (!records.deleted.Contains(static_cast<short>(index)))
            return static_cast<short>(index);
    return 0;
}

int AttributeTypeSet::Add(GeneralAttribute* attribute) {
    if (attribute == nullptr)
        return Error::NullArgument;
    const ODB::ConstRef<AttributeContainer> container = FindContainer();
    if (!container)
        return Error::UnknownType;
    const short next = FindNextIndex(*container);
    if (next == 0)
        return Error::MemoryFull;
    // Another one for 32767, which containers give out only when all others are taken.
    const short index = container->GenerateUniqueIndex(next, nullptr);
    const Watch watch(*this);
    bool isRecordedNow = false;
    const int status = CatchMemoryFull([&] {
        isRecordedNow = records.added.Add(index);
        attribute->SetIndex(next);
        return provider.working.GetLogicalConst()->NewAttribute(typeId, attribute, true, true);
    });
    if (watch.IsOver())
        return status;
    if (status == Error::None)
        NotifyObservers(FindAttribute(index), Created, FieldMask());
    else if (isRecordedNow && !FindAttribute(index))   // an observer of `attribute` may have added one
        records.added.Delete(index);
    return status;
}

int AttributeTypeSet::Set(GeneralAttribute* attribute, const FieldMask& fields, bool touch) {
    if (attribute == nullptr)
        return Error::NullArgument;
    if (FindWorkingSet() == nullptr)
        return Error::UnknownType;
    const short index = attribute->GetIndex();
    FieldMask told;   // `fields` may belong to somebody who hears of the edit and goes
    std::optional<FieldMask> recordedBefore;
    const int recorded = CatchMemoryFull([&]() -> int {
        told = fields;
        if (FieldMask* const known = records.modified.Find(index)) {
            recordedBefore = *known;
            *known |= fields;
        } else {
            records.modified.Put(index, fields);
        }
        return Error::None;
    });
    if (recorded != Error::None)
        return recorded;

    const Watch watch(*this);
    const int status =
        CatchMemoryFull([&] { return provider.working.GetLogicalConst()->PutAttribute(typeId, attribute, touch); });
    if (watch.IsOver())
        return status;
    if (status == Error::None)
        NotifyObservers(FindAttribute(index), Changed, told);
    else if (!recordedBefore)
        records.modified.Delete(index);
    else if (FieldMask* const known = records.modified.Find(index))
        *known = std::move(*recordedBefore);
    return status;
}

int AttributeTypeSet::Delete(short index, bool track) {
    std::unique_ptr<GeneralAttribute> clone;
    ODB::ConstRef<GeneralAttribute> told;
    const AttributeSet* const working = FindWorkingSet();
    if (working == nullptr)
        return Error::UnknownType;
    const int status = CatchMemoryFull([&]() -> int {
        clone.reset(working->Clone(typeId, index));
        if (clone == nullptr)
            return Error::MemoryFull;
        told = ODB::ConstRef<GeneralAttribute>(clone.get());
        if (track && !records.added.Contains(index))
            records.deleted.Add(index);
        return Error::None;
    });
    if (status != Error::None)
        return status;
    if (track) {
        records.modified.Delete(index);
        records.added.Delete(index);
    }
    const Watch watch(*this);
    provider.working.GetLogicalConst()->DeleteAttribute(typeId, index, true);   // what was cloned can be deleted
    if (!watch.IsOver())
        NotifyObservers(told, Deleted, FieldMask());
    return Error::None;
}

// Replacing many by few does not look through all of them each time: only what is a successor itself is looked for.
int AttributeTypeSet::SetAttributeReplaced(short oldIndex, short newIndex) {
    const int status = CatchMemoryFull([&]() -> int {
        records.successors.Add(newIndex);
        records.replaced.Put(oldIndex, newIndex);
        return Error::None;
    });
    if (status != Error::None || oldIndex == newIndex || !records.successors.Delete(oldIndex))
        return status;
    for (auto&& entry : records.replaced)
        if (entry.value == oldIndex)
            entry.value = newIndex;
    return Error::None;
}

}   // namespace ADB
