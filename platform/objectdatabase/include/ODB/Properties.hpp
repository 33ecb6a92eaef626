#pragma once

#include <Kest/ClassProperty.hpp>

#include <ODB/AssociationProperty.hpp>
#include <ODB/Export.hpp>

namespace ODB {

/// Objects of the class stay in memory while their database lives.
extern ODB_API const Kest::ClassProperty Pinned;

/// Objects of the class take no part in differences between states of a database.
extern ODB_API const Kest::ClassProperty NoDifferenceGeneration;

/// Objects of the class may be changed in ways that do not count as changes, outside any modification scope.
extern ODB_API const Kest::ClassProperty ObjectsAreLogicalConstModifiableWithoutModificationScope;

}   // namespace ODB

namespace Undo {

/// Objects of the class are left alone by the generic undo; their owner records them.
extern ODB_API const Kest::ClassProperty NotUndoable;

/// Links of the association are left alone by the generic undo.
extern ODB_API const ODB::CustomAssociationPropertyValue NotUndoableAssociation;

}   // namespace Undo
