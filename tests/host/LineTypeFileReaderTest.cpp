#include "LineTypeFileReader.hpp"

#include "ReaderSamples.hpp"

namespace {

using namespace Host;
using namespace HostTests;

std::vector<Definition> Definitions(const std::string& bytes) {
    std::vector<Definition> definitions;
    for (const FileLineType& lineType : ReadLineTypeFile(bytes).lineTypes)
        definitions.emplace_back(lineType.name, lineType.description, Values(lineType.elements));
    return definitions;
}

TEST(LineTypeFileReaderTest, SampleGivesItsTableAndACutOneLosesOnlyItsEnd) {
    const std::string bytes = Sample("ezdxf-linetypes-a.lin");
    EXPECT_EQ(Definitions(bytes), ExpectedDefinitions("ezdxf-linetypes-a.lin.expected.tsv"));
    ExpectCutsLoseOnlyTheEnd(Definitions, bytes + "*G,g\nA,1,[\"GAS\",STANDARD,S=.1,R=0,X=-0.1,Y=-.05],-1\n");
}

TEST(LineTypeFileReaderTest, KeepsSymbolsAndJoinsLines) {
    const LineTypeFile file =
        ReadLineTypeFile("\xEF\xBB\xBF;; head\r\n\r\n"
                         "*GAS , Gas; --GAS--\r\n"
                         "a, .50,-.2,[\"G;,]\xC3\xA4\",STANDARD,s=.1,R=50g,X=-0.1,Y=-.05], ; to\r\n"
                         "; be continued\r\n"
                         "-.25,[TRACK1,ltypeshp.shx,U=-9d],[B,x.shx,A=0],-1\r\n"
                         "*DOT\n"
                         "A,0,-1e-1");
    ASSERT_EQ(file.lineTypes.size(), 2u);
    const FileLineType& gas = file.lineTypes[0];
    EXPECT_EQ(gas.line, 3u);
    EXPECT_EQ(gas.description, u"Gas; --GAS--");
    EXPECT_EQ(Values(gas.elements), (std::vector<double>{0.5, -0.2, -0.25, -1}));
    EXPECT_EQ(gas.elements[0].text, ".50");

    ASSERT_EQ(gas.symbols.size(), 3u);
    EXPECT_EQ(gas.symbols[0].element, 1u);
    EXPECT_EQ(gas.symbols[0].flags, LineTypeSymbol::IsText);
    EXPECT_EQ(gas.symbols[0].text, u"G;,]\u00E4");
    EXPECT_EQ(gas.symbols[0].rotation, (Number{45, ""}));
    EXPECT_EQ(gas.symbols[0].xOffset, (Number{-0.1, ""}));
    EXPECT_EQ(gas.symbols[1].element, 2u);
    EXPECT_EQ(gas.symbols[1].shape, u"TRACK1");
    EXPECT_EQ(gas.symbols[1].flags, LineTypeSymbol::IsShape | LineTypeSymbol::KeepsUpright);
    EXPECT_EQ(gas.symbols[1].rotation, (Number{-9, ""}));
    EXPECT_EQ(gas.symbols[2].flags, LineTypeSymbol::IsShape | LineTypeSymbol::AbsoluteRotation);
    EXPECT_EQ(Values(file.lineTypes[1].elements), (std::vector<double>{0, -0.1}));
}

TEST(LineTypeFileReaderTest, InvalidUtf8IsWindows1252) {
    const LineTypeFile file = ReadLineTypeFile("*Wand\xE9,\x80 \x81\nA,1,-1\n");
    EXPECT_EQ(file.lineTypes.at(0).name, u"Wand\u00E9");
    EXPECT_EQ(file.lineTypes.at(0).description, u"\u20AC \uFFFD");
    EXPECT_EQ(file.warnings.size(), 1u);
}

TEST(LineTypeFileReaderTest, DamageIsRefusedWithItsLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "0: there is no definition"},
        {"\n{\"a\": 1}", "2: this is no line-type file"},
        {"*,x\nA,1", "1: the definition has no name"},
        {"*X,x\n", "1: the line type has no complete definition"},
        {"*X,x\nA,1,", "1: the line type has no complete definition"},
        {"*X,x\n0,0,0,0,5", "2: a line type is defined as"},
        {"*X,x\nA,1,,2", "2: the dash length is missing"},
        {"*X,x\nA,1,1e999", "2: the dash length is too large"},
        {"*X,x\nA,1,-1\n2,-1", "3: the definition ended"},
        {"*X,x\nA,1,[\"GAS\",S,S=1", "2: a bracket is not closed"},
        {"*X,x\nA,[\"GAS\",S]", "2: a text or shape must follow a dash"},
        {"*X,x\nA,1,[]", "2: a bracket needs"},
        {"*X,x\nA,1,[\"]", "2: a bracket needs"},
        {"*X,x\nA,1,[B,x.shx,Q=1]", "2: a bracket knows"},
        {"*X,x\nA,1,[B,x.shx,S]", "2: the scale S is missing"},
        {"*X,x\nA,1,[B,x.shx,R=1e308r]", "2: the rotation must be a number"},
    };
    ExpectRefusals(ReadLineTypeFile, cases);
}

}   // namespace
