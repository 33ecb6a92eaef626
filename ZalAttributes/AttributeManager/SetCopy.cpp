#include "SetCopy.hpp"

#include <memory>
#include <new>
#include <utility>

#include <ODB/Database.hpp>

#include <AttributeManager/AttributeIndex.hpp>

#include "AttributeIndexTables.hpp"

namespace ADB {
namespace {

ODB::Id IdFor(const ODB::Object& source, CopyIds ids) {
    return ids == CopyIds::Same ? source.GetId() : ODB::NullId;
}

// Whether the object has no links but those to `rights` right objects and, with `isOwned`, to an owner.
bool HasOnlyLinks(const ODB::Object& object, std::size_t rights, bool isOwned) {
    const ODB::LinkCount links = ODB::CountLinks(*object.GetInfo());
    return links.asLeft == rights && (!isOwned || links.asRight == 1);
}

}   // namespace

ContainerCopy::ContainerCopy(const AttributeContainer& source, AttributeContainer& target, CopyIds wantedIds)
    : from(source),
      into(target),
      ids(wantedIds) {}

ContainerCopy::~ContainerCopy() {
    for (GeneralAttribute* const clone : clones)
        delete clone;
}

bool ContainerCopy::Run() {
    if (from.GetAttributeNumber() == 0)
        return true;
    if (!CloneAll())
        return false;
    AttributeContainer::GetAttributeAssociation().ConnectNewcomers(
        ODB::Borrowed<ODB::Ref<ODB::Object>>(*into.GetInfo()), records, [this] { FillIndex(); });
    clones.clear();
    return true;
}

bool ContainerCopy::CloneAll() {
    const std::size_t count = from.GetAttributeNumber();
    clones.reserve(count);
    records.reserve(count);
    into.GetIdSpace()->Reserve(count);
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(),
                                              ODB::ConstRef<AttributeContainer>(&from));
    while (const ODB::ObjectInfo* const record = walk.Next())
        if (!Clone(AttributeOf(*record)))
            return false;
    return true;
}

bool ContainerCopy::Clone(const GeneralAttribute& attribute) {
    if (!HasOnlyLinks(attribute, 0, true))
        return false;
    auto* const clone = static_cast<GeneralAttribute*>(attribute.Clone());
    if (clone == nullptr)
        return false;
    clones.push_back(clone);
    if (clone->GetClassInfo() != attribute.GetClassInfo())
        return false;
    ODB::ObjectInfo* const record = into.GetIdSpace()->Identify(*clone->GetInfo(), IdFor(attribute, ids));
    if (record == nullptr)
        return false;
    records.push_back(record);
    clone->Attach(into);
    if (attribute.GetInfo() == from.activeAttribute.GetInfo())
        active = ODB::Ref<GeneralAttribute>(record);
    return true;
}

void ContainerCopy::FillIndex() {
    AttributeIndexTables* const tables = into.FindTables();
    const AttributeIndexTables* const model = from.FindTables();
    if (tables == nullptr || model == nullptr)
        throw std::bad_alloc();
    if (model->HasOnlyHolders(records.size())) {
        tables->CopyFrom(*model, records);
        return;
    }
    try {
        for (ODB::ObjectInfo* const record : records)
            into.attributeIndex->ObjectCreated(ODB::Borrowed<ODB::Ref<ODB::Object>>(*record));
    } catch (...) {
        into.attributeIndex->Clear();
        throw;
    }
}

void ContainerCopy::CarryActive() {
    const ODB::ModificationGate gate(into);
    into.activeAttribute = active;
    if (!active && from.activeAttribute && ids == CopyIds::Same)   // a stranger, who may have a copy of its own there
        into.activeAttribute.Init(from.activeAttribute.GetId(), into.GetIdSpace());
}

void ContainerCopy::DropPassingMarks() const noexcept {
    for (const ODB::ObjectInfo* const record : records)
        AttributeOf(*record).MarkDisabled(false);
}

namespace {

// Null when the container cannot be copied by itself.
std::unique_ptr<AttributeContainer> MakeCopy(const AttributeContainer& source, ODB::IdSpace& target, CopyIds ids) {
    std::unique_ptr<AttributeContainer> copy(source.Clone());
    if (!ODB::Ref<AttributeContainer>(copy.get()).Init(IdFor(source, ids), &target))
        return nullptr;
    ContainerCopy content(source, *copy, ids);
    if (!content.Run())
        return nullptr;
    content.CarryActive();
    content.DropPassingMarks();
    return copy;
}

std::size_t CountObjects(const ODB::ConstRefList<AttributeContainer>& containers) {
    std::size_t count = 1 + containers.GetSize();
    for (const ODB::ConstRef<AttributeContainer>& container : containers)
        count += container->GetAttributeNumber();
    return count;
}

template <class Object>
ODB::Ref<Object> HandOver(std::unique_ptr<Object> copy) {
    const ODB::Ref<Object> handedOver(copy.release());
    ODB::Database::AddObject(handedOver, false);
    return handedOver;
}

}   // namespace

std::optional<ODB::Ref<AttributeContainer>> CopyContainer(const AttributeContainer& source, ODB::IdSpace& target,
                                                          CopyIds ids) {
    if (!HasOnlyLinks(source, source.GetAttributeNumber(), false))
        return std::nullopt;
    std::unique_ptr<AttributeContainer> copy = MakeCopy(source, target, ids);
    if (copy == nullptr)
        return std::nullopt;
    return HandOver(std::move(copy));
}

std::optional<ODB::Ref<AttributeSet>> CopySet(const AttributeSet& source, ODB::IdSpace& target, CopyIds ids) {
    const ODB::ConstRefList<AttributeContainer> containers = source.GetAttributeContainerConstList();
    if (!HasOnlyLinks(source, containers.GetSize(), false))
        return std::nullopt;
    target.Reserve(CountObjects(containers));
    std::unique_ptr<AttributeSet> copy(source.Clone());
    if (!ODB::Ref<AttributeSet>(copy.get()).Init(IdFor(source, ids), &target))
        return std::nullopt;
    for (const ODB::ConstRef<AttributeContainer>& container : containers) {
        if (!HasOnlyLinks(*container, container->GetAttributeNumber(), true))
            return std::nullopt;
        std::unique_ptr<AttributeContainer> part = MakeCopy(*container, target, ids);
        if (part == nullptr || copy->AddAttributeContainer(ODB::Ref<AttributeContainer>(part.get())) != 0)
            return std::nullopt;
        part.release();   // the set's now
    }
    return HandOver(std::move(copy));
}

}   // namespace ADB
