#include <AttributeManager/AttributeTypeSet.hpp>

#include <algorithm>
#include <limits>
#include <new>
#include <utility>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeManagerException.hpp>
#include <AttributeManager/AttributeMemoryFullException.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "AttributeTypeSetWorkplace.hpp"
#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

constexpr int SourceSet = 1;

}   // namespace

ODB::Ref<AttributeSet> AttributeTypeSet::AttributeTypeSetProvider::GetAttributeSet(int mode) const {
    return mode == SourceSet ? source : working;
}

AttributeTypeSet::AttributeTypeSetProvider::~AttributeTypeSetProvider() = default;

AttributeTypeSet::AttributeTypeSet() = default;

AttributeTypeSet::AttributeTypeSet(ODB::ConstRef<AttributeSet> source, short attributeTypeId)
    : typeId(attributeTypeId) {
    if (!source)
        throw AttributeManagerException(static_cast<const char*>(nullptr), nullptr, 0);
    provider.source = ODB::Ref<AttributeSet>(source);
    const int status = CatchMemoryFull([&]() -> int {
        idSpace = std::make_shared<ODB::IdSpace>(u"AttributeTypeSet");
        const int made = MakeWorkingSet(idSpace);
        return made == Error::None ? CopyIntoWorkingSet(source) : made;
    });
    if (status != Error::None)
        throw AttributeMemoryFullException(static_cast<const char*>(nullptr), nullptr, 0);
}

AttributeTypeSet::AttributeTypeSet(const AttributeTypeSet& other)
    : Kest::EventSource(other),
      provider(other.provider),
      typeId(other.typeId),
      idSpace(other.idSpace),
      workplace(other.workplace),
      records(other.records) {}

AttributeTypeSet& AttributeTypeSet::operator=(const AttributeTypeSet& other) {
    Records newRecords(other.records);
    // Left last: whoever hears that the set goes may destroy the type set.
    const std::shared_ptr<Workplace> left = std::exchange(workplace, std::shared_ptr<Workplace>(other.workplace));
    Kest::EventSource::operator=(other);
    provider.source = other.provider.source;
    provider.working = other.provider.working;
    typeId = other.typeId;
    idSpace = other.idSpace;
    records = std::move(newRecords);
    return *this;
}

AttributeTypeSet::~AttributeTypeSet() {
    for (Watch* watch = watches; watch != nullptr; watch = watch->outer)
        watch->typeSet = nullptr;
}

int AttributeTypeSet::MakeWorkingSet(const std::shared_ptr<ODB::IdSpace>& space) {
    return CatchMemoryFull([&]() -> int {
        auto made = std::make_shared<Workplace>(space);
        if (!made->GetSet())
            return Error::MemoryFull;
        provider.working = made->GetSet();
        workplace = std::move(made);
        return Error::None;
    });
}

int AttributeTypeSet::CopyIntoWorkingSet(const ODB::ConstRef<AttributeSet>& set) {
    if (!set)
        return Error::NullArgument;
    return CatchMemoryFull([&] { return set->CopyAttributeTypeToSet(provider.working, typeId); });
}

// Forgets all records but the replacements. Whoever hears that the set goes may destroy the type set: a caller that has
// more to do needs a Watch.
void AttributeTypeSet::LeaveWorkingSet() {
    records.modified.Clear();
    records.deleted.Clear();
    records.added.Clear();
    provider.working = ODB::NullRef;
    const std::shared_ptr<Workplace> left = std::move(workplace);
}

// Takes everything but the place where the working set lives. After an error there is neither a working set nor any
// record.
int AttributeTypeSet::TakeFrom(const AttributeTypeSet& other) {
    provider.source = other.provider.source;
    typeId = other.typeId;
    const int status = CatchMemoryFull([&]() -> int {
        if (!other.provider.working)
            return Error::MemoryFull;
        if (const int made = MakeWorkingSet(idSpace); made != Error::None)
            return made;
        if (const int copied = CopyIntoWorkingSet(other.provider.working); copied != Error::None)
            return copied;
        records = other.records;
        return Error::None;
    });
    if (status == Error::None)
        return Error::None;
    records = Records();
    LeaveWorkingSet();
    return Error::MemoryFull;
}

int AttributeTypeSet::Copy(const AttributeTypeSet& other) {
    if (this == &other)
        return Error::None;
    const Watch watch(*this);
    LeaveWorkingSet();
    return watch.IsOver() ? Error::None : TakeFrom(other);
}

AttributeTypeSet* AttributeTypeSet::Clone() const {
    std::unique_ptr<AttributeTypeSet> clone(new (std::nothrow) AttributeTypeSet);
    return clone != nullptr && clone->TakeFrom(*this) == Error::None ? clone.release() : nullptr;
}

const AttributeSet* AttributeTypeSet::FindWorkingSet() const {
    return provider.working.GetConst();
}

ODB::ConstRef<AttributeContainer> AttributeTypeSet::FindContainer() const {
    const AttributeSet* const working = FindWorkingSet();
    return working != nullptr ? working->GetConstAttributeContainer(typeId) : ODB::ConstRef<AttributeContainer>();
}

ODB::ConstRef<GeneralAttribute> AttributeTypeSet::FindAttribute(short index) const {
    const AttributeSet* const working = FindWorkingSet();
    return working != nullptr ? working->GetConstAttribute(typeId, index) : ODB::ConstRef<GeneralAttribute>();
}

int AttributeTypeSet::GetNumber(short* number) const {
    constexpr unsigned int largest = std::numeric_limits<short>::max();
    const AttributeSet* const working = FindWorkingSet();
    if (number != nullptr)
        *number = static_cast<short>(working != nullptr ? std::min(working->GetAttributeNumber(typeId), largest) : 0);
    return Error::None;
}

int AttributeTypeSet::GetMaximumIndex(short* index) const {
    const AttributeSet* const working = FindWorkingSet();
    if (index != nullptr)
        *index = working != nullptr ? working->GetAttributeMaximumIndex(typeId) : short{0};
    return Error::None;
}

int AttributeTypeSet::AttributeIndexExist(short index) const {
    const AttributeSet* const working = FindWorkingSet();
    return working != nullptr ? working->AttributeIndexExist(typeId, index) : Error::UnknownType;
}

int AttributeTypeSet::AttributeIndexToName(short index, Kest::UniString& name) const {
    const AttributeSet* const working = FindWorkingSet();
    return working != nullptr ? working->AttributeIndexToName(typeId, index, name) : Error::UnknownType;
}

int AttributeTypeSet::AttributeNameToIndex(const Kest::UniString& name, short* index) const {
    const AttributeSet* const working = FindWorkingSet();
    return working != nullptr ? working->AttributeNameToIndex(typeId, name, index) : Error::UnknownType;
}

int AttributeTypeSet::SortAttributeType(short ruleId, const char* extension, short* count, short*** handle) const {
    const AttributeSet* const working = FindWorkingSet();
    return working != nullptr ? working->SortAttributeType(typeId, ruleId, extension, count, handle)
                              : Error::UnknownType;
}

ODB::Ref<AttributeSet> AttributeTypeSet::GetAttributeSet() {
    return provider.working ? provider.working : ODB::Ref<AttributeSet>();
}

IAttributeSetProvider* AttributeTypeSet::GetAttributeSetProvider() {
    return &provider;
}

void AttributeTypeSet::Attach(AttributeTypeSetObserver& observer) {
    Kest::EventSource::Attach(observer);
}

void AttributeTypeSet::Detach(AttributeTypeSetObserver& observer) {
    Kest::EventSource::Detach(observer);
}

// The type set may be gone when the walk ends.
void AttributeTypeSet::NotifyObservers(ODB::ConstRef<GeneralAttribute> attribute, Status status,
                                       const FieldMask& fields) const {
    EnumerateObservers([&](Kest::EventObserver& observer) {
        if (attribute || status == Recreated)   // an observer before may have deleted it
            Notify(static_cast<AttributeTypeSetObserver*>(&observer), status, attribute, fields);
    });
    if (attribute && status == Changed)
        attribute->NotifyObservers(&fields);
}

void AttributeTypeSet::Notify(AttributeTypeSetObserver* observer, Status status,
                              ODB::ConstRef<GeneralAttribute> attribute, const FieldMask& fields) const {
    if (observer == nullptr)
        return;
    switch (status) {
    case Created:
        return observer->AttributeCreated(attribute);
    case Changed:
        return observer->AttributeChanged(attribute, fields);
    case Deleted:
        return observer->AttributeDeleted(attribute ? attribute->GetIndex() : short{0});
    case Recreated:
        return observer->AttributeRecreated();
    }
}

// An index that was deleted is in use again only where the numbers had come to their end.
bool AttributeTypeSet::CheckInvariants() const {
    const AttributeSet* const working = FindWorkingSet();
    if (working == nullptr)
        return true;
    const auto isGone = [&](short index) {
        return records.added.Contains(index) || (!FindAttribute(index) && !records.modified.Contains(index));
    };
    return working->CheckInvariants() && workplace != nullptr && workplace->GetSet() == provider.working &&
           std::all_of(records.deleted.begin(), records.deleted.end(), isGone);
}

}   // namespace ADB
