#include <memory>
#include <new>
#include <utility>

#include <Kest/Clock.hpp>
#include <Kest/UniqueName.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeIndex.hpp>

#include "AttributeIndexTables.hpp"
#include "FreeName.hpp"
#include "ReportRename.hpp"

namespace ADB {
namespace {

constexpr int FirstIndex = 1;
constexpr int LastIndex = 32766;

// The first index of start, start + 1, ..., then of 1, 2, ..., that is not taken; 0 when all are.
short FindUntaken(int start, const Kest::HashSet<short>& taken) {
    for (int index = start; index <= LastIndex; ++index)
        if (!taken.Contains(static_cast<short>(index)))
            return static_cast<short>(index);
    for (int index = FirstIndex; index < start; ++index)
        if (!taken.Contains(static_cast<short>(index)))
            return static_cast<short>(index);
    return 0;
}

}   // namespace

short AttributeContainer::GenerateUniqueIndex(short hint, const Kest::HashSet<short>* taken) const {
    const int start = hint >= FirstIndex && hint <= LastIndex ? hint : FirstIndex;
    const AttributeIndexTables* const tables = taken == nullptr ? FindTables() : nullptr;
    short found = static_cast<short>(start);
    if (taken != nullptr)
        found = FindUntaken(start, *taken);
    else if (tables != nullptr)
        found = tables->indexes.FindFree(static_cast<short>(start));
    return found != 0 ? found : hint;
}

Kest::UniString AttributeContainer::GenerateUniqueName(const Kest::UniString& base,
                                                       const Kest::HashSet<Kest::UniString>* taken) const {
    AttributeIndexTables* const tables = taken == nullptr ? FindTables() : nullptr;
    if (tables != nullptr)
        return FindFreeName(base, tables->numbers, [tables](const Kest::UniString& name) {
            return tables->IsNameBorne(name, nullptr, tables->scope);
        });
    NumberedNameRuns runs;
    return FindFreeName(base, runs, [taken](const Kest::UniString& name) {
        return taken != nullptr && taken->Contains(name.ToUpper());
    });
}

int AttributeContainer::PutNewAttribute(GeneralAttribute* attribute, unsigned int hint, bool touch) {
    // Nobody observes the newcomer or has it in an index yet: there is nobody to tell.
    if (touch)
        attribute->modificationTime = TIGetTime();
    attribute->index = GenerateUniqueIndex(static_cast<short>(hint), nullptr);
    const AttributeIndexTables* const tables = FindTables();
    const bool keepsName = tables != nullptr && Kest::ContainsNonWhitespace(attribute->name) &&
                           !tables->IsNameBorne(attribute->name, nullptr, tables->scope);
    if (!keepsName)
        attribute->name = GenerateUniqueName(attribute->name, nullptr);
    ODB::Ref<GeneralAttribute> stored(attribute);
    if (stored.GetIdSpace() == nullptr)
        stored.GenerateId(GetIdSpace());
    try {
        attribute->Attach(*this);
        const int status = GetAttributeAssociation().Connect(ODB::Borrowed<ODB::Ref<ODB::Object>>(*GetInfo()),
                                                             ODB::Borrowed<ODB::Ref<ODB::Object>>(*stored.GetInfo()));
        return status == 0 ? Error::None : Error::NoSuchIndex;
    } catch (...) {
        return Error::NoSuchIndex;
    }
}

// Every failure is undone by the death of the clone: identity, observer and references go with it.
ODB::Ref<GeneralAttribute> AttributeContainer::PutClone(const GeneralAttribute& source, short hint,
                                                        const Kest::Guid* guid, ODB::IdSpace* idSpace, bool touch) {
    try {
        std::unique_ptr<GeneralAttribute> clone(static_cast<GeneralAttribute*>(source.Clone()));
        if (clone == nullptr)
            return ODB::NullRef;
        if (guid != nullptr && !ODB::Ref<GeneralAttribute>(clone.get()).Init(ODB::Id(*guid), idSpace))
            return ODB::NullRef;
        if (PutNewAttribute(clone.get(), static_cast<unsigned int>(hint), touch) != Error::None)
            return ODB::NullRef;
        return ODB::Ref<GeneralAttribute>(clone.release());
    } catch (...) {
        return ODB::NullRef;
    }
}

ODB::Ref<GeneralAttribute> AttributeContainer::NewAttribute(ODB::ConstRef<GeneralAttribute> source, bool keepIndex,
                                                            bool touch) {
    if (!source)
        return ODB::NullRef;
    return PutClone(*source, keepIndex ? source->GetIndex() : short{0}, nullptr, nullptr, touch);
}

ODB::Ref<GeneralAttribute> AttributeContainer::NewAttribute(ODB::ConstRef<GeneralAttribute> source, short hint,
                                                            const Kest::Guid& guid, ODB::IdSpace* idSpace) {
    if (!source || idSpace == nullptr || idSpace->Contains(ODB::Id(guid)))
        return ODB::NullRef;
    return PutClone(*source, hint, &guid, idSpace, false);
}

// Copying keeps user data where the source has none.
void AttributeContainer::Overwrite(const ODB::Ref<GeneralAttribute>& target,
                                   const ODB::ConstRef<GeneralAttribute>& source) {
    if (target.GetConst()->HasMemoData() && !target.GetConst()->HasSameMemoData(source))
        target->Destruct();
    target->Copy(source);
}

int AttributeContainer::PutAttribute(ODB::ConstRef<GeneralAttribute> source, unsigned int index,
                                     FieldMask* changedFields) {
    const ODB::Ref<GeneralAttribute> target = GetAttribute(index);
    if (!target)
        return Error::NotLoadable;
    if (!source || changedFields == nullptr)
        return Error::NullArgument;
    if (source == target)
        return Error::None;
    if (source->GetClassInfo() != target.GetConst()->GetClassInfo())
        return Error::WrongCall;
    try {
        *changedFields = target.GetConst()->Compare(source);
        if (changedFields->IsEmpty())
            return Error::None;
        const Kest::UniString oldName = target.GetConst()->GetName();
        Overwrite(target, source);
        if (FieldMaskT<GeneralAttribute>(*changedFields).Test(GeneralAttribute::NameField))
            NameChanged(target, oldName);
    } catch (...) {
        return Error::MemoryFull;
    }
    return Error::None;
}

int AttributeContainer::DeleteAttribute(unsigned int index) {
    ODB::ObjectInfo* const record = FindRecord(index);
    if (record == nullptr || !record->IsAlive())
        return Error::NotLoadable;
    static_cast<GeneralAttribute*>(record->GetObject())->Detach(*this);
    ODB::Database::DeleteObject(ODB::Borrowed<ODB::Ref<ODB::Object>>(*record));
    return Error::None;
}

int AttributeContainer::DeleteAttributeType() {
    ResetContainer();
    return Error::None;
}

int AttributeContainer::CheckContainer() {
    if (attributeIndex != nullptr && attributeIndex->IsCurrent()) {
        const NameKeys& keys = attributeIndex->tables->names;
        if (!keys.HasShadows() && keys.GetSize() == GetAttributeNumber())
            return Error::None;   // each is the holder of its name
    }
    Kest::HashSet<Kest::UniString> names;
    ODB::RefList<GeneralAttribute> repeated;
    EnumerateAttributes([&](const ODB::Ref<GeneralAttribute>& attribute) {
        if (!names.Add(attribute.GetConst()->GetName().ToUpper()))
            repeated.Push(attribute);
    });
    NumberedNameRuns runs;
    for (const ODB::Ref<GeneralAttribute>& attribute : repeated) {
        if (!attribute)   // an observer of a rename may have deleted it
            continue;
        const Kest::UniString name =
            FindFreeName(attribute.GetConst()->GetName(), runs,
                         [&names](const Kest::UniString& candidate) { return names.Contains(candidate.ToUpper()); });
        ReportRename(refId, attribute.GetConst()->GetName(), name, attribute.GetConst()->GetIndex());
        attribute->SetName(name);
        names.Add(name.ToUpper());
    }
    return Error::None;
}

}   // namespace ADB
