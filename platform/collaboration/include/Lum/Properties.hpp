#pragma once

#include <Kest/ClassProperty.hpp>

#include <ODB/AssociationProperty.hpp>

#include <Lum/Export.hpp>

namespace Lum {

/// Objects of the class may be made by a client of a shared project.
extern LUM_API const Kest::ClassProperty ClientCreatableObject;

/// Objects of the class stay with the client of a shared project.
extern LUM_API const Kest::ClassProperty ClientOnly;

/// Objects of the class hold data that make sense in a shared project only, see ILumSpecificDataContainer.
extern LUM_API const Kest::ClassProperty HasLumSpecificData;

/// Objects of the class take part in shared projects.
extern LUM_API const Kest::ClassProperty LumClass;

/// A lock on the left object holds for the right ones.
extern LUM_API const ODB::CustomAssociationPropertyValue RightLockPropagation;

/// The left object resolves the conflicts of the right ones, see IResolvableObjectSet.
extern LUM_API const ODB::CustomAssociationPropertyValue RightResolvableObjectSetPropagation;

}   // namespace Lum
