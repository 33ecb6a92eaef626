#include <new>

#include <Kest/UniqueName.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

#include "AttributeIndexTables.hpp"
#include "CatchMemoryFull.hpp"
#include "RegisteredTypeId.hpp"
#include "SetCopy.hpp"

namespace ADB {
namespace {

constexpr short LastIndex = 32766;

// Keys that an attribute which is alone with them has after it was added.
bool MayKeepKeys(const GeneralAttribute& attribute) {
    return attribute.GetIndex() >= 1 && attribute.GetIndex() <= LastIndex &&
           Kest::ContainsNonWhitespace(attribute.GetName());
}

}   // namespace

// One type on its way into another set. Whoever hears of it may do anything: everything is held by references, and
// looked at afresh.
class AttributeSet::TypeCopy {
public:
    TypeCopy(const ODB::ConstRef<AttributeContainer>& source, const ODB::Ref<AttributeContainer>& targetContainer,
             const ODB::Ref<AttributeSet>& targetSet, short copiedTypeId)
        : from(source),
          into(targetContainer),
          target(targetSet),
          typeId(copiedTypeId) {}

    /// \throws std::bad_alloc
    int Run();

private:
    bool IsPossible() const { return from && into && target; }
    void AnnounceDeletions() const;
    bool MayAddAtOnce() const;
    bool AddAtOnce() const;
    int AddOneByOne() const;
    void CarryActiveAttribute() const;

    const ODB::ConstRef<AttributeContainer>& from;
    const ODB::Ref<AttributeContainer>& into;
    const ODB::Ref<AttributeSet>& target;
    const short typeId;
};

int AttributeSet::TypeCopy::Run() {
    AnnounceDeletions();
    if (into)
        into.GetLogicalConst()->ResetContainer();
    if (const int status = AddAtOnce() ? int{Error::None} : AddOneByOne(); status != Error::None)
        return status;
    CarryActiveAttribute();
    if (!IsPossible())
        return Error::NullArgument;
    into.GetLogicalConst()->SetContainerLastUpdatedStamp(from->GetLastAttributeModificationStamp());
    return Error::None;
}

void AttributeSet::TypeCopy::AnnounceDeletions() const {
    if (target.GetConst()->GetObserverCount() == 0)
        return;
    into.GetConst()->EnumerateConstAttributes([this](const ODB::ConstRef<GeneralAttribute>& attribute) {
        if (target)
            target.GetConst()->NotifyObservers(typeId, attribute, Deleted, FieldMask());
    });
}

// Whether adding one by one would change no index and no name, and nobody would hear of it.
bool AttributeSet::TypeCopy::MayAddAtOnce() const {
    if (!IsPossible() || target.GetConst()->GetObserverCount() > 0 || into.GetIdSpace() != target.GetIdSpace() ||
        into.GetConst()->GetAttributeNumber() > 0)
        return false;
    const AttributeIndexTables* const tables = from->FindTables();
    if (tables == nullptr || !tables->HasOnlyHolders(from->GetAttributeNumber()))
        return false;
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(), from);
    while (const ODB::ObjectInfo* const record = walk.Next())
        if (!MayKeepKeys(AttributeOf(*record)) ||
            AttributeOf(*record).GetAttributeTypeId() != into.GetConst()->GetRefId())
            return false;
    return true;
}

// Without memory for all of them, or a clone of one, those before are there nevertheless: they come one by one.
bool AttributeSet::TypeCopy::AddAtOnce() const {
    if (!MayAddAtOnce())
        return false;
    try {
        return ContainerCopy(*from, *into.GetLogicalConst(), CopyIds::Fresh).Run();
    } catch (const std::bad_alloc&) {
        return false;
    }
}

int AttributeSet::TypeCopy::AddOneByOne() const {
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(), from);
    while (ODB::ObjectInfo* const record = walk.Next()) {
        if (!IsPossible())
            return Error::NullArgument;
        int status = Error::None;
        target.GetLogicalConst()->NewAttribute(ODB::ConstRef<GeneralAttribute>(record), &status, true, false,
                                               Kest::Guid());
        if (status != Error::None)
            return status;
    }
    return Error::None;
}

// What was chosen is carried over, not what stands in while nothing is.
void AttributeSet::TypeCopy::CarryActiveAttribute() const {
    if (!IsPossible() || !from->activeAttribute || !from->Owns(from->activeAttribute))
        return;
    const auto index = static_cast<unsigned int>(from->activeAttribute.GetConst()->GetIndex());
    if (const ODB::Ref<GeneralAttribute> counterpart = into.GetConst()->GetAttribute(index))
        into.GetLogicalConst()->SetActiveAttribute(counterpart);
}

int AttributeSet::CopyAttributeTypeToSet(ODB::Ref<AttributeSet> target, short typeId) const {
    if (!target)
        return Error::NullArgument;
    const ODB::ConstRef<AttributeContainer> from = GetConstAttributeContainer(typeId);
    const ODB::Ref<AttributeContainer> into = target.GetConst()->GetAttributeContainer(typeId);
    if (!from || !into)
        return Error::UnknownType;
    if (from == into)
        return Error::None;
    return CatchMemoryFull([&] { return TypeCopy(from, into, target, typeId).Run(); });
}

int AttributeSet::CopyAttributeSet(ODB::Ref<AttributeSet> target) const {
    if (!target)
        return Error::NullArgument;
    const ODB::ConstRef<AttributeSet> self(this);
    const IAttributeRegister* const types = ::GetAttributeRegister();
    const int typeCount = types != nullptr ? types->GetAttributeTypeNumber() : 0;
    int first = Error::None;
    for (int typeId = 1; typeId <= typeCount; ++typeId) {
        if (!self)   // whoever hears of a type may delete the set
            return first != Error::None ? first : int{Error::NullArgument};
        const int status = CopyAttributeTypeToSet(target, static_cast<short>(typeId));
        first = first != Error::None ? first : status;
    }
    return first;
}

ODB::ConstRef<GeneralAttribute> AttributeSet::FindSimilar(ODB::ConstRef<GeneralAttribute> attribute) const {
    if (!attribute)
        return ODB::NullRef;
    const AttributeContainer* const container = FindContainer(RegisteredTypeIdOf(attribute->GetAttributeTypeId()));
    return container != nullptr ? container->FindSimilar(attribute) : ODB::ConstRef<GeneralAttribute>();
}

}   // namespace ADB
