#include <AttributeManager/GeneralAttribute.hpp>

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <memory>
#include <string>

#include "ContainerFixture.hpp"

namespace {

using namespace ContainerTests;
using ADB::GeneralAttribute;
using Kest::UniString;

class GeneralAttributeTest : public ContainerFixture {};

TEST_F(GeneralAttributeTest, ANewOneIsEmptyAndAlone) {
    const Mark mark;
    EXPECT_EQ(mark.GetName(), u"");
    EXPECT_EQ(mark.GetIndex(), 0);
    EXPECT_EQ(mark.GetFlags(), 0);
    EXPECT_EQ(mark.GetModificationTime(), 0);
    EXPECT_FALSE(mark.HasMemoData());
    EXPECT_TRUE(mark.GetGuid().IsNull());
    EXPECT_FALSE(mark.GetConstAttributeContainer());
    EXPECT_FALSE(mark.GetConstAttributeSet());
    EXPECT_TRUE(mark.CheckAttribute());
    EXPECT_FALSE(mark.IsCustom());

    const Attribute stored = Add(u"Wall");
    EXPECT_EQ(stored->GetAttributeContainer(), marks);
    EXPECT_FALSE(stored->GetAttributeSet()) << "the container stands alone";
    EXPECT_EQ(stored->GetGuid(), stored.GetId().GetGuid());
}

TEST_F(GeneralAttributeTest, TheNameIsCutAtWholeCharacters) {
    const Mark mark(u"W\u00E4\U0001F600nd");   // bytes: 1, 2, 4, 1, 1
    const struct {
        int size;
        const char* expected;
    } cases[] = {{1, ""},
                 {2, "W"},
                 {3, "W"},
                 {4, "W\u00E4"},
                 {7, "W\u00E4"},
                 {8, "W\u00E4\U0001F600"},
                 {10, "W\u00E4\U0001F600nd"},
                 {64, "W\u00E4\U0001F600nd"}};
    for (const auto& c : cases) {
        std::array<char, 65> buffer;
        buffer.fill('#');
        mark.GetName(buffer.data(), c.size);
        EXPECT_STREQ(buffer.data(), c.expected) << c.size;
        EXPECT_EQ(buffer[static_cast<std::size_t>(c.size)], '#') << c.size;
    }
    std::array<char, 2> untouched{'#', '#'};
    mark.GetName(untouched.data(), 0);
    mark.GetName(untouched.data(), -5);
    mark.GetName(static_cast<char*>(nullptr), 9);
    EXPECT_EQ(untouched[0], '#');
}

TEST_F(GeneralAttributeTest, TheNameInUnitsGetsAZeroOnlyWhereThereIsRoom) {
    const Mark mark(u"Ceiling");
    const struct {
        int size;
        std::u16string expected;   // the first eight units of the buffer
    } cases[] = {
        {-2, u"########"}, {0, u"########"},  {1, u"########"},        {10, u"Ceili###"},
        {11, u"Ceili###"}, {14, u"Ceiling#"}, {16, {u"Ceiling\0", 8}}, {99, {u"Ceiling\0", 8}},
    };
    for (const auto& c : cases) {
        std::array<unsigned short, 50> buffer;
        buffer.fill(u'#');
        mark.GetName(buffer.data(), c.size);
        EXPECT_EQ(std::u16string(buffer.begin(), buffer.begin() + 8), c.expected) << c.size;
    }
    mark.GetName(static_cast<unsigned short*>(nullptr), 9);
}

TEST_F(GeneralAttributeTest, EqualValuesAreNoChange) {
    Mark mark(u"Wall", 3);
    mark.SetFlags(5);
    mark.SetModificationTime(9);
    Recorder recorder;
    mark.Attach(recorder);
    const std::uint64_t stamp = mark.GetModificationStamp();
    EXPECT_EQ(mark.SetName(u"Wall"), 0);
    EXPECT_EQ(mark.SetIndex(3), 0);
    mark.SetFlags(5);
    mark.SetModificationTime(9);
    mark.AddPropertyToFlags(0);
    mark.RemovePropertyFromFlags(0x4002);
    mark.ClearLumSpecificData();
    mark.SetClientCreated(false);
    mark.DirectAddFlags(4);
    mark.DirectRemoveFlags(2);
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_EQ(mark.GetModificationStamp(), stamp);
}

TEST_F(GeneralAttributeTest, FlagsAreSetAllOrNone) {
    const short Negative = static_cast<short>(0x8000);
    const struct {
        const char* when;
        short before;
        void (*change)(GeneralAttribute&);
        short after;
    } cases[] = {
        {"none is set", 0x0002, [](GeneralAttribute& a) { a.AddPropertyToFlags(0x0041); }, 0x0043},
        {"one is set", 0x0001, [](GeneralAttribute& a) { a.AddPropertyToFlags(0x0041); }, 0x0001},
        {"any is cleared with all", 0x0003, [](GeneralAttribute& a) { a.RemovePropertyFromFlags(0x0041); }, 0x0002},
        {"bit 15", 0x0001, [](GeneralAttribute& a) { a.AddPropertyToFlags(static_cast<short>(0x8000)); },
         static_cast<short>(0x8001)},
        {"bit 15 away", Negative, [](GeneralAttribute& a) { a.RemovePropertyFromFlags(static_cast<short>(0x8000)); },
         0},
        {"client-created away", 0x00C0, [](GeneralAttribute& a) { a.ClearLumSpecificData(); }, 0x0040},
    };
    for (const auto& c : cases) {
        Mark mark;
        mark.SetFlags(c.before);
        Recorder recorder;
        mark.Attach(recorder);
        c.change(mark);
        EXPECT_EQ(mark.GetFlags(), c.after) << c.when;
        const Texts expected{"flags " + std::to_string(c.after), "changed 3"};
        EXPECT_EQ(recorder.Take(), c.after != c.before ? expected : Texts()) << c.when;
    }
}

TEST_F(GeneralAttributeTest, FlagsInCommonMustMakeAPositiveNumber) {
    const struct {
        int flags, mask;
        bool expected;
    } cases[] = {{0x8000, 0x8000, false}, {0x8001, 0x8001, false}, {0x8001, 0x0001, true},
                 {0x0001, 0x8001, true},  {0x0006, 0x0001, false}, {0x7FFF, 0x4000, true}};
    for (const auto& c : cases) {
        Mark mark;
        mark.SetFlags(static_cast<short>(c.flags));
        EXPECT_EQ(mark.IsSameFlags(static_cast<short>(c.mask)), c.expected) << c.flags << ' ' << c.mask;
    }
    Mark mark;
    mark.SetFlags(0x0040);
    EXPECT_TRUE(mark.IsFromPax() && !mark.IsFromMasterPax() && !mark.IsClientCreated());
    mark.SetFlags(0x0100);
    EXPECT_TRUE(!mark.IsFromPax() && mark.IsFromMasterPax() && !mark.IsClientCreated());
    mark.SetFlags(0x0080);
    EXPECT_TRUE(!mark.IsFromPax() && !mark.IsFromMasterPax() && mark.IsClientCreated());
}

TEST_F(GeneralAttributeTest, SilentChangesCountAsChangesAndAreFoundAtOnce) {
    const Attribute wall = Add(u"Wall", 7);
    const ODB::ConstRef<GeneralAttribute> reading(wall);
    Mark* const mark = static_cast<Mark*>(wall.Get());
    Recorder recorder;
    mark->Attach(recorder);
    const struct {
        const char* what;
        std::function<void()> change;
    } cases[] = {
        {"SetClientCreated", [&] { mark->SetClientCreated(true); }},
        {"DirectAddFlags", [&] { mark->DirectAddFlags(4); }},
        {"DirectRemoveFlags", [&] { mark->DirectRemoveFlags(4); }},
        {"Clear", [&] { mark->Clear(); }},
    };
    for (const auto& c : cases) {
        const std::uint64_t before = reading.GetModificationStamp();
        c.change();
        EXPECT_GT(reading.GetModificationStamp(), before) << c.what;
    }
    EXPECT_EQ(reading->GetFlags(), 0x0080);
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_FALSE(marks->GetAttribute(u"wall"));
    EXPECT_EQ(marks->GetAttribute(0U), wall);
    EXPECT_EQ(marks->GetAttribute(u""), wall);
}

TEST_F(GeneralAttributeTest, NamesClashWhateverTheLetterCase) {
    Add(u"Wall", 4);
    const Attribute roof = Add(u"Roof", 2);
    Put(2, u"Slab", 2);
    Put(2, u"WALL", 2);   // shadows index 4
    const Attribute door = Add(u"Door", 9);
    TakeLog();
    Recorder recorder;
    door->Attach(recorder);

    EXPECT_EQ(door->SetName(u"wAll"), ADB::Error::RenameClash);
    EXPECT_EQ(TakeLog(), Texts{"ADB::GeneralAttribute::SetName - Test::Mark attribute name \"wAll\" is already used by "
                               "index 4 2, name of \"Door\" cannot be changed (current index is 9)"});
    EXPECT_EQ(door->GetName(), u"Door");
    EXPECT_EQ(recorder.Take(), Texts());

    EXPECT_EQ(door->SetName(u"DOOR"), 0) << "its own name in another letter case";
    EXPECT_EQ(recorder.Take(), (Texts{"was Door", "name DOOR", "changed 1"}));
    EXPECT_EQ(roof->SetName(u"Wall"), ADB::Error::RenameClash) << "a shadowed bearer counts";
    EXPECT_EQ(TakeLog().size(), 1U);
    EXPECT_EQ(roof->SetName(u"Roof"), 0);
    EXPECT_FALSE(marks->GetAttribute(u"wall")) << "a key whose holder moved on has none";
    EXPECT_EQ(door->SetName(u"Wall"), ADB::Error::RenameClash) << "but is still borne";

    Mark loner(u"Wall");
    EXPECT_EQ(loner.SetName(u"Door"), 0) << "in no container any name will do";
    EXPECT_EQ(TakeLog().size(), 1U);
}

TEST_F(GeneralAttributeTest, IndexesClashWithAllTheirBearers) {
    Add(u"A", 5);
    Add(u"50% b", 6);
    const Attribute free = Add(u"C", 8);
    Put(6, u"50% b", 5);
    TakeLog();
    Recorder recorder;
    free->Attach(recorder);
    EXPECT_EQ(free->SetIndex(5), ADB::Error::ReindexClash);
    EXPECT_EQ(TakeLog(),
              Texts{"ADB::GeneralAttribute::SetIndex - Test::Mark attribute index 5 is already used by \"A\" "
                    "\"50% b\", index of \"C\" cannot be changed (current index is 8)"});
    EXPECT_EQ(free->GetIndex(), 8);
    for (const short limit : {short{32767}, short{-1}, short{0}, short{-32768}}) {
        EXPECT_EQ(free->SetIndex(limit), 0);
        EXPECT_EQ(marks->GetAttribute(static_cast<unsigned int>(limit)), free);
    }
    EXPECT_FALSE(marks->GetAttribute(8U)) << "free at once";
    EXPECT_EQ(recorder.Take().size(), 8U);
    EXPECT_EQ(TakeLog(), Texts());
}

TEST_F(GeneralAttributeTest, ARefusedChangeOfAWrittenAttributeStillTakesItsKeys) {
    const Attribute first = Add(u"A", 1);
    Add(u"B", 2);
    Add(u"C", 3);
    Put(2, u"B", 1);
    ASSERT_NE(marks->GetAttribute(1U), first);
    TakeLog();
    EXPECT_EQ(first->SetName(u"c"), ADB::Error::RenameClash);
    EXPECT_EQ(marks->GetAttribute(1U), first) << "written through a reference, the last writer holds its keys";
    EXPECT_EQ(marks->GetAttribute(u"B")->SetIndex(3), ADB::Error::ReindexClash);
    EXPECT_EQ(marks->GetAttribute(1U), marks->GetAttribute(u"B"));
}

TEST_F(GeneralAttributeTest, AnObserverMayDeleteWhatIsRenamed) {
    for (const char* event : {"was Wall", "name Roof", "changed 1"}) {
        const Attribute wall = Add(u"Wall");
        Recorder killer, other;
        wall->Attach(other);
        wall->Attach(killer);
        killer.act = [&](const std::string& heard) {
            if (heard == event)
                marks->DeleteAttribute(1);
        };
        EXPECT_EQ(wall->SetName(u"Roof"), 0) << event;
        EXPECT_FALSE(wall);
        EXPECT_EQ(killer.Take().back(), "destroyed");
        const Texts heard = std::string_view(event) == "was Wall" ? Texts{"destroyed"} : Texts{"was Wall", "destroyed"};
        EXPECT_EQ(other.Take(), heard) << event;
        EXPECT_TRUE(IsSound());
    }
}

TEST_F(GeneralAttributeTest, ObserversFindTheNewKeysAndNotTheOld) {
    const Attribute wall = Add(u"Wall", 5);
    Recorder recorder;
    int calls = 0;
    recorder.act = [&](const std::string&) {
        ++calls;
        EXPECT_FALSE(marks->GetAttribute(u"WALL"));
        EXPECT_EQ(marks->GetAttribute(u"ROOF"), wall);
    };
    wall->Attach(recorder);
    wall->SetName(u"Roof");
    recorder.act = [&](const std::string&) {
        ++calls;
        EXPECT_FALSE(marks->GetAttribute(5U));
        EXPECT_EQ(marks->GetAttribute(6U), wall);
    };
    wall->SetIndex(6);
    EXPECT_EQ(calls, 5);
}

TEST_F(GeneralAttributeTest, TrailingDigitsCountUp) {
    const struct {
        UniString name, expected;
    } cases[] = {
        {u"", u"0001"}, {u"Wall 9", u"Wall10"}, {u"Brick", u"Bric1"}, {u"A19", u"A20"},
        {u"99", u"00"}, {u"9", u"0"},           {u"A99", u"100"},     {u"0", u"1"},
        {u"/", u"1"},   {u":9", u"10"},         {u"A0", u"A1"},       {u"\u0663", u"1"},
    };
    for (const auto& c : cases) {
        Mark mark(c.name);
        ADB::GeneralAttributeTestAccess::GenerateNewName(mark);
        EXPECT_EQ(mark.GetName(), c.expected) << c.name;
    }
    const std::u16string nines(300, u'9');
    Mark mark{UniString(nines)};
    ADB::GeneralAttributeTestAccess::GenerateNewName(mark);
    EXPECT_EQ(mark.GetName(), UniString(std::u16string(256, u'0')));
}

TEST_F(GeneralAttributeTest, CopiesTakeTheContentAlone) {
    const Attribute wall = Add(u"Wall", 7);
    wall->SetFlags(0x0085);
    wall->SetModificationTime(3);
    wall->MarkDisabled(true);
    Recorder recorder;
    wall->Attach(recorder);
    const std::unique_ptr<Mark> copy(static_cast<const Mark*>(wall.GetConst())->Clone());
    EXPECT_TRUE(copy->IsEqual(wall));
    EXPECT_TRUE(copy->Compare(wall).IsEmpty());
    EXPECT_TRUE(copy->IsDisabled());
    EXPECT_TRUE(copy->GetGuid().IsNull());
    EXPECT_FALSE(copy->GetAttributeContainer());
    EXPECT_EQ(copy->GetObserverCount(), 0U);
    EXPECT_EQ(copy->SetName(u"Roof"), 0);
    EXPECT_EQ(recorder.Take(), Texts());

    Mark assigned;
    assigned = *copy;
    EXPECT_TRUE(assigned.IsEqual(ODB::ConstRef<GeneralAttribute>(copy.get())));
    EXPECT_FALSE(assigned.IsDisabled()) << "assigning leaves the passing mark alone";
}

TEST_F(GeneralAttributeTest, AStateHoldsTheContent) {
    const Attribute wall = Add(u"Wall", 7);
    wall->SetFlags(0x0085);
    const std::unique_ptr<GeneralAttribute::IsolatedState> state(wall->CreateIsolatedState());
    ASSERT_EQ(wall->StoreIsolatedState(state.get()), 0);
    wall->SetName(u"Roof");
    wall->SetIndex(9);
    wall->SetFlags(0);
    Recorder recorder;
    wall->Attach(recorder);
    const std::uint64_t before = wall.GetModificationStamp();
    ASSERT_EQ(wall.GetLogicalConst()->RestoreIsolatedState(state.get()), 0);
    EXPECT_GT(wall.GetModificationStamp(), before);
    EXPECT_EQ(wall->GetFlags(), 0x0085);
    EXPECT_EQ(marks->GetAttribute(u"wall"), wall);
    EXPECT_EQ(marks->GetAttribute(7U), wall);
    EXPECT_FALSE(marks->GetAttribute(9U));
    EXPECT_EQ(recorder.Take(), Texts());

    ODB::Object::IsolatedState foreign;
    EXPECT_EQ(wall->StoreIsolatedState(&foreign), ADB::Error::WrongCall);
    EXPECT_EQ(wall->RestoreIsolatedState(&foreign), ADB::Error::WrongCall);
    EXPECT_EQ(wall->RestoreIsolatedState(nullptr), ADB::Error::WrongCall);
}

}   // namespace
