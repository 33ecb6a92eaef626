#include <cstddef>
#include <new>

#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeIndex.hpp>

namespace ADB {

void AttributeContainer::ResetContainer() {
    ODB::ModificationGate gate(*this);
    lastUpdatedStamp = 0;
    activeAttribute = ODB::NullRef;
    gate.Close();
    GetAttributeAssociation().ClearAsLeft(ODB::Ref<AttributeContainer>(this));
}

void AttributeContainer::AttachAttributeObservers() {
    EnumerateAttributes(
        [this](const ODB::Ref<GeneralAttribute>& attribute) { attribute.GetLogicalConst()->Attach(*this); });
}

void AttributeContainer::LookupExternalDataHandlers(ZalUtil::ICBOwnerFound* callback) const {
    EnumerateConstAttributes(SortByIndex, Ascending, [callback](const ODB::ConstRef<GeneralAttribute>& attribute) {
        attribute->LookupExternalDataHandlers(callback);
    });
}

void AttributeContainer::DeleteExternalDataHandlers(const ZalUtil::OwnerList& owners) {
    EnumerateAttributes(SortByIndex, Ascending, [&owners](const ODB::Ref<GeneralAttribute>& attribute) {
        attribute->DeleteExternalDataHandlers(owners);
    });
}

bool AttributeContainer::CheckInvariants() const {
    bool observed = true;
    EnumerateConstAttributes(
        [&](const ODB::ConstRef<GeneralAttribute>& attribute) { observed = observed && attribute->IsAttached(*this); });
    const auto* const index = static_cast<const AttributeIndex*>(GetAttributeAssociation().FindRightIndex(*GetInfo()));
    return observed && (index == nullptr || index->CheckInvariants());
}

ODB::RefList<ODB::Object> AttributeContainer::GetOwnedObjects() const {
    return ODB::DetermineOwnedObjectSet({ODB::Ref<ODB::Object>(GetInfo())});
}

ODB::Ref<AttributeContainer> AttributeContainer::CopyToIdSpace(ODB::IdSpace* target) const {
    if (target == nullptr || target == GetIdSpace())
        return ODB::NullRef;
    if (target->Contains(GetId()))
        return ODB::DynamicCast<AttributeContainer>(target->Find(GetId()));
    ODB::Ref<AttributeContainer> copy;
    try {
        ODB::Delta delta(u"AttributeContainer::attributeDelta", GetIdSpace());
        const int status =
            ODB::CreateDelta({}, GetOwnedObjects(), &delta, ODB::LinkBoundary::Inside, ODB::ObjectFilter());
        if (status != 0 || ODB::MergeDelta(*target, delta) != 0)
            return ODB::NullRef;
        copy = ODB::DynamicCast<AttributeContainer>(target->Find(GetId()));
        copy.GetLogicalConst()->AttachAttributeObservers();
    } catch (const std::bad_alloc&) {
        ODB::Database::DeleteObject(copy);
        return ODB::NullRef;
    }
    return copy;
}

void AttributeContainer::MoveToIdSpace(ODB::IdSpace* target) {
    ODB::IdSpace* const source = GetIdSpace();
    if (target == nullptr || target == source)
        return;
    const ODB::RefList<ODB::Object> owned = GetOwnedObjects();
    for (const ODB::Ref<ODB::Object>& object : owned)
        if (target->Contains(object.GetId()))
            return;
    std::size_t moved = 0;
    try {
        for (; moved < owned.GetSize(); ++moved)
            target->MoveObject(owned[moved]);
    } catch (const std::bad_alloc&) {
        while (moved > 0)
            source->MoveObject(owned[--moved]);   // the room that it left is still there
        throw;
    }
}

}   // namespace ADB
