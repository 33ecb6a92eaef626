#include <AttributeManager/AttributeTypeSetObserver.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

AttributeTypeSetObserver::~AttributeTypeSetObserver() = default;

void AttributeTypeSetObserver::AttributeCreated(ODB::ConstRef<GeneralAttribute>) {}

void AttributeTypeSetObserver::AttributeChanged(ODB::ConstRef<GeneralAttribute>, const FieldMask&) {}

void AttributeTypeSetObserver::AttributeDeleted(short) {}

void AttributeTypeSetObserver::AttributeRecreated() {}

}   // namespace ADB
