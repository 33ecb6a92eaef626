#include <AttributeManager/GeneralAttributeObserver.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace ADB {

GeneralAttributeObserver::~GeneralAttributeObserver() = default;

void GeneralAttributeObserver::NameChanged(ODB::Ref<GeneralAttribute>, const Kest::UniString&) {}

void GeneralAttributeObserver::NameChanged(ODB::ConstRef<GeneralAttribute>) {}

void GeneralAttributeObserver::IndexChanged(ODB::ConstRef<GeneralAttribute>) {}

void GeneralAttributeObserver::FlagsChanged(ODB::ConstRef<GeneralAttribute>) {}

void GeneralAttributeObserver::ModificationTimeChanged(ODB::ConstRef<GeneralAttribute>) {}

void GeneralAttributeObserver::UserDataChanged(unsigned int, unsigned int) {}

void GeneralAttributeObserver::AttributeChanged(ODB::ConstRef<GeneralAttribute>, const FieldMask&) {}

}   // namespace ADB
