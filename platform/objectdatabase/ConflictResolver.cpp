#include <ODB/ConflictResolver.hpp>

namespace ODB {

ConflictResolver::~ConflictResolver() = default;

ConflictResolver::Decision ConflictResolver::NewObjectExists(const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision ConflictResolver::ModifiedObjectMissing(const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision ConflictResolver::ModifiedObjectDiffersInClass(const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision ConflictResolver::DeletedObjectMissing(const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision ConflictResolver::DeletedObjectOwnsMore(const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision ConflictResolver::LinkDiffers(const Association1NUntyped&, const Id&, const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision ConflictResolver::NeighbourMissing(const Association1NUntyped&, const Id&, const Id&) {
    return Decision::Refuse;
}

ConflictResolver::Decision UniformConflictResolver::NewObjectExists(const Id&) {
    return decision;
}

ConflictResolver::Decision UniformConflictResolver::ModifiedObjectMissing(const Id&) {
    return decision;
}

ConflictResolver::Decision UniformConflictResolver::ModifiedObjectDiffersInClass(const Id&) {
    return decision;
}

ConflictResolver::Decision UniformConflictResolver::DeletedObjectMissing(const Id&) {
    return decision;
}

ConflictResolver::Decision UniformConflictResolver::DeletedObjectOwnsMore(const Id&) {
    return decision;
}

ConflictResolver::Decision UniformConflictResolver::LinkDiffers(const Association1NUntyped&, const Id&, const Id&) {
    return decision;
}

ConflictResolver::Decision UniformConflictResolver::NeighbourMissing(const Association1NUntyped&, const Id&,
                                                                     const Id&) {
    return decision;
}

}   // namespace ODB
