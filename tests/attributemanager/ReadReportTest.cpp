#include <AttributeManager/ReadReport.hpp>

#include <filesystem>
#include <functional>
#include <vector>

#include <ODB/Object.hpp>

#include <Lum/LockableObject.hpp>
#include <Lum/Object.hpp>

#include <AttributeManager/AttributeSetStore.hpp>

#include "DocumentFixture.hpp"
#include "inputoutput/TestFolder.hpp"

namespace ADBTest {
namespace {

using ADB::ReadReport;

class ReadReportTest : public DocumentFixture {
protected:
    // The stream with the first frame of the class of a later version.
    static std::string WithLaterFrame(std::string bytes, const Kest::ClassInfo& frameClass) {
        const Kest::Guid::Bytes id = frameClass.GetId().GetBytes();
        const std::size_t place = bytes.find(std::string(id.begin(), id.end()));
        EXPECT_NE(place, std::string::npos) << frameClass.GetName();
        ++bytes[place + id.size() + 1];   // the minor version
        return Sealed(std::move(bytes));
    }

    template <class Read>
    static std::vector<ReadReport::Entry> Report(Read&& read) {
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(read(), 0);
        return {report.GetEntries().begin(), report.GetEntries().end()};
    }

    ODB::IdSpace otherSpace;
    ODB::Ref<ADB::AttributeSet> other = NewSet(otherSpace);
};

TEST_F(ReadReportTest, FramesOfLaterVersionsAreReported) {
    using ADB::AttributeContainer;
    using ADB::AttributeSet;
    using ADB::AttributeSetStore;
    using Classes = std::vector<const Kest::ClassInfo*>;
    Fill(true);
    AttributeSetStore store;
    ASSERT_EQ(store.Update(set, 0), 0);
    AttributeSet& target = *other.GetLogicalConst();
    const ODB::ConstRef<AttributeContainer> container = set.GetConst()->GetConstAttributeContainer(4);
    AttributeContainer& targetContainer = *other->GetAttributeContainer(4).GetLogicalConst();
    const auto state = [](const auto& object, int system) {
        const Kest::ClassManager::OutputVersionBlock block(system);
        return BytesOf([&](Kest::OChannel& channel) { return object.WriteIsolatedState(channel); });
    };
    const auto lumState = [](const auto& object) {
        return BytesOf([&](Kest::OChannel& channel) { return object.WriteLumIsolatedState(channel); });
    };
    const auto readState = [](auto& object) {
        return [&object](Kest::IChannel& channel) { return object.ReadIsolatedState(channel); };
    };
    const auto readLumState = [](auto& object) {
        return [&object](Kest::IChannel& channel) { return object.ReadLumIsolatedState(channel); };
    };
    const struct {
        const char* what;
        std::string bytes;
        std::function<int(Kest::IChannel&)> read;
        Classes frames;
    } cases[] = {
        {"set",
         WriteSet(0),
         [&](Kest::IChannel& channel) { return target.Read(channel); },
         {AttributeSet::GetClassInfoStatic(), AttributeContainer::GetClassInfoStatic(),
          GeneralAttribute::GetClassInfoStatic(), Lum::Object::GetClassInfoStatic(),
          ADB::RegTblData::GetClassInfoStatic()}},
        {"state of a set", state(*set.GetConst(), 0), readState(target), {AttributeSet::GetClassInfoStatic()}},
        {"collaboration state of a set",
         lumState(*set.GetConst()),
         readLumState(target),
         {AttributeSet::GetClassInfoStatic()}},
        {"state of a container",
         state(*container, 0),
         readState(targetContainer),
         {AttributeContainer::GetClassInfoStatic(), Lum::Object::GetClassInfoStatic()}},
        {"earlier state of a container",
         state(*container, 3),
         readState(targetContainer),
         {Lum::LockableObjectSet::GetClassInfoStatic(), Lum::LockableObject::GetClassInfoStatic(),
          Lum::Object::GetClassInfoStatic()}},
        {"collaboration state of a container",
         lumState(*container),
         readLumState(targetContainer),
         {AttributeContainer::GetClassInfoStatic()}},
        {"state of a store",
         state(store, 0),
         readState(store),
         {AttributeSetStore::GetClassInfoStatic(), ODB::Object::GetClassInfoStatic()}},
    };
    for (const auto& c : cases) {
        const auto read = [&](const std::string& bytes) {
            const ODB::IdSpace::InputScope scope(&otherSpace);
            return Report([&] { return ReadBytes(bytes, c.read); });
        };
        EXPECT_TRUE(read(c.bytes).empty()) << c.what;
        for (const Kest::ClassInfo* const frameClass : c.frames) {
            const std::vector<ReadReport::Entry> entries = read(WithLaterFrame(c.bytes, *frameClass));
            ASSERT_EQ(entries.size(), 1u) << c.what << ' ' << frameClass->GetName();
            EXPECT_EQ(entries[0].kind, ReadReport::FrameSkipped) << c.what;
            EXPECT_EQ(std::string(entries[0].className), frameClass->GetName()) << c.what;
        }
    }
    const std::string data(store.GetData(), store.GetDataSize());
    const std::string later = WithLaterFrame(data, *AttributeSetStore::GetClassInfoStatic());
    std::string inState = state(store, 0);
    inState.replace(inState.find(data), data.size(), later);
    ASSERT_EQ(ReadBytes(Sealed(inState), readState(store)), 0);
    EXPECT_EQ(Report([&] { return store.Load(other); }).size(), 1u);
}

TEST_F(ReadReportTest, WhatDocumentsHideIsReported) {
    Fill();
    TestFolder folder;
    Kest::Array<UniString> messages;
    ASSERT_EQ(set.GetConst()->CustomWriteXML(folder.Place(), nullptr, messages), 0);
    const auto replaced = [&folder](const char* file, const std::string& from, const std::string& to) {
        std::string text = folder.Get(file);
        return text.replace(text.find(from), from.size(), to);
    };
    folder.Put("Attribute.xml", replaced("Attribute.xml", ">17<", ">16<"));
    const struct {
        const char* file;
        std::string text;
        ReadReport::Kind kind;
        std::size_t count;
    } cases[] = {
        {"Attribute.xml", replaced("Attribute.xml", ">16<", ">17<"), ReadReport::TypeSkipped, 1},   // the one too many
        {"Attribute.xml", folder.Get("Attribute.xml"), ReadReport::TypeSkipped, 0},
        {"Attribute.xml", replaced("Attribute.xml", ">16<", ">-5<"), ReadReport::TypeSkipped, 16},
        {"Attribute.xml", replaced("Attribute.xml", ">16<", ">14<"), ReadReport::TypeSkipped, 2},
        {"Attribute.xml", replaced("Attribute.xml", "</RegisteredAttributes>", "<New/></RegisteredAttributes>"),
         ReadReport::ElementSkipped, 1},
        {"Attr_City.xml", replaced("Attr_City.xml", "</Attributes>", "</Attributes><New><New/></New>"),
         ReadReport::ElementSkipped, 1},
        {"Attr_City.xml", replaced("Attr_City.xml", "</Attribute>", "<New/></Attribute>"), ReadReport::ElementSkipped,
         1},
        {"Attr_City.xml", replaced("Attr_City.xml", "<ClassVersion>1.0", "<ClassVersion>1.1"), ReadReport::FrameSkipped,
         1},
    };
    for (const auto& c : cases) {
        const std::string before = folder.Get(c.file);
        folder.Put(c.file, c.text);
        const std::vector<ReadReport::Entry> entries =
            Report([&] { return other->CustomReadXML(folder.Place("Attribute.xml"), nullptr, messages); });
        EXPECT_EQ(entries.size(), c.count) << c.file << c.text;
        for (const ReadReport::Entry& entry : entries)
            EXPECT_EQ(entry.kind, c.kind) << c.text;
        folder.Put(c.file, before);
    }
}

TEST_F(ReadReportTest, OnlyADocumentThatIsNotThereIsMissing) {
    TestFolder folder;
    Kest::Array<UniString> messages;
    ASSERT_EQ(set.GetConst()->CustomWriteXML(folder.Place(), nullptr, messages), 0);
    const struct {
        const char* main;
        const char* broken;
        std::function<void(const std::string&)> breakIt;
        bool isMissing;
    } cases[] = {
        {"Copy.xml", "Copy.xml", [](const std::string&) {}, true},
        {"Copy.xml", "Copy.xml", [&](const std::string& name) { std::filesystem::create_directory(folder.At(name)); },
         false},
        {"Attribute.xml", "Attr_Fill.xml", [&](const std::string& name) { folder.Put(name, "<"); }, false},
        {"Attribute.xml", "Attr_Fill.xml",
         [&](const std::string& name) {
             std::filesystem::remove(folder.At(name));
             std::filesystem::create_directory(folder.At(name));
         },
         false},
        {"Attribute.xml", "Attr_Fill.xml", [&](const std::string& name) { std::filesystem::remove(folder.At(name)); },
         true},
    };
    for (const auto& c : cases) {
        c.breakIt(c.broken);
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(other->CustomReadXML(folder.Place(c.main), nullptr, messages), ADB::Error::WrongCall);
        EXPECT_EQ(report.Contains(ReadReport::FileMissing), c.isMissing) << c.broken;
        EXPECT_TRUE(!c.isMissing || report.GetEntries()[0].name.ToCStr() == std::string(c.broken));
    }
}

TEST_F(ReadReportTest, NamesThatAreMadeUniqueAreReported) {
    const ODB::Ref<ADB::AttributeContainer> cities = set->GetAttributeContainer(1);
    Add<CodeOf("CITY")>(1, u"Wall", 3);
    Add<CodeOf("CITY")>(1, u"Other", 5);
    EXPECT_TRUE(Report([&] { return cities->CheckContainer(); }).empty());
    const Kind<CodeOf("CITY")> clashing(u"WALL", 5);
    FieldMask changed;
    ASSERT_EQ(cities->PutAttribute(Reading(&clashing), 5, &changed), 0);
    const std::vector<ReadReport::Entry> entries = Report([&] { return cities->CheckContainer(); });
    ASSERT_EQ(entries.size(), 1u);
    EXPECT_EQ(entries[0].kind, ReadReport::AttributeRenamed);
    EXPECT_EQ(entries[0].name, u"WALL");
    EXPECT_EQ(entries[0].newName, u"WALL (1)");
    EXPECT_EQ(entries[0].index, 5);
}

}   // namespace
}   // namespace ADBTest
