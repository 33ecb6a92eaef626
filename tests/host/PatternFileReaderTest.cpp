#include "PatternFileReader.hpp"

#include "ReaderSamples.hpp"

namespace {

using namespace Host;
using namespace HostTests;

std::vector<Definition> Definitions(const std::string& bytes) {
    std::vector<Definition> definitions;
    for (const HatchPattern& pattern : ReadPatternFile(bytes).patterns) {
        std::vector<double> values;
        for (const PatternFamily& family : pattern.families) {
            for (const Number* number : {&family.angle, &family.x, &family.y, &family.dx, &family.dy})
                values.push_back(number->value);
            for (const double dash : Values(family.dashes))
                values.push_back(dash);
        }
        definitions.emplace_back(pattern.name, pattern.description, values);
    }
    return definitions;
}

TEST(PatternFileReaderTest, SampleGivesItsTableAndACutOneLosesOnlyItsEnd) {
    const std::string bytes = Sample("ezdxf-patterns-a.pat");
    EXPECT_EQ(Definitions(bytes), ExpectedDefinitions("ezdxf-patterns-a.pat.expected.tsv"));
    ExpectCutsLoseOnlyTheEnd(Definitions, bytes);
}

TEST(PatternFileReaderTest, KeepsFamiliesAndSpelling) {
    const PatternFile file = ReadPatternFile("; head\n*STEEL, Steel; 45 degrees\n45,0,0,0,.1250 ; first\n\n"
                                             "45, 0,.0625, 0,.125, .5,-.25,\n*NEXT\n90,0,0,0,+1\n");
    ASSERT_EQ(file.patterns.size(), 2u);
    const HatchPattern& steel = file.patterns[0];
    EXPECT_EQ(steel.line, 2u);
    EXPECT_EQ(steel.description, u"Steel; 45 degrees");
    ASSERT_EQ(steel.families.size(), 2u);
    EXPECT_EQ(steel.families[0].dy.text, ".1250");
    EXPECT_EQ(steel.families[1].dashes, (std::vector<Number>{{0.5, ""}, {-0.25, ""}}));
    EXPECT_EQ(file.patterns[1].name, u"NEXT");
}

TEST(PatternFileReaderTest, DamageIsRefusedWithItsLine) {
    const std::pair<const char*, const char*> cases[] = {
        {"", "0: there is no definition"},
        {"0,0,0,0,5\n", "1: this is no hatch-pattern file"},
        {"*X, x\n\n*Y, y\n0,0,0,0,5", "1: the pattern has no line family"},
        {"*X, x\n0,0,0,0", "2: a line family needs"},
        {"*X, x\nA,1,-1,1,-1", "2: the angle must be a number"},
        {"*X, x\n0,0,0,,1", "2: the x offset is missing"},
        {"*X, x\n0,0,0,0,1,2,-1e400", "2: the dash length is too large"},
    };
    ExpectRefusals(ReadPatternFile, cases);
}

}   // namespace
