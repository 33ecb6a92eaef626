#include <AttributeManager/GeneralAttribute.hpp>

#include <array>
#include <memory>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;

class GeneralAttributeTest : public ContainerFixture {};

TEST_F(GeneralAttributeTest, TheNameIsCutAtWholeCharacters) {
    const Mark mark(u"W\u00E4\U0001F600nd");   // bytes: 1, 2, 4, 1, 1
    const std::pair<int, std::string> cases[] = {
        {-5, "##"},
        {0, "##"},
        {1, {"\0#", 2}},
        {2, {"W\0#", 3}},
        {3, {"W\0##", 4}},
        {4, {"W\u00E4\0#", 5}},
        {7, {"W\u00E4\0####", 8}},
        {8, {"W\u00E4\U0001F600\0#", 9}},
        {64, {"W\u00E4\U0001F600nd\0#", 11}},
    };
    for (const auto& [size, expected] : cases) {
        std::string buffer(65, '#');
        mark.GetName(buffer.data(), size);
        EXPECT_EQ(buffer.substr(0, expected.size()), expected) << size;
    }
    mark.GetName(static_cast<char*>(nullptr), 9);
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
    Mark mark(u"Wall", 3, 0, 5);
    Recorder recorder;
    mark.Attach(recorder);
    const std::uint64_t stamp = mark.GetModificationStamp();
    EXPECT_EQ(mark.SetName(u"Wall"), 0);
    EXPECT_EQ(mark.SetIndex(3), 0);
    mark.SetFlags(5);
    mark.SetModificationTime(0);
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
    using Change = void (GeneralAttribute::*)(short);
    const Change add = &GeneralAttribute::AddPropertyToFlags, remove = &GeneralAttribute::RemovePropertyFromFlags;
    const struct {
        const char* when;
        int before;
        Change change;
        int flags, after;
    } cases[] = {
        {"none is set", 0x0002, add, 0x0041, 0x0043},
        {"one is set", 0x0001, add, 0x0041, 0x0001},
        {"any is cleared with all", 0x0003, remove, 0x0041, 0x0002},
        {"bit 15", 0x0001, add, 0x8000, 0x8001},
        {"bit 15 away", 0x8000, remove, 0x8000, 0},
    };
    for (const auto& c : cases) {
        Mark mark(u"", 0, 0, static_cast<short>(c.before));
        Recorder recorder;
        mark.Attach(recorder);
        (mark.*c.change)(static_cast<short>(c.flags));
        const short after = static_cast<short>(c.after);
        EXPECT_EQ(mark.GetFlags(), after) << c.when;
        const Texts expected{"flags " + std::to_string(after), "changed 3"};
        EXPECT_EQ(recorder.Take(), c.after != c.before ? expected : Texts()) << c.when;
    }
    Mark mark(u"", 0, 0, 0x00C0);
    mark.ClearLumSpecificData();
    EXPECT_EQ(mark.GetFlags(), 0x0040);
}

TEST_F(GeneralAttributeTest, FlagsInCommonMustMakeAPositiveNumber) {
    const struct {
        int flags, mask;
        bool expected;
    } cases[] = {{0x8000, 0x8000, false}, {0x8001, 0x8001, false}, {0x8001, 0x0001, true},
                 {0x0001, 0x8001, true},  {0x0006, 0x0001, false}, {0x7FFF, 0x4000, true}};
    for (const auto& c : cases)
        EXPECT_EQ(Mark(u"", 0, 0, static_cast<short>(c.flags)).IsSameFlags(static_cast<short>(c.mask)), c.expected)
            << c.flags << ' ' << c.mask;
    for (const short flags : {short{0x0040}, short{0x0100}, short{0x0080}}) {
        const Mark mark(u"", 0, 0, flags);
        EXPECT_TRUE(mark.IsFromPax() == (flags == 0x0040) && mark.IsFromMasterPax() == (flags == 0x0100) &&
                    mark.IsClientCreated() == (flags == 0x0080));
    }
}

TEST_F(GeneralAttributeTest, SilentChangesCountAsChangesAndAreFoundAtOnce) {
    const Attribute wall = Add(u"Wall", 7);
    const Reading reading(wall);
    Mark* const mark = static_cast<Mark*>(wall.Get());
    Recorder recorder;
    mark->Attach(recorder);
    const std::function<void()> changes[] = {
        [&] { mark->SetClientCreated(true); },
        [&] { mark->DirectAddFlags(4); },
        [&] { mark->DirectRemoveFlags(4); },
        [&] { mark->Clear(); },
    };
    for (const auto& change : changes) {
        const std::uint64_t before = reading.GetModificationStamp();
        change();
        EXPECT_GT(reading.GetModificationStamp(), before) << &change - changes;
    }
    EXPECT_EQ(reading->GetFlags(), 0x0080);
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_FALSE(marks->GetAttribute(u"wall"));
    EXPECT_EQ(marks->GetAttribute(0U), wall);
    EXPECT_EQ(marks->GetAttribute(u""), wall);
}

TEST_F(GeneralAttributeTest, NamesClashWhateverTheLetterCase) {
    Add(u"Wall", 4);
    const Attribute door = Add(u"Door", 9);
    Recorder recorder;
    door->Attach(recorder);
    EXPECT_EQ(door->SetName(u"wAll"), ADB::Error::RenameClash);
    EXPECT_EQ(TakeLog().size(), 1U);
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_EQ(door->SetName(u"DOOR"), 0) << "its own name in another letter case";
    EXPECT_EQ(recorder.Take(), (Texts{"was Door", "name DOOR", "changed 1"}));
    Mark loner(u"Wall");
    EXPECT_EQ(loner.SetName(u"Door"), 0) << "in no container any name will do";
    EXPECT_EQ(TakeLog(), Texts());
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
    EXPECT_TRUE(assigned.IsEqual(Reading(copy.get())));
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
