#include "AttributeKeyChange.hpp"

#include <Kest/CaseMapping.hpp>

#include <AttributeManager/AttributeContainer.hpp>

#include "AttributeIndexTables.hpp"
#include "IndexClashLog.hpp"

namespace ADB {

AttributeKeyChange::AttributeKeyChange(GeneralAttribute& changing, const Kest::UniString& newName, short newIndex)
    : AttributeKeyChange(changing, newName, newIndex, Kest::HashIgnoringCase(newName)) {}

AttributeKeyChange::AttributeKeyChange(GeneralAttribute& changing, const Kest::UniString& newName, short newIndex,
                                       std::uint32_t newNameHash)
    : attribute(changing),
      index(Prepare(changing, newIndex)),
      oldIndex(changing.GetIndex()),
      renames(changing.GetName() != newName),
      newHash(newNameHash),
      gate(changing) {
    if (index == nullptr || !renames)
        return;
    oldHash = Kest::HashIgnoringCase(attribute.GetName());
    index->tables->numbers.Forget(attribute.GetName());
}

// Makes the room that the new keys may need, before anything is changed.
AttributeIndex* AttributeKeyChange::Prepare(const GeneralAttribute& changing, short newIndex) {
    AttributeIndex* const index = FindIndex(changing);
    if (index != nullptr) {
        if (newIndex != changing.GetIndex())
            index->tables->indexes.Prepare(newIndex);
        index->tables->names.Reserve(index->tables->names.GetSize() + 1);
    }
    return index;
}

AttributeIndex* AttributeKeyChange::FindIndex(const GeneralAttribute& attribute) noexcept {
    if (attribute.GetIdSpace() == nullptr)   // what a container owns has an id
        return nullptr;
    const auto& association = AttributeContainer::GetAttributeAssociation();
    const ODB::ObjectInfo* const container = association.FindLeft(*attribute.GetInfo());
    return container != nullptr
               ? static_cast<AttributeIndex*>(association.FindRightIndexForChange(*container, attribute))
               : nullptr;
}

void AttributeKeyChange::Close() noexcept {
    if (index != nullptr)
        MoveKeys();
    gate.Close();
}

void AttributeKeyChange::MoveKeys() noexcept {
    ODB::ObjectInfo& record = *attribute.GetInfo();
    AttributeIndexTables& tables = *index->tables;
    if (attribute.GetIndex() != oldIndex) {
        tables.indexes.Remove(oldIndex, record);
        LogIfOther(&LogModifiedIndexClash, record, tables.FindByIndex(attribute.GetIndex()));
        tables.indexes.Add(attribute.GetIndex(), record);
    } else {
        tables.TakeIndex(record);   // a clash in the index is logged before one in the name
    }
    if (!renames)
        return;
    tables.NoteMoved(record);
    tables.names.Remove(oldHash, record);
    LogIfOther(&LogModifiedNameClash, record, tables.names.Add(newHash, record));
}

}   // namespace ADB
