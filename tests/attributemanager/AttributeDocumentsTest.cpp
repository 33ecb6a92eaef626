#include <AttributeManager/AttributeSetStore.hpp>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <functional>

#include <ODB/FileDatabase.hpp>

#include "DocumentFixture.hpp"
#include "inputoutput/TestFolder.hpp"
#include "support/ForEachFailure.hpp"

namespace ADBTest {
namespace {

using ADB::AttributeSet;
using ADB::AttributeSetStore;
using ADB::ReadReport;
using ADB::Error::WrongCall;
using Messages = Kest::Array<UniString>;
using FileNames = std::set<std::string>;

const FileNames AllFiles{"Attribute.xml",
                         "Attr_City.xml",
                         "Attr_CompWall.xml",
                         "Attr_DimStand.xml",
                         "Attr_Fill.xml",
                         "Attr_Layer.xml",
                         "Attr_LayerComb.xml",
                         "Attr_LineType.xml",
                         "Attr_Material.xml",
                         "Attr_PenTable.xml",
                         "Attr_RoomCat.xml",
                         "Attr_MarkupStyle.xml",
                         "Attr_Profile.xml",
                         "Attr_MEPSystem.xml",
                         "Attr_OperationProfile.xml",
                         "Attr_GraphicOverride.xml",
                         "Attr_BuildingMaterial.xml"};

class AttributeDocumentsTest : public DocumentFixture {
protected:
    int WriteSetDocuments() { return set.GetConst()->CustomWriteXML(place, nullptr, messages); }
    int ReadSetDocuments() { return other->CustomReadXML(mainPlace, nullptr, messages); }
    int WriteStoreDocuments() const {
        Messages dropped;
        return store.CustomWriteXML(place, nullptr, dropped);
    }
    int ReadStoreDocuments(AttributeSetStore& target) const {
        Messages dropped;
        return target.CustomReadXML(mainPlace, nullptr, dropped);
    }
    Texts TakeMessages() {
        Texts texts;
        for (const UniString& message : std::exchange(messages, {}))
            texts.push_back(message.ToCStr());
        return texts;
    }
    static Texts Sorted(Texts lines) {   // documents are written by index, not in the order of the links
        std::sort(lines.begin(), lines.end());
        return lines;
    }
    static std::string FillsOf(const ODB::ConstRef<AttributeSet>& of) {
        return BytesOf([&of](Kest::OChannel& channel) { return of->WriteIsolatedState(channel); });
    }
    static std::string Data(const AttributeSetStore& of) { return {of.GetData(), of.GetDataSize()}; }

    TestFolder folder;
    const IO::Location place = folder.Place();
    const IO::Location mainPlace = folder.Place("Attribute.xml");
    Messages messages;
    AttributeSetStore store{&space};
    ODB::IdSpace otherSpace;
    ODB::Ref<AttributeSet> other = NewSet(otherSpace);
};

TEST_F(AttributeDocumentsTest, ASetHasItsDocuments) {
    Fill();
    ASSERT_EQ(WriteSetDocuments(), 0);
    EXPECT_EQ(folder.Names(), AllFiles);
    for (const std::string& name : AllFiles)
        EXPECT_EQ(folder.Get(name), ReadDataFile("documents/" + name)) << name;
    EXPECT_EQ(TakeMessages(), Texts{"Attribute.xml: Type 17 (Type 17) is not written"});

    SetRecorder recorder;
    other->Attach(recorder);
    ASSERT_EQ(ReadSetDocuments(), 0);
    EXPECT_EQ(Describe(other), Describe());
    EXPECT_EQ(recorder.Take().size(), Describe().size()) << "created, each";
    EXPECT_EQ(other.GetConst()->GetSolidFill(), 3);
    EXPECT_EQ(other.GetConst()->GetPercentFill(AttributeSet::PercentFill75), -9);
    EXPECT_EQ(TakeMessages(), Texts{"Attribute.xml: Types 17 to 17 are not read"});
    EXPECT_EQ(TakeDebug(), Texts());
    recorder.act = [this](const std::string&) { DisposeAttributeSet(other); };
    EXPECT_NE(ReadSetDocuments(), 0) << "an observer has deleted the set";
    EXPECT_FALSE(other);
}

TEST_F(AttributeDocumentsTest, AStoreComesBack) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    ODB::WrittenLocations written;
    ASSERT_EQ(store.CustomWriteXML(place, &written, messages), 0);
    EXPECT_EQ(folder.Names(), AllFiles);
    ASSERT_EQ(written.GetSize(), 1u);
    EXPECT_EQ(*written.Find(ODB::ConstRef<AttributeSetStore>(&store)), mainPlace);

    AttributeSetStore back;
    ASSERT_EQ(ReadStoreDocuments(back), 0);
    EXPECT_TRUE(Data(back) == Data(store));
    EXPECT_NE(ReadSetDocuments(), 0) << "documents of a store are none of a set";
}

TEST_F(AttributeDocumentsTest, WrittenTellsWhereEachObjectIs) {
    Fill(true);
    ODB::WrittenLocations written;
    ASSERT_EQ(set.GetConst()->CustomWriteXML(place, &written, messages), 0);
    EXPECT_EQ(written.GetSize(), 1u + 16u + 6u);
    const auto nameOf = [&](const ODB::ConstRef<ODB::Object>& object) {
        const IO::Location* const found = written.Find(object);
        return found != nullptr ? found->GetLastLocalName().ToCStr() : "-";
    };
    EXPECT_EQ(nameOf(set), "Attribute.xml");
    EXPECT_EQ(nameOf(set.GetConst()->GetConstAttributeContainer(5)), "Attr_Layer.xml");
    EXPECT_EQ(nameOf(set.GetConst()->GetConstAttribute(4, 9)), "Attr_Fill.xml");
    EXPECT_EQ(nameOf(set.GetConst()->GetConstAttribute(17, 1)), "-");
}

TEST_F(AttributeDocumentsTest, AFileDatabaseGetsASetMadeForIt) {
    Fill();
    ASSERT_EQ(WriteSetDocuments(), 0);
    std::filesystem::rename(folder.At("Attribute.xml"), folder.At("Mine.xml"));   // a host's own name for it
    ODB::IdSpace fresh;
    ODB::FileDatabase database(&fresh);
    const ODB::Ref<AttributeSet> made(new AttributeSet);
    ASSERT_EQ(database.Load(ODB::IRef<ODB::ICustomXMLRoot>(made), folder.Place("Mine.xml"), messages), 0);
    EXPECT_EQ(Describe(made), Describe());
    EXPECT_TRUE(made.GetConst()->CheckInvariants() && fresh.CheckInvariants());
    EXPECT_EQ(database.GetObjects().GetSize(), 1u + 16u);
    EXPECT_EQ(made.GetIdSpace(), &fresh);

    ODB::FileDatabase second(&otherSpace);
    ASSERT_EQ(other->CustomReadXML(folder.Place("Mine.xml"), &second, messages), 0);
    EXPECT_EQ(Describe(other), Describe());
    EXPECT_EQ(other.GetConst()->GetAttributeContainerList().GetSize(), 17u) << "nothing was cut off";
    EXPECT_EQ(second.GetObjects().GetSize(), 1u + 16u);
}

TEST_F(AttributeDocumentsTest, WhatCannotBeReadIsRefused) {
    Fill();
    ASSERT_EQ(WriteSetDocuments(), 0);
    const auto replace = [](std::string text, const std::string& from, const std::string& to) {
        return text.replace(text.find(from), from.size(), to);
    };
    const std::string main = folder.Get("Attribute.xml");
    const std::string fill = folder.Get("Attr_Fill.xml");
    const struct {
        const char* when;
        const char* file;
        std::string text;
        bool works;
        bool opens;
    } cases[] = {
        {"another document", "Attribute.xml", replace(main, "<AttributeSet>", "<AttributeSetStore>"), false, false},
        {"not ended", "Attribute.xml", main.substr(0, main.size() - 5), false, true},
        {"something behind the end", "Attribute.xml", main + "<x/>", false, true},
        {"a type that is not ended", "Attr_Fill.xml", fill.substr(0, fill.size() - 5), false, true},
        {"a type in no language at all", "Attr_Fill.xml", "\xFF\xFE", false, false},
        {"documents of all types in the world", "Attribute.xml", replace(main, ">17<", ">32767<"), true, true},
        {"less than none", "Attribute.xml", replace(main, ">17<", ">-5<"), true, true},
        {"a number that is none", "Attribute.xml", replace(main, ">17<", ">99999<"), false, true},
    };
    for (const auto& c : cases) {
        const std::string whole = folder.Get(c.file);
        folder.Put(c.file, c.text);
        messages.Clear();
        TakeDebug();
        const int status = ReadSetDocuments();
        EXPECT_EQ(status == 0, c.works) << c.when;
        EXPECT_EQ(TakeDebug().size(), c.opens ? 0u : 1u) << c.when;
        EXPECT_TRUE(c.opens || status == WrongCall) << c.when;
        const Texts said = TakeMessages();
        EXPECT_TRUE(c.works || (said.size() == 1 && said[0].starts_with(std::string(c.file) + ": "))) << c.when;
        EXPECT_TRUE(other.GetConst()->CheckInvariants()) << c.when;
        folder.Put(c.file, whole);
    }
}

TEST_F(AttributeDocumentsTest, AMissingDocumentIsReported) {
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    ASSERT_EQ(WriteStoreDocuments(), 0);
    const std::string data = Data(store);
    for (const std::string name : {"Attr_Fill.xml", "Attribute.xml"}) {
        std::filesystem::remove(folder.At(name));
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(ReadStoreDocuments(store), WrongCall);
        ASSERT_TRUE(report.Contains(ReadReport::FileMissing)) << name;
        EXPECT_EQ(report.GetEntries()[0].name.ToCStr(), name);
        const Texts lines = TakeDebug();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_TRUE(lines[0].starts_with("Exception in FileOpenXML: ")) << lines[0];
    }
    EXPECT_EQ(Data(store), data);
}

TEST_F(AttributeDocumentsTest, FolderThatCannotBeWritten) {
    folder.Put("File", "");
    EXPECT_EQ(set.GetConst()->CustomWriteXML(folder.Place("File"), nullptr, messages), WrongCall);
    ASSERT_EQ(messages.GetSize(), 1u);
    EXPECT_TRUE(messages[0].ToCStr().starts_with("Attribute.xml: "));
}

TEST_F(AttributeDocumentsTest, ASaveThatIsStoppedLeavesOldDocumentsOrNewOnes) {
    TestFolder oldFolder;
    Fill();
    Texts old = Describe();
    ASSERT_EQ(set.GetConst()->CustomWriteXML(oldFolder.Place(), nullptr, messages), 0);
    Add<CodeOf("PENT")>(9, u"New", 1);
    set->DeleteAttribute(4, 3, false);
    const Texts recent = Describe();
    int status = 0;
    std::size_t found[2] = {};
    std::size_t pending = 0;
    const std::size_t failures = ForEachFileFailure(
        [&] {
            folder.Clear();
            for (const std::string& name : oldFolder.Names())
                folder.Put(name, oldFolder.Get(name));
        },
        [&] { status = WriteSetDocuments(); },
        [&](bool, bool) {
            ReadReport report;
            const ReadReport::Scope scope(report);
            ASSERT_EQ(ReadSetDocuments(), 0);
            pending += report.Contains(ReadReport::SavePending) ? 1 : 0;
            const bool isNew = Describe(other) == recent;
            EXPECT_TRUE(isNew || (status != 0 && Describe(other) == old)) << status;
            ++found[isNew ? 1 : 0];
        });
    EXPECT_GT(failures, 200u);
    EXPECT_GT(pending, 0u);
    EXPECT_GT(found[0], 0u);
    EXPECT_GT(found[1], 2u) << "some were stopped behind the point of no return";
}

TEST_F(AttributeDocumentsTest, DamagedDocumentsAreRefusedOrReadAsTheyStand) {
    const std::string empty = WriteSet(0);
    Fill();
    const Texts whole = Describe();
    ASSERT_EQ(WriteSetDocuments(), 0);
    TestFolder againFolder;
    ODB::IdSpace againSpace;
    const ODB::Ref<AttributeSet> again = NewSet(againSpace);
    constexpr short oldFill = 77;
    for (const std::string name : {"Attribute.xml", "Attr_Fill.xml"}) {
        const std::string text = folder.Get(name);
        std::size_t taken = 0;
        ForEachTextDamage(text, [&](const std::string& damaged, std::size_t position) {
            if (HasFailure())
                return;
            SCOPED_TRACE(name + " at " + std::to_string(position));
            folder.Put(name, damaged);
            ASSERT_EQ(ReadSet(*other, empty), 0);
            other->SetSolidFill(oldFill);
            ReadReport report;
            const ReadReport::Scope scope(report);
            const int status = ReadSetDocuments();
            const Texts found = Sorted(Describe(other));
            EXPECT_TRUE(other.GetConst()->CheckInvariants() && otherSpace.CheckInvariants());
            EXPECT_TRUE(HasWholeGroups(found, whole));
            if (status != 0) {
                EXPECT_FALSE(TakeMessages().empty());
                EXPECT_EQ(other.GetConst()->GetSolidFill() == oldFill && found.empty(), name == "Attribute.xml");
                return;
            }
            ++taken;
            ASSERT_EQ(other.GetConst()->CustomWriteXML(againFolder.Place(), nullptr, messages), 0);
            ASSERT_EQ(again->CustomReadXML(againFolder.Place("Attribute.xml"), nullptr, messages), 0);
            EXPECT_EQ(Sorted(Describe(again)), found);
            EXPECT_EQ(FillsOf(again), FillsOf(other));
        });
        EXPECT_TRUE(taken > 0 || IsSanitized);
        folder.Put(name, text);
    }
}

TEST_F(AttributeDocumentsTest, OthersFindTheDocumentsWellFormed) {
    if (std::system("xmllint --version >/dev/null 2>&1") != 0)
        GTEST_SKIP() << "xmllint is not installed";
    Fill();
    Add<CodeOf("FILL")>(4, UniString(std::u16string(100000, u'\u0416')), 77);
    ASSERT_EQ(store.Update(set, 0), 0);
    const std::string command = "xmllint --huge --noout '" + folder.GetPath().string() + "'/*.xml";
    ASSERT_EQ(WriteSetDocuments(), 0);
    EXPECT_EQ(std::system(command.c_str()), 0);
    ASSERT_EQ(WriteStoreDocuments(), 0);
    EXPECT_EQ(std::system(command.c_str()), 0);
}

// Without memory for a set to load into, a store answers 0 all the same: documents that are there stand; where there
// are none, the beginning of the main one is left.
TEST_F(AttributeDocumentsTest, LackOfMemoryNeverLeavesHalfASave) {
    const std::string begun = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<AttributeSetStore>\n"
                              "\t<Id>{F21BA901-A48D-438A-A19A-025ED87F1B4A}</Id>\n";
    const struct {
        bool isStore;
        std::function<int()> write;
        std::function<Texts()> read;   // nothing when it cannot be read
    } owners[] = {
        {true, [this] { return WriteStoreDocuments(); },
         [this] {
             AttributeSetStore back;
             return ReadStoreDocuments(back) == 0 ? Texts{Data(back)} : Texts();
         }},
        {false,
         [this] {
             Messages dropped;
             return set.GetConst()->CustomWriteXML(place, nullptr, dropped);
         },
         [this] { return ReadSetDocuments() == 0 ? Describe(other) : Texts(); }},
    };
    Fill();
    short index = 20;
    for (const auto& owner : owners) {
        TestFolder oldFolder;
        folder.Clear();
        ASSERT_EQ(store.Update(set, 0), 0);
        ASSERT_EQ(owner.write(), 0);
        for (const std::string& name : folder.Names())
            oldFolder.Put(name, folder.Get(name));
        const Texts old = owner.read();
        Add<CodeOf("FILL")>(4, u"New", ++index);
        ASSERT_EQ(store.Update(set, 0), 0);
        ASSERT_EQ(owner.write(), 0);
        const Texts recent = owner.read();
        ASSERT_NE(old, recent);
        for (const bool hasOld : {true, false}) {
            const auto prepare = [&] {
                folder.Clear();
                for (const std::string& name : hasOld ? oldFolder.Names() : FileNames())
                    folder.Put(name, oldFolder.Get(name));
            };
            std::size_t unfinished = 0;
            int status = 0;
            prepare();
            const FailureCount count = ForEachFailure(
                [&] { status = owner.write(); },
                [&](bool failed) {
                    const Texts found = owner.read();
                    const bool isNew = found == recent;
                    EXPECT_TRUE(isNew || failed);
                    const bool isBegun = !hasOld && folder.Get("Attribute.xml") == begun;
                    FileNames names = folder.Names();
                    names.erase("Attribute.lock");   // an empty one locks nothing
                    const bool isOld = hasOld ? found == old : names.empty();
                    EXPECT_TRUE(isNew || (isOld && (status != 0 || owner.isStore)) || (isBegun && status == 0))
                        << status;
                    unfinished += status == 0 && !isNew ? 1 : 0;
                    if (!isOld)
                        prepare();
                });
            EXPECT_EQ(unfinished > 0, owner.isStore);
            EXPECT_EQ(count.leakedBlocks, 0);
        }
    }
}

TEST_F(AttributeDocumentsTest, LackOfMemoryInReadingGivesEverythingBack) {
    const std::string empty = WriteSet(0);
    Fill();
    ASSERT_EQ(store.Update(set, 0), 0);
    const Texts whole = Describe();
    int status = 0;
    const auto giveBack = [&](const std::function<void()>& operation) {
        operation();   // what stays for the next time is there
        const FailureCount count = ForEachFailure(operation, [&](bool failed) { EXPECT_TRUE(failed || status == 0); });
        EXPECT_GT(count.failures, 50u);
        EXPECT_EQ(count.leakedBlocks, 0);
    };
    ASSERT_EQ(WriteStoreDocuments(), 0);
    AttributeSetStore back;
    giveBack([&] {
        status = ReadStoreDocuments(back);
        const AllocationsSucceed succeed;
        TakeDebug();
        EXPECT_TRUE(Data(back) == (status == 0 ? Data(store) : std::string())) << status;
        back = AttributeSetStore();
    });
    folder.Clear();
    ASSERT_EQ(WriteSetDocuments(), 0);
    giveBack([&] {
        Messages dropped;
        status = other->CustomReadXML(mainPlace, nullptr, dropped);
        const AllocationsSucceed succeed;
        TakeDebug();
        EXPECT_TRUE(other.GetConst()->CheckInvariants());
        EXPECT_TRUE(status == 0 ? Describe(other) == whole : HasWholeGroups(Describe(other), whole)) << status;
        EXPECT_EQ(ReadSet(*other, empty), 0);
    });
}

}   // namespace
}   // namespace ADBTest
