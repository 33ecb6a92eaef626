#include <algorithm>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeSet.hpp>

#include "AttributeIndexTables.hpp"
#include "CatchMemoryFull.hpp"
#include "RegisteredTypeId.hpp"

namespace ADB {

/// What there is to tell of a delta: what is needed for it is noted before the merge, told after it.
///
/// Nothing of the telling needs memory, or it is done without: the delta is merged by then.
class AttributeSet::DeltaAnnouncement {
public:
    /// \throws std::bad_alloc
    DeltaAnnouncement(const AttributeSet& announcingSet, const ODB::IdSpace& idSpace, const ODB::Delta& mergedDelta);

    void Tell();

private:
    struct Departure {
        short typeId;
        short index;
    };
    struct Arrival {
        short typeId;
        ODB::Ref<GeneralAttribute> attribute;
    };
    struct Change {
        ODB::Ref<GeneralAttribute> attribute;
        std::unique_ptr<const GeneralAttribute> before;
    };
    struct Choice {
        ODB::Ref<AttributeContainer> container;
        ODB::Ref<GeneralAttribute> active;
        bool wasAlive;
    };

    static ODB::Ref<GeneralAttribute> FindAttribute(const ODB::IdSpace& space, const ODB::Id& id);
    static const ODB::Ref<GeneralAttribute>& ActiveOf(const ODB::Ref<AttributeContainer>& container) {
        return container.GetConst()->activeAttribute;
    }
    short FindTypeId(const ODB::Ref<GeneralAttribute>& attribute) const;
    void ShowHidden() const;
    void GatherArrivals();
    void TellDeparture(const Departure& departure) const;
    void TellChange(const Change& change) const;
    void TellChoice(const Choice& choice) const;
    static FieldMask Compare(const Change& change) noexcept;

    const AttributeSet& set;
    const ODB::IdSpace& space;
    const ODB::Delta& delta;
    std::vector<Departure> departures;
    std::vector<Arrival> arrivals;
    std::vector<Change> changes;
    std::vector<Choice> choices;
};

AttributeSet::DeltaAnnouncement::DeltaAnnouncement(const AttributeSet& announcingSet, const ODB::IdSpace& idSpace,
                                                   const ODB::Delta& mergedDelta)
    : set(announcingSet),
      space(idSpace),
      delta(mergedDelta) {
    arrivals.reserve(delta.GetNewObjectCount());
    for (const ODB::Delta::DeletedObject& object : delta.GetDeletedObjects())
        if (const ODB::Ref<GeneralAttribute> attribute = FindAttribute(space, object.id))
            if (const short typeId = FindTypeId(attribute); typeId != 0)
                departures.push_back({typeId, attribute.GetConst()->GetIndex()});
    for (const ODB::Delta::StoredObject& object : delta.GetModifiedObjects()) {
        const ODB::Ref<GeneralAttribute> attribute = FindAttribute(space, object.id);
        if (!attribute || FindTypeId(attribute) == 0)
            continue;
        std::unique_ptr<const GeneralAttribute> before(static_cast<GeneralAttribute*>(attribute.GetConst()->Clone()));
        if (before == nullptr)
            throw std::bad_alloc();
        changes.push_back({attribute, std::move(before)});
    }
    set.EnumerateAttributeContainers([this](const ODB::Ref<AttributeContainer>& container) {
        choices.push_back({container, ActiveOf(container), ActiveOf(container).IsAlive()});
    });
}

ODB::Ref<GeneralAttribute> AttributeSet::DeltaAnnouncement::FindAttribute(const ODB::IdSpace& space,
                                                                          const ODB::Id& id) {
    return ODB::DynamicCast<GeneralAttribute>(space.Find(id));
}

// The type under which the set's observers know the attribute; 0 for one that is none of theirs.
short AttributeSet::DeltaAnnouncement::FindTypeId(const ODB::Ref<GeneralAttribute>& attribute) const {
    const ODB::ConstRef<AttributeContainer> container = attribute.GetConst()->GetConstAttributeContainer();
    if (!container || container->GetConstAttributeSet().Get() != &set)
        return 0;
    return RegisteredTypeIdOf(container->GetRefId());
}

void AttributeSet::DeltaAnnouncement::Tell() {
    ShowHidden();
    GatherArrivals();
    for (const Departure& departure : departures)
        TellDeparture(departure);
    for (const Arrival& arrival : arrivals)
        set.NotifyObservers(arrival.typeId, arrival.attribute, Created, FieldMask());
    for (const Change& change : changes)
        TellChange(change);
    for (const Choice& choice : choices)
        TellChoice(choice);
}

// Undoing a clash gives back what was taken.
void AttributeSet::DeltaAnnouncement::ShowHidden() const {
    for (const Choice& choice : choices)
        if (choice.container)
            if (const AttributeIndexTables* const tables = choice.container.GetConst()->FindTables())
                tables->ShowHidden();
}

// Containers, also those of other sets and of types that nobody registered, observe what came before anybody is told of
// anything.
void AttributeSet::DeltaAnnouncement::GatherArrivals() {
    for (const ODB::Delta::StoredObject& object : delta.GetNewObjects()) {
        const ODB::Ref<GeneralAttribute> attribute = FindAttribute(space, object.id);
        if (!attribute)
            continue;
        if (const ODB::Ref<AttributeContainer> container = attribute.GetConst()->GetAttributeContainer())
            attribute.GetLogicalConst()->Attach(*container.GetLogicalConst());
        if (const short typeId = FindTypeId(attribute); typeId != 0)
            arrivals.push_back({typeId, attribute});
    }
    std::stable_sort(arrivals.begin(), arrivals.end(),
                     [](const Arrival& one, const Arrival& other) { return one.typeId < other.typeId; });
}

void AttributeSet::DeltaAnnouncement::TellDeparture(const Departure& departure) const {
    set.EnumerateObservers([&departure](Kest::EventObserver& observer) {
        static_cast<AttributeSetObserver&>(observer).AttributeDeleted(departure.typeId, departure.index);
    });
}

// As the setters tell it, so that whoever follows edits follows undo as well.
void AttributeSet::DeltaAnnouncement::TellChange(const Change& change) const {
    if (!change.attribute)   // deleted by an observer
        return;
    const FieldMaskT<GeneralAttribute> changed(Compare(change));
    if (changed.IsEmpty())
        return;
    GeneralAttribute& attribute = *change.attribute.GetLogicalConst();
    if (changed.Test(GeneralAttribute::UserDataField)) {
        char** oldTable = nullptr;
        change.before->memo.GetRegTbl(&oldTable);   // null when it cannot be had
        attribute.TakeSnapshot(oldTable);
    }
    const Kest::EventSource::Announcement both;   // an observer that hears the first may delete the attribute
    if (changed.Test(GeneralAttribute::NameField))
        attribute.TellOldName(change.before->name);
    attribute.NotifyObservers(&changed);
}

// Without memory for a mask of many classes the general fields stand for all.
FieldMask AttributeSet::DeltaAnnouncement::Compare(const Change& change) noexcept {
    try {
        return change.before->Compare(change.attribute);
    } catch (const std::bad_alloc&) {
        FieldMaskT<GeneralAttribute> all;
        for (int field = GeneralAttribute::NameField; field <= GeneralAttribute::UserDataField; ++field)
            all.Set(field);
        return all;
    }
}

void AttributeSet::DeltaAnnouncement::TellChoice(const Choice& choice) const {
    if (!choice.container || choice.container.GetConst()->GetConstAttributeSet().Get() != &set)
        return;
    const ODB::Ref<GeneralAttribute>& active = ActiveOf(choice.container);
    const bool isSame = active.IsAlive() == choice.wasAlive && (!choice.wasAlive || active == choice.active);
    const short typeId = RegisteredTypeIdOf(choice.container.GetConst()->GetRefId());
    if (!isSame && typeId != 0)
        set.NotifyObservers(typeId, active ? active : ODB::Ref<GeneralAttribute>(), ActiveChanged, FieldMask());
}

int AttributeSet::ApplyDelta(const ODB::Delta& delta) {
    const Kest::EventSource::Announcement held;   // whoever is told may delete the set
    return CatchMemoryFull([&]() -> int {
        ODB::IdSpace& space = GetIdSpace() != nullptr ? *GetIdSpace() : *ODB::GetDefaultIdSpace();
        DeltaAnnouncement announcement(*this, space, delta);
        if (const int status = ODB::MergeDelta(space, delta); status != Error::None)
            return status;
        announcement.Tell();
        return Error::None;
    });
}

}   // namespace ADB
