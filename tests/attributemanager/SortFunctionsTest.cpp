#include <AttributeManager/SortFunctions.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;

class SortFunctionsTest : public SetFixture {
protected:
    SortFunctionsTest() : rules(CreateSortRuleTable()) { InitAttributeManager(rules); }
    ~SortFunctionsTest() override {
        BMKillHandle(&list);
        InitAttributeManager(nullptr);
        DisposeSortRuleTable(&rules);
    }

    /// Stores layers of these names under 1, 2, ...; equal ones too, which the operations of a set would not allow.
    void AddAll(const Names& names) {
        for (const UniString& name : names) {
            const Attribute added = Add(u"free");
            const Mark wanted(name, added.GetConst()->GetIndex());
            FieldMask changed;
            ASSERT_EQ(Marks()->PutAttribute(Reading(&wanted), static_cast<unsigned int>(wanted.GetIndex()), &changed),
                      0);
        }
    }

    Indexes Listed() const { return Indexes(*list, *list + count); }

    Indexes Sorted(ADB::AttributeSortFunction sort, const Names& names) {
        set->DeleteAttributeType(markType);
        AddAll(names);
        BMKillHandle(&list);
        EXPECT_EQ(NoFilter(set, markType, &list, nullptr, &count), 0);
        EXPECT_EQ(sort(set, markType, list, count), 0);
        return Listed();
    }

    ADB::ISortRuleTable* rules;
    short** list = nullptr;
    short count = -1;
};

TEST_F(SortFunctionsTest, NoFilterListsTheIndexesThatExist) {
    for (const short typeId : {markType, short{0}, short{99}}) {
        ASSERT_EQ(NoFilter(set, typeId, &list, nullptr, &count), 0);
        EXPECT_EQ(count, 0);
        EXPECT_EQ(BMGetHandleSize(list), 2);
        BMKillHandle(&list);
    }
    for (const short index : {short{1}, short{2}, short{5}})
        Add(u"a", index);
    ASSERT_EQ(NoFilter(set, markType, &list, nullptr, &count), 0);
    EXPECT_EQ(Listed(), (Indexes{1, 2, 5}));
    EXPECT_EQ(BMGetHandleSize(list), 8);
    BMKillHandle(&list);
    ASSERT_EQ(NoFilter(set, markType, &list, nullptr, nullptr), 0);
    EXPECT_EQ(BMGetHandleSize(list), 12) << "without a count the handle keeps room for 1 to 5";
}

TEST_F(SortFunctionsTest, FiltersByTheExactTextBehindTheFirstDot) {
    AddAll({u"b.x", u"a", u"c.x.y", u"a.x", u"d.X", u"e."});
    const struct {
        const char* extension;
        Indexes expected;
    } cases[] = {{"x", {1, 4}}, {"x.y", {3}}, {"X", {5}}, {"", {2, 6}}, {"y", {}}};
    for (const auto& c : cases) {
        char extension[8];
        std::snprintf(extension, sizeof extension, "%s", c.extension);
        ASSERT_EQ(FilterByThisExtension(set, markType, &list, extension, &count), 0);
        EXPECT_EQ(Listed(), c.expected) << c.extension;
        BMKillHandle(&list);
    }
}

TEST_F(SortFunctionsTest, AWantOfMemoryIsACode) {
    AddAll({u"A name with an extension.x", u"Another name with an extension.y"});
    char extension[] = "x";
    for (const auto filter : {&NoFilter, &FilterByThisExtension}) {
        int status = 1;
        const auto seen = ForEachFailure(
            [&] {
                status = 1;
                status = filter(set, markType, &list, extension, &count);
            },
            [&](bool failed) {
                EXPECT_EQ(status, failed ? ADB::Error::MemoryFull : 0);
                BMKillHandle(&list);
            });
        EXPECT_GT(seen.failures, 2U);
    }
}

TEST_F(SortFunctionsTest, SortsStably) {
    const struct {
        const char* what;
        ADB::AttributeSortFunction sort;
        Names names;
        Indexes expected;
    } cases[] = {
        {"by extension, then base", AttributeSortByExtension, {u"b.x", u"a", u"c.x.y", u"a.x"}, {2, 4, 1, 3}},
        {"a dot alone is no extension", AttributeSortByExtension, {u"b.", u"a.b", u"a"}, {3, 1, 2}},
        {"extensions in any letter case", AttributeSortByExtension, {u"b.X", u"a.x", u"B.x"}, {2, 1, 3}},
        {"by name in any letter case", AttributeSortByName, {u"b", u"C", u"A"}, {3, 1, 2}},
        {"equal names stay in order", AttributeSortByName, {u"b", u"a", u"B", u"a", u"A"}, {2, 4, 5, 1, 3}},
        {"by code point, not by code unit", AttributeSortByName, {u"\xFF5E", u"\xD83D\xDE00", u"z"}, {3, 1, 2}},
        {"an empty name comes first", AttributeSortByName, {u"b", u"", u"a"}, {2, 3, 1}},
        {"not by index", AttributeSortByIndex, {u"b", u"a"}, {1, 2}},
        {"not at all", NoSort, {u"b", u"a"}, {1, 2}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Sorted(c.sort, c.names), c.expected) << c.what;
    Indexes inOrder;   // too many for an insertion sort, which is stable anyway
    for (short index = 1; index <= 40; ++index)
        inOrder.push_back(index);
    EXPECT_EQ(Sorted(AttributeSortByName, Names(40, u"a")), inOrder);
}

// What both sorts amount to: binary insertion, the key to the left of what it comes before, else to the right.
Indexes InsertByName(const ADB::AttributeSet& set, short typeId, Indexes indexes) {
    for (int next = 1; next < static_cast<int>(indexes.size()); ++next) {
        const short key = indexes[static_cast<std::size_t>(next)];
        int low = 0;
        int high = next - 1;
        while (low <= high) {
            const int probe = (low + high) / 2;
            const UniString name = set.GetAttributeName(typeId, indexes[static_cast<std::size_t>(probe)]);
            if (set.GetAttributeName(typeId, key).Compare(name, Kest::CaseInsensitive) == 0)
                high = probe - 1;
            else
                low = probe + 1;
        }
        indexes.erase(indexes.begin() + next);
        indexes.insert(indexes.begin() + low, key);
    }
    return indexes;
}

TEST_F(SortFunctionsTest, AgreesWithBinaryInsertionAlsoOnRepeatedAndMissingIndexes) {
    for (const char16_t* name : {u"d", u"B", u"a", u"C", u"e", u"F"})
        Add(name);
    unsigned int random = 7;
    for (int round = 0; round < 300; ++round) {
        const std::size_t size = random % 9;
        Indexes indexes(size);
        for (short& index : indexes) {
            random = random * 1664525U + 1013904223U;
            index = static_cast<short>((random >> 16) % 9);   // 0, 7 and 8 do not exist
        }
        list = reinterpret_cast<short**>(BMAllocateHandle(static_cast<std::int64_t>(size * sizeof(short)), BMPlain));
        std::copy(indexes.begin(), indexes.end(), *list);
        count = static_cast<short>(size);
        const short asked = round % 3 == 0 ? short{32767} : count;   // never beyond the handle
        ASSERT_EQ(AttributeSortByName(set, markType, list, asked), 0);
        EXPECT_EQ(Listed(), InsertByName(*set.GetConst(), markType, indexes)) << "round " << round;
        BMKillHandle(&list);
        random = random * 1664525U + 1013904223U;
    }
}

TEST_F(SortFunctionsTest, RefusesNullArguments) {
    short** const none = nullptr;
    EXPECT_EQ(NoFilter(ODB::NullRef, markType, &list, nullptr, &count), ADB::Error::NullArgument);
    EXPECT_EQ(NoFilter(set, markType, nullptr, nullptr, &count), ADB::Error::NullArgument);
    EXPECT_EQ(FilterByThisExtension(ODB::NullRef, markType, &list, nullptr, &count), ADB::Error::NullArgument);
    EXPECT_EQ(count, -1);
    ASSERT_EQ(NoFilter(set, markType, &list, nullptr, &count), 0);
    for (const auto sort : {&AttributeSortByName, &AttributeSortByExtension}) {
        EXPECT_EQ(sort(ODB::NullRef, markType, list, count), ADB::Error::NullArgument);
        EXPECT_EQ(sort(set, markType, none, count), ADB::Error::NullArgument);
        EXPECT_EQ(sort(set, markType, list, -5), 0);
    }
    short* nothing = nullptr;
    EXPECT_EQ(AttributeSortByName(set, markType, &nothing, 0), ADB::Error::NullArgument);
}

int FailingFilter(ODB::ConstRef<ADB::AttributeSet>, short, short***, char*, short*) {
    return -42;
}

std::string extensionSeen;

int CapturingFilter(ODB::ConstRef<ADB::AttributeSet> set, short typeId, short*** handle, char* extension,
                    short* count) {
    extensionSeen = extension;
    return NoFilter(set, typeId, handle, extension, count);
}

TEST_F(SortFunctionsTest, ASetRunsTheRuleOfTheTable) {
    AddAll({u"b.x", u"a.y", u"a.x"});
    ASSERT_EQ(rules->SetSortRule(1, &FilterByThisExtension, &AttributeSortByName), 0);
    ASSERT_EQ(rules->SetSortRule(2, &FailingFilter, &NoSort), 0);
    EXPECT_EQ(set->SortAttributeType(markType, 1, "x", &count, &list), 0);
    EXPECT_EQ(Listed(), (Indexes{3, 1}));
    EXPECT_EQ(set->SortAttributeType(markType, 2, "", &count, &list), -42);
    EXPECT_EQ(set->SortAttributeType(markType, 1, "", nullptr, &list), ADB::Error::NullArgument);
    EXPECT_EQ(set->SortAttributeType(markType, 1, "", &count, nullptr), ADB::Error::NullArgument);
    EXPECT_EQ(set->SortAttributeType(markType, 3, "", &count, &list), ADB::Error::NoSortRule);
    InitAttributeManager(nullptr);
    EXPECT_EQ(set->SortAttributeType(markType, 1, "", &count, &list), ADB::Error::NoSortRule);
}

TEST_F(SortFunctionsTest, ASetHandsTheFilterItsExtensionCutToWholeCharacters) {
    rules->SetSortRule(1, &CapturingFilter, &NoSort);
    const std::string umlauts = [] {
        std::string text = "x";
        for (int place = 0; place < 200; ++place)
            text += "\xC3\xA4";
        return text;
    }();
    EXPECT_EQ(set->SortAttributeType(markType, 1, umlauts.c_str(), &count, &list), 0);
    EXPECT_EQ(extensionSeen, umlauts.substr(0, 255));
    BMKillHandle(&list);
    EXPECT_EQ(set->SortAttributeType(markType, 1, nullptr, &count, &list), 0);
    EXPECT_EQ(extensionSeen, "");
}

TEST_F(SortFunctionsTest, ATableKeepsTheLastPairOfARule) {
    EXPECT_EQ(rules->SetSortRule(1, nullptr, &NoSort), ADB::Error::NullArgument);
    EXPECT_EQ(rules->SetSortRule(1, &NoFilter, nullptr), ADB::Error::NullArgument);
    EXPECT_EQ(rules->GetFilterFunction(1), nullptr);
    EXPECT_EQ(rules->GetSortFunction(1), nullptr);
    rules->SetSortRule(-1, &NoFilter, &NoSort);
    rules->SetSortRule(-1, &FilterByThisExtension, &AttributeSortByName);
    EXPECT_EQ(rules->GetFilterFunction(-1), &FilterByThisExtension);
    EXPECT_EQ(rules->GetSortFunction(-1), &AttributeSortByName);
    DisposeSortRuleTable(nullptr);
}

}   // namespace
