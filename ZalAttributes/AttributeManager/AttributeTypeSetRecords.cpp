#include <memory>
#include <utility>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeTypeSet.hpp>

#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

using Clones = Kest::Array<std::unique_ptr<GeneralAttribute>>;

// All or, for want of memory, none.
void HandOver(Clones& clones, Kest::Array<GeneralAttribute*>& attributes) {
    attributes.Reserve(attributes.GetSize() + clones.GetSize());
    for (std::unique_ptr<GeneralAttribute>& clone : clones)
        attributes.Push(clone.release());
}

// Fails for want of memory: there is nothing to clone, or not of the class whose fields are wanted.
std::unique_ptr<GeneralAttribute> CloneLike(const AttributeSet& set, short typeId, const GeneralAttribute& model) {
    std::unique_ptr<GeneralAttribute> clone(set.Clone(typeId, model.GetIndex()));
    return clone != nullptr && clone->GetClassInfo() == model.GetClassInfo() ? std::move(clone) : nullptr;
}

}   // namespace

int AttributeTypeSet::GetNewAttributes(Kest::Array<GeneralAttribute*>* attributes) const {
    if (attributes == nullptr)
        return Error::NullArgument;
    return CatchMemoryFull([&]() -> int {
        Clones clones;
        for (const short index : records.added) {
            const ODB::ConstRef<GeneralAttribute> attribute = FindAttribute(index);
            std::unique_ptr<GeneralAttribute> clone(attribute ? static_cast<GeneralAttribute*>(attribute->Clone())
                                                              : nullptr);
            if (clone == nullptr)
                return Error::MemoryFull;
            clones.Push(std::move(clone));
        }
        HandOver(clones, *attributes);
        return Error::None;
    });
}

int AttributeTypeSet::GetModifiedAttributes(ODB::ConstRef<AttributeSet> reference,
                                            Kest::Array<GeneralAttribute*>* attributes) const {
    if (!reference || attributes == nullptr)
        return Error::NullArgument;
    return CatchMemoryFull([&]() -> int {
        Clones clones;
        for (const auto& [index, fields] : records.modified) {
            if (fields.IsEmpty() || records.added.Contains(index) || records.deleted.Contains(index))
                continue;
            const ODB::ConstRef<GeneralAttribute> edited = FindAttribute(index);
            if (!edited)
                continue;
            std::unique_ptr<GeneralAttribute> clone = CloneLike(*reference, typeId, *edited);
            if (clone == nullptr)
                return Error::MemoryFull;
            clone->Synchronize(edited, fields);
            clones.Push(std::move(clone));
        }
        HandOver(clones, *attributes);
        return Error::None;
    });
}

int AttributeTypeSet::GetDeletedAttributes(Kest::Array<short>* indexes) const {
    if (indexes == nullptr)
        return Error::NullArgument;
    return CatchMemoryFull([&]() -> int {
        indexes->Reserve(indexes->GetSize() + records.deleted.GetSize());
        for (const short index : records.deleted)
            indexes->Push(index);
        return Error::None;
    });
}

int AttributeTypeSet::GetReplacedAttributes(Kest::HashTable<short, short>* indexes) const {
    if (indexes == nullptr)
        return Error::NullArgument;
    return CatchMemoryFull([&]() -> int {
        *indexes = records.replaced;
        return Error::None;
    });
}

IAttributeNewIndexTable* AttributeTypeSet::GenerateAttributeNewIndexTable() const {
    IAttributeNewIndexTable* table = CreateAttributeNewIndexTable();
    if (table == nullptr || records.replaced.IsEmpty())
        return table;
    const int status = CatchMemoryFull([&]() -> int {
        table->SetAttributeTypeAsUsed(typeId);
        for (const auto& [oldIndex, newIndex] : records.replaced)
            if (table->SetNewIndex(typeId, oldIndex, newIndex) == Error::MemoryFull)
                return Error::MemoryFull;
        return Error::None;
    });
    if (status != Error::None)
        DisposeAttributeNewIndexTable(&table);
    return table;
}

}   // namespace ADB
