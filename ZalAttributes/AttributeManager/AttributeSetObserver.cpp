#include <AttributeManager/AttributeSetObserver.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

AttributeSetObserver::~AttributeSetObserver() = default;

void AttributeSetObserver::AttributeCreated(short, ODB::ConstRef<GeneralAttribute>) {}

void AttributeSetObserver::AttributeChanged(short, ODB::ConstRef<GeneralAttribute>, const FieldMask&) {}

void AttributeSetObserver::AttributeDeleted(short, short) {}

void AttributeSetObserver::ActiveAttributeChanged(short, const ODB::Ref<GeneralAttribute>&) {}

void AttributeSetObserver::AttributeTypeRestored(short) {}

}   // namespace ADB
