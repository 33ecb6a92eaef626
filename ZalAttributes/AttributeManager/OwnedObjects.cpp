#include "OwnedObjects.hpp"

#include <algorithm>
#include <new>

#include <ODB/Delta.hpp>

namespace ADB {
namespace {

// The object with everything that it owns, owners first.
ODB::RefList<ODB::Object> GetOwnedObjects(ODB::ObjectInfo& record) {
    return ODB::DetermineOwnedObjectSet({ODB::Ref<ODB::Object>(&record)});
}

}   // namespace

bool CopyOwnedObjects(ODB::ObjectInfo& record, const Kest::UniString& deltaName, ODB::IdSpace& target) {
    try {
        ODB::Delta delta(deltaName, record.GetIdSpace());
        const int status =
            ODB::CreateDelta({}, GetOwnedObjects(record), &delta, ODB::LinkBoundary::Inside, ODB::ObjectFilter());
        return status == 0 && ODB::MergeDelta(target, delta) == 0;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

void MoveOwnedObjects(ODB::ObjectInfo& record, ODB::IdSpace& target) {
    ODB::IdSpace* const source = record.GetIdSpace();
    const ODB::RefList<ODB::Object> objects = GetOwnedObjects(record);
    if (std::any_of(objects.begin(), objects.end(),
                    [&target](const auto& object) { return target.Contains(object.GetId()); }))
        return;
    std::size_t moved = 0;
    try {
        for (; moved < objects.GetSize(); ++moved)
            target.MoveObject(objects[moved]);
    } catch (const std::bad_alloc&) {
        while (moved > 0)
            source->MoveObject(objects[--moved]);   // the room that it left is still there
        throw;
    }
}

}   // namespace ADB
