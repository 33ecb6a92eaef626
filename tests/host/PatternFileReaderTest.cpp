#include "PatternFileReader.hpp"

#include "ReaderSamples.hpp"

namespace {

using namespace Host;
using namespace HostTests;

std::vector<double> Values(const HatchPattern& pattern) {
    std::vector<double> values;
    for (const PatternFamily& family : pattern.families) {
        for (const Number* number : {&family.angle, &family.x, &family.y, &family.dx, &family.dy})
            values.push_back(number->value);
        for (const Number& dash : family.dashes)
            values.push_back(dash.value);
    }
    return values;
}

TEST(PatternFileReaderTest, SampleGivesItsTable) {
    const auto expected = ExpectedRows("ezdxf-patterns-a.pat.expected.tsv");
    const PatternFile file = ReadPatternFile(Sample("ezdxf-patterns-a.pat"));
    ASSERT_EQ(file.patterns.size(), expected.size());
    for (std::size_t place = 0; place < expected.size(); ++place) {
        EXPECT_EQ(file.patterns[place].name, Wide(expected[place][0]));
        EXPECT_EQ(file.patterns[place].description, Wide(expected[place][1]));
        EXPECT_EQ(Values(file.patterns[place]), Numbers(expected[place][2])) << expected[place][0];
    }
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
    EXPECT_TRUE(steel.families[0].dashes.empty());
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
    for (const auto& [bytes, refusal] : cases)
        EXPECT_TRUE(RefusalOf(ReadPatternFile, bytes).starts_with(refusal)) << bytes << "\n"
                                                                            << RefusalOf(ReadPatternFile, bytes);
}

TEST(PatternFileReaderTest, ACutFileIsRefusedOrLosesOnlyItsEnd) {
    const std::string bytes = Sample("ezdxf-patterns-a.pat");
    const auto whole = ReadPatternFile(bytes).patterns;
    for (std::size_t length = 0; length < bytes.size(); ++length) {
        const std::string cut = bytes.substr(0, length);
        if (!RefusalOf(ReadPatternFile, cut).empty())
            continue;
        const auto read = ReadPatternFile(cut).patterns;
        ASSERT_FALSE(read.empty()) << length;
        for (std::size_t place = 0; place + 1 < read.size(); ++place)
            EXPECT_EQ(Values(read[place]), Values(whole[place])) << length;
    }
}

}   // namespace
