#include <algorithm>
#include <cstdlib>
#include <utility>
#include <vector>

#include <Kest/CaseMapping.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeIterator.hpp>
#include <AttributeManager/IAttributeNewIndexTable.hpp>
#include <AttributeManager/IAttributeRegister.hpp>
#include <AttributeManager/IUsedAttrCollection.hpp>

#include "AttributeIndexTables.hpp"

namespace ADB {
namespace {

// Looks whether any reported reference is changed by a renumbering.
class RenumberedReferenceFinder : public IUsedAttrCollection {
public:
    explicit RenumberedReferenceFinder(const IAttributeNewIndexTable& indexTable)
        : table(indexTable),
          attributeRegister(::GetAttributeRegister()) {}

    void AddAttribute(unsigned int typeRefId, short index) override {
        if (found || attributeRegister == nullptr)
            return;
        const short newIndex = ::GetNewAttributeIndex(&table, attributeRegister->GetTypeIdByRefId(typeRefId), index);
        found = newIndex != 0 && std::abs(int{newIndex}) != std::abs(int{index});
    }
    void AddAttributes(unsigned int typeRefId, const short* indexes, std::size_t count) override {
        for (std::size_t place = 0; place < count && !found; ++place)
            AddAttribute(typeRefId, indexes[place]);
    }
    bool IsSatisfied() const override { return found; }

private:
    const IAttributeNewIndexTable& table;
    const IAttributeRegister* attributeRegister;
    bool found = false;
};

bool HasRenumberedReference(const GeneralAttribute& attribute, const IAttributeNewIndexTable& table) {
    RenumberedReferenceFinder finder(table);
    attribute.CollectUsedAttrs(finder);
    return finder.IsSatisfied();
}

bool IsSimilar(const GeneralAttribute& attribute, const ODB::ConstRef<GeneralAttribute>& probe) {
    if (attribute.GetClassInfo() != probe->GetClassInfo())
        return false;
    FieldMaskT<GeneralAttribute> differing(attribute.Compare(probe));
    for (const int field : {GeneralAttribute::NameField, GeneralAttribute::IndexField, GeneralAttribute::FlagsField,
                            GeneralAttribute::ModificationTimeField})
        differing.Clear(field);
    return differing.IsEmpty();
}

// The attributes in link order, or by index.
std::vector<ODB::ObjectInfo*> CollectUnnamed(const AttributeIndexTables& tables, bool byIndex) {
    const auto& association = AttributeContainer::GetAttributeAssociation();
    const ODB::ConstRef<ODB::Object> container(tables.scope);
    std::vector<ODB::ObjectInfo*> records;
    records.reserve(association.GetConnectionCount(container));
    if (byIndex && !tables.indexes.HasShadows()) {
        tables.indexes.ForEachHolder([&records](ODB::ObjectInfo& record) { records.push_back(&record); });
        return records;
    }
    ODB::Association1NUntyped::RightWalk walk(association, container);
    while (ODB::ObjectInfo* const record = walk.Next())
        records.push_back(record);
    if (byIndex)
        std::stable_sort(records.begin(), records.end(), [](const auto* one, const auto* other) {
            return AttributeOf(*one).GetIndex() < AttributeOf(*other).GetIndex();
        });
    return records;
}

}   // namespace

// `take` must not touch the container.
template <class Take>
void AttributeContainer::CollectAttributes(SortMethod method, SortOrder order, Take&& take) const {
    AttributeIndexTables* const tables = FindTables();
    if (tables == nullptr)
        return;
    std::vector<ODB::ObjectInfo*> records;
    if (method != SortByName)
        records = CollectUnnamed(*tables, method == SortByIndex);
    const std::vector<ODB::ObjectInfo*>& sorted = method == SortByName ? tables->GetSortedByName(*GetInfo()) : records;
    const bool backwards = (method == SortByName || method == SortByIndex) && order != Ascending;
    if (backwards)
        std::for_each(sorted.rbegin(), sorted.rend(), [&take](ODB::ObjectInfo* record) { take(*record); });
    else
        std::for_each(sorted.begin(), sorted.end(), [&take](ODB::ObjectInfo* record) { take(*record); });
}

AttributeContainer::AttributeIterator::AttributeIterator(const ODB::Ref<AttributeContainer>& container,
                                                         SortMethod method, SortOrder order) {
    if (!container)
        return;
    attributes.Reserve(container.GetConst()->GetAttributeNumber());
    container.GetConst()->CollectAttributes(
        method, order, [this](ODB::ObjectInfo& record) { attributes.Push(ODB::Ref<GeneralAttribute>(&record)); });
}

AttributeContainer::AttributeConstIterator::AttributeConstIterator(const ODB::ConstRef<AttributeContainer>& container,
                                                                   SortMethod method, SortOrder order) {
    if (!container)
        return;
    attributes.Reserve(container->GetAttributeNumber());
    container->CollectAttributes(
        method, order, [this](ODB::ObjectInfo& record) { attributes.Push(ODB::ConstRef<GeneralAttribute>(&record)); });
}

void AttributeContainer::EnumerateAttributes(const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const {
    GetAttributeAssociation().ForEachRight(ODB::Ref<AttributeContainer>(GetInfo()), call);
}

void AttributeContainer::EnumerateConstAttributes(
    const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const {
    GetAttributeAssociation().ForEachRight(ODB::ConstRef<AttributeContainer>(GetInfo()), call);
}

void AttributeContainer::EnumerateAttributes(SortMethod method, SortOrder order,
                                             const std::function<void(const ODB::Ref<GeneralAttribute>&)>& call) const {
    AttributeIterator iterator(ODB::Ref<AttributeContainer>(GetInfo()), method, order);
    for (; iterator != AttributeEnd(); ++iterator)
        if (*iterator)
            call(*iterator);
}

void AttributeContainer::EnumerateConstAttributes(
    SortMethod method, SortOrder order, const std::function<void(const ODB::ConstRef<GeneralAttribute>&)>& call) const {
    AttributeConstIterator iterator(ODB::ConstRef<AttributeContainer>(GetInfo()), method, order);
    for (; iterator != AttributeEnd(); ++iterator)
        if (*iterator)
            call(*iterator);
}

ODB::ConstRef<GeneralAttribute> AttributeContainer::FindSimilar(ODB::ConstRef<GeneralAttribute> probe) const {
    if (!probe)
        return ODB::NullRef;
    if (!probe->GetName().IsEmpty()) {
        const ODB::ConstRef<GeneralAttribute> sameName = GetConstAttribute(probe->GetName());
        if (sameName && IsSimilar(*sameName, probe))
            return sameName;
    }
    AttributeConstIterator iterator(ODB::ConstRef<AttributeContainer>(GetInfo()), SortByIndex, Ascending);
    for (; iterator != AttributeEnd(); ++iterator)
        if (IsSimilar(**iterator, probe))
            return *iterator;
    return ODB::NullRef;
}

void AttributeContainer::ReindexAttributeReferences(IAttributeNewIndexTable* table, bool onlyClientCreated,
                                                    Kest::HashSet<short>* reindexed) const {
    if (table == nullptr)
        return;
    EnumerateAttributes([&](const ODB::Ref<GeneralAttribute>& attribute) {
        const GeneralAttribute& reading = *attribute.GetConst();
        if ((onlyClientCreated && !reading.IsClientCreated()) || !HasRenumberedReference(reading, *table))
            return;
        attribute->ReindAttr(table);
        if (attribute)   // whoever heard of it may have deleted the attribute
            attribute->UpdateModificationTime();
        if (reindexed != nullptr && attribute)
            reindexed->Add(attribute.GetConst()->GetIndex());
    });
}

}   // namespace ADB
