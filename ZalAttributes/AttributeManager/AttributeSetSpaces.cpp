#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/AttributeTypeIdIndex.hpp>

#include "OwnedObjects.hpp"
#include "SetCopy.hpp"

namespace ADB {

// Deltas carry no observers: the containers of the copy observe their attributes anew.
ODB::Ref<AttributeSet> AttributeSet::CopyToIdSpace(ODB::IdSpace* target) const {
    return CopyWithOwned(
        *this, u"AttributeSet::attributeDelta", target,
        [this](ODB::IdSpace& space) { return CopySet(*this, space, CopyIds::Same); },
        [](const ODB::Ref<AttributeSet>& copy) {
            copy.GetConst()->EnumerateAttributeContainers([](const ODB::Ref<AttributeContainer>& container) {
                container.GetLogicalConst()->AttachAttributeObservers();
            });
        });
}

void AttributeSet::MoveToIdSpace(ODB::IdSpace* target) {
    if (target != nullptr && target != GetIdSpace())
        MoveOwnedObjects(*GetInfo(), *target);
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
