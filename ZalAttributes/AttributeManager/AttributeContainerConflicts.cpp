#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include <Kest/CaseMapping.hpp>
#include <Kest/DebugOutput.hpp>
#include <Kest/EventSource.hpp>
#include <Kest/Logger.hpp>
#include <Kest/UniqueName.hpp>

#include <ODB/AssociationManager.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <Lum/Properties.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/IAttributeNewIndexTable.hpp>

#include "AttributeIndexTables.hpp"
#include "CatchMemoryFull.hpp"
#include "ContainerRelay.hpp"
#include "FreeIndexes.hpp"
#include "FreeName.hpp"
#include "LogCategory.hpp"
#include "RegisteredTypeId.hpp"

namespace ADB {
namespace {

// Calls `call` with each attribute that the object owns, in link order; it must not change anything.
template <class Call>
void ForEachOwnedAttribute(const ODB::RefBase& owner, Call&& call) {
    const ODB::ConstRef<ODB::Object> object(owner.GetInfo());
    if (ODB::DynamicCast<AttributeContainer>(object)) {
        ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(), object);
        while (ODB::ObjectInfo* const record = walk.Next())
            call(*record);
        return;
    }
    for (const ODB::Ref<ODB::Object>& owned : ODB::DetermineOwnedObjectSet({ODB::Ref<ODB::Object>(object)}))
        if (ODB::DynamicCast<GeneralAttribute>(owned))
            call(*owned.GetInfo());
}

bool HasClientCreated(const AttributeContainer& container) {
    ODB::Association1NUntyped::RightWalk walk(AttributeContainer::GetAttributeAssociation(),
                                              ODB::ConstRef<AttributeContainer>(&container));
    while (const ODB::ObjectInfo* const record = walk.Next())
        if (AttributeOf(*record).IsClientCreated())
            return true;
    return false;
}

// What was done to attributes of one container, as far as it is listed.
class ChangeList {
public:
    explicit ChangeList(const char* listTitle) : title(listTitle) { entries.reserve(MostEntries); }

    // Makes the entry, if it is to be listed, while that can still fail.
    template <class Make>
    Kest::UniString Prepare(Make&& make) const {
        return entries.size() < MostEntries ? make() : Kest::UniString();
    }
    void Add(Kest::UniString&& entry) noexcept {
        if (entries.size() < MostEntries)
            entries.push_back(std::move(entry));
        ++count;
    }
    bool IsEmpty() const noexcept { return count == 0; }

    void AppendTo(Kest::UniString& text) const {
        if (IsEmpty())
            return;
        text.Append(Kest::UniString::Printf("\n    %s ClientCreated attributes: ", title));
        for (std::size_t place = 0; place < entries.size(); ++place) {
            if (place > 0)
                text.Append(u", ");
            text.Append(entries[place]);
        }
        if (count > entries.size())
            text.Append(Kest::UniString::Printf(" and %u more...", static_cast<unsigned int>(count - entries.size())));
    }

private:
    static constexpr std::size_t MostEntries = 10;

    const char* title;
    std::vector<Kest::UniString> entries;
    std::size_t count = 0;
};

// The attributes of one side by their names: as the container's own index knows them, or, where that does not know all
// bearers, as they were added. What has died is not found.
class NameBearers {
public:
    using FindTables = AttributeIndexTables* (*)(const AttributeContainer&);

    void Ask(const ODB::ConstRef<AttributeContainer>& indexed, FindTables find) {
        container = indexed;
        findTables = find;
    }
    bool AsksIndex() const { return findTables != nullptr; }

    void ReserveOne() { keys.Reserve(keys.GetSize() + 1); }
    // Is found rather than those added before under the same name.
    void Add(ODB::ObjectInfo& attribute) noexcept {
        keys.Add(Kest::HashIgnoringCase(AttributeOf(attribute).GetName()), attribute);
    }

    const GeneralAttribute* Find(const Kest::UniString& name, std::uint32_t hash) const {
        const ODB::ObjectInfo* found = nullptr;
        if (!AsksIndex())
            found = keys.Find(name, hash);
        else if (const AttributeIndexTables* const tables = container ? findTables(*container) : nullptr)
            found = tables->names.Find(name, hash);
        return found != nullptr && found->IsAlive() ? &AttributeOf(*found) : nullptr;
    }

private:
    ODB::ConstRef<AttributeContainer> container;
    FindTables findTables = nullptr;
    NameKeys keys;
};

// The attributes of the container that are new or modified in the delta, in link order.
std::vector<ODB::Ref<GeneralAttribute>> FindMerged(const AttributeContainer& container, const ODB::Delta& delta) {
    const auto& association = AttributeContainer::GetAttributeAssociation();
    const ODB::IdSpace& space = container.GetIdSpace() != nullptr ? *container.GetIdSpace() : *ODB::GetDefaultIdSpace();
    std::vector<ODB::ObjectInfo*> merged;
    for (const auto* const objects : {&delta.GetNewObjects(), &delta.GetModifiedObjects()})
        for (const auto& object : *objects)
            if (const ODB::ConstRef<ODB::Object> found = space.FindConst(object.id);
                association.FindLeft(*found.GetInfo()) == container.GetInfo())
                merged.push_back(found.GetInfo());
    if (merged.size() == 1)   // the usual case needs no walk over all
        return {ODB::Ref<GeneralAttribute>(merged.front())};
    std::sort(merged.begin(), merged.end());
    std::vector<ODB::Ref<GeneralAttribute>> inOrder;
    inOrder.reserve(merged.size());
    ODB::Association1NUntyped::RightWalk walk(association, ODB::ConstRef<AttributeContainer>(&container));
    while (ODB::ObjectInfo* const record = inOrder.size() < merged.size() ? walk.Next() : nullptr)
        if (std::binary_search(merged.begin(), merged.end(), record))
            inOrder.push_back(ODB::Ref<GeneralAttribute>(record));
    return inOrder;
}

}   // namespace

// Changes are announced, and whoever hears of them may do anything: attributes are held, and looked at afresh.
class AttributeContainer::ConflictResolution {
public:
    ConflictResolution(AttributeContainer& resolvedContainer, IAttributeNewIndexTable* indexTable)
        : container(resolvedContainer),
          table(indexTable) {}
    // Also when memory ran out on the way.
    ~ConflictResolution() { Report(); }
    ConflictResolution(const ConflictResolution&) = delete;
    ConflictResolution& operator=(const ConflictResolution&) = delete;

    void Run(const ODB::RefBase& other);

private:
    static AttributeIndexTables* FindTablesOf(const AttributeContainer& container) { return container.FindTables(); }
    static bool KnowsAllNames(const AttributeContainer& container) {
        const AttributeIndexTables* const tables = container.FindTables();
        return tables != nullptr && !tables->names.HasShadows();
    }
    void GatherOwn();
    void GatherOwnNames();
    void GatherOther(const ODB::RefBase& other);
    bool IsTaken(const Kest::UniString& name) const;
    bool IsBorne(const Kest::UniString& name) const;
    void MakeNameFit(const ODB::Ref<GeneralAttribute>& attribute);
    void MakeIndexFit(const ODB::Ref<GeneralAttribute>& attribute);
    int Renumber(const ODB::Ref<GeneralAttribute>& attribute, short newIndex);
    void Report() const noexcept;

    AttributeContainer& container;
    IAttributeNewIndexTable* const table;
    std::vector<ODB::Ref<GeneralAttribute>> clientCreated;
    NameBearers here;
    NameBearers there;
    NumberedNameRuns runs;
    FreeIndexes unclaimed;   // nobody has them but client-created attributes that had them from the start
    FreeIndexes unused;      // nobody has them
    ChangeList renamed{"renamed"};
    ChangeList reindexed{"reindexed"};
};

void AttributeContainer::ConflictResolution::Run(const ODB::RefBase& other) {
    GatherOwn();
    GatherOwnNames();
    if (other && other.GetInfo() != container.GetInfo())
        GatherOther(other);
    for (const ODB::Ref<GeneralAttribute>& attribute : clientCreated) {
        if (attribute)
            MakeNameFit(attribute);
        if (attribute)
            MakeIndexFit(attribute);
    }
    if (const AttributeIndexTables* const tables = container.FindTables())
        tables->ShowHidden();
}

void AttributeContainer::ConflictResolution::GatherOwn() {
    ForEachOwnedAttribute(ODB::ConstRef<AttributeContainer>(&container), [this](ODB::ObjectInfo& record) {
        const GeneralAttribute& attribute = AttributeOf(record);
        unused.Take(attribute.GetIndex());
        if (attribute.IsClientCreated())
            clientCreated.push_back(ODB::Ref<GeneralAttribute>(&record));
        else
            unclaimed.Take(attribute.GetIndex());
    });
}

// Of those that share a name, one that is not client-created is to be found.
void AttributeContainer::ConflictResolution::GatherOwnNames() {
    const ODB::ConstRef<AttributeContainer> own(&container);
    if (KnowsAllNames(container)) {
        here.Ask(own, &FindTablesOf);
        return;
    }
    for (const bool clients : {true, false})
        ForEachOwnedAttribute(own, [&](ODB::ObjectInfo& record) {
            if (AttributeOf(record).IsClientCreated() != clients)
                return;
            here.ReserveOne();
            here.Add(record);
        });
}

void AttributeContainer::ConflictResolution::GatherOther(const ODB::RefBase& other) {
    const auto counterpart = ODB::DynamicCast<AttributeContainer>(ODB::ConstRef<ODB::Object>(other.GetInfo()));
    const bool asksIndex = counterpart && KnowsAllNames(*counterpart);
    if (asksIndex)
        there.Ask(counterpart, &FindTablesOf);
    ForEachOwnedAttribute(other, [&](ODB::ObjectInfo& record) {
        unclaimed.Take(AttributeOf(record).GetIndex());
        unused.Take(AttributeOf(record).GetIndex());
        if (asksIndex)
            return;
        there.ReserveOne();
        there.Add(record);
    });
}

bool AttributeContainer::ConflictResolution::IsTaken(const Kest::UniString& name) const {
    const std::uint32_t hash = Kest::HashIgnoringCase(name);
    const GeneralAttribute* const own = here.Find(name, hash);
    return (own != nullptr && !own->IsClientCreated()) || there.Find(name, hash) != nullptr;
}

bool AttributeContainer::ConflictResolution::IsBorne(const Kest::UniString& name) const {
    const std::uint32_t hash = Kest::HashIgnoringCase(name);
    return here.Find(name, hash) != nullptr || there.Find(name, hash) != nullptr;
}

// A name that is given up is never free afterwards: somebody else has it, or it is blank. So what was found to be borne
// stays so.
void AttributeContainer::ConflictResolution::MakeNameFit(const ODB::Ref<GeneralAttribute>& attribute) {
    const Kest::UniString oldName = attribute.GetConst()->GetName();
    if (Kest::ContainsNonWhitespace(oldName) && !IsTaken(oldName))
        return;
    const Kest::UniString newName =
        FindFreeName(oldName, runs, [&](const Kest::UniString& name) { return name == oldName || IsBorne(name); });
    Kest::UniString entry =
        renamed.Prepare([&] { return Kest::UniString::Printf("\"%T\" %s", oldName, attribute.GetId().ToString()); });
    here.ReserveOne();
    const int status = attribute.GetLogicalConst()->SetName(newName);
    if (status == Error::MemoryFull)
        throw std::bad_alloc();
    if (status != Error::None)   // whoever heard of an earlier change has taken the name
        return;
    if (attribute && !here.AsksIndex())
        here.Add(*attribute.GetInfo());
    renamed.Add(std::move(entry));
}

void AttributeContainer::ConflictResolution::MakeIndexFit(const ODB::Ref<GeneralAttribute>& attribute) {
    const short oldIndex = attribute.GetConst()->GetIndex();
    const short wanted = unclaimed.Find(oldIndex);
    if (wanted == oldIndex)
        return;
    const short newIndex = unused.Find(wanted);
    if (!unused.IsFree(newIndex))   // all are in use: it keeps the one that it has
        return;
    Kest::UniString entry = reindexed.Prepare([&] {
        return Kest::UniString::Printf("\"%T\" %s (%d->%d)", attribute.GetConst()->GetName(),
                                       attribute.GetId().ToString(), oldIndex, newIndex);
    });
    const int status = Renumber(attribute, newIndex);
    if (status == Error::MemoryFull)
        throw std::bad_alloc();
    if (status != Error::None)   // as above
        return;
    unclaimed.Take(newIndex);
    unused.Take(newIndex);
    reindexed.Add(std::move(entry));
}

// The table comes first: an attribute could not be given an index back that somebody else has.
int AttributeContainer::ConflictResolution::Renumber(const ODB::Ref<GeneralAttribute>& attribute, short newIndex) {
    const short typeId = table != nullptr ? RegisteredTypeIdOf(container.GetRefId()) : short{0};
    if (typeId == 0)
        return attribute.GetLogicalConst()->SetIndex(newIndex);
    const short oldIndex = attribute.GetConst()->GetIndex();
    const short earlier = table->GetNewIndex(typeId, oldIndex);
    if (const int status = table->SetNewIndex(typeId, oldIndex, newIndex); status != Error::None)
        return status;
    table->SetAttributeTypeAsUsed(typeId);
    const int status = attribute.GetLogicalConst()->SetIndex(newIndex);
    if (status != Error::None && earlier != 0)
        table->SetNewIndex(typeId, oldIndex, earlier);
    else if (status != Error::None)
        table->ClearNewIndex(typeId, oldIndex);
    return status;
}

void AttributeContainer::ConflictResolution::Report() const noexcept {
    static const char operation[] = "ADB::AttributeContainer::ResolveConflicts";
    if (renamed.IsEmpty() && reindexed.IsEmpty())
        return;
    try {
        const unsigned int id = container.GetRefId();
        Kest::UniString text = Kest::UniString::Printf("\"%T\" %c%c%c%c", container.GetTypeName(), id >> 24,
                                                       id >> 16 & 0xFF, id >> 8 & 0xFF, id & 0xFF);
        renamed.AppendTo(text);
        reindexed.AppendTo(text);
        DBPrintf("[%s] %s\n", operation, text);
        static const Kest::InfoLogLine line("%: %", LogCategory);
        line.Write(operation, text);
    } catch (const std::bad_alloc&) {   // the changes stand without their report
    }
}

Kest::PagedArray<Kest::Guid, 8> AttributeContainer::GetAssociationsForModificationDetection() const {
    Kest::PagedArray<Kest::Guid, 8> associations;
    (void)GetAttributeAssociation();   // made on first use
    ODB::AssociationManager::EnumerateAssociations(
        GetClassInfoStatic(), Lum::RightResolvableObjectSetPropagation,
        [&associations](const auto& association) { associations.Push(association.GetId().GetGuid()); });
    return associations;
}

void AttributeContainer::ResolveConflicts(const ODB::ConstIRef<Lum::IResolvableObjectSet>& other) {
    ResolveConflicts(other, nullptr);
}

void AttributeContainer::ResolveConflicts(const ODB::ConstIRef<Lum::IResolvableObjectSet>& other,
                                          IAttributeNewIndexTable* table) {
    if (!HasClientCreated(*this))
        return;
    const Kest::EventSource::Announcement held;
    const ODB::ConstIRef<Lum::IResolvableObjectSet> counterpart(other);
    ConflictResolution(*this, table).Run(counterpart);
}

int AttributeContainer::MergePostProcess(const ODB::Delta* delta) {
    if (delta == nullptr || (delta->GetNewObjectCount() == 0 && delta->GetModifiedObjectCount() == 0))
        return Error::None;
    const Kest::EventSource::Announcement held;
    return CatchMemoryFull([&] { return TellMerged(*delta); });
}

int AttributeContainer::TellMerged(const ODB::Delta& delta) {
    FieldMaskT<GeneralAttribute> general;
    for (const int field : {GeneralAttribute::NameField, GeneralAttribute::IndexField, GeneralAttribute::FlagsField,
                            GeneralAttribute::ModificationTimeField, GeneralAttribute::UserDataField})
        general.Set(field);
    for (const ODB::Ref<GeneralAttribute>& attribute : FindMerged(*this, delta)) {
        if (!attribute)
            continue;
        const bool isNew = delta.ContainsNewObject(attribute.GetId());
        if (isNew)
            attribute.GetLogicalConst()->Attach(*this);
        RelayToSet(*this, attribute, isNew ? AttributeSet::Created : AttributeSet::Changed,
                   isNew ? FieldMask() : FieldMask(general));
    }
    return Error::None;
}

}   // namespace ADB
