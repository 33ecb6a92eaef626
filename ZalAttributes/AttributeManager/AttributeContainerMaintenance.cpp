#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeIndex.hpp>

#include "OwnedObjects.hpp"
#include "SetCopy.hpp"

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

// Deltas carry no observers: the copy observes its attributes anew.
ODB::Ref<AttributeContainer> AttributeContainer::CopyToIdSpace(ODB::IdSpace* target) const {
    return CopyWithOwned(
        *this, u"AttributeContainer::attributeDelta", target,
        [this](ODB::IdSpace& space) { return CopyContainer(*this, space, CopyIds::Same); },
        [](const ODB::Ref<AttributeContainer>& copy) { copy.GetLogicalConst()->AttachAttributeObservers(); });
}

void AttributeContainer::MoveToIdSpace(ODB::IdSpace* target) {
    if (target != nullptr && target != GetIdSpace())
        MoveOwnedObjects(*GetInfo(), *target);
}

}   // namespace ADB
