#include <AttributeManager/AttributeIndex.hpp>

#include <memory>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using ADB::AttributeIndex;
using Query = ADB::AttributeIndex::Query;

class AttributeIndexTest : public ContainerFixture {
protected:
    // The marks among the answers to `query`, through the index or, without it, by asking each mark.
    Indexes Find(const Query& query) const {
        ODB::RefList<ODB::Object> found;
        EXPECT_EQ(ADB::AttributeContainer::GetAttributeAssociation().AppendRight(ODB::Ref<ODB::Object>(marks), &found,
                                                                                 &query),
                  0);
        Indexes indexes;
        for (const ODB::Ref<ODB::Object>& object : found)
            indexes.push_back(static_cast<const GeneralAttribute*>(object.GetConst())->GetIndex());
        return indexes;
    }
    Indexes FindByMatching(const Query& query) const {
        Indexes indexes;
        marks.GetConst()->EnumerateConstAttributes([&](const Reading& attribute) {
            if (query.Matches(attribute))
                indexes.push_back(attribute->GetIndex());
        });
        return indexes;
    }
};

TEST_F(AttributeIndexTest, QueriesHoldWhatTheyAskFor) {
    const Query byIndex(7), byName(u"Stra\u00DFe \u00E4");
    EXPECT_TRUE(byIndex.GetQueryType() == 0 && byIndex.GetAttributeIndex() == 7 && byIndex.GetAttributeName() == u"");
    EXPECT_TRUE(byName.GetQueryType() == 1 && byName.GetAttributeIndex() == 0);
    EXPECT_EQ(byName.GetAttributeName(), u"STRA\u00DFE \u00C4");
    EXPECT_EQ(std::unique_ptr<Query>(byName.Clone())->GetAttributeName(), byName.GetAttributeName());
    EXPECT_EQ(byName.GetClassInfo()->GetId(), Kest::Guid("{85817233-728C-4FDD-8361-F9893EA7F197}"));
    EXPECT_EQ(AttributeIndex::GetClassInfoStatic()->GetId(), Kest::Guid("{C4C1B9EA-4E33-4DA9-8BD4-3033CCF2FA5F}"));
}

TEST_F(AttributeIndexTest, TheIndexAnswersLikeAskingEach) {
    Add(u"Wall", 7);
    Add(u"\u00C4ther", 9);
    for (const Query& query : {Query(7), Query(8), Query(u"wALL"), Query(u"\u00E4THER"), Query(u"Wal"), Query(u"")})
        EXPECT_EQ(Find(query), FindByMatching(query)) << query.GetAttributeName();
    EXPECT_EQ(Find(Query(u"\u00E4ther")), Indexes{9});

    ADB::AttributeContainer::GetAttributeAssociation().DetachRightIndices(ODB::Ref<ODB::Object>(marks));
    EXPECT_EQ(Find(Query(7)), Indexes{7}) << "also without the index";
    EXPECT_EQ(ADB::AttributeContainer::GetAttributeAssociation().AttachRightIndices(ODB::Ref<ODB::Object>(marks),
                                                                                    std::make_unique<AttributeIndex>()),
              0);
    EXPECT_EQ(marks->GetAttribute(9U)->GetName(), u"\u00C4ther") << "and with a new one over what is there";
}

TEST_F(AttributeIndexTest, TheModeDecidesWhetherTheListIsCleared) {
    struct OtherQuery : ODB::Query {
        OtherQuery* Clone() const override { return new OtherQuery(*this); }
        bool Matches(const Subject&) const override { return false; }
    };
    const Attribute wall = Add(u"Wall", 7);
    const auto* const index = static_cast<const AttributeIndex*>(
        ADB::AttributeContainer::GetAttributeAssociation().GetAttachedRightIndices(marks)[0]);
    EXPECT_TRUE(index->Supports(Query(7)));
    EXPECT_FALSE(index->Supports(OtherQuery()));
    for (const int mode : {0, 1, 2}) {
        ODB::RefList<ODB::Object> found{ODB::Ref<ODB::Object>(marks)};
        EXPECT_TRUE(index->Execute(Query(7), &found, static_cast<ODB::Index::ResultMode>(mode)));
        EXPECT_EQ(found.GetSize(), mode == 0 ? 1U : 2U);
        EXPECT_EQ(found.GetLast(), wall);
        EXPECT_TRUE(index->Execute(Query(8), &found, static_cast<ODB::Index::ResultMode>(mode)));
        EXPECT_EQ(found.GetSize(), mode == 0 ? 0U : 2U) << "a miss is an empty answer";
    }
    unsigned int count = 9;
    EXPECT_TRUE(index->Execute(Query(u"wall"), &count));
    EXPECT_EQ(count, 1U);
}

TEST_F(AttributeIndexTest, AClashByConnectingSaysSo) {
    Add(u"Wall", 1);
    const Attribute roof(new Mark(u"wall", 1));
    EXPECT_EQ(ADB::AttributeContainer::GetAttributeAssociation().Connect(ODB::Ref<ODB::Object>(marks),
                                                                         ODB::Ref<ODB::Object>(roof)),
              0);
    EXPECT_EQ(TakeLog(), (Texts{"ADB::AttributeIndex::ObjectCreated - Test::Mark attribute index 1 is already used by "
                                "\"Wall\"",
                                "ADB::AttributeIndex::ObjectCreated - Test::Mark attribute name \"wall\" is already "
                                "used by index 1"}));
    EXPECT_EQ(marks->GetAttribute(u"Wall"), roof);
    marks->AttachAttributeObservers();
    marks->DeleteAttribute(1);
    EXPECT_FALSE(roof);
    EXPECT_FALSE(marks->GetAttribute(u"Wall")) << "the older one comes back with its next change";
    FirstLinked()->SetFlags(1);
    EXPECT_TRUE(marks->GetAttribute(u"Wall"));
    EXPECT_EQ(TakeLog(), Texts());
}

TEST_F(AttributeIndexTest, AnIndexOverRepeatedNamesHasRoomForAllOfThem) {
    const auto& association = ADB::AttributeContainer::GetAttributeAssociation();
    const short pairs = 11;   // their names alone fill three quarters of the smallest table
    const auto nameOf = [](int number) { return UniString::Printf("Wall %d", number); };
    std::vector<Attribute> older, newer;
    for (short number = 1; number <= pairs; ++number)
        for (auto* const list : {&older, &newer}) {
            list->emplace_back(new Mark(nameOf(number), static_cast<short>(list == &older ? number : number + 100)));
            ASSERT_EQ(association.Connect(ODB::Ref<ODB::Object>(marks), ODB::Ref<ODB::Object>(list->back())), 0);
        }
    marks->AttachAttributeObservers();
    association.DetachRightIndices(ODB::Ref<ODB::Object>(marks));
    ASSERT_EQ(association.AttachRightIndices(ODB::Ref<ODB::Object>(marks), std::make_unique<AttributeIndex>()), 0);
    for (const Attribute& holder : newer)
        EXPECT_EQ(holder->SetName(UniString::Printf("Roof %d", holder->GetIndex())), 0);
    for (const Attribute& shadowed : older)
        shadowed->SetFlags(1);
    for (short number = 1; number <= pairs; ++number)
        EXPECT_EQ(marks->GetAttribute(nameOf(number)), older[static_cast<std::size_t>(number - 1)]);
}

// While everything goes, the index is not kept up to date unless somebody asks it.
TEST_F(AttributeIndexTest, WhoeverAsksWhileAllGoesIsAnswered) {
    Recorder heard;
    const auto fill = [&] {
        for (short index = 1; index <= 30; ++index)
            Add(UniString::Printf("Mark %d", index), index)->Attach(heard);
    };
    std::size_t right = 0;
    heard.act = [&](const std::string& text) {
        if (text != "destroyed")
            return;
        Texts found, linked;
        for (unsigned int index = 1; index <= 30; ++index)
            if (const Reading byIndex = marks.GetConst()->GetConstAttribute(index);
                byIndex && byIndex == marks.GetConst()->GetConstAttribute(UniString::Printf("MARK %u", index)))
                found.push_back(NameOf(byIndex));
        marks.GetConst()->EnumerateConstAttributes(
            [&linked](const Reading& attribute) { linked.push_back(NameOf(attribute)); });
        right += found == linked ? 1 : 0;
    };
    fill();
    marks->ResetContainer();
    EXPECT_EQ(right, 30U);
    EXPECT_EQ(marks.GetConst()->GetAttributeMaximumIndex(), 0);
    fill();
    EXPECT_TRUE(IsSound());
    ODB::Database::DeleteObject(marks);
    EXPECT_EQ(right, 60U);
}

}   // namespace
