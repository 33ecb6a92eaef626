#include <AttributeManager/AttributeContainer.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <random>
#include <set>

#include <Kest/DebugOutput.hpp>
#include <Kest/UniqueName.hpp>

#include <ODB/Delta.hpp>

#include <AttributeManager/IAttributeNewIndexTable.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;

constexpr short Client = GeneralAttribute::ClientCreated;

class AttributeConflictTest : public SetFixture {
protected:
    AttributeConflictTest()
        : server(new ADB::AttributeContainer(Mark::RefId, Kest::Guid(), &serverSpace, u"Marks",
                                             LumCB::PermissionID::None, LumCB::PermissionID::None)),
          table(CreateAttributeNewIndexTable()) {
        ODB::Database::AddObject(server, false);
        DBSetSink([this](const UniString& text) { printed += text.ToCStr(); });
    }
    ~AttributeConflictTest() override {
        DisposeAttributeNewIndexTable(&table);
        DBSetSink(nullptr);
    }

    // Names and indexes as they are, clashes included.
    static Attribute AddTo(const Container& container, const UniString& name, short index, short flags = 0) {
        const Mark blank(UniString(u"(to be named)"), 0, 0, flags);
        const Attribute added = container.GetLogicalConst()->NewAttribute(Reading(&blank), false, false);
        const Mark wanted(name, index, 0, flags);
        FieldMask changed;
        container.GetLogicalConst()->PutAttribute(Reading(&wanted),
                                                  static_cast<unsigned int>(added.GetConst()->GetIndex()), &changed);
        return added;
    }
    Attribute AddServed(const UniString& name, short index) { return AddTo(Marks(), name, index); }
    Attribute AddClient(const UniString& name, short index) { return AddTo(Marks(), name, index, Client); }

    void Resolve(const Container& other) {
        TakeLog();
        Marks().GetLogicalConst()->ResolveConflicts(other, table);
    }
    static std::string Quoted(const Attribute& attribute, const std::string& name) {
        return "\"" + name + "\" " + attribute.GetId().ToString();
    }
    void ExpectReport(const std::string& report) {
        const std::string text = "\"Marks\" MARK" + report;
        EXPECT_EQ(TakeLog(), (Texts{"info ADB::AttributeContainer::ResolveConflicts: " + text}));
        EXPECT_EQ(std::exchange(printed, {}), "[ADB::AttributeContainer::ResolveConflicts] " + text + "\n");
    }

    ODB::IdSpace serverSpace;
    Container server;
    ADB::IAttributeNewIndexTable* table;
    std::string printed;
};

TEST_F(AttributeConflictTest, OnlyClientCreatedAttributesThatClashMove) {
    const Container empty;
    AddServed(u"Wall", 1);
    Resolve(server);
    Resolve(Marks());
    AddClient(u"Roof", 2);
    AddClient(u"ROOF", 2);
    Resolve(Marks());
    Resolve(empty);
    EXPECT_EQ(ListMarks(set), (Texts{"1 Wall", "2 Roof", "2 ROOF"})) << "they clash with each other alone";
    EXPECT_EQ(TakeLog(), Texts());
    EXPECT_EQ(printed, "");
    EXPECT_FALSE(table->IsUsedAttributeType(markType));
    EXPECT_EQ(Marks().GetConst()->GetAssociationsForModificationDetection().GetSize(), 1U);
}

TEST_F(AttributeConflictTest, WhatClashesGetsWhatNobodyElseHas) {
    SetRecorder heard;
    const Attribute served = AddServed(u"Wall", 1);
    const Attribute clash = AddClient(u"WALL", 1), next = AddClient(u"Wall (1)", 2), blank = AddClient(u" ", 0);
    AddTo(server, u"wall (1)", 3);
    AddTo(server, u"Door", 4);
    set->Attach(heard);
    Resolve(server);
    set->Detach(heard);
    EXPECT_EQ(ListMarks(set), (Texts{"1 Wall", "5 WALL (2)", "2 Wall (3)", "6 Generated Attribute Name (1)"}));
    EXPECT_EQ(heard.Take(),
              (Texts{"changed 1 WALL (2): 1", "changed 1 WALL (2): 2", "changed 1 Wall (3): 1",
                     "changed 1 Generated Attribute Name (1): 1", "changed 1 Generated Attribute Name (1): 2"}));
    ExpectReport("\n    renamed ClientCreated attributes: " + Quoted(clash, "WALL") + ", " + Quoted(next, "Wall (1)") +
                 ", " + Quoted(blank, " ") + "\n    reindexed ClientCreated attributes: " + Quoted(clash, "WALL (2)") +
                 " (1->5), " + Quoted(blank, "Generated Attribute Name (1)") + " (0->6)");
    EXPECT_EQ(table->GetNewIndex(markType, 1), 5);
    EXPECT_EQ(table->GetNewIndex(markType, 0), 6);
    EXPECT_TRUE(table->IsUsedAttributeType(markType));
    EXPECT_EQ(Get(1), served) << "what the clash had hidden is found again";
    EXPECT_EQ(Look().GetConstAttribute(markType, u"wall"), served);
}

TEST_F(AttributeConflictTest, TheReportListsTen) {
    std::string renamed;
    std::string reindexed;
    for (short index = 1; index <= 12; ++index) {
        const UniString name = UniString::Printf("Beam %d", index);
        AddTo(server, name, index > 11 ? short{99} : index);
        const Attribute client = AddClient(name, index);
        if (index > 10)
            continue;
        const std::string comma = index > 1 ? ", " : "";
        renamed += comma + Quoted(client, name.ToCStr());
        reindexed += comma + Quoted(client, std::string(name.ToCStr()) + " (1)") + " (" + std::to_string(index) + "->" +
                     std::to_string(index + 12) + ")";
    }
    Resolve(server);
    ExpectReport("\n    renamed ClientCreated attributes: " + renamed + " and 2 more..." +
                 "\n    reindexed ClientCreated attributes: " + reindexed + " and 1 more...");
}

TEST_F(AttributeConflictTest, WithoutAFreeIndexItStays) {
    for (int index = 1; index <= 32766; ++index)
        AddTo(server, UniString::Printf("%d", index), static_cast<short>(index));
    const Attribute client = AddClient(u"Wall", 7), other = AddClient(u"Roof", 8);
    Resolve(server);
    EXPECT_EQ(ListMarks(set), (Texts{"7 Wall", "8 Roof"}));
    EXPECT_FALSE(table->IsUsedAttributeType(markType));
}

// The rules written down plainly.
struct Model {
    struct Item {
        Attribute attribute;
        UniString name;
        short index;
        bool client;
    };
    static std::string KeyOf(const UniString& name) { return name.ToUpper().ToCStr(); }
    static short FreeIndex(short hint, const std::set<short>& taken) {
        const int start = hint >= 1 && hint <= 32766 ? hint : 1;
        for (int turn = 0; turn < 32766; ++turn) {
            const auto index = static_cast<short>((start - 1 + turn) % 32766 + 1);
            if (!taken.contains(index))
                return index;
        }
        return hint;
    }
    void Resolve() {
        std::set<std::string> taken;
        std::set<short> takenIndexes;
        std::set<short> all;
        for (const std::vector<Item>* const side : {&own, &other})
            for (const Item& item : *side) {
                all.insert(item.index);
                if (side == &own && item.client)
                    continue;
                taken.insert(KeyOf(item.name));
                takenIndexes.insert(item.index);
            }
        for (Item& item : own) {
            if (!item.client)
                continue;
            Rename(item, taken);
            if (const short wanted = FreeIndex(item.index, takenIndexes); wanted != item.index) {
                const short index = FreeIndex(wanted, all);
                table[item.index] = index;
                item.index = index;
                takenIndexes.insert(index);
                all.insert(index);
            }
        }
    }
    void Rename(Item& item, std::set<std::string>& taken) {
        const bool isBlank = !Kest::ContainsNonWhitespace(item.name);
        if (!isBlank && !taken.contains(KeyOf(item.name)))
            return;
        std::set<std::string> avoided = taken;
        for (const Item& client : own)
            if (&client != &item)
                avoided.insert(KeyOf(client.name));
        UniString name;
        Kest::GenerateUniqueName(
            isBlank ? UniString(u"Generated Attribute Name (1)") : item.name, name,
            [&](const UniString& candidate) { return !avoided.contains(KeyOf(candidate)); }, nullptr);
        item.name = name;
        taken.insert(KeyOf(name));
    }

    std::vector<Item> own;
    std::vector<Item> other;
    std::map<short, short> table;
};

TEST_F(AttributeConflictTest, RandomContainersEndAsTheRulesSay) {
    const Names pool{u"Wall",
                     u"WALL",
                     u"wall (1)",
                     u"Wall (2)",
                     u"Wall (3)",
                     u"Roof",
                     u"ROOF",
                     u"Roof (1)",
                     u"",
                     u"\t",
                     u"Generated Attribute Name (1)"};
    const unsigned seed = std::random_device()();
    SCOPED_TRACE(seed);
    std::mt19937 random(seed);
    const auto draw = [&random](int end) { return static_cast<int>(random() % static_cast<unsigned int>(end)); };
    for (int round = 0; round < 400; ++round) {
        Model model;
        const bool clashes = round % 2 == 0;   // else all have names and indexes of their own where they are
        for (const bool isOwn : {true, false})
            for (int count = draw(12); count > 0; --count) {
                const bool client = isOwn && draw(2) == 0;
                const UniString& name = pool[static_cast<std::size_t>(draw(static_cast<int>(pool.size())))];
                const auto index = static_cast<short>(draw(20) == 0 ? 32760 + draw(8) : draw(12) - 1);
                const Container& container = isOwn ? Marks() : server;
                const Mark source(name, index, 0, client ? Client : short{0});
                const Attribute added = clashes
                                            ? AddTo(container, name, index, client ? Client : short{0})
                                            : container.GetLogicalConst()->NewAttribute(Reading(&source), true, false);
                (isOwn ? model.own : model.other)
                    .push_back({added, added.GetConst()->GetName(), added.GetConst()->GetIndex(), client});
            }
        Resolve(server);
        model.Resolve();
        for (const Model::Item& item : model.own) {
            EXPECT_EQ(item.attribute.GetConst()->GetName(), item.name);
            EXPECT_EQ(item.attribute.GetConst()->GetIndex(), item.index);
            EXPECT_TRUE(Marks().GetConst()->GetConstAttribute(item.name));
            EXPECT_TRUE(Marks().GetConst()->GetConstAttribute(static_cast<unsigned int>(item.index)));
        }
        for (const auto& [oldIndex, newIndex] : model.table)
            EXPECT_EQ(table->GetNewIndex(markType, oldIndex), newIndex);
        ASSERT_TRUE(Marks().GetConst()->CheckInvariants());
        ASSERT_FALSE(HasFailure()) << "round " << round;
        Marks()->ResetContainer();
        server->ResetContainer();
        table->SetAttributeTypeAsUnused(markType);
    }
}

TEST_F(AttributeConflictTest, WhatMemorySufficesForIsResolvedAndRecorded) {
    for (short index = 1; index <= 3; ++index)
        AddTo(server, UniString::Printf("A name that takes memory %d", index), index);
    const auto refill = [this] {
        const AllocationsSucceed succeed;
        Marks()->ResetContainer();
        table->SetAttributeTypeAsUnused(markType);
        for (short index = 1; index <= 3; ++index)
            AddClient(UniString::Printf("A name that takes memory %d", index), index);
    };
    const auto check = [this](bool failed) {
        short old = 0;
        Marks().GetConst()->EnumerateConstAttributes([&](const Reading& attribute) {
            ++old;
            const bool moved = attribute->GetIndex() != old;
            EXPECT_EQ(table->GetNewIndex(markType, old), moved ? attribute->GetIndex() : short{0});
            EXPECT_TRUE(failed || moved);
        });
        EXPECT_TRUE(Marks().GetConst()->CheckInvariants());
    };
    EXPECT_GT(ForEachFailure(
                  [&] {
                      refill();
                      Marks().GetLogicalConst()->ResolveConflicts(server, table);
                  },
                  check)
                  .failures,
              5U);
}

TEST_F(AttributeConflictTest, AMergedDeltaIsToldAndObserved) {
    const Attribute changed = Add(u"Wall"), silent = Add(u"Roof"), made = Add(u"Door");
    ODB::Delta delta(&space);
    EXPECT_EQ(Marks().GetLogicalConst()->MergePostProcess(nullptr), 0);
    delta.AddNewObject(made);
    delta.AddModifiedObject(changed);
    delta.AddDeletedObject(*Mark::GetClassInfoStatic(), ODB::Id(Kest::Guid::Generate()));
    made.GetLogicalConst()->Detach(*Marks().GetLogicalConst());
    SetRecorder heard;
    set->Attach(heard);
    EXPECT_EQ(Marks().GetLogicalConst()->MergePostProcess(&delta), 0);
    EXPECT_EQ(heard.Take(), (Texts{"changed 1 Wall: 1 2 3 4 5", "created 1 Door"}));
    EXPECT_TRUE(Marks().GetConst()->CheckInvariants()) << "the container observes what came";
    set->Detach(heard);
}

}   // namespace
