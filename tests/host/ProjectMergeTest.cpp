#include "merging/ProjectMerge.hpp"

#include "NewIndexTable.hpp"
#include "Session.hpp"
#include "checking/SetCheck.hpp"
#include "documents/SetFills.hpp"
#include "kinds/AllKinds.hpp"
#include "kinds/FieldText.hpp"
#include "kinds/KindTable.hpp"
#include "kinds/References.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <Kest/DebugOutput.hpp>
#include <Kest/Logger.hpp>

#include <AttributeManager/AttributeManager.hpp>

namespace {

using namespace Host;
using ADB::GeneralAttribute;
using Attribute = ODB::Ref<GeneralAttribute>;
using Set = ODB::Ref<ADB::AttributeSet>;
using Kest::Guid;

/// What each attribute of a client is in the server.
using Identities = std::map<Guid, Guid>;

/// An attribute without indexes: what it refers to is told by ids, those of the server.
struct Meaning {
    unsigned int refId;
    Kest::UniString name;
    short index;
    int time;
    std::u16string content;
};

using Meanings = std::map<Guid, Meaning>;

Guid Translate(const Identities& identities, const Guid& id) {
    const auto found = identities.find(id);
    return found != identities.end() ? found->second : id;
}

Guid IdOf(const Set& set, unsigned int refId, short index) {
    const ODB::ConstRef<GeneralAttribute> attribute = set.GetConst()->GetConstAttribute(TypeIdOf(refId), index);
    return attribute ? attribute->GetGuid() : Guid();
}

std::u16string ContentOf(const Set& set, const GeneralAttribute& attribute, const Identities& identities) {
    const ReferenceText idText = [&](unsigned int refId, short index) {
        return Kest::UniString(Translate(identities, IdOf(set, refId, index)).ToText().c_str());
    };
    std::u16string content;
    for (const FieldText& field : GetFieldTexts(dynamic_cast<const KindBase&>(attribute), idText))
        content += field.text + u'\n';
    return content;
}

template <class Call>
void ForEachAttribute(const Set& set, Call&& call) {
    for (const KindEntry* const kind : GetKindsInReferenceOrder())
        set.GetConst()->EnumerateAttributes(TypeIdOf(kind->record.refId), ADB::SortByIndex, ADB::Ascending, call);
}

Meaning MeaningOf(const Set& set, const GeneralAttribute& attribute, const Identities& identities) {
    return {attribute.GetAttributeTypeId(), attribute.GetName(), attribute.GetIndex(), attribute.GetModificationTime(),
            ContentOf(set, attribute, identities)};
}

Meanings MeaningsOf(const Set& set) {
    Meanings meanings;
    ForEachAttribute(set, [&](const Attribute& attribute) {
        meanings[attribute.GetConst()->GetGuid()] = MeaningOf(set, *attribute.GetConst(), {});
    });
    return meanings;
}

std::vector<Guid> FillsOf(const Set& set) {
    std::vector<Guid> fills;
    for (const SetFill& fill : SetFills)
        fills.push_back(IdOf(set, Fill::Record.refId, fill.get(*set.GetConst())));
    return fills;
}

/// Makes what a user may do to a set.
class RandomEdits {
public:
    explicit RandomEdits(unsigned int seed) : random(seed) {}

    void Make(const Set& set, int count) {
        while (count-- > 0)
            MakeOne(set);
    }

private:
    static constexpr unsigned int Kinds[] = {LineType::Record.refId, Layer::Record.refId, Fill::Record.refId,
                                             LayerCombination::Record.refId, GraphicOverride::Record.refId};

    int Draw(int count) { return std::uniform_int_distribution<int>(0, count - 1)(random); }

    Attribute DrawAttribute(const Set& set, unsigned int refId) {
        std::vector<Attribute> all;
        set.GetConst()->EnumerateAttributes(TypeIdOf(refId),
                                            [&all](const Attribute& attribute) { all.push_back(attribute); });
        return all.empty() ? Attribute() : all[static_cast<std::size_t>(Draw(static_cast<int>(all.size())))];
    }

    // 0 now and then.
    short DrawIndex(const Set& set, unsigned int refId) {
        const Attribute attribute = Draw(6) != 0 ? DrawAttribute(set, refId) : Attribute();
        return attribute ? attribute.GetConst()->GetIndex() : short{0};
    }

    Kest::UniString DrawName() {
        const char16_t letter = u"abcdefgABCDEFG"[Draw(14)];
        return Draw(4) != 0 ? Kest::UniString(&letter, 1)
                            : Kest::UniString::Printf("%c (%d)", int{letter}, 1 + Draw(2));
    }

    void ChangeContent(const Set& set, GeneralAttribute& attribute) {
        if (auto* const layer = dynamic_cast<Layer*>(&attribute)) {
            layer->Set<&LayerFields::color>(Draw(3));
            layer->Set<&LayerFields::lineType>(DrawIndex(set, LineType::Record.refId));
        } else if (auto* const lineType = dynamic_cast<LineType*>(&attribute)) {
            lineType->Set<&LineTypeFields::flags>(Draw(3));
        } else if (auto* const combination = dynamic_cast<LayerCombination*>(&attribute)) {
            std::vector<LayerStatus> layers(static_cast<std::size_t>(Draw(4)));
            for (LayerStatus& status : layers)
                status.layer = DrawIndex(set, Layer::Record.refId);
            combination->Set<&LayerCombinationFields::layers>(layers);
        } else if (auto* const override = dynamic_cast<GraphicOverride*>(&attribute)) {
            override->Set<&GraphicOverrideFields::lineType>(DrawIndex(set, LineType::Record.refId));
            override->Set<&GraphicOverrideFields::fill>(DrawIndex(set, Fill::Record.refId));
        }
        attribute.SetModificationTime(Draw(20));
    }

    void Add(const Set& set, unsigned int refId) {
        const std::unique_ptr<KindBase> attribute(FindKind(refId)->sample->Clone());
        attribute->SetName(DrawName());
        attribute->SetIndex(static_cast<short>(1 + Draw(12)));
        ChangeContent(set, *attribute);
        set->NewAttribute(TypeIdOf(refId), attribute.get(), Draw(2) != 0, false);
    }

    // As a host renumbers: what refers to it follows.
    void Renumber(const Set& set, const Attribute& attribute) {
        const short typeId = TypeIdOf(attribute.GetConst()->GetAttributeTypeId());
        const short before = attribute.GetConst()->GetIndex(), wanted = static_cast<short>(1 + Draw(12));
        if (attribute->SetIndex(wanted) != 0)
            return;
        const NewIndexTable table = TakeNewIndexTable(CreateAttributeNewIndexTable());
        table->SetNewIndex(typeId, before, wanted);
        ForEachAttribute(set, [&table](const Attribute& referrer) { referrer->ReindAttr(table.get()); });
        const short fills = TypeIdOf(Fill::Record.refId);
        for (const SetFill& fill : SetFills)
            if (typeId == fills && fill.get(*set.GetConst()) == before)
                fill.put(*set.GetConst(), wanted);
    }

    void Delete(const Set& set, const Attribute& attribute) {
        const unsigned int refId = attribute.GetConst()->GetAttributeTypeId();
        const short index = attribute.GetConst()->GetIndex();
        ForEachAttribute(set, [&](const Attribute& referrer) {
            dynamic_cast<KindBase&>(*referrer).ClearReferences(
                [&](unsigned int kind, short reference) { return kind == refId && reference == index; });
        });
        for (const SetFill& fill : SetFills)
            if (refId == Fill::Record.refId && fill.get(*set.GetConst()) == index)
                fill.put(*set.GetConst(), 0);
        set->DeleteAttribute(TypeIdOf(refId), index, true);
    }

    void MakeOne(const Set& set) {
        const unsigned int refId = Kinds[Draw(static_cast<int>(std::size(Kinds)))];
        const Attribute attribute = DrawAttribute(set, refId);
        const int choice = attribute ? Draw(8) : 0;
        if (choice < 3) {
            Add(set, refId);
        } else if (choice == 3) {
            Renumber(set, attribute);
        } else if (choice == 4) {
            Delete(set, attribute);
        } else if (choice == 5) {
            SetFills[Draw(static_cast<int>(std::size(SetFills)))].put(*set.GetConst(),
                                                                      DrawIndex(set, Fill::Record.refId));
        } else {
            if (Draw(2) != 0)
                attribute->SetName(DrawName());
            ChangeContent(set, *attribute);
        }
    }

    std::mt19937 random;
};

/// What the server must be after a client has been merged.
class Expected {
public:
    Expected(const Set& serverSet, const Set& clientSet)
        : client(clientSet),
          server(MeaningsOf(serverSet)),
          result(server),
          fills(FillsOf(serverSet)) {
        ForEachAttribute(client, [this](const Attribute& attribute) { Merge(*attribute.GetConst()); });
        const std::vector<Guid> clientFills = FillsOf(client);
        for (std::size_t i = 0; i < fills.size(); ++i)
            if (fills[i].IsNull())
                fills[i] = Translate(identities, clientFills[i]);
    }

    void Compare(const Set& merged, const MergedInput& input) const {
        const Meanings found = MeaningsOf(merged);
        ASSERT_EQ(found.size(), result.size());
        for (const auto& [id, meaning] : result) {
            const auto present = found.find(id);
            ASSERT_NE(present, found.end()) << id.ToText();
            EXPECT_TRUE(present->second.content == meaning.content) << present->second.name.ToCStr();
            EXPECT_EQ(present->second.time, meaning.time);
            EXPECT_TRUE(HasKeyOrLostIt(found, present->second, meaning)) << meaning.name.ToCStr() << meaning.index;
        }
        EXPECT_EQ(FillsOf(merged), fills);
        for (const std::string& fault : FindFaults(merged))
            ADD_FAILURE() << fault;
        for (const MergedAttribute& attribute : input.attributes)
            EXPECT_EQ(attribute.merged->GetGuid(), identities.at(olds.at({attribute.refId, attribute.oldIndex})));
    }

private:
    // Whether somebody else has the name and the index of which the attribute has another one.
    static bool HasKeyOrLostIt(const Meanings& all, const Meaning& present, const Meaning& wanted) {
        const auto isHeld = [&](auto&& isHolder) {
            return std::ranges::any_of(
                all, [&](const auto& other) { return other.second.refId == wanted.refId && isHolder(other.second); });
        };
        return (present.name == wanted.name ||
                isHeld([&](const Meaning& other) { return other.name.ToUpper() == wanted.name.ToUpper(); })) &&
               (present.index == wanted.index ||
                isHeld([&](const Meaning& other) { return other.index == wanted.index; }));
    }

    void Merge(const GeneralAttribute& attribute) {
        const Guid id = attribute.GetGuid();
        const Meaning ours = MeaningOf(client, attribute, identities);
        olds[{ours.refId, ours.index}] = id;
        if (const auto theirs = server.find(id); theirs != server.end()) {
            identities[id] = id;
            const bool isEqual = theirs->second.content == ours.content && theirs->second.name == ours.name &&
                                 theirs->second.index == ours.index;
            if (!isEqual && ours.time > theirs->second.time)
                result[id] = ours;
            return;
        }
        const auto namesake = std::ranges::find_if(server, [&](const auto& theirs) {
            return theirs.second.refId == ours.refId && theirs.second.name.ToUpper() == ours.name.ToUpper();
        });
        const bool isSame =
            namesake != server.end() && namesake->second.content == ours.content && !IsIn(client, namesake->first);
        identities[id] = isSame ? namesake->first : id;
        if (!isSame)
            result[id] = ours;
    }

    static bool IsIn(const Set& set, const Guid& id) { return set.GetIdSpace()->Contains(ODB::Id(id)); }

    Set client;
    Meanings server;
    Meanings result;
    std::vector<Guid> fills;
    Identities identities;
    std::map<std::pair<unsigned int, short>, Guid> olds;
};

class ProjectMergeTest : public testing::Test {
protected:
    ProjectMergeTest() {
        DBSetSink([](const Kest::UniString&) {});
        Kest::logger.SetSink([](const Kest::LogEntry&) {});
    }
    ~ProjectMergeTest() override {
        DBSetSink(DBSink());
        Kest::logger.SetSink(Kest::LogSink());
    }
};

TEST_F(ProjectMergeTest, WhateverClientsDidEveryReferenceLeadsWhereItLed) {
    for (unsigned int seed = 0; seed < 300 && !HasFailure(); ++seed) {
        SCOPED_TRACE(seed);
        const Session session;
        const Set server = session.GetSet();
        RandomEdits edits(seed);
        edits.Make(server, 20);
        std::vector<std::unique_ptr<ODB::IdSpace>> spaces;
        std::vector<Set> clients;
        for (unsigned int i = 0; i < 2 + seed % 2; ++i) {
            spaces.push_back(std::make_unique<ODB::IdSpace>());
            clients.push_back(CloneAttributeSet(server, spaces.back().get()));
            edits.Make(clients.back(), 15);
            edits.Make(server, 6);
        }
        ProjectMerge merge(server);
        for (const Set& client : clients) {
            const Expected expected(server, client);
            merge.Add(client);
            expected.Compare(server, merge.GetInputs().back());
            DisposeAttributeSet(client);
        }
    }
}

TEST_F(ProjectMergeTest, NewerNamesAndIndexesMayBeEachOthers) {
    const Session session;
    const Set server = session.GetSet();
    const short typeId = TypeIdOf(Layer::Record.refId);
    std::vector<ODB::ConstRef<GeneralAttribute>> all;
    for (short index = 1; index <= 7; ++index) {
        Layer layer;
        layer.SetName(Kest::UniString::Printf("L%d", int{index}));
        layer.SetIndex(index);
        server->NewAttribute(typeId, &layer, true, false);
        all.push_back(server.GetConst()->GetConstAttribute(typeId, index));
    }
    ODB::IdSpace space;
    const Set client = CloneAttributeSet(server, &space);
    const auto change = [&](short index, const char16_t* name, short newIndex) {
        const Attribute attribute = client.GetConst()->GetAttribute(typeId, index);
        EXPECT_EQ(attribute->SetName(name), 0);
        EXPECT_EQ(attribute->SetIndex(newIndex), 0);
        attribute->SetModificationTime(1'000'000'000);
        return attribute;
    };
    const Attribute first = change(1, u"aside", 11), third = change(3, u"l4 to be", 13);
    change(2, u"L1", 1);   // a circle of two
    first->SetName(u"L2");
    first->SetIndex(2);
    change(4, u"L3", 3);   // a chain whose end is free
    third->SetName(u"New");
    change(5, u"Old", 15);   // a chain whose end is not: the server alone has "L7" and 7 now
    change(6, u"L5", 5);
    change(7, u"Here", 17);
    client.GetConst()->GetAttribute(typeId, 15)->SetName(u"L7");
    client.GetConst()->GetAttribute(typeId, 15)->SetIndex(7);
    server.GetConst()->GetAttribute(typeId, 7)->SetModificationTime(2'000'000'000);

    ProjectMerge merge(server);
    merge.Add(client);
    std::string keys;
    for (const ODB::ConstRef<GeneralAttribute>& attribute : all)
        keys += attribute->GetName().ToCStr() + (' ' + std::to_string(attribute->GetIndex())) + ", ";
    EXPECT_EQ(keys, "L2 2, L1 1, New 13, L3 3, L5 5, L6 6, L7 7, ");
    DisposeAttributeSet(client);
}

}   // namespace
