#include <ODB/Properties.hpp>

namespace ODB {

constinit const Kest::ClassProperty Pinned("ODB::Pinned");
constinit const Kest::ClassProperty NoDifferenceGeneration("ODB::NoDifferenceGeneration");
constinit const Kest::ClassProperty ObjectsAreLogicalConstModifiableWithoutModificationScope(
    "ODB::ObjectsAreLogicalConstModifiableWithoutModificationScope");

}   // namespace ODB

namespace Undo {

constinit const Kest::ClassProperty NotUndoable("Undo::NotUndoable");
constinit const ODB::CustomAssociationPropertyValue NotUndoableAssociation("Undo::NotUndoableAssociation");

}   // namespace Undo
