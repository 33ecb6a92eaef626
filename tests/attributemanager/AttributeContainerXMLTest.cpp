#include <AttributeManager/AttributeContainer.hpp>

#include <optional>

#include <Kest/ByteSink.hpp>
#include <Kest/ChannelStatus.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <AttributeManager/ReadReport.hpp>

#include "attributemanager/AttributeFixture.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using namespace ADBTest;
using ADB::AttributeContainer;
using ADB::ReadReport;

class AttributeContainerXMLTest : public SetFixture {
protected:
    static std::string Save(const Container& container) {
        Kest::StringSink sink;
        Kest::XMLOChannel channel(sink, "Document");
        channel.BeginDocument();
        EXPECT_EQ(container.GetConst()->SaveAttributeTypeToXMLFile(channel), 0);
        EXPECT_EQ(channel.EndDocument(), 0);
        return sink.TakeText();
    }
    static int Load(const Container& container, const std::string& document) {
        Kest::XMLIChannel channel(document, "Document");
        const int status = container->LoadAttributeTypeFromXMLFile(channel, Kest::PlatformSign::LittleEndian);
        return status != 0 ? status : channel.EndDocument();
    }
    // A document of marks; each attribute is given by what stands in its element.
    static std::string Document(const Texts& attributes, unsigned int refId = Mark::RefId) {
        std::string text = "<Document><Attributes><Type>Marks</Type><RefID>" + std::to_string(refId) + "</RefID>";
        for (const std::string& attribute : attributes)
            text += "<Attribute>" + attribute + "</Attribute>";
        return text + "</Attributes></Document>";
    }
    static std::string MarkText(const std::string& name, short index, int id) {
        return "<Id>{A0000000-0000-4000-8000-00000000000" + std::to_string(id) + "}</Id><Name>" + name +
               "</Name><Index>" + std::to_string(index) + "</Index><Flags></Flags><ModiTime>5</ModiTime>" +
               "<RegMemoTable><ClassVersion>1.0</ClassVersion><MemoNumber>0</MemoNumber></RegMemoTable>";
    }
};

TEST_F(AttributeContainerXMLTest, SavedTypesComeBack) {
    const std::string document = R"(<?xml version="1.0" encoding="UTF-8"?>
<Document>
	<Attributes>
		<Type>Marks</Type>
		<RefID>1296126539</RefID>
		<Attribute>
			<Id>{A0000000-0000-4000-8000-000000000002}</Id>
			<Name>&lt;Roof&gt; \uD800</Name>
			<Index>2</Index>
			<Flags></Flags>
			<ModiTime>0</ModiTime>
			<RegMemoTable>
				<ClassVersion>1.0</ClassVersion>
				<MemoNumber>1</MemoNumber>
				<RegMemo>
					<MemoOwnerId1>1</MemoOwnerId1>
					<MemoOwnerId2>2</MemoOwnerId2>
					<MemoPlatform>22359</MemoPlatform>
					<MemoFlags>0</MemoFlags>
					<Data>
						<CDATASize>4</CDATASize>
						<![CDATA[64617461]]>
					</Data>
				</RegMemo>
			</RegMemoTable>
		</Attribute>
		<Attribute>
			<Id>{A0000000-0000-4000-8000-000000000001}</Id>
			<Name>Wall</Name>
			<Index>7</Index>
			<Flags>FromPax FromMasterPax</Flags>
			<ModiTime>0</ModiTime>
			<RegMemoTable>
				<ClassVersion>1.0</ClassVersion>
				<MemoNumber>0</MemoNumber>
			</RegMemoTable>
		</Attribute>
	</Attributes>
</Document>
)";
    const Mark wall(u"Wall", 7, 0, 0x0140);
    Mark roof(u"<Roof> \xD800", 2);
    SetData(roof, 1, 2, "data", 0x5757, 0x0100);
    Marks()->NewAttribute(Reading(&wall), 7, Kest::Guid("{A0000000-0000-4000-8000-000000000001}"), &space);
    Marks()->NewAttribute(Reading(&roof), 2, Kest::Guid("{A0000000-0000-4000-8000-000000000002}"), &space);
    EXPECT_EQ(Save(Marks()), document);

    Add(u"Old", 9);
    Marks()->SetActiveAttribute(Get(9));
    SetRecorder recorder;
    set->Attach(recorder);
    EXPECT_EQ(Load(Marks(), document), 0);
    EXPECT_EQ(recorder.Take(), Texts());
    EXPECT_EQ(ListMarks(set), (Texts{"2 <Roof> \xEF\xBF\xBD", "7 Wall"}));   // in the order of the document
    EXPECT_EQ(Save(Marks()), document);
    EXPECT_EQ(Get(7)->SetName(u"Wand"), 0);
    EXPECT_EQ(recorder.Take(), Texts{"changed 1 Wand: 1"});
    EXPECT_NE(Marks().GetConst()->GetConstActiveAttribute(), Reading(Get(7)));
    set->Detach(recorder);
}

TEST_F(AttributeContainerXMLTest, LoadsWholeTypesOrNothing) {
    constexpr int damaged = Kest::ChannelStatus::Damaged;
    const std::string wall = MarkText("Wall", 3, 1);
    std::string noIndex = wall;
    noIndex.erase(noIndex.find("<Index>"), std::string("<Index>3</Index>").size());
    std::string unclosed = Document({wall});
    unclosed.resize(unclosed.find("</Attributes>"));
    const struct {
        const char* when;
        std::string document;
        int code;
        Texts read;
        std::size_t reported;
    } cases[] = {
        {"another type", Document({wall}, 7), ADB::Error::WrongCall, {"9 Old"}, 0},
        {"another document", "<Document><Other/></Document>", damaged, {"9 Old"}, 0},
        {"no ref id", "<Document><Attributes><Type>Marks</Type></Attributes></Document>", damaged, {"9 Old"}, 0},
        {"no attributes", Document({}), 0, {}, 0},
        {"elements of a later program", Document({wall + "<New>1</New>"}), 0, {"3 Wall"}, 1},
        {"something else between", Document({wall + "</Attribute><Other/><Attribute>" + wall}), damaged, {}, 0},
        {"an attribute without index", Document({wall, noIndex}), damaged, {}, 0},
        {"an end too early", unclosed, damaged, {}, 0},
        {"clashes of index, name and id",
         Document({wall, MarkText("WALL", 3, 1), MarkText("Roof", 4, 2)}),
         0,
         {"3 Wall", "5 WALL (1)", "4 Roof"},
         2},
    };
    for (const auto& c : cases) {
        Marks()->ResetContainer();
        Add(u"Old", 9);
        ReadReport report;
        const ReadReport::Scope scope(report);
        EXPECT_EQ(Load(Marks(), c.document), c.code) << c.when;
        EXPECT_EQ(ListMarks(set), c.read) << c.when;
        EXPECT_EQ(report.GetEntries().GetSize(), c.reported) << c.when;
        EXPECT_TRUE(Marks().GetConst()->CheckInvariants() && space.CheckInvariants()) << c.when;
    }
    Container unknown(new AttributeContainer(4711, Kest::Guid(), &space, u"Odd", {}, {}));
    EXPECT_EQ(Load(unknown, Document({wall}, 4711)), ADB::Error::UnknownType);
    ODB::Database::AddObject(unknown, false);
}

TEST_F(AttributeContainerXMLTest, WithoutMemoryTheContainerIsEmptyOrWhole) {
    Texts attributes;
    for (short index = 1; index < 9; ++index)
        attributes.push_back(MarkText("A name that is not short " + std::to_string(index), index, index));
    const std::string document = Document(attributes);
    ASSERT_EQ(Load(Marks(), document), 0);
    const std::string whole = Save(Marks());
    Marks()->ResetContainer();
    int code = 0;
    const auto loadAndReset = [&] {
        std::optional<Kest::XMLIChannel> channel;
        {
            const AllocationsSucceed succeed;
            channel.emplace(document, "Document");
        }
        code = Marks()->LoadAttributeTypeFromXMLFile(*channel, Kest::PlatformSign::LittleEndian);
        const AllocationsSucceed succeed;
        if (code == 0)
            EXPECT_EQ(Save(Marks()), whole);
        else
            EXPECT_EQ(Marks().GetConst()->GetAttributeNumber(), 0U);
        EXPECT_TRUE(Marks().GetConst()->CheckInvariants() && space.CheckInvariants());
        Marks()->ResetContainer();
    };
    const auto check = [&](bool failed) { EXPECT_EQ(code, failed ? ADB::Error::MemoryFull : 0); };
    EXPECT_GT(ForEachFailure(loadAndReset, check).failures, 20U);
    EXPECT_EQ(ForEachFailure(loadAndReset, check).leakedBlocks, 0);   // the room for ids is there now
}

TEST_F(AttributeContainerXMLTest, DocumentThatLacksSomethingIsNotSaved) {
    class Unwritable : public Mark {
    public:
        Unwritable() : Mark(u"Wall", 1) {}
        int WriteXML(Kest::XMLOChannel&) const override { return 4711; }
    };
    const Container container = Marks();
    const Attribute attribute(new Unwritable);
    ASSERT_EQ(AttributeContainer::GetAttributeAssociation().Connect(container, attribute), 0);
    attribute.GetLogicalConst()->Attach(*container.GetLogicalConst());
    Kest::StringSink sink;
    Kest::XMLOChannel channel(sink, "Document");
    channel.BeginDocument();
    EXPECT_EQ(container.GetConst()->WriteXML(channel), 4711);
    EXPECT_EQ(container.GetConst()->SaveAttributeTypeToXMLFile(channel), 0);
    EXPECT_EQ(channel.EndDocument(), 4711);
}

}   // namespace
