#include "KindSamples.hpp"
#include "Session.hpp"
#include "kinds/FieldText.hpp"
#include "kinds/KindTable.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <Kest/ClassManager.hpp>

#include <AttributeManager/AttributeManager.hpp>
#include <AttributeManager/GeneralAttributeObserver.hpp>

namespace {

using namespace HostTests;

class References final : public IUsedAttrCollection {
public:
    void AddAttribute(unsigned int refId, short index) override { found.emplace(refId, index); }
    void AddAttributes(unsigned int refId, const short* indexes, std::size_t count) override {
        for (std::size_t i = 0; i < count; ++i)
            AddAttribute(refId, indexes[i]);
    }
    bool IsSatisfied() const override { return false; }

    std::multiset<std::pair<unsigned int, short>> found;
};

class Listener final : public ADB::GeneralAttributeObserver {
public:
    using GeneralAttributeObserver::NameChanged;
    void NameChanged(ODB::Ref<ADB::GeneralAttribute> attribute, const Kest::UniString&) override {
        textsAtRename = TextsOf(*attribute.GetConst());
    }
    void AttributeChanged(ODB::ConstRef<ADB::GeneralAttribute>, const FieldMask& fields) override {
        heard.push_back(fields);
    }

    static std::u16string TextsOf(const ADB::GeneralAttribute& attribute) {
        std::u16string texts;
        for (const FieldText& field :
             GetFieldTexts(dynamic_cast<const KindBase&>(attribute), [](unsigned, short) { return Kest::UniString(); }))
            texts += field.text + u';';
        return texts;
    }

    std::vector<FieldMask> heard;
    std::u16string textsAtRename;
};

struct DisposeTable {
    void operator()(ADB::IAttributeNewIndexTable* table) const { DisposeAttributeNewIndexTable(&table); }
};

template <class Tuple>
struct TypesOf;
template <class... Kinds>
struct TypesOf<std::tuple<Kinds...>> {
    using Types = testing::Types<Kinds...>;
};

struct KindName {
    template <class Kind>
    static std::string GetName(int) {
        return Kind::Record.name;
    }
};

template <class Kind>
class KindsTest : public testing::Test {
protected:
    Session session;
    const short typeId = TypeIdOf(Kind::Record.refId);
};

TYPED_TEST_SUITE(KindsTest, TypesOf<AllKinds>::Types, KindName);

TYPED_TEST(KindsTest, EachFieldIsSetComparedAndSynchronizedByItself) {
    ForEachPlace<TypeParam>([](auto place) {
        constexpr auto Field = FieldAt<TypeParam, place()>();
        FieldMask own;
        own.Set(TypeParam::FieldIdOf(Field.number));
        TypeParam changed;
        Listener listener;
        changed.Attach(listener);
        ChangeField<TypeParam, place()>(changed);
        auto same = changed.Get().*Field.member;
        changed.template Set<Field.member>(same);
        EXPECT_EQ(listener.heard, std::vector{own}) << Field.name << ": one announcement, none for an equal value";

        TypeParam other;
        EXPECT_TRUE(other.Compare(&changed) == own) << Field.name;
        EXPECT_FALSE(other.IsEqual(&changed)) << Field.name;
        other.Synchronize(&changed, FieldMask());
        EXPECT_TRUE(other.Compare(&changed) == own) << Field.name << ": an empty mask takes no field";
        other.Synchronize(&changed, own);
        EXPECT_TRUE(other.IsEqual(&changed)) << Field.name;
    });
}

TYPED_TEST(KindsTest, ARenameByASynchronizationIsHeardWithAllFieldsInPlace) {
    TypeParam source, target;
    source.SetName(u"New");
    ChangeAll(source);
    Listener listener;
    target.Attach(listener);
    target.Synchronize(&source, target.Compare(&source));
    EXPECT_EQ(listener.textsAtRename, Listener::TextsOf(source));
    EXPECT_TRUE(target.IsEqual(&source));
}

TYPED_TEST(KindsTest, StatesClonesAndCopiesHaveEveryField) {
    TypeParam source;
    source.SetName(u"Name");
    ChangeAll(source);

    const std::unique_ptr<typename TypeParam::IsolatedState> state(source.CreateIsolatedState());
    TypeParam restored;
    ASSERT_EQ(source.StoreIsolatedState(state.get()), 0);
    ASSERT_EQ(restored.RestoreIsolatedState(state.get()), 0);
    EXPECT_TRUE(restored.IsEqual(&source));
    ADB::GeneralAttribute::IsolatedState foreign;
    EXPECT_EQ(source.StoreIsolatedState(&foreign), ADB::Error::WrongCall);
    EXPECT_EQ(restored.RestoreIsolatedState(&foreign), ADB::Error::WrongCall);
    EXPECT_TRUE(restored.IsEqual(&source));

    const std::unique_ptr<KindBase> clone(source.Clone());
    EXPECT_TRUE(clone->IsEqual(&source));

    TypeParam stored;
    stored.SetName(u"Name");
    const ODB::Ref<ADB::AttributeSet> set = this->session.GetSet();
    ASSERT_EQ(set->NewAttribute(this->typeId, &stored, false, false), 0);
    source.SetIndex(stored.GetIndex());
    ASSERT_EQ(set->PutAttribute(this->typeId, &source, false), 0);
    EXPECT_TRUE(set->GetConstAttribute(this->typeId, stored.GetIndex())->Compare(&source).IsEmpty());
}

TYPED_TEST(KindsTest, ReferencesAreReportedAndFollowARenumbering) {
    TypeParam attribute;
    References none, before, after;
    attribute.CollectUsedAttrs(none);
    EXPECT_TRUE(none.found.empty()) << "an index of 0 refers to nothing";
    ChangeAll(attribute);
    attribute.CollectUsedAttrs(before);
    const std::unique_ptr<ADB::IAttributeNewIndexTable, DisposeTable> table(CreateAttributeNewIndexTable());
    std::multiset<std::pair<unsigned int, short>> old, renumbered;
    for (const unsigned int refId : FindKind(TypeParam::Record.refId)->refersTo) {
        old.emplace(refId, OldReference);
        renumbered.emplace(refId, NewReference);
        table->SetNewIndex(TypeIdOf(refId), OldReference, NewReference);
    }
    EXPECT_EQ(before.found, old);
    Listener listener;
    attribute.Attach(listener);
    attribute.ReindAttr(table.get());
    EXPECT_EQ(listener.heard.size(), old.empty() ? 0u : 1u);
    attribute.CollectUsedAttrs(after);
    EXPECT_EQ(after.found, renumbered);
}

TYPED_TEST(KindsTest, TheClassRecordMakesAttributesOfTheKind) {
    const Kest::Guid classId(TypeParam::Record.classId);
    const std::unique_ptr<Kest::Object> made(Kest::ClassManager::CreateObject(classId));
    EXPECT_NE(dynamic_cast<TypeParam*>(made.get()), nullptr);
    EXPECT_EQ(GetAttributeRegister()->GetTypeGuid(this->typeId), classId);
    std::set<int> numbers;
    ForEachField<typename TypeParam::FieldsType>(
        [&](const auto& field) { EXPECT_TRUE(numbers.insert(field.number).second) << field.name; });
}

TEST(KindTableTest, IdentitiesAreUnique) {
    std::set<Kest::Guid> guids;
    for (const KindEntry& kind : GetKinds()) {
        guids.insert(Kest::Guid(kind.record.classId));
        guids.insert(Kest::Guid(kind.record.containerId));
        EXPECT_EQ(FindKind(std::string_view(kind.record.name)), &kind);
        EXPECT_EQ(FindKind(kind.record.refId), &kind);
    }
    EXPECT_EQ(guids.size(), 2 * GetKinds().size());
    EXPECT_EQ(FindKind("lINEtYPE"), FindKind(LineType::Record.refId));
    EXPECT_EQ(FindKind("LineTypes"), nullptr);
}

TEST(KindTableTest, AKindComesBehindThoseThatItRefersTo) {
    std::set<unsigned int> seen;
    for (const KindEntry* const kind : GetKindsInReferenceOrder()) {
        for (const unsigned int refId : kind->refersTo)
            EXPECT_TRUE(seen.contains(refId)) << kind->record.name;
        seen.insert(kind->record.refId);
    }
    EXPECT_EQ(seen.size(), GetKinds().size());
}

TEST(KindTableTest, NumbersThatAreFixedForEver) {
    const Session session;
    EXPECT_EQ(TypeIdOf(0x474F5652), 15) << "GOVR, the graphic overrides";
    EXPECT_EQ(TypeIdOf(0x45444F50), 14) << "EDOP, the operation profiles";
    EXPECT_EQ(TypeIdOf(0x424D4154), 16) << "BMAT, the building materials";
    EXPECT_EQ(TypeIdOf(Layer::Record.refId), 5);
    EXPECT_EQ(GetAttributeRegister()->GetAttributeTypeNumber(), 16);
}

TEST(FieldTextTest, ListsRecordsAndNumbersHaveTheirSeparators) {
    const ReferenceText name = [](unsigned int, short index) {
        return Kest::UniString::Printf("#%d", static_cast<int>(index));
    };
    LineType lineType;
    lineType.Set<&LineTypeFields::pattern>(std::vector{1.25, -.25, 0.0, -0.0, 1e-7});
    EXPECT_EQ(GetFieldTexts(lineType, name)[1].text, u"1.25 -0.25 0 0 1e-07");

    Fill fill;
    fill.Set<&FillFields::families>(std::vector<HatchFamily>{{45, 0, 0, 1, 2, {3, -4}}, {90, 0, 0, 5, 6, {}}});
    EXPECT_EQ(GetFieldTexts(fill, name)[1].text, u"45,0,0,1,2,3,-4 | 90,0,0,5,6");

    Layer layer;
    layer.Set<&LayerFields::lineType>(short{3});
    const std::vector<FieldText> texts = GetFieldTexts(layer, name);
    EXPECT_EQ(texts[0].text, u"7");
    EXPECT_TRUE(texts[0].isNumber);
    EXPECT_EQ(texts[1].text, u"#3");
    EXPECT_EQ(texts[5].text, u"") << "a value that is not there";
}

}   // namespace
