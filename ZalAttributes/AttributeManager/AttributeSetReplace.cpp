#include <memory>
#include <utility>
#include <vector>

#include <Kest/EventSource.hpp>

#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>
#include <AttributeManager/IAttributeFilter.hpp>
#include <AttributeManager/IAttributeRegister.hpp>

#include "AttributeIndexTables.hpp"
#include "CatchMemoryFull.hpp"

namespace ADB {
namespace {

ODB::IdSpace& SpaceOf(const AttributeSet& set) {
    return set.GetIdSpace() != nullptr ? *set.GetIdSpace() : *ODB::GetDefaultIdSpace();
}

// The content that an attribute had, which it gets back unless the change is kept.
class ContentGuard {
public:
    explicit ContentGuard(const ODB::Ref<GeneralAttribute>& changing)
        : attribute(changing),
          content(attribute.GetConst()->CreateIsolatedState()) {}
    ~ContentGuard() {
        if (isStored && attribute)
            content->ReturnTo(*attribute.GetLogicalConst());
    }
    ContentGuard(const ContentGuard&) = delete;
    ContentGuard& operator=(const ContentGuard&) = delete;

    int Store() {
        const int status = attribute.GetConst()->StoreIsolatedState(content.get());
        isStored = status == Error::None;
        return status;
    }
    void KeepChange() noexcept { isStored = false; }

private:
    const ODB::Ref<GeneralAttribute>& attribute;
    const std::unique_ptr<ODB::Object::IsolatedState> content;
    bool isStored = false;
};

// Finds the objects of the source's id space by the ids of own attributes, in their link order: nearly always the next
// attribute of the source's container is the one that is asked for.
class Counterparts {
public:
    explicit Counterparts(const ODB::ConstRef<AttributeContainer>& container)
        : walk(AttributeContainer::GetAttributeAssociation(), container),
          next(walk.Next()) {}

    ODB::ConstRef<ODB::Object> Find(const ODB::ObjectInfo& own, const ODB::IdSpace& space) {
        if (IsNext(own.GetId(), space)) {
            ++foundInOrder;
            return ODB::ConstRef<ODB::Object>(TakeNext());
        }
        ODB::ConstRef<ODB::Object> found = space.FindConst(own.GetId());
        while (found && next != nullptr && TakeNext() != found.GetInfo())
            ;   // what the source has besides
        return found;
    }

    // How many attributes of the source were found, of those that stand in the same order.
    std::size_t CountInOrder() const noexcept { return foundInOrder; }

    // Whoever hears of what `call` does may delete what is next.
    template <class Call>
    void HoldDuring(Call&& call) {
        const ODB::ConstRef<ODB::Object> held(next != nullptr ? next : ODB::ConstRef<ODB::Object>().GetInfo());
        call();
        if (!held.GetInfo()->IsAlive())
            next = walk.Next();
    }

private:
    bool IsNext(const ODB::Id& id, const ODB::IdSpace& space) const noexcept {
        return next != nullptr && next->GetId() == id && next->GetIdSpace() == &space && next->IsAlive();
    }
    ODB::ObjectInfo* TakeNext() noexcept { return std::exchange(next, walk.Next()); }

    ODB::Association1NUntyped::RightWalk walk;
    ODB::ObjectInfo* next;
    std::size_t foundInOrder = 0;
};

}   // namespace

// A set that is brought in line with another. Attributes that are deleted tell their observers, who may do anything:
// after that everything is looked at afresh.
class AttributeSet::Replacement {
public:
    Replacement(const ODB::Ref<AttributeSet>& changedSet, const ODB::ConstRef<AttributeSet>& sourceSet,
                IAttributeFilter* sourceFilter, ODB::Delta* changesMade)
        : set(changedSet),
          source(sourceSet),
          filter(sourceFilter),
          delta(changesMade) {}

    int Run();

private:
    bool AreSetsAlive() const { return set && source; }
    void NoteStatus(int newStatus) { status = status != Error::None ? status : newStatus; }
    void AlignType(short typeId);
    int Align(ODB::ObjectInfo& record, Counterparts& counterparts);
    bool TakesPart(const ODB::ConstRef<ODB::Object>& counterpart) const;
    int Change(const ODB::Ref<GeneralAttribute>& own, const ODB::ConstRef<GeneralAttribute>& counterpart);
    int Delete(const ODB::Ref<GeneralAttribute>& own);
    int AddNewcomers(short typeId);
    bool IsNewcomer(const ODB::ConstRef<GeneralAttribute>& attribute) const;
    int Add(const ODB::Ref<AttributeContainer>& container, const ODB::ConstRef<GeneralAttribute>& newcomer);
    int Record(const ODB::Ref<AttributeContainer>& container, const ODB::Ref<GeneralAttribute>& added);

    const ODB::Ref<AttributeSet>& set;
    const ODB::ConstRef<AttributeSet>& source;
    IAttributeFilter* const filter;
    ODB::Delta* const delta;
    int status = Error::None;
    std::vector<bool> hasCounterparts;   // by type: whether all attributes of the source have one
    bool wasHeard = false;               // by anybody who may have made that untrue
    ODB::Id lastRight;                   // of the container that is being added to; known from the first addition on
};

int AttributeSet::Replacement::Run() {
    const IAttributeRegister* const types = ::GetAttributeRegister();
    const int typeCount = types != nullptr ? types->GetAttributeTypeNumber() : 0;
    hasCounterparts.resize(static_cast<std::size_t>(typeCount) + 1);
    for (int typeId = 1; typeId <= typeCount; ++typeId)
        AlignType(static_cast<short>(typeId));
    for (int typeId = 1; typeId <= typeCount && AreSetsAlive(); ++typeId)
        NoteStatus(CatchMemoryFull([&] { return AddNewcomers(static_cast<short>(typeId)); }));
    return AreSetsAlive() ? status : int{Error::NullArgument};
}

void AttributeSet::Replacement::AlignType(short typeId) {
    if (!AreSetsAlive())
        return;
    const ODB::ConstRef<AttributeContainer> container = set.GetConst()->GetConstAttributeContainer(typeId);
    const ODB::ConstRef<AttributeContainer> from = source->GetConstAttributeContainer(typeId);
    Counterparts counterparts(from);
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(), container);
    while (ODB::ObjectInfo* const record = AreSetsAlive() ? walk.Next() : nullptr)
        NoteStatus(CatchMemoryFull([&] { return Align(*record, counterparts); }));
    // Whoever got his content back had taken keys of others.
    if (const AttributeIndexTables* const tables = status != 0 && container ? container->FindTables() : nullptr)
        tables->ShowHidden();
    hasCounterparts[static_cast<std::size_t>(typeId)] =
        from && counterparts.CountInOrder() == from->GetAttributeNumber();
}

// Of two classes one could not even ask whether they are equal.
int AttributeSet::Replacement::Align(ODB::ObjectInfo& record, Counterparts& counterparts) {
    const ODB::ConstRef<ODB::Object> found = counterparts.Find(record, SpaceOf(*source));
    if (!TakesPart(found)) {
        int deleting = Error::None;
        counterparts.HoldDuring([&] { deleting = Delete(ODB::Ref<GeneralAttribute>(&record)); });
        return deleting;
    }
    if (found->GetClassInfo() != record.GetObject()->GetClassInfo())
        return Error::None;
    const ODB::ConstRef<GeneralAttribute> counterpart(found.GetInfo());
    if (counterpart->IsEqual(ODB::Borrowed<ODB::ConstRef<GeneralAttribute>>(record)))
        return Error::None;
    return Change(ODB::Ref<GeneralAttribute>(&record), counterpart);
}

// The filter is not asked about what is no attribute.
bool AttributeSet::Replacement::TakesPart(const ODB::ConstRef<ODB::Object>& counterpart) const {
    if (!counterpart || filter == nullptr)
        return counterpart.IsAlive();
    const ODB::ConstRef<GeneralAttribute> attribute = ODB::DynamicCast<GeneralAttribute>(counterpart);
    return !attribute || filter->Accepts(attribute);
}

int AttributeSet::Replacement::Change(const ODB::Ref<GeneralAttribute>& own,
                                      const ODB::ConstRef<GeneralAttribute>& counterpart) {
    ContentGuard before(own);
    if (const int storing = before.Store(); storing != Error::None)
        return storing;
    AttributeContainer::Overwrite(own, counterpart);
    const int recording = delta != nullptr ? delta->AddModifiedObject(own) : int{Error::None};
    if (recording == Error::None)
        before.KeepChange();
    return recording;
}

int AttributeSet::Replacement::Delete(const ODB::Ref<GeneralAttribute>& own) {
    const ODB::Ref<AttributeContainer> container = own.GetConst()->GetAttributeContainer();
    if (delta != nullptr) {
        delta->ReserveOne();
        if (const int recording = delta->AddDeletedObject(*own.GetConst()->GetClassInfo(), own.GetId()); recording != 0)
            return recording;
        delta->AddDeletedLink(AttributeContainer::GetAttributeAssociation(), container.GetId(), own.GetId());
    }
    own.GetLogicalConst()->Detach(*container.GetLogicalConst());
    wasHeard = wasHeard || own.GetConst()->GetObserverCount() > 0;
    ODB::Database::DeleteObject(own);
    return Error::None;
}

int AttributeSet::Replacement::AddNewcomers(short typeId) {
    if (hasCounterparts[static_cast<std::size_t>(typeId)] && !wasHeard)
        return Error::None;
    const ODB::ConstRef<AttributeContainer> from = source->GetConstAttributeContainer(typeId);
    if (!from)
        return Error::None;
    const ODB::Ref<AttributeContainer> into = set.GetConst()->GetAttributeContainer(typeId);
    lastRight = ODB::NullId;
    const int last = from->GetAttributeMaximumIndex();
    for (int index = 1; index <= last; ++index) {
        const ODB::ConstRef<GeneralAttribute> attribute = from->GetConstAttribute(static_cast<unsigned int>(index));
        if (!IsNewcomer(attribute))
            continue;
        if (const int adding = Add(into, attribute); adding != Error::None)
            return adding;
    }
    return Error::None;
}

bool AttributeSet::Replacement::IsNewcomer(const ODB::ConstRef<GeneralAttribute>& attribute) const {
    return attribute && !SpaceOf(*set.GetConst()).Contains(attribute.GetId()) &&
           (filter == nullptr || filter->Accepts(attribute));
}

int AttributeSet::Replacement::Add(const ODB::Ref<AttributeContainer>& container,
                                   const ODB::ConstRef<GeneralAttribute>& newcomer) {
    if (!container)
        return Error::MemoryFull;
    if (delta != nullptr && lastRight.IsNull()) {
        ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(), container);
        while (const ODB::ObjectInfo* const record = walk.Next())
            lastRight = record->GetId();
    }
    const ODB::Ref<GeneralAttribute> added = container.GetLogicalConst()->NewAttribute(
        newcomer, newcomer->GetIndex(), newcomer.GetId().GetGuid(), &SpaceOf(*set.GetConst()));
    if (!added)
        return Error::MemoryFull;
    const int recording = CatchMemoryFull([&] { return Record(container, added); });
    if (recording != Error::None) {
        added.GetLogicalConst()->Detach(*container.GetLogicalConst());
        ODB::Database::DeleteObject(added);
    }
    return recording;
}

int AttributeSet::Replacement::Record(const ODB::Ref<AttributeContainer>& container,
                                      const ODB::Ref<GeneralAttribute>& added) {
    if (delta == nullptr)
        return Error::None;
    delta->ReserveOne();
    if (const int recording = delta->AddNewObject(added); recording != Error::None)
        return recording;
    delta->AddNewLink(AttributeContainer::GetAttributeAssociation(), container.GetId(), added.GetId(), lastRight);
    lastRight = added.GetId();
    return Error::None;
}

int AttributeSet::Replace(ODB::ConstRef<AttributeSet> source, IAttributeFilter* filter, ODB::Delta* delta) {
    if (!source)
        return Error::NullArgument;
    if (&SpaceOf(*source) == &SpaceOf(*this))
        return Error::WrongCall;
    const Kest::EventSource::Announcement held;
    return CatchMemoryFull([&] { return Replacement(ODB::Ref<AttributeSet>(this), source, filter, delta).Run(); });
}

}   // namespace ADB
