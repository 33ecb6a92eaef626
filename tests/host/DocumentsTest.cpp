#include "KindSamples.hpp"
#include "Session.hpp"
#include "documents/DocumentReader.hpp"
#include "documents/DocumentWriter.hpp"
#include "documents/LossReport.hpp"
#include "documents/MemoryTrip.hpp"
#include "documents/ReportText.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <Kest/Crc32c.hpp>
#include <Kest/MemoryChannels.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

namespace {

using namespace HostTests;
using ADB::GeneralAttribute;
using ADB::ReadReport;

constexpr SetForm AllForms[] = {SetForm::Xml, SetForm::Stream1, SetForm::Stream2, SetForm::Stream3, SetForm::Stream4};

// The lines, by themselves.
std::string Lines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return text;
}

std::string Lines(const std::vector<Difference>& differences) {
    std::string text;
    for (const Difference& difference : differences)
        text += TextOf(difference) + '\n';
    return text;
}

class DocumentsTest : public testing::Test {
protected:
    DocumentsTest() {
        std::filesystem::remove_all(folder);
        std::filesystem::create_directories(folder);
    }
    ~DocumentsTest() override { std::filesystem::remove_all(folder); }

    const ODB::Ref<ADB::AttributeSet>& Set() const { return session.GetSet(); }

    void Add(GeneralAttribute& attribute, const Kest::UniString& name) {
        attribute.SetName(name);
        ASSERT_EQ(Set()->NewAttribute(TypeIdOf(attribute.GetAttributeTypeId()), &attribute, false, true), 0);
    }
    template <class Kind>
    void Add(const Kest::UniString& name) {
        Kind attribute;
        Add(attribute, name);
    }

    // Two attributes of every kind, with names that are hard to carry.
    void AddEverything() {
        const Kest::UniString hard(std::u16string(u"\0\x1F\xD800\xFFFE\u05D0\r\n\\u0041 ", 13));
        for (const std::unique_ptr<KindBase>& attribute : MakeChangedKinds(1)) {
            Add(*attribute, hard);
            Add(*attribute, std::u16string_view(std::u16string(100000, u'w')));
        }
        const short layers = TypeIdOf(Layer::Record.refId);
        Set()->SetActiveAttribute(layers, Set()->GetAttribute(layers, short{2}));
        Set()->SetEmptyFill(1);
    }

    void SaveAs(bool isStore, const std::filesystem::path& target) const {
        const IO::Location location(Kest::UniString::FromUtf8(target.string()));
        Kest::Array<Kest::UniString> messages;
        ADB::AttributeSetStore store;
        store.Update(Set(), static_cast<int>(CurrentStream));
        ASSERT_EQ(isStore ? store.CustomWriteXML(location, nullptr, messages)
                          : Set()->CustomWriteXML(location, nullptr, messages),
                  0);
    }

    // Leaves `target` as a save of the documents in `source` does that stops before the first one is renamed.
    static void Interrupt(const std::filesystem::path& source, const std::filesystem::path& target) {
        Kest::MemoryOChannel entries;
        entries.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
        std::uint32_t count = 0;
        for (const auto& entry : std::filesystem::directory_iterator(source)) {
            const std::string name = entry.path().filename().string();
            if (!name.ends_with(".xml"))
                continue;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes(std::istreambuf_iterator<char>(file), {});
            std::ofstream(target / (name + ".new"), std::ios::binary) << bytes;
            entries.Write(Kest::UniString::FromUtf8(name));
            entries.Write(std::uint64_t{bytes.size()});
            entries.Write(Kest::Crc32c(0, bytes.data(), bytes.size()));
            ++count;
        }
        Kest::MemoryOChannel journal;
        journal.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
        journal.WriteBlock("ZAJL", 4);
        journal.Write(std::uint32_t{1});
        journal.Write(count);
        journal.WriteBlock(entries.GetBytes(), entries.GetSize());
        journal.Write(Kest::Crc32c(0, journal.GetBytes(), journal.GetSize()));
        std::ofstream(target / "Attribute.journal", std::ios::binary)
            .write(journal.GetBytes(), static_cast<std::streamsize>(journal.GetSize()));
    }

    const std::filesystem::path folder =
        std::filesystem::path(testing::TempDir()) /
        ("DocumentsTest." + std::string(testing::UnitTest::GetInstance()->current_test_info()->name()));
    Session session;
};

TEST_F(DocumentsTest, OnlyWhatAFormCannotCarryDiffers) {
    AddEverything();
    for (const SetForm form : AllForms) {
        const MemoryTrip trip = MakeMemoryTrip(Set(), form);
        EXPECT_EQ(trip.writeStatus, 0) << NameOf(form);
        EXPECT_EQ(trip.readStatus == 0, CanBeReadBack(form)) << NameOf(form);
        EXPECT_TRUE(trip.isRepeatable) << NameOf(form);
        for (const Difference& difference : trip.differences)
            EXPECT_TRUE(IsExplained(form, difference)) << NameOf(form) << ' ' << TextOf(difference);
    }
}

TEST_F(DocumentsTest, EveryDifferenceIsFound) {
    Add<Layer>(u"Wall");
    Add<Layer>(u"Roof");
    const short layers = TypeIdOf(Layer::Record.refId);
    const auto first = [layers](const ODB::Ref<ADB::AttributeSet>& set) { return set->GetAttribute(layers, short{1}); };
    SetRecord(*first(Set()), 1);
    using Change = void (*)(const ODB::Ref<ADB::AttributeSet>&, const ODB::Ref<GeneralAttribute>&);
    const struct {
        Change change;
        const char* expected;
    } cases[] = {
        {[](const auto&, const auto&) {}, ""},
        {[](const auto&, const auto& wall) { wall->SetName(u"WALL"); }, "Layer 1 \"Wall\": name\n"},
        {[](const auto&, const auto& wall) { wall->SetFlags(GeneralAttribute::ClientCreated); },
         "Layer 1 \"Wall\": flags\n"},
        {[](const auto&, const auto& wall) { wall->SetModificationTime(5); }, "Layer 1 \"Wall\": modification time\n"},
        {[](const auto&, const auto& wall) { SetRecord(*wall, 2); }, "Layer 1 \"Wall\": user data (HOST/TEST)\n"},
        {[](const auto&, const auto& wall) { wall->DeleteUserData(FourCharacters("HOST"), FourCharacters("TEST")); },
         "Layer 1 \"Wall\": user data (HOST/TEST)\nLayer 1 \"Wall\": user data (other records)\n"},
        {[](const auto&, const auto& wall) {
             char** data = BMPtrToHandle("\1", 1);
             wall->SetUserData(FourCharacters("HOST"), FourCharacters("TEST"), 0x5757, 4, 7, data);
             BMKillHandle(&data);
         },
         "Layer 1 \"Wall\": version of user data (HOST/TEST)\n"},
        {[](const auto&, const auto& wall) {
             dynamic_cast<Layer&>(*wall).template Set<&LayerFields::lineWeight>(std::optional<int>(0));
         },
         "Layer 1 \"Wall\": field (lineWeight)\n"},
        {[](const auto&, const auto& wall) { wall->SetIndex(9); },
         "Layer 1 \"Wall\": whole attribute\nLayer 9 \"Wall\": whole attribute (not in the original)\n"},
        {[](const auto& set, const auto& wall) { set->SetActiveAttribute(5, wall); }, "Layer: active attribute\n"},
    };
    for (const auto& c : cases) {
        ODB::IdSpace space;
        const ODB::Ref<ADB::AttributeSet> copy = Set()->CopyToIdSpace(&space);
        c.change(copy, first(copy));
        EXPECT_EQ(Lines(CompareAttributes(Set(), copy)), c.expected);
    }
    const ScratchSet other;
    other.GetSet()->SetPercentFill(ADB::AttributeSet::PercentFill50, 3);
    EXPECT_EQ(Lines(CompareFills(Set(), other.GetSet())), "set: fill (50 %)\n");
}

TEST_F(DocumentsTest, LossesAreNamed) {
    Layer last;
    last.SetName(u"Roof");
    last.SetIndex(2);
    Set()->NewAttribute(TypeIdOf(Layer::Record.refId), &last, true, true);
    Add<Layer>(u"Wall");
    Add<BuildingMaterial>(u"Brick");
    Add<GraphicOverride>(u"Red");
    OperationProfile longName;
    SetRecord(longName, 1);
    Add(longName, u"Use");
    City city;
    SetRecord(city, 1);
    Add(city, u"A name that has thirty-two bytes");
    const short cities = TypeIdOf(City::Record.refId);
    Set()->SetActiveAttribute(cities, Set()->GetAttribute(cities, short{1}));
    Set()->SetSolidFill(4);
    const std::pair<SetForm, const char*> cases[] = {
        {SetForm::Stream4, "set: fill (solid)\n"},
        {SetForm::Stream3, "set: fill (solid)\n"},
        {SetForm::Stream2, "BuildingMaterial 1 \"Brick\": whole attribute\nset: fill (solid)\n"},
        {SetForm::Stream1,
         "City 1 \"A name that has thirty-two bytes\": name (becomes \"A name that has thirty-two #0001\")\n"
         "City 1 \"A name that has thirty-two bytes\": object id\n"
         "City 1 \"A name that has thirty-two bytes\": user data (HOST/TEST)\n"
         "City: active attribute\n"
         "Layer 1 \"Wall\": object id\n"
         "Layer 2 \"Roof\": object id\n"
         "OperationProfile 1 \"Use\": whole attribute\n"
         "GraphicOverride 1 \"Red\": whole attribute\n"
         "BuildingMaterial 1 \"Brick\": whole attribute\n"
         "set: fill (solid)\n"
         "all attributes: programs of today cannot read stream version 1 back\n"},
        {SetForm::Xml, "City 1 \"A name that has thirty-two bytes\": version of user data (HOST/TEST)\n"
                       "City: active attribute\n"
                       "Layer: link order\n"
                       "OperationProfile 1 \"Use\": version of user data (HOST/TEST)\n"},
    };
    for (const auto& [form, expected] : cases)
        EXPECT_EQ(Lines(FindLosses(Set(), form)), expected) << NameOf(form);
}

TEST_F(DocumentsTest, FoldersAndStoresAreReadAsTheyWereSaved) {
    AddEverything();
    std::vector<std::string> notes;
    const std::string documents = (folder / "set").string(), store = (folder / "set.zas").string();
    for (int times = 0; times < 2; ++times) {   // the second one replaces the first
        WriteDocument(Set(), documents, SetForm::Xml, notes);
        WriteDocument(Set(), store, SetForm::Stream4, notes);
    }
    const ScratchSet fromDocuments(ScratchSet::OwnSpace), fromStore(ScratchSet::OwnSpace);
    ReadDocuments(documents, fromDocuments.GetSet(), notes);
    std::ifstream file(store, std::ios::binary);
    ReadStore(store, std::string(std::istreambuf_iterator<char>(file), {}), fromStore.GetSet());
    EXPECT_EQ(Lines(notes), "");
    EXPECT_EQ(Lines(CompareFills(Set(), fromDocuments.GetSet())), "");
    EXPECT_EQ(Lines(CompareFills(Set(), fromStore.GetSet())), "set: fill (empty)\n");
    EXPECT_EQ(Lines(CompareAttributes(Set(), fromStore.GetSet())), "");
    for (const Difference& difference : CompareAttributes(Set(), fromDocuments.GetSet()))
        EXPECT_TRUE(IsExplained(SetForm::Xml, difference)) << TextOf(difference);
}

TEST_F(DocumentsTest, AnInterruptedSaveMayChangeTheKindOfFolder) {
    const std::filesystem::path old = folder / "old", made = folder / "made";
    for (const bool becomesStore : {true, false}) {
        std::filesystem::remove_all(old);
        std::filesystem::remove_all(made);
        SaveAs(!becomesStore, old);
        Add<Layer>(u"Wall");
        SaveAs(becomesStore, made);
        Interrupt(made, old);
        EXPECT_EQ(FindStoredSetId(old.string()), becomesStore ? Kest::Guid() : Set().GetId().GetGuid());
        const ScratchSet scratch(ScratchSet::OwnSpace);
        std::vector<std::string> notes;
        ReadReport report;
        const ReadReport::Scope scope(report);
        ReadDocuments(old.string(), scratch.GetSet(), notes);
        EXPECT_EQ(Lines(notes), "");
        EXPECT_EQ(Lines(CompareAttributes(Set(), scratch.GetSet())), "");
        ASSERT_EQ(report.GetEntries().GetSize(), 1U);
        EXPECT_EQ(report.GetEntries().GetFirst().kind, ReadReport::SavePending);
    }
}

TEST_F(DocumentsTest, ReportsAreToldInWords) {
    const struct {
        ReadReport::Entry entry;
        const char* expected;
    } cases[] = {
        {{.kind = ReadReport::FrameSkipped, .className = "Host::Layer", .version = {2, 1}},
         "a part that another version wrote was passed over (Host::Layer 2.1)"},
        {{.kind = ReadReport::FrameSkipped}, "a part that another version wrote was passed over"},
        {{.kind = ReadReport::AttributeRenamed,
          .refId = Layer::Record.refId,
          .name = u"a\tb",
          .newName = u"c",
          .index = 2},
         "Layer 2 \"a\uFFFDb\" is called \"c\" now: its name was taken"},
        {{.kind = ReadReport::AttributeRenumbered, .name = u"a", .index = 2, .newIndex = 3},
         "attribute 2 \"a\" has the index 3 now: its own was taken"},
        {{.kind = ReadReport::FileMissing, .name = u"x.xml"}, "the document x.xml is missing"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(TextOf(c.entry), c.expected);
    EXPECT_FALSE(IsLoss({.kind = ReadReport::SavePending}));
    EXPECT_TRUE(IsLoss({.kind = ReadReport::RecordDropped}));
}

}   // namespace
