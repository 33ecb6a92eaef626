#include "DxfReader.hpp"

#include "ReaderSamples.hpp"

#include <algorithm>

namespace {

using namespace Host;
using namespace HostTests;

/// The text form of groups written as "0 SECTION|2 TABLES".
std::string Groups(const std::string& groups, const std::string& lineEnd = "\n") {
    std::istringstream stream(groups);
    std::string text;
    for (std::string group; std::getline(stream, group, '|');) {
        const std::size_t blank = std::min(group.find(' ', group.find_first_not_of(' ')), group.size());
        text += group.substr(0, blank) + lineEnd + group.substr(std::min(blank + 1, group.size())) + lineEnd;
    }
    return text;
}

std::string Tables(const std::string& tables) {
    return "0 SECTION|2 TABLES|" + tables + "|0 ENDSEC";
}

/// A drawing with one table, of \p records.
std::string DrawingOf(const std::string& table, const std::string& records) {
    return Groups(Tables("0 TABLE|2 " + table + "|70 1|" + records + "|0 ENDTAB") + "|0 EOF");
}

std::string Header(const std::string& version, const std::string& codePage) {
    return "0 SECTION|2 HEADER|9 $ACADVER|1 " + version + "|9 $DWGCODEPAGE|3 " + codePage + "|0 ENDSEC|";
}

std::string DrawingWithLayer(const std::string& version, const std::string& codePage, const std::string& name) {
    return Groups(Header(version, codePage) + Tables("0 TABLE|2 LAYER|0 LAYER|2 " + name + "|0 ENDTAB") + "|0 EOF");
}

/// The only layer name of a drawing.
std::u16string LayerNameIn(const DxfDrawing& drawing) {
    return drawing.layers.size() == 1 ? drawing.layers.front().name : u"(not one layer)";
}

const char* const SampleDrawings[] = {"mozman-ezdxf__ASCII_R12",          "mozman-ezdxf__AC1003_LINE_Example",
                                      "mozman-ezdxf__Minimal_DXF_AC1021", "mozman-ezdxf__R12_with_trash_beyond_EOF",
                                      "mlightcad-cad-viewer__empty",      "gdsestimating-dxf-parser__tables",
                                      "JamesBremner-DXF_Viewer__tid45"};

TEST(DxfReaderTest, SampleDrawingsGiveTheirTables) {
    for (const std::string name : SampleDrawings) {
        const DxfDrawing drawing = ReadDxf(Sample(name + ".dxf"));
        EXPECT_TRUE(drawing.warnings.empty()) << name;

        const auto layers = ExpectedRows(name + ".Layer.expected.tsv");
        ASSERT_EQ(drawing.layers.size(), layers.size()) << name;
        for (std::size_t place = 0; place < layers.size(); ++place) {
            const DxfLayer& layer = drawing.layers[place];
            EXPECT_EQ(layer.name, Wide(layers[place][0])) << name;
            EXPECT_EQ(std::to_string(layer.color), layers[place][1]) << name;
            EXPECT_EQ(std::to_string(layer.flags), layers[place][3]) << name;
        }
        std::vector<Definition> lineTypes;
        for (const DxfLineType& lineType : drawing.lineTypes)
            lineTypes.emplace_back(lineType.name, lineType.description, Values(lineType.elements));
        EXPECT_EQ(lineTypes, ExpectedDefinitions(name + ".LineType.expected.tsv")) << name;
    }
}

TEST(DxfReaderTest, KeepsTheFieldsOfALayer) {
    const DxfDrawing drawing = ReadDxf(DrawingOf(
        "LAYER", "0 LAYER|5 10|102 {LIST|330 1F|62 99|102 }|330 2|100 Mark|2 Wand|70  5|62  -7|6 Dashed|290 0|370 35|"
                 "420 3271557120|390 F|1001 APP|1070 62|0 OTHER|2 x|0 LAYER|62 1|0 LAYER|2 Dach"));
    ASSERT_EQ(drawing.layers.size(), 2u);
    const DxfLayer& layer = drawing.layers[0];
    EXPECT_EQ(layer.line, 12u);
    EXPECT_EQ(layer.name, u"Wand");
    EXPECT_TRUE(layer.flags == 5 && layer.color == -7);
    EXPECT_EQ(layer.lineType, u"Dashed");
    EXPECT_FALSE(layer.plot);
    EXPECT_EQ(layer.lineWeight, 35);
    EXPECT_EQ(layer.trueColor, 3271557120 & 0xFFFFFF);
    EXPECT_TRUE(drawing.layers[1].plot && !drawing.layers[1].trueColor);
    EXPECT_EQ(drawing.groupsNotKept.at("LAYER"), (std::map<int, std::size_t>{{390, 1}, {1001, 1}, {1070, 1}}));
    EXPECT_EQ(drawing.recordsNotRead.at("LAYER"), 1u);
    ASSERT_EQ(drawing.warnings.size(), 1u) << "a record has no name";
    EXPECT_EQ(drawing.warnings[0].line, 52u);
}

TEST(DxfReaderTest, KeepsSymbolsOfComplexLineTypes) {
    const DxfDrawing drawing = ReadDxf(DrawingOf(
        "LTYPE", "0 LTYPE|2 GAS|3 Gas --GAS--|70 0|72 65|73 3|40 +.95|74 2|49 0.50|74 0|49 -.2|74 2|75 0|340 11|46 .1|"
                 "50 0|44 -0.1|45 -5E-2|9 GAS|49 -.25|74 4|75 132|46 1|9|49 1|46 7"));
    ASSERT_EQ(drawing.lineTypes.size(), 1u);
    const DxfLineType& lineType = drawing.lineTypes.front();
    EXPECT_EQ(lineType.length, (Number{0.95, ""}));
    EXPECT_EQ(Values(lineType.elements), (std::vector<double>{0.5, -0.2, -0.25, 1}));
    EXPECT_EQ(lineType.elements[0].text, "0.50") << "the spelling is kept";

    ASSERT_EQ(lineType.symbols.size(), 2u) << "flags ahead of the first dash belong to nothing";
    EXPECT_EQ(lineType.symbols[0].element, 1u);
    EXPECT_EQ(lineType.symbols[0].flags, LineTypeSymbol::IsText);
    EXPECT_EQ(lineType.symbols[0].text, u"GAS");
    EXPECT_EQ(lineType.symbols[0].yOffset, (Number{-0.05, ""}));
    EXPECT_EQ(lineType.symbols[1].element, 2u);
    EXPECT_EQ(lineType.symbols[1].shapeNumber, 132);
    EXPECT_EQ(lineType.symbols[1].scale, (Number{1, ""})) << "a scale behind the next dash is not the symbol's";
    EXPECT_EQ(drawing.groupsNotKept.at("LTYPE"), (std::map<int, std::size_t>{{46, 1}, {74, 1}, {340, 1}}));
}

TEST(DxfReaderTest, KeepsTheFieldsOfADimensionStyle) {
    const DxfDrawing drawing =
        ReadDxf(DrawingOf("DIMSTYLE", "0 DIMSTYLE|105 27|2 ISO|40 2|41 2.5|5 block|70 4|75 1|70 97|"
                                      "140 3.5|147 .6|281 1|1070 388|0 DIMSTYLE|2 Next|70 8"));
    ASSERT_EQ(drawing.dimStyles.size(), 2u);
    const DxfDimStyle& style = drawing.dimStyles[0];
    EXPECT_EQ(style.flags, 4);
    EXPECT_EQ(style.variableCount, 6u);
    EXPECT_EQ(style.arrowSize, (Number{2.5, ""}));
    EXPECT_EQ(style.textOffset, (Number{0.6, ""}));
    EXPECT_TRUE(style.suppressFirstExtension && style.suppressFirstDimension);
    EXPECT_FALSE(style.suppressSecondExtension || style.suppressSecondDimension);
    EXPECT_EQ(drawing.dimStyles[1].flags, 8);
    EXPECT_FALSE(drawing.dimStyles[1].textHeight);
}

TEST(DxfReaderTest, DecodesTextsByVersionAndCodePage) {
    const struct {
        const char* version;
        const char* codePage;
        const char* bytes;
        std::u16string expected;
        const char* warning;
    } cases[] = {
        {"AC1021", "ANSI_936", "W\xC3\xA4nde \xF0\x9F\x98\x80", u"W\u00E4nde \U0001F600", ""},
        {"AC1032", "", "\xC3\xA4\xE9\x80", u"\u00E4\u00E9\u20AC", "(2)"},   // stray bytes in UTF-8
        {"AC1032", "", "\xC0\xAF\xED\xA0\x80", u"\u00C0\u00AF\u00ED\u00A0\u20AC", "(5)"},
        {"AC1015", "", "\xE9\x80\x9F", u"\u00E9\u20AC\u0178", ""},
        {"AC1015", "ANSI_1252", "a\x81", u"a\uFFFD", "(1)"},   // a byte that Windows-1252 lacks
        {"AC1015", "UNDEFINED", "\xE9", u"\u00E9", "\"UNDEFINED\""},
        {"AC1015", "ANSI_9999", "e", u"e", ""},   // ASCII texts need no code page
        {"AC1015", "ANSI_1251", "\xD1\xF2", u"\u0421\u0442", ""},
        {"AC1012", "DOS850", "\x84", u"\u00E4", ""},
        {"AC1018", "MAC-ROMAN", "\x8A", u"\u00E4", ""},
        {"AC1014", "gb2312", "\xCB\xAE\xB9\xDC", u"\u6C34\u7BA1", ""},
        {"AC1014", "ANSI_936", "\xCB\xAE\xB9", u"\u6C34\uFFFD", "(1)"},   // half a character at the end
        {"AC1012", "dos932", "\x95\x5CU+00E4", u"\u8868U+00E4", ""},      // a backslash inside a character
        {"AC1012", "johab", "\x88\x61\\U+00E4", u"\uAC00\u00E4", ""},     // a coin where the backslash was
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.codePage + std::string(" in ") + c.version);
        const DxfDrawing drawing = ReadDxf(DrawingWithLayer(c.version, c.codePage, c.bytes));
        EXPECT_EQ(LayerNameIn(drawing), c.expected);
        const std::string warning = drawing.warnings.empty() ? "" : drawing.warnings.front().message;
        EXPECT_EQ(warning.empty(), *c.warning == '\0') << warning;
        EXPECT_NE(warning.find(c.warning), std::string::npos) << warning;
    }
    const std::string marked = "\xEF\xBB\xBF" + DrawingWithLayer("AC1015", "ANSI_1251", "\xC3\xA4");
    EXPECT_EQ(LayerNameIn(ReadDxf(marked)), u"\u00E4") << "a byte order mark outdoes the header";
    const std::string zero = DrawingWithLayer("AC1015", "", std::string("a\0b", 3));
    EXPECT_EQ(LayerNameIn(ReadDxf(zero)), u"a\uFFFDb") << "a zero byte is no character";
}

TEST(DxfReaderTest, ResolvesWholeEscapesOnly) {
    const std::pair<const char*, std::u16string> cases[] = {
        {"\\U+00E4\\u+00e4x", u"\u00E4\u00E4x"},
        {"\\U+D83D\\U+DE00", u"\U0001F600"},
        {"\\U+D83D", std::u16string(1, 0xD83D)},
        {"\\U+00E", u"\\U+00E"},
        {"\\U+00G4", u"\\U+00G4"},
        {"\\\\U+0041", u"\\A"},
        {"\\U+0000", u"\\U+0000"},
        {"\\M+1885C", u"\\M+1885C"},
        {"a\\", u"a\\"},
    };
    for (const auto& [name, expected] : cases)
        EXPECT_EQ(LayerNameIn(ReadDxf(DrawingWithLayer("AC1015", "", name))), expected) << name;
}

TEST(DxfReaderTest, LineEndsBlanksAndCommentsMakeNoDifference) {
    const std::string records =
        Tables("999 comment| 0 TABLE|  2  LAYER |0 LAYER|2 W a|999 62|\t62 \t 5 |0 ENDTAB") + "|0 EOF";
    for (const char* lineEnd : {"\n", "\r\n", "\r"}) {
        const DxfDrawing drawing = ReadDxf(Groups("999 made by hand|" + records, lineEnd));
        EXPECT_EQ(LayerNameIn(drawing), u"W a");
        EXPECT_EQ(drawing.layers.at(0).color, 5);
    }
}

TEST(DxfReaderTest, RefusesWhatIsNoDrawing) {
    const std::string noDrawing = "1: this is not a DXF drawing";
    const std::pair<std::string, std::string> cases[] = {
        {Sample("mozman-ezdxf__bin_dxf_r12.dxf"), "1: the binary form of DXF"},
        {"", noDrawing},
        {"{\"a\": 1}", noDrawing},
        {"\x89PNG\r\n\x1A\n", noDrawing},
        {"0\nLINE\n", noDrawing},
        {"999\nSECTION\n", noDrawing}};
    ExpectRefusals(ReadDxf, cases);
}

TEST(DxfReaderTest, ACutDrawingIsReadWholeOrNotAtAll) {
    for (const std::string name : SampleDrawings) {
        const std::string bytes = Sample(name + ".dxf");
        const DxfDrawing whole = ReadDxf(bytes);
        const std::size_t step = bytes.size() > 8192 ? 7 : 1;
        for (std::size_t length = 0; length < bytes.size(); length += step) {
            const std::string_view cut = std::string_view(bytes).substr(0, length);
            if (!RefusalOf(ReadDxf, cut).empty())
                continue;
            const DxfDrawing drawing = ReadDxf(cut);
            EXPECT_TRUE(drawing.layers.size() == whole.layers.size() &&
                        drawing.lineTypes.size() == whole.lineTypes.size() &&
                        drawing.dimStyles.size() == whole.dimStyles.size())
                << name << " cut at " << length;
        }
    }
}

TEST(DxfReaderTest, DamageBehindTheTablesGivesAWarning) {
    const std::string tables = Tables("0 TABLE|2 LAYER|0 LAYER|2 Wall|0 ENDTAB");
    const std::pair<const char*, std::size_t> cases[] = {
        {"", 16},                                                // no end mark
        {"|0 SECTION|2 ENTITIES|0 LINE|8 Wall", 24},             // no end of the section
        {"|0 SECTION|2 ENTITIES|0 LINE|nonsense x|0 EOF", 23},   // no group code
        {"|0 SECTION|2 ENTITIES|0 SECTION|2 OBJECTS", 22},       // no end of the first
        {"|0 SECTION|8 ENTITIES|0 EOF", 20},                     // no name
    };
    for (const auto& [rest, line] : cases) {
        const DxfDrawing drawing = ReadDxf(Groups(tables + rest));
        EXPECT_EQ(LayerNameIn(drawing), u"Wall") << rest;
        ASSERT_EQ(drawing.warnings.size(), 1u) << rest;
        EXPECT_EQ(drawing.warnings[0].line, line) << rest << ": " << drawing.warnings[0].message;
    }
}

TEST(DxfReaderTest, DamagedTablesAreRefusedWithTheirLine) {
    const std::pair<std::string, const char*> cases[] = {
        {DrawingOf("LAYER", "0 LAYER|2 a|62 7x"), "16: the value of group 62 must be a whole number, not \"7x\""},
        {DrawingOf("LAYER", "0 LAYER|2 a|62"), "16: the value of group 62 is missing"},
        {DrawingOf("LAYER", "0 LAYER|2 a|62 99999999999"), "16: the value of group 62 is too large"},
        {DrawingOf("LAYER", "0 LAYER|99999999999 a"), "13: the group code is too large"},
        {DrawingOf("LAYER", "0 LAYER|70000 a"), "13: there is no group code"},
        {DrawingOf("LAYER", "0 LAYER|2x a"), "13: the group code must be a whole number"},
        {DrawingOf("LTYPE", "0 LTYPE|49 1e999"), "14: the value of group 49 is too large"},
        {DrawingOf("LTYPE", "0 LTYPE|49 nan"), "14: the value of group 49 must be a number"},
        {DrawingOf("LTYPE", "0 LTYPE|49 +-1"), "14: the value of group 49 must be a number"},
        {DrawingOf("DIMSTYLE", "0 DIMSTYLE|140 0x10"), "14: the value of group 140 must be a number"},
        {DrawingOf("LAYER", "0 LAYER|2 a|0 TABLE|2 LTYPE"), "16: the LAYER table has no end"},
        {DrawingOf("STYLE", "0 STYLE|2 a|0 ENDSEC"), "16: the STYLE table has no end"},
        {Groups(Tables("0 TABLE|2 LAYER|0 EOF")), "10: the drawing ends inside its LAYER table"},
        {Groups("0 SECTION|2 TABLES|0 SECTION|2 BLOCKS"), "6: a section begins inside its TABLES section"},
        {Groups("0 SECTION|2 TABLES|0 TABLE|70 1"), "8: a table has no name"},
        {Groups("0 SECTION|2 HEADER|0 ENDSEC"), "6: the drawing ends ahead of its tables"},
    };
    ExpectRefusals(ReadDxf, cases);
}

}   // namespace
