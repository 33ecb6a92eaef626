#include <memory>

#include <Kest/Clock.hpp>
#include <Kest/EventSource.hpp>
#include <Kest/Guid.hpp>
#include <Kest/ScopedValue.hpp>

#include <ODB/Object.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeMemoryFullException.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeTypeSet.hpp>

#include "AttributeTypeSetWorkplace.hpp"
#include "CatchMemoryFull.hpp"

namespace ADB {

// Writes the edits of a type set into another set. Works on copies of the records and keeps the working set: the
// target's observers may edit on or destroy the type set.
class AttributeTypeSet::Writing {
public:
    Writing(const AttributeTypeSet& edited, const ODB::Ref<AttributeSet>& written)
        : workplace(edited.workplace),
          working(edited.provider.working),
          target(written),
          typeId(edited.typeId),
          deleted(edited.records.deleted),
          modified(edited.records.modified),
          added(edited.records.added) {}

    int Delete();
    int Modify();
    int Add(bool keepIndexes);

private:
    ODB::ConstRef<GeneralAttribute> FindEdited(short index) const {
        return working ? working->GetConstAttribute(typeId, index) : ODB::ConstRef<GeneralAttribute>();
    }
    void ModifyOne(short index, const FieldMask& fields);
    static bool IsEqualButForTime(const GeneralAttribute& stored, const ODB::ConstRef<GeneralAttribute>& edited);
    static void DateNow(GeneralAttribute& attribute);

    const std::shared_ptr<Workplace> workplace;
    const Kest::EventSource::Announcement held;   // what observers delete meanwhile keeps its memory
    const ODB::ConstRef<AttributeSet> working;
    const ODB::Ref<AttributeSet> target;
    const short typeId;
    const Kest::HashSet<short> deleted;
    const Kest::HashTable<short, FieldMask> modified;
    const Kest::HashSet<short> added;
};

int AttributeTypeSet::Writing::Delete() {
    for (const short index : deleted) {
        if (!target)
            return Error::NullArgument;
        if (const int status = target.GetLogicalConst()->DeleteAttribute(typeId, index, true); status != Error::None)
            return status;
    }
    return Error::None;
}

int AttributeTypeSet::Writing::Modify() {
    for (const auto& [index, fields] : modified) {
        if (!target)
            return Error::NullArgument;
        if (!fields.IsEmpty())
            ModifyOne(index, fields);
    }
    return Error::None;
}

void AttributeTypeSet::Writing::ModifyOne(short index, const FieldMask& fields) {
    const ODB::ConstRef<GeneralAttribute> edited = FindEdited(index);
    const ODB::Ref<GeneralAttribute> stored = target.GetConst()->GetAttribute(typeId, index);
    if (!edited || !stored || edited->GetClassInfo() != stored.GetConst()->GetClassInfo() ||
        IsEqualButForTime(*stored.GetConst(), edited))
        return;
    stored->Synchronize(edited, fields);
    if (!stored)   // deleted by an observer of its name
        return;
    DateNow(*stored);
    target.GetConst()->NotifyObservers(typeId, stored, AttributeSet::Changed, fields);
}

bool AttributeTypeSet::Writing::IsEqualButForTime(const GeneralAttribute& stored,
                                                  const ODB::ConstRef<GeneralAttribute>& edited) {
    GeneralAttribute& attribute = *ODB::Ref<GeneralAttribute>(edited).GetLogicalConst();
    const Kest::ScopedValue<int> sameTime(attribute.modificationTime, stored.modificationTime);
    return stored.IsEqual(edited);
}

void AttributeTypeSet::Writing::DateNow(GeneralAttribute& attribute) {
    const ODB::ModificationGate gate(attribute);
    attribute.modificationTime = TIGetTime();
}

int AttributeTypeSet::Writing::Add(bool keepIndexes) {
    for (const short index : added) {
        if (!target)
            return Error::NullArgument;
        const ODB::ConstRef<GeneralAttribute> edited = FindEdited(index);
        if (!edited)
            continue;
        int status = Error::None;
        target.GetLogicalConst()->NewAttribute(edited, &status, keepIndexes, !edited.GetId().IsNull(), Kest::Guid());
        if (status != Error::None)
            return status;
    }
    return Error::None;
}

int AttributeTypeSet::Recreate(ODB::ConstRef<AttributeSet> newSource) {
    if (!newSource || newSource == provider.working)
        return Error::NullArgument;
    const std::shared_ptr<ODB::IdSpace> space = provider.working ? workplace->GetIdSpace() : nullptr;
    const Watch watch(*this);
    LeaveWorkingSet();
    if (watch.IsOver())
        return Error::None;
    if (MakeWorkingSet(space) != Error::None)
        throw AttributeMemoryFullException(static_cast<const char*>(nullptr), nullptr, 0);
    provider.source = ODB::Ref<AttributeSet>(newSource);
    if (const int status = CopyIntoWorkingSet(newSource); status != Error::None)
        return status;
    NotifyObservers(ODB::NullRef, Recreated, FieldMask());
    return Error::None;
}

int AttributeTypeSet::Synchronize(ODB::Ref<AttributeSet> target, bool keepFlag) {
    if (!target || target == provider.working)
        return Error::NullArgument;
    const Watch watch(*this);
    const int status = CatchMemoryFull([&] {
        Writing writing(*this, target);
        int written = writing.Delete();
        if (written == Error::None)
            written = writing.Modify();
        return written == Error::None ? writing.Add(keepFlag) : written;
    });
    return status != Error::None || watch.IsOver() ? status : Recreate(target);
}

}   // namespace ADB
