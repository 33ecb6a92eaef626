#include "ContainerFilling.hpp"

#include <algorithm>
#include <typeinfo>

#include <Kest/CaseMapping.hpp>
#include <Kest/ClassManager.hpp>
#include <Kest/EventSource.hpp>

#include <Lum/Object.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/ReadReport.hpp>

#include "FreeName.hpp"
#include "RegisteredTypeId.hpp"
#include "ReportLaterFrame.hpp"
#include "ReportRename.hpp"

namespace ADB {
namespace {

constexpr int MostExpected = 4096;   // more come in growing steps: a stream can claim anything

}   // namespace

ContainerFilling::ContainerFilling(AttributeContainer& target) : container(target), identities(target.GetIdSpace()) {}

ContainerFilling::~ContainerFilling() {
    if (isKept)
        return;
    std::for_each(attributes.begin() + static_cast<std::ptrdiff_t>(connected), attributes.end(),
                  [](GeneralAttribute* attribute) { delete attribute; });
    container.ResetContainer();
}

void ContainerFilling::Keep() noexcept {
    isKept = true;
    ReportLaterParts(identities, *Lum::Object::GetClassInfoStatic(), container.GetRefId());
}

int ContainerFilling::FindKind() {
    const short typeId = RegisteredTypeIdOf(container.GetRefId());
    if (typeId == 0)
        return Error::UnknownType;
    const Kest::Guid& classId = ::GetAttributeRegister()->GetTypeGuid(typeId);
    if (classId.IsNull())
        return Error::UnknownType;
    kind = Kest::ClassManager::Find(classId);
    return Error::None;
}

void ContainerFilling::Expect(int count) {
    const auto expected = static_cast<std::size_t>(std::min(count, MostExpected));
    attributes.reserve(expected);
    keys.names.Reserve(expected);
}

int ContainerFilling::Make(std::unique_ptr<GeneralAttribute>& attribute) {
    std::unique_ptr<Kest::Object> object(kind != nullptr ? kind->CreateObject() : nullptr);
    if (object == nullptr)
        return Error::MemoryFull;
    const Kest::Object& made = *object;
    if (&typeid(made) != checkedType) {
        if (dynamic_cast<const GeneralAttribute*>(&made) == nullptr)
            return Error::WrongCall;
        checkedType = &typeid(made);
    }
    attribute.reset(static_cast<GeneralAttribute*>(object.release()));
    return Error::None;
}

void ContainerFilling::Identify(std::unique_ptr<GeneralAttribute> attribute) {
    attributes.push_back(attribute.get());
    ODB::ObjectInfo& record = *attribute.release()->GetInfo();
    identities.Identify(ODB::Borrowed<ODB::Ref<ODB::Object>>(record));
}

void ContainerFilling::NoteKeys() {
    GeneralAttribute* const attribute = attributes.back();
    ODB::ObjectInfo& record = *attribute->GetInfo();
    const short index = attribute->GetIndex();
    if (keys.indexes.Find(index) == nullptr) {
        keys.indexes.Prepare(index);
        keys.indexes.Add(index, record);
    } else {
        indexClashes.push_back(attribute);
    }
    const std::uint32_t hash = Kest::HashIgnoringCase(attribute->GetName());
    if (keys.names.Find(attribute->GetName(), hash) == nullptr) {
        keys.names.Reserve(keys.names.GetSize() + 1);
        keys.names.Add(hash, record);
    } else {
        nameClashes.push_back(attribute);
    }
}

int ContainerFilling::ConnectAll() {
    for (GeneralAttribute* const attribute : indexClashes)
        if (const int status = Renumber(*attribute); status != 0)
            return status;
    for (GeneralAttribute* const attribute : nameClashes)
        if (const int status = Rename(*attribute); status != 0)
            return status;
    // Whoever hears of a completion may delete what is here: its memory stays until the end.
    const Kest::EventSource::Announcement announcing;
    while (connected < attributes.size()) {
        GeneralAttribute& attribute = *attributes[connected];
        if (const int status = ConnectNext(); status != 0)
            return status;
        if (!attribute.CheckAttribute())
            attribute.CorrectAttribute();
    }
    return Error::None;
}

// As AttributeContainer::GenerateUniqueIndex: without a free index the stored one stays, and clashes.
int ContainerFilling::Renumber(GeneralAttribute& attribute) {
    const short stored = attribute.GetIndex();
    const short index = keys.indexes.FindFree(std::max(stored, short{1}));
    if (index == 0)
        return Error::None;
    keys.indexes.Prepare(index);
    if (const int status = attribute.SetIndex(index); status != 0)
        return status;
    keys.indexes.Add(index, *attribute.GetInfo());
    if (ReadReport::IsWanted())
        ReadReport::Add({.kind = ReadReport::AttributeRenumbered,
                         .refId = container.GetRefId(),
                         .name = attribute.GetName(),
                         .index = stored,
                         .newIndex = index});
    return Error::None;
}

int ContainerFilling::Rename(GeneralAttribute& attribute) {
    const Kest::UniString stored = attribute.GetName();
    const Kest::UniString name = FindFreeName(stored, keys.numbers, [this](const Kest::UniString& candidate) {
        return keys.names.Find(candidate, Kest::HashIgnoringCase(candidate)) != nullptr;
    });
    if (const int status = attribute.SetName(name); status != 0)
        return status;
    keys.names.Reserve(keys.names.GetSize() + 1);
    keys.names.Add(Kest::HashIgnoringCase(name), *attribute.GetInfo());
    ReportRename(container.GetRefId(), stored, name, attribute.GetIndex());
    return Error::None;
}

int ContainerFilling::TakePlace() {
    const auto index = static_cast<unsigned int>(attributes.back()->GetIndex());
    if (const ODB::ConstRef<GeneralAttribute> earlier = container.GetConstAttribute(index)) {
        if (ReadReport::IsWanted())
            ReadReport::Add({.kind = ReadReport::RecordDropped,
                             .refId = container.GetRefId(),
                             .name = earlier->GetName(),
                             .index = earlier->GetIndex()});
        container.DeleteAttribute(index);
    }
    return ConnectNext();
}

int ContainerFilling::ConnectNext() {
    GeneralAttribute& attribute = *attributes[connected];
    attribute.Attach(container);
    const int status = AttributeContainer::GetAttributeAssociation().Connect(
        ODB::Borrowed<ODB::Ref<ODB::Object>>(*container.GetInfo()),
        ODB::Borrowed<ODB::Ref<ODB::Object>>(*attribute.GetInfo()));
    if (status == 0)
        ++connected;
    return status;
}

}   // namespace ADB
