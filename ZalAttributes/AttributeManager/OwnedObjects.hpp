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

/// CopyToIdSpace of a container or set: \p attachObservers has the copy observe what it holds, and may throw.
template <class Object, class AttachObservers>
ODB::Ref<Object> CopyWithOwned(const Object& object, const Kest::UniString& deltaName, ODB::IdSpace* target,
                               AttachObservers&& attachObservers) {
    if (target == nullptr || target == object.GetIdSpace())
        return ODB::NullRef;
    if (target->Contains(object.GetId()))
        return ODB::DynamicCast<Object>(target->Find(object.GetId()));
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
