#include <AttributeManager/ReadReport.hpp>

#include "DocumentFixture.hpp"
#include "inputoutput/TestFolder.hpp"

#include <ODB/Object.hpp>

#include <Lum/Object.hpp>

namespace ADBTest {
namespace {

using ADB::ReadReport;

class ReadReportTest : public DocumentFixture {
protected:
    // The stream of the set with the first frame of the class of a later version.
    std::string WithLaterFrame(const Kest::ClassInfo& frameClass) const {
        std::string bytes = WriteSet(0);
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
    Fill(true);
    const auto readInto = [this](const std::string& bytes) {
        return Report([&] { return ReadSet(*other.GetLogicalConst(), bytes); });
    };
    EXPECT_TRUE(readInto(WriteSet(0)).empty());
    for (const Kest::ClassInfo* const frameClass :
         {ADB::AttributeSet::GetClassInfoStatic(), ADB::AttributeContainer::GetClassInfoStatic(),
          GeneralAttribute::GetClassInfoStatic(), Lum::Object::GetClassInfoStatic(),
          ADB::RegTblData::GetClassInfoStatic()}) {
        const std::vector<ReadReport::Entry> entries = readInto(WithLaterFrame(*frameClass));
        ASSERT_EQ(entries.size(), 1u) << frameClass->GetName();
        EXPECT_EQ(entries[0].kind, ReadReport::FrameSkipped) << frameClass->GetName();
        EXPECT_EQ(Describe(other), Describe()) << frameClass->GetName();
    }
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
    const struct {
        const char* file;
        std::string text;
        ReadReport::Kind kind;
        std::size_t count;
    } cases[] = {
        {"Attribute.xml", folder.Get("Attribute.xml"), ReadReport::TypeSkipped, 0},
        {"Attribute.xml", replaced("Attribute.xml", ">17<", ">-5<"), ReadReport::TypeSkipped, 16},
        {"Attribute.xml", replaced("Attribute.xml", ">17<", ">14<"), ReadReport::TypeSkipped, 2},
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
        EXPECT_EQ(entries.size(), c.count) << c.text;
        for (const ReadReport::Entry& entry : entries)
            EXPECT_EQ(entry.kind, c.kind) << c.text;
        folder.Put(c.file, before);
    }
}

}   // namespace
}   // namespace ADBTest
