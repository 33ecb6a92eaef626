#include <AttributeManager/AttributeSet.hpp>

#include <memory>

#include <Kest/ClassManager.hpp>

#include <ODB/IdSpace.hpp>
#include <ODB/Properties.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeTypeIdIndex.hpp>

#include "StreamVersions.hpp"

namespace ADB {
namespace {

const Kest::ClassRegistration<AttributeSet> registration;
[[maybe_unused]] const AttributeSet::ContainerAssociation& associationFromTheStart =
    AttributeSet::GetContainerAssociation();   // so that whoever reads links finds it

void Tell(AttributeSetObserver& observer, short typeId, const ODB::ConstRef<GeneralAttribute>& attribute,
          AttributeSet::Status status, const FieldMask& fields) {
    switch (status) {
    case AttributeSet::Created:
        return observer.AttributeCreated(typeId, attribute);
    case AttributeSet::Changed:
        return observer.AttributeChanged(typeId, attribute, fields);
    case AttributeSet::Deleted:
        return observer.AttributeDeleted(typeId, attribute->GetIndex());
    case AttributeSet::TypeRestored:
        return observer.AttributeTypeRestored(typeId);
    case AttributeSet::ActiveChanged:
        return observer.ActiveAttributeChanged(typeId, ODB::Ref<GeneralAttribute>(attribute));
    }
}

bool NeedsAttribute(AttributeSet::Status status) {
    return status == AttributeSet::Created || status == AttributeSet::Changed || status == AttributeSet::Deleted;
}

}   // namespace

AttributeSet::AttributeSet() : Lum::Object(GetClassInfoStatic()) {}

AttributeSet::AttributeSet(const ODB::IdSpace* idSpace, const Kest::Guid& guid) : AttributeSet() {
    ODB::IdSpace* const space = idSpace != nullptr ? const_cast<ODB::IdSpace*>(idSpace) : ODB::GetDefaultIdSpace();
    const ODB::Id wanted(guid);
    ODB::Ref<AttributeSet>(this).Init(space->Contains(wanted) ? ODB::NullId : wanted, space);
}

AttributeSet::AttributeSet(const AttributeSet& other)
    : Lum::Object(other),
      Kest::EventSource(other),
      Kest::EventObserver(other),
      ZalUtil::ICustomXMLRootObject(other),
      fills(other.fills) {}

AttributeSet::~AttributeSet() {
    LeaveDatabase();   // while its attributes can still be told
}

const Kest::ClassInfo* AttributeSet::GetClassInfoStatic() {
    static const Kest::ClassInfo info("ADB::AttributeSet", Kest::Guid("{5B62B92D-E916-4136-B00D-526EE21191CE}"),
                                      StreamVersions::Today.set, Lum::Object::GetClassInfoStatic(),
                                      {&Undo::NotUndoable}, &AttributeSet::ConstructorFunction,
                                      StreamVersions::Older<&StreamVersions::Row::set>);
    return &info;
}

Kest::Object* AttributeSet::ConstructorFunction() {
    return new AttributeSet;
}

AttributeSet* AttributeSet::Clone() const {
    return new AttributeSet(*this);
}

bool AttributeSet::IsolatedState::ReturnTo(ODB::Object& object) noexcept {
    static_cast<AttributeSet&>(object).TakeFills(fills);
    return true;
}

AttributeSet::IsolatedState* AttributeSet::CreateIsolatedState() const {
    return new IsolatedState;
}

int AttributeSet::StoreIsolatedState(ODB::Object::IsolatedState* state) const {
    auto* const own = dynamic_cast<IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = Lum::Object::StoreIsolatedState(state); status != 0)
        return status;
    own->fills = fills;
    return Error::None;
}

int AttributeSet::RestoreIsolatedState(const ODB::Object::IsolatedState* state) {
    const auto* const own = dynamic_cast<const IsolatedState*>(state);
    if (own == nullptr)
        return Error::WrongCall;
    if (const int status = Lum::Object::RestoreIsolatedState(state); status != 0)
        return status;
    TakeFills(own->fills);
    return Error::None;
}

std::size_t AttributeSet::GetIsolatedSize() const {
    return sizeof(IsolatedState);
}

const AttributeSet::ContainerAssociation& AttributeSet::GetContainerAssociation() {
    // Lives as long as the process: sets in statics of the host are destroyed after those of this library.
    static const ContainerAssociation& association = []() -> const ContainerAssociation& {
        using Property = ODB::AssociationProperty;
        auto* const made = new ContainerAssociation(ODB::Id("{4DD85FDF-172F-4FB5-8AE1-0EA563373DAA}"),
                                                    Property::Ownership | Property::DeletePropagation |
                                                        Property::RightIndexBase | Undo::NotUndoableAssociation);
        made->SetRightIndexFactory([] { return std::make_unique<AttributeTypeIdIndex>(); });
        return *made;
    }();
    return association;
}

void AttributeSet::TakeFills(const Fills& newFills) {
    const ODB::ModificationGate gate(*this);
    fills = newFills;
}

void AttributeSet::SetFill(short Fills::*fill, short index) const {
    if (fills.*fill == index)
        return;
    const ODB::ModificationGate gate(*this);
    fills.*fill = index;
}

void AttributeSet::SetSolidFill(short index) const {
    SetFill(&Fills::solid, index);
}

void AttributeSet::SetEmptyFill(short index) const {
    SetFill(&Fills::empty, index);
}

short AttributeSet::Fills::*AttributeSet::FindPercentFill(PercentFillTypes type) noexcept {
    switch (type) {
    case PercentFill25:
        return &Fills::percent25;
    case PercentFill50:
        return &Fills::percent50;
    case PercentFill75:
        return &Fills::percent75;
    }
    return nullptr;
}

short AttributeSet::GetPercentFill(PercentFillTypes type) const noexcept {
    short Fills::*const fill = FindPercentFill(type);
    return fill != nullptr ? fills.*fill : short{0};
}

void AttributeSet::SetPercentFill(PercentFillTypes type, short index) const {
    if (short Fills::*const fill = FindPercentFill(type))
        SetFill(fill, index);
}

void AttributeSet::Attach(AttributeSetObserver& observer) {
    Kest::EventSource::Attach(observer);
}

void AttributeSet::Detach(AttributeSetObserver& observer) {
    Kest::EventSource::Detach(observer);
}

void AttributeSet::NotifyObservers(short typeId, ODB::ConstRef<GeneralAttribute> attribute, Status status,
                                   const FieldMask& fields) const {
    EnumerateObservers([&](Kest::EventObserver& observer) {
        if (attribute || !NeedsAttribute(status))   // an observer before may have deleted it
            Tell(static_cast<AttributeSetObserver&>(observer), typeId, attribute, status, fields);
    });
}

}   // namespace ADB
