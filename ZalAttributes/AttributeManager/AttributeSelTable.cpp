#include <AttributeManager/AttributeSelTable.hpp>

#include <utility>

#include <AttributeManager/AttributeErrors.hpp>

#include "CatchMemoryFull.hpp"
#include "InterfaceLifetime.hpp"

namespace ADB {

void AttributeSelTable::Selection::Add(short index) {
    if (!members.Add(index))
        return;
    try {
        order.Push(index);
    } catch (...) {
        members.Delete(index);
        throw;
    }
}

void AttributeSelTable::Selection::Remove(short index) {
    if (members.Delete(index))
        order.Delete(order.Find(index));
}

int AttributeSelTable::SelectAttribute(short typeId, short index) {
    if (typeId < 1)
        return Error::UnknownType;
    return CatchMemoryFull([&]() -> int {
        if (Selection* const selection = types.Find(typeId)) {
            selection->Add(index);
        } else {
            Selection fresh;   // complete before the type has one
            fresh.Add(index);
            types.Put(typeId, std::move(fresh));
        }
        return Error::None;
    });
}

int AttributeSelTable::DeselectAttribute(short typeId, short index) {
    if (typeId < 1)
        return Error::UnknownType;
    if (Selection* const selection = types.Find(typeId))
        selection->Remove(index);
    return Error::None;
}

bool AttributeSelTable::IsAttributeSelected(short typeId, short index) const {
    const Selection* const selection = types.Find(typeId);   // a type id below 1 never has any
    return selection != nullptr && selection->Contains(index);
}

const Kest::Array<short>* AttributeSelTable::FindSelected(short typeId) const {
    const Selection* const selection = types.Find(typeId);
    return selection != nullptr ? &selection->GetInOrder() : nullptr;
}

}   // namespace ADB

ADB::IAttributeSelTable* CreateAttributeSelTable() {
    return ADB::CreateInterface<ADB::AttributeSelTable>();
}

void DisposeAttributeSelTable(ADB::IAttributeSelTable** table) {
    ADB::DisposeInterface(table);
}
