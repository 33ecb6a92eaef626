#include <algorithm>
#include <new>

#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeTypeIdIndex.hpp>

namespace ADB {
namespace {

// The containers observe their attributes; deltas carry no observers. Returns false when memory runs out.
bool AttachObservers(const AttributeSet& set) {
    try {
        set.EnumerateAttributeContainers([](const ODB::Ref<AttributeContainer>& container) {
            container.GetLogicalConst()->AttachAttributeObservers();
        });
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

bool CopyObjects(const ODB::RefList<ODB::Object>& objects, ODB::IdSpace* source, ODB::IdSpace& target) {
    ODB::Delta delta(u"AttributeSet::attributeDelta", source);
    const int status = ODB::CreateDelta({}, objects, &delta, ODB::LinkBoundary::Inside, ODB::ObjectFilter());
    return status == Error::None && ODB::MergeDelta(target, delta) == Error::None;
}

}   // namespace

ODB::RefList<ODB::Object> AttributeSet::GetOwnedObjects() const {
    return ODB::DetermineOwnedObjectSet({ODB::Ref<ODB::Object>(GetInfo())});
}

ODB::Ref<AttributeSet> AttributeSet::CopyToIdSpace(ODB::IdSpace* target) const {
    if (target == nullptr || target == GetIdSpace())
        return ODB::NullRef;
    if (target->Contains(GetId()))
        return ODB::DynamicCast<AttributeSet>(target->Find(GetId()));
    try {
        if (!CopyObjects(GetOwnedObjects(), GetIdSpace(), *target))
            return ODB::NullRef;
    } catch (const std::bad_alloc&) {
        return ODB::NullRef;
    }
    const ODB::Ref<AttributeSet> copy = ODB::DynamicCast<AttributeSet>(target->Find(GetId()));
    if (AttachObservers(*copy.GetConst()))
        return copy;
    ODB::Database::DeleteObject(copy);
    return ODB::NullRef;
}

void AttributeSet::MoveToIdSpace(ODB::IdSpace* target) {
    ODB::IdSpace* const source = GetIdSpace();
    if (target == nullptr || target == source)
        return;
    const ODB::RefList<ODB::Object> objects = GetOwnedObjects();
    if (std::any_of(objects.begin(), objects.end(),
                    [target](const auto& object) { return target->Contains(object.GetId()); }))
        return;
    try {
        for (const ODB::Ref<ODB::Object>& object : objects)
            target->MoveObject(object);
    } catch (const std::bad_alloc&) {
        for (const ODB::Ref<ODB::Object>& object : objects)   // where they were there is room
            if (object.GetIdSpace() == target)
                source->MoveObject(object);
        throw;
    }
}

bool AttributeSet::CheckInvariants() const {
    bool right = true;
    EnumerateConstAttributeContainers([&](const ODB::ConstRef<AttributeContainer>& container) {
        right = right && container.GetIdSpace() == GetIdSpace() && container->CheckInvariants();
    });
    const auto* const index =
        static_cast<const AttributeTypeIdIndex*>(GetContainerAssociation().FindRightIndex(*GetInfo()));
    return right && (index == nullptr || index->CheckInvariants(ODB::ConstRef<ODB::Object>(GetInfo())));
}

}   // namespace ADB
