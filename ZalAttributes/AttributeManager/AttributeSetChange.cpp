#include <cassert>

#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "CatchMemoryFull.hpp"
#include "RegisteredTypeId.hpp"

// The operations that may be heard of while they run (by observers of the attribute handed over, of attributes deleted
// or of the set) are announcements as a whole: if the set or the container is deleted on the way, its references are
// dead, but its memory stays until the operation returns.

namespace ADB {
namespace {

constexpr int MostNameChecks = 11;

unsigned int AsIndex(short index) {
    return static_cast<unsigned int>(index);
}

bool MayKeepIndex(const AttributeContainer& container, short index) {
    return index >= 1 && container.AttributeIndexExist(AsIndex(index)) != Error::None;
}

bool HasSameContent(const GeneralAttribute& attribute, const ODB::ConstRef<GeneralAttribute>& stored) {
    if (attribute.GetClassInfo() != stored->GetClassInfo())
        return false;
    FieldMaskT<GeneralAttribute> differing(attribute.Compare(stored));
    differing.Clear(GeneralAttribute::IndexField);
    return differing.IsEmpty();
}

// The stored attribute that has the name and the content of `attribute`, index aside.
ODB::ConstRef<GeneralAttribute> FindEqual(const AttributeContainer& container, const GeneralAttribute& attribute) {
    const ODB::ConstRef<GeneralAttribute> sameName = container.GetConstAttribute(attribute.GetName());
    return sameName && HasSameContent(attribute, sameName) ? sameName : ODB::ConstRef<GeneralAttribute>();
}

}   // namespace

int AttributeSet::CheckBeforeNewAttribute(short typeId, const Kest::UniString& name, bool replacing, int index) const {
    const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    if (name.IsEmpty())
        return Error::EmptyName;
    if (replacing) {
        const ODB::ConstRef<GeneralAttribute> replaced = container->GetConstAttribute(static_cast<unsigned int>(index));
        if (replaced && replaced->GetName().IsEqual(name, Kest::CaseInsensitive))
            return Error::None;
    }
    short holder = 0;
    if (container->AttributeNameToIndex(name, &holder) != Error::None)
        return Error::None;
    return replacing && holder == index ? Error::None : Error::NameUsed;
}

// Gives `attribute` a name that the type does not have yet. The name of what a script made is never replaced.
int AttributeSet::MakeNameFree(short typeId, GeneralAttribute& attribute) const {
    for (int check = 1;; ++check) {
        const int status = CheckBeforeNewAttribute(typeId, attribute.GetName(), false, 0);
        if (status == Error::NameUsed && attribute.IsFromPax()) {
            attribute.SetIndex(0);
            return status;
        }
        if ((status != Error::NameUsed && status != Error::EmptyName) || check == MostNameChecks)
            return status;
        const Kest::UniString name =
            GetConstAttributeContainer(typeId)->GenerateUniqueName(attribute.GetName(), nullptr);
        if (name.IsEmpty())
            attribute.GenerateNewName();
        else
            attribute.SetName(name);
    }
}

void AttributeSet::AnnounceNew(const ODB::ConstRef<GeneralAttribute>& attribute) const {
    const short typeId = attribute ? RegisteredTypeIdOf(attribute->GetAttributeTypeId()) : short{0};
    if (typeId != 0)
        NotifyObservers(typeId, attribute, Created, FieldMask());
}

int AttributeSet::NewAttribute(short typeId, GeneralAttribute* attribute, bool keepIndex, bool touch) {
    const Kest::EventSource::Announcement held;
    const ODB::Ref<AttributeContainer> container = GetAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    if (attribute == nullptr)
        return Error::NullArgument;
    assert(!attribute->GetConstAttributeContainer());
    if (keepIndex && !MayKeepIndex(*container.GetConst(), attribute->GetIndex()))
        return Error::NoSuchIndex;
    if (!keepIndex)
        attribute->SetIndex(0);

    ODB::Ref<GeneralAttribute> stored;
    const int status = CatchMemoryFull([&]() -> int {
        if (const int nameStatus = MakeNameFree(typeId, *attribute); nameStatus != Error::None)
            return nameStatus;
        if (!container)   // deleted by an observer of the attribute
            return Error::UnknownType;
        stored =
            container.GetLogicalConst()->NewAttribute(ODB::ConstRef<GeneralAttribute>(attribute), keepIndex, touch);
        return stored ? Error::None : Error::MemoryFull;
    });
    if (status != Error::None)
        return status;
    attribute->SetIndex(stored.GetConst()->GetIndex());
    AnnounceNew(stored);
    return Error::None;
}

ODB::Ref<GeneralAttribute> AttributeSet::NewAttribute(ODB::ConstRef<GeneralAttribute> attribute, int* error,
                                                      bool keepIndex, bool, const Kest::Guid& guid) {
    ODB::Ref<GeneralAttribute> stored;
    const int status = StoreCopy(attribute, keepIndex, guid, stored);
    if (error != nullptr)
        *error = status;
    AnnounceNew(stored);
    return stored;
}

int AttributeSet::StoreCopy(const ODB::ConstRef<GeneralAttribute>& attribute, bool keepIndex, const Kest::Guid& guid,
                            ODB::Ref<GeneralAttribute>& stored) const {
    if (!attribute)
        return Error::ForeignAttribute;
    const ODB::Ref<AttributeContainer> container =
        GetAttributeContainer(RegisteredTypeIdOf(attribute->GetAttributeTypeId()));
    if (!container)
        return Error::UnknownType;
    if (keepIndex && !MayKeepIndex(*container.GetConst(), attribute->GetIndex()))
        return Error::NoSuchIndex;
    ODB::IdSpace& space = GetIdSpace() != nullptr ? *GetIdSpace() : *ODB::GetDefaultIdSpace();
    stored = container.GetLogicalConst()->NewAttribute(attribute, keepIndex ? attribute->GetIndex() : short{0}, guid,
                                                       &space);
    return stored ? Error::None : Error::MemoryFull;
}

int AttributeSet::AddAttribute(short typeId, GeneralAttribute* attribute, bool touch) {
    const Kest::EventSource::Announcement held;
    const ODB::ConstRef<AttributeContainer> container = GetConstAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    if (attribute == nullptr)
        return Error::NullArgument;
    assert(!attribute->GetConstAttributeContainer());

    return CatchMemoryFull([&]() -> int {
        const ODB::ConstRef<GeneralAttribute> equal = FindEqual(*container, *attribute);
        if (equal) {
            attribute->SetIndex(equal->GetIndex());
            return Error::None;
        }
        const unsigned int mostNames = container->GetAttributeNumber() + 1;
        int status = NewAttribute(typeId, attribute, false, touch);
        for (unsigned int names = 0; status == Error::NameUsed && names < mostNames; ++names) {
            attribute->GenerateNewName();
            status = NewAttribute(typeId, attribute, false, touch);
        }
        return status;
    });
}

int AttributeSet::PutAttribute(short typeId, GeneralAttribute* attribute, bool touch) {
    const Kest::EventSource::Announcement held;
    if (!GetConstAttributeContainer(typeId))
        return Error::UnknownType;
    if (attribute == nullptr)
        return Error::NullArgument;
    assert(!attribute->GetConstAttributeContainer());
    if (touch)
        attribute->UpdateModificationTime();
    const short index = attribute->GetIndex();
    if (const int status = CheckBeforeNewAttribute(typeId, attribute->GetName(), true, index); status != Error::None)
        return status;

    const ODB::ConstRef<GeneralAttribute> stored = GetConstAttribute(typeId, index);
    FieldMask changed;
    const int status = CatchMemoryFull([&] {
        return GetAttributeContainer(typeId).GetLogicalConst()->PutAttribute(ODB::ConstRef<GeneralAttribute>(attribute),
                                                                             AsIndex(index), &changed);
    });
    if (status == Error::None && !changed.IsEmpty())
        NotifyObservers(typeId, stored, Changed, changed);
    return status;
}

int AttributeSet::DeleteAttribute(short typeId, short index, bool notify) {
    const Kest::EventSource::Announcement held;
    const ODB::Ref<AttributeContainer> container = GetAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    if (const int status = container.GetConst()->AttributeIndexExist(AsIndex(index)); status != Error::None)
        return status;
    const int status = container.GetLogicalConst()->DeleteAttribute(AsIndex(index));
    if (status == Error::None && notify)   // not by NotifyObservers: the attribute that it asks for is gone
        EnumerateObservers([typeId, index](Kest::EventObserver& observer) {
            static_cast<AttributeSetObserver&>(observer).AttributeDeleted(typeId, index);
        });
    return status;
}

int AttributeSet::DeleteAttributeType(short typeId) {
    const Kest::EventSource::Announcement held;
    const ODB::Ref<AttributeContainer> container = GetAttributeContainer(typeId);
    if (!container)
        return Error::UnknownType;
    const int status = container.GetLogicalConst()->DeleteAttributeType();
    if (status == Error::None)
        NotifyObservers(typeId, ODB::NullRef, TypeRestored, FieldMask());
    return status;
}

int AttributeSet::Clear() {
    EnumerateAttributeContainers(
        [](const ODB::Ref<AttributeContainer>& container) { container.GetLogicalConst()->DeleteAttributeType(); });
    return Error::None;
}

}   // namespace ADB
