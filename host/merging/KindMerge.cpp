#include "KindMerge.hpp"

#include "Failure.hpp"
#include "Session.hpp"
#include "documents/AttributeText.hpp"
#include "import/ImportCounts.hpp"
#include "import/SameContent.hpp"

#include <algorithm>
#include <memory>
#include <unordered_map>

#include <Kest/Guid.hpp>
#include <Kest/HashSet.hpp>
#include <Kest/UniqueName.hpp>

#include <AttributeManager/AttributeErrors.hpp>

namespace Host {

namespace {

using ADB::AttributeContainer;
using ADB::GeneralAttribute;
using Attribute = ODB::Ref<GeneralAttribute>;

void Expect(int status, const GeneralAttribute& attribute) {
    if (status == ADB::Error::MemoryFull)
        throw std::bad_alloc();
    if (status != 0)
        throw Failure(TextOfAttribute(attribute) + " cannot be merged: check both inputs first");
}

unsigned int AsIndex(short index) {
    return static_cast<unsigned int>(index);
}

// To follow a renumbering is no edit: the time, by which the newer content is told, stays.
void Reindex(const ODB::ConstRef<AttributeContainer>& container, ADB::IAttributeNewIndexTable* table) {
    std::unordered_map<short, int> times;
    container->EnumerateConstAttributes([&times](const ODB::ConstRef<GeneralAttribute>& attribute) {
        times.emplace(attribute->GetIndex(), attribute->GetModificationTime());
    });
    Kest::HashSet<short> reindexed;
    container->ReindexAttributeReferences(table, false, &reindexed);
    for (const short index : reindexed)
        container->GetAttribute(AsIndex(index))->SetModificationTime(times.at(index));
}

bool IsUsableIndex(short index) {
    return index >= 1 && index <= static_cast<short>(MostAttributes);
}

bool IsSame(const GeneralAttribute& one, const GeneralAttribute& other) {
    return one.GetName() == other.GetName() && one.GetIndex() == other.GetIndex() && HasSameContent(one, other);
}

}   // namespace

KindMerge::KindMerge(const KindEntry& mergedKind, const ODB::Ref<ADB::AttributeSet>& clientSet,
                     const ODB::Ref<ADB::AttributeSet>& serverSet, MergeIndexes& mergeIndexes, MergedInput& clientInput)
    : kind(mergedKind),
      client(clientSet),
      server(serverSet),
      indexes(mergeIndexes),
      input(clientInput),
      typeId(TypeIdOf(mergedKind.record.refId)) {}

void KindMerge::Merge() {
    Reindex(client.GetConst()->GetConstAttributeContainer(typeId), indexes.ofClient.get());
    Reindex(server.GetConst()->GetConstAttributeContainer(typeId), indexes.ofServer.get());
    MendServerIndexes();
    Pair();
    ResolveConflicts();
    Bring();
    Record();
}

// No reference can be made one to an index below 1, and nothing can be brought in under the one behind the last.
void KindMerge::MendServerIndexes() {
    const ODB::Ref<AttributeContainer> container = server.GetConst()->GetAttributeContainer(typeId);
    std::vector<Attribute> wrong;
    container.GetConst()->EnumerateAttributes([&wrong](const Attribute& attribute) {
        if (!IsUsableIndex(attribute.GetConst()->GetIndex()))
            wrong.push_back(attribute);
    });
    for (const Attribute& attribute : wrong) {
        const short before = attribute.GetConst()->GetIndex();
        const short index = container.GetConst()->GenerateUniqueIndex(before, nullptr);
        Expect(attribute->SetIndex(index), *attribute.GetConst());
        if (before != 0)
            Expect(indexes.ofServer->SetNewIndex(typeId, before, index), *attribute.GetConst());
    }
}

void KindMerge::Pair() {
    client.GetConst()->EnumerateAttributes(
        typeId, ADB::SortByIndex, ADB::Ascending, [this](const Attribute& attribute) {
            members.push_back({.ofClient = attribute});
            const GeneralAttribute& content = *attribute.GetConst();
            input.attributes.push_back(
                {kind.record.refId, content.GetIndex(), content.GetName(), ODB::NullRef, /*isNew*/ false});
        });
    PairById();
    PairByName();
    for (const Member& member : members)
        if (member.ofServer)
            MergePair(member);
    TakeNames();
    TakeIndexes();
}

void KindMerge::PairById() {
    std::unordered_map<Kest::Guid, Attribute> ids;
    server.GetConst()->EnumerateAttributes(
        typeId, [&ids](const Attribute& attribute) { ids.emplace(attribute.GetConst()->GetGuid(), attribute); });
    for (Member& member : members) {
        const auto found = ids.find(member.ofClient.GetConst()->GetGuid());
        if (found == ids.end())
            continue;
        member.ofServer = found->second;
        member.hasOneId = true;
        pairedIndexes.insert(found->second.GetConst()->GetIndex());
    }
}

void KindMerge::PairByName() {
    for (Member& member : members) {
        if (member.ofServer)
            continue;
        const GeneralAttribute& ours = *member.ofClient.GetConst();
        const Attribute namesake = server.GetConst()->GetAttribute(typeId, ours.GetName());
        if (!namesake || pairedIndexes.contains(namesake.GetConst()->GetIndex()))
            continue;
        const GeneralAttribute& theirs = *namesake.GetConst();
        if (!ours.CheckAttribute() || !theirs.CheckAttribute() || HasSameContent(ours, theirs))
            member.ofServer = namesake;
    }
}

void KindMerge::MergePair(const Member& pair) {
    const GeneralAttribute& ours = *pair.ofClient.GetConst();
    const GeneralAttribute& theirs = *pair.ofServer.GetConst();
    const bool isKnownToUsAlone = ours.CheckAttribute() && !theirs.CheckAttribute();
    const bool isNewer = ours.GetModificationTime() > theirs.GetModificationTime();
    if (pair.hasOneId ? IsSame(ours, theirs) : !isKnownToUsAlone) {
        ++input.same;
    } else if (pair.hasOneId && !isNewer) {
        ++input.kept;
    } else {
        TakeContent(pair);
        if (pair.hasOneId)
            newer.push_back({pair.ofClient, pair.ofServer});
        ++input.taken;
    }
}

void KindMerge::TakeContent(const Member& pair) {
    const auto& ours = dynamic_cast<const KindBase&>(*pair.ofClient.GetConst());
    const GeneralAttribute& theirs = *pair.ofServer.GetConst();
    const std::unique_ptr<KindBase> content(ours.Clone());
    content->SetClientCreated(false);
    content->SetIndex(theirs.GetIndex());
    // A set that was read may have a name that is refused here.
    content->SetName(
        theirs.GetName().IsEmpty()
            ? server.GetConst()->GetConstAttributeContainer(typeId)->GenerateUniqueName(ours.GetName(), nullptr)
            : theirs.GetName());
    Expect(server->PutAttribute(typeId, content.get(), false), ours);
}

void KindMerge::TakeNames() {
    const ODB::ConstRef<AttributeContainer> container = server.GetConst()->GetConstAttributeContainer(typeId);
    const auto getName = [](const GeneralAttribute& attribute) { return attribute.GetName(); };
    const auto find = [&](const Kest::UniString& name) { return container->GetConstAttribute(name).Get(); };
    const auto set = [](const Attribute& attribute, const Kest::UniString& name) {
        Expect(attribute->SetName(name), *attribute.GetConst());
    };
    const auto getPassing = [&](const Kest::UniString& name) { return container->GenerateUniqueName(name, nullptr); };
    std::vector<KeyPair> named = newer;
    std::erase_if(named,
                  [](const KeyPair& pair) { return !Kest::ContainsNonWhitespace(pair.from.GetConst()->GetName()); });
    TakeKeys(named, getName, find, set, getPassing);
}

void KindMerge::TakeIndexes() {
    const ODB::ConstRef<AttributeContainer> container = server.GetConst()->GetConstAttributeContainer(typeId);
    std::erase_if(newer, [](const KeyPair& pair) { return !IsUsableIndex(pair.from.GetConst()->GetIndex()); });
    std::vector<short> before;
    for (const KeyPair& pair : newer)
        before.push_back(pair.to.GetConst()->GetIndex());
    const auto getIndex = [](const GeneralAttribute& attribute) { return attribute.GetIndex(); };
    const auto find = [&](short index) { return container->GetConstAttribute(AsIndex(index)).Get(); };
    const auto set = [](const Attribute& attribute, short index) {
        Expect(attribute->SetIndex(index), *attribute.GetConst());
    };
    // The one behind the last is nobody's, and full containers have no other.
    const auto getPassing = [](short) { return static_cast<short>(MostAttributes + 1); };
    TakeKeys(newer, getIndex, find, set, getPassing);
    for (std::size_t i = 0; i < newer.size(); ++i) {
        const GeneralAttribute& attribute = *newer[i].to.GetConst();
        if (attribute.GetIndex() != before[i])
            Expect(indexes.ofServer->SetNewIndex(typeId, before[i], attribute.GetIndex()), attribute);
    }
}

// What the client shares with the server holds its name and its index there: only the others give way.
void KindMerge::ResolveConflicts() {
    for (const Member& member : members)
        member.ofClient->SetClientCreated(!member.ofServer);
    const ODB::Ref<AttributeContainer> container = client.GetConst()->GetAttributeContainer(typeId);
    container->ResolveConflicts(server.GetConst()->GetConstAttributeContainer(typeId), indexes.ofClient.get());
    container->CheckContainer();
    indexes.ofClient->ClearNewIndex(typeId, 0);   // 0 refers to none, though an attribute may have had it
}

// In the order of the new indexes, so that links are in that order where they can be. Whoever gets any index that is
// free comes last, since it could be that of another one.
void KindMerge::Bring() {
    std::vector<Member*> newcomers;
    for (Member& member : members)
        if (!member.ofServer)
            newcomers.push_back(&member);
    std::ranges::stable_sort(newcomers, {}, [](const Member* member) {
        const short index = member->ofClient.GetConst()->GetIndex();
        return index >= 1 ? int{index} : static_cast<int>(MostAttributes) + 1;
    });
    for (Member* const member : newcomers) {
        member->ofServer = BringOne(member->ofClient);
        member->isNew = true;
    }
    input.brought += newcomers.size();
}

Attribute KindMerge::BringOne(const Attribute& attribute) {
    const GeneralAttribute& ours = *attribute.GetConst();
    if (server.GetConst()->GetAttributeNumber(typeId) >= MostAttributes)
        throw Failure("together there are more than " + std::to_string(MostAttributes) + " attributes of the kind " +
                      kind.record.name + ": merge fewer clients");
    const bool isFree = !server.GetIdSpace()->Contains(attribute.GetId());
    int status = 0;
    Attribute brought =
        server->NewAttribute(attribute, &status, ours.GetIndex() >= 1, false, isFree ? ours.GetGuid() : Kest::Guid());
    Expect(status, ours);
    brought->ClearLumSpecificData();   // the server knows it from now on
    return brought;
}

void KindMerge::Record() {
    const std::size_t first = input.attributes.size() - members.size();
    for (std::size_t i = 0; i < members.size(); ++i) {
        MergedAttribute& record = input.attributes[first + i];
        record.merged = members[i].ofServer;
        record.isNew = members[i].isNew;
        const short newIndex = record.merged->GetIndex();
        if (newIndex != record.oldIndex && record.oldIndex != 0)
            Expect(indexes.ofClient->SetNewIndex(typeId, record.oldIndex, newIndex), *record.merged);
    }
}

}   // namespace Host
