#include <Lum/Properties.hpp>

namespace Lum {

constinit const Kest::ClassProperty ClientCreatableObject("Lum::ClientCreatableObject");
constinit const Kest::ClassProperty ClientOnly("Lum::ClientOnly");
constinit const Kest::ClassProperty HasLumSpecificData("Lum::HasLumSpecificData");
constinit const Kest::ClassProperty LumClass("Lum::LumClass");
constinit const ODB::CustomAssociationPropertyValue RightLockPropagation("Lum::RightLockPropagation");
constinit const ODB::CustomAssociationPropertyValue
    RightResolvableObjectSetPropagation("Lum::RightResolvableObjectSetPropagation");

}   // namespace Lum
