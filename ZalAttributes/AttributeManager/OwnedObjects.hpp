#pragma once

#include <new>

#include <Kest/UniString.hpp>

#include <ODB/Database.hpp>
#include <ODB/IdSpace.hpp>
#include <ODB/Ref.hpp>

namespace ADB {

/// Copies the object of \p record with what it owns into \p target, through a delta of the name \p deltaName.
/// \returns false, with \p target unchanged, when an id is taken there or memory runs out
bool CopyOwnedObjects(ODB::ObjectInfo& record, const Kest::UniString& deltaName, ODB::IdSpace& target);

/// Moves the object of \p record with what it owns to \p target, unless an id is taken there.
/// \throws std::bad_alloc with nothing changed
void MoveOwnedObjects(ODB::ObjectInfo& record, ODB::IdSpace& target);

/// CopyToIdSpace of a container or set: through a delta, unless \p copyFast gives the copy.
/// \param copyFast called with the target; returns an optional reference, or throws std::bad_alloc
/// \param attachObservers has the copy made by the delta observe what it holds; may throw std::bad_alloc
template <class Object, class CopyFast, class AttachObservers>
ODB::Ref<Object> CopyWithOwned(const Object& object, const Kest::UniString& deltaName, ODB::IdSpace* target,
                               CopyFast&& copyFast, AttachObservers&& attachObservers) {
    if (target == nullptr || object.GetIdSpace() == nullptr || target == object.GetIdSpace())
        return ODB::NullRef;
    if (target->Contains(object.GetId()))
        return ODB::DynamicCast<Object>(target->Find(object.GetId()));
    try {
        if (const auto copy = copyFast(*target))
            return *copy;
    } catch (const std::bad_alloc&) {
        return ODB::NullRef;
    }
    if (!CopyOwnedObjects(*object.GetInfo(), deltaName, *target))
        return ODB::NullRef;
    const ODB::Ref<Object> copy = ODB::DynamicCast<Object>(target->Find(object.GetId()));
    try {
        attachObservers(copy);
        return copy;
    } catch (const std::bad_alloc&) {
        ODB::Database::DeleteObject(copy);
        return ODB::NullRef;
    }
}

}   // namespace ADB
