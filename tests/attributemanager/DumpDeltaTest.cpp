#include <AttributeManager/DumpDelta.hpp>

#include <Kest/DebugOutput.hpp>
#include <Kest/Process.hpp>

#include <ODB/IdSpace.hpp>

#include "attributemanager/AttributeFixture.hpp"

namespace {

using namespace ADBTest;
using ODB::Delta;

ODB::Id IdOf(char last) {
    return ODB::Id((std::string("{00000000-0000-4000-8000-00000000000") + last + "}").c_str());
}

class DumpDeltaTest : public SetFixture {
protected:
    DumpDeltaTest() {
        DBSetSink([this](const UniString& text) { printed += text.ToCStr(); });
    }
    ~DumpDeltaTest() override { DBSetSink(nullptr); }

    Attribute NewMark(char id, const UniString& name, short index) {
        const Mark mark(name, index);
        return Marks()->NewAttribute(Reading(&mark), index, IdOf(id).GetGuid(), &space);
    }

    // What is listed, with the id of the process made 1234 and without "info " before each line.
    std::string Dump(const Delta& delta, Delta::EnumerationMode mode = Delta::Everything, bool force = true) {
        printed.clear();
        ADB::DumpDelta(u"Sync", delta, mode, force);
        std::string logged;
        for (const std::string& line : TakeLog()) {
            EXPECT_EQ(line.substr(0, 5), "info ");
            logged += line.substr(5) + "\n";
        }
        EXPECT_EQ(logged, printed);
        const std::string process = "[PID" + std::to_string(Kest::GetProcessId()) + "]";
        return logged.starts_with(process) ? "[PID1234]" + logged.substr(process.size()) : logged;
    }

    std::string printed;
};

TEST_F(DumpDeltaTest, EveryKindOfItemHasItsLine) {
    const ODB::Association1NUntyped& links = ADB::AttributeContainer::GetAttributeAssociation();
    const ODB::Id container(MarksGuid);
    const Attribute wall = NewMark('1', u"Wall", 7);
    const Attribute roof = NewMark('2', u"Roof \"A\"", 1234);
    Delta delta(u"Edit", &space);
    delta.AddNewObject(wall);
    delta.AddModifiedObject(roof);
    delta.AddModifiedObject(set);
    delta.AddDeletedObject(*Mark::GetClassInfoStatic(), IdOf('3'));
    delta.AddNewLink(links, container, IdOf('1'), ODB::NullId);
    delta.AddModifiedLink(links, IdOf('4'), container, IdOf('2'), IdOf('1'));
    delta.AddReorderedLink(links, container, IdOf('5'), IdOf('2'));
    delta.AddDeletedLink(links, container, IdOf('3'));

    const std::string header = "[PID1234] Sync - \"Edit\" - CO=1, MO=2, DO=1, CL=1, ML=1, RL=1, DL=1 {\n";
    const std::string marks = "{B8EB700D-B936-4B78-B156-1BCA69A3102B} ADB::AttributeContainer \"Marks\"";
    const std::string objects =
        "\tNew Object:       {00000000-0000-4000-8000-000000000001} Test::Mark [007] \"Wall\"\n"
        "\tModified Object:  {00000000-0000-4000-8000-000000000002} Test::Mark [1234] \"Roof \"A\"\"\n"
        "\tModified Object:  " +
        set.GetId().ToString() +
        " ADB::AttributeSet\n"
        "\tDeleted Object:   {00000000-0000-4000-8000-000000000003}\n";
    const std::string linked =
        "\tNew Link:         " + marks +
        "  <->  {00000000-0000-4000-8000-000000000001} Test::Mark [007] \"Wall\"\n"
        "\tModified Link:    " +
        marks +
        "  <->  {00000000-0000-4000-8000-000000000002} Test::Mark [1234] \"Roof \"A\"\"\n"
        "\tReordered Link:   " +
        marks +
        "  <->  {00000000-0000-4000-8000-000000000005}  =>  {00000000-0000-4000-8000-000000000002} Test::Mark [1234] "
        "\"Roof \"A\"\"\n"
        "\tDeleted Link:     " +
        marks + "  <->  {00000000-0000-4000-8000-000000000003}\n";
    EXPECT_EQ(Dump(delta), header + objects + linked + "}\n");
    EXPECT_EQ(Dump(delta, Delta::WithoutStates), header + objects + linked + "}\n");
    EXPECT_EQ(Dump(delta, Delta::ObjectsOnly), header + objects + "}\n");
    EXPECT_EQ(Dump(delta, Delta::LinksOnly), header + linked + "}\n");
}

TEST_F(DumpDeltaTest, WhatIsNotInTheSpaceIsNamedByItsIdAlone) {
    ODB::IdSpace other;
    Delta delta(&other);
    EXPECT_EQ(Dump(delta), "[PID1234] Sync - No changes\n");
    delta.AddModifiedObject(NewMark('1', u"Wall", 7));
    EXPECT_EQ(Dump(delta), "[PID1234] Sync - CO=0, MO=1, DO=0, CL=0, ML=0, RL=0, DL=0 {\n"
                           "\tModified Object:  {00000000-0000-4000-8000-000000000001}\n}\n");
    Delta inDefault(nullptr);
    inDefault.AddModifiedObject(NewMark('2', u"Roof", 8));
    EXPECT_EQ(Dump(inDefault), "[PID1234] Sync - CO=0, MO=1, DO=0, CL=0, ML=0, RL=0, DL=0 {\n"
                               "\tModified Object:  {00000000-0000-4000-8000-000000000002}\n}\n");
}

TEST_F(DumpDeltaTest, NothingIsWrittenUnlessItIsForcedOrSwitchedOn) {
    const Delta delta(u"Edit", &space);
    EXPECT_EQ(Dump(delta, Delta::Everything, false), "");
    EXPECT_EQ(Dump(delta), "[PID1234] Sync - \"Edit\" - No changes\n");
    DBSettings settings;
    settings.Put(u"ZalAttributes_DumpDelta", u"1");
    DBSetSettings(std::move(settings));
    EXPECT_EQ(Dump(delta, Delta::Everything, false), "") << "the switch was read already";
    DBSetSettings({});
}

}   // namespace
