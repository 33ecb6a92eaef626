#include "CommandLineFixture.hpp"
#include "ReaderSamples.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <AttributeManager/IAttributeRegister.hpp>

namespace {

using HostTests::CommandLineTest;
using HostTests::DrawingWith;
using HostTests::LayerTable;
using HostTests::LineTypeTable;
using HostTests::Outcome;
using HostTests::RunCommand;
using HostTests::Sample;

TEST_F(CommandLineTest, TsvHasExactlyTheseColumns) {
    const std::string drawing = Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall"}, "DASHED")));
    const std::string patterns = Write("a.pat", "*GRID, Square grid\n0, 0,0, 0,1\n90, 0,0, 0,1, .5,-0.5\n");
    const struct {
        const char* kind;
        const char* expected;
    } cases[] = {
        {"Layer", "index\tname\tcolor\tlineType\tflags\n1\tWall\t-7\tDashed\t4\n"},
        {"linetype", "index\tname\tdescription\tpattern\n1\tDashed\t__ __\t1 -0.5\n"},
        {"Fill", "index\tname\tdescription\tfamilies\n1\tGRID\tSquare grid\t0,0,0,0,1 | 90,0,0,0,1,0.5,-0.5\n"},
        {"City", "index\tname\tlatitude\tlongitude\televation\ttimeZone\n"},
    };
    for (const auto& c : cases) {
        const Outcome outcome = RunCommand({"list", drawing, "--type", c.kind, "--format=tsv", "--", patterns});
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        EXPECT_EQ(outcome.out, c.expected);
    }
    EXPECT_EQ(RunCommand({"list", patterns, drawing, "--format", "tsv"}).out,
              "type\tindex\tname\nFill\t1\tGRID\nLayer\t1\tWall\nLineType\t1\tDashed\nPenTable\t1\tDrawing Colors\n");
    EXPECT_EQ(GetAttributeRegister(), nullptr) << "nothing is left of a run";
}

TEST_F(CommandLineTest, WhatStandsInNamesDoesNoHarm) {
    const std::string drawing = Write("a.dxf", DrawingWith(LayerTable({"a\tb\\c\x1B[2J", "\\U+D83D"})));
    const std::pair<const char*, const char*> cases[] = {{"tsv", "index\tname\tcolor\tlineType\tflags\n"
                                                                 "1\ta\\tb\\\\c\\x1B[2J\t-7\tCONTINUOUS\t4\n"
                                                                 "2\t\\xED\\xA0\\xBD\t-7\tCONTINUOUS\t4\n"},
                                                         {"table",
                                                          "Layers (2)\n"
                                                          "index  name       color  lineType    flags\n"
                                                          "    1  a\uFFFDb\\c\uFFFD[2J     -7  CONTINUOUS      4\n"
                                                          "    2  \uFFFD             -7  CONTINUOUS      4\n"}};
    for (const auto& [format, expected] : cases)
        EXPECT_EQ(RunCommand({"list", drawing, "--type", "Layer", "--format", format}).out, expected);
}

TEST_F(CommandLineTest, JsonHasAllThatIsKnown) {
    const std::string drawing = Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall", "Roof"}, "DASHED")));
    const std::string fields = R"("color": -7, "lineType": "Dashed", "flags": 4, "penTable": "Drawing Colors", )"
                               R"("pen": 7, "lineWeight": null, "trueColor": null, "isPlotted": true})";
    EXPECT_EQ(RunCommand({"list", drawing, "--type", "Layer", "--format", "json"}).out,
              "{\n  \"Layer\": [\n    {\"index\": 1, \"name\": \"Wall\", " + fields +
                  ",\n    {\"index\": 2, \"name\": \"Roof\", " + fields + "\n  ]\n}\n");
    EXPECT_EQ(RunCommand({"list", drawing, "--type", "City", "--format", "json"}).out, "{\n  \"City\": []\n}\n");

    const std::string lines = Write("a.lin", "*GAS,Gas\nA,.5,-.2,[\"GAS\",STANDARD,S=.1,R=0,X=-0.1,Y=-.05],-.25\n");
    const std::string json = RunCommand({"list", lines, "--type", "LineType", "--format", "json"}).out;
    for (const char* const part : {R"("pattern": [0.5, -0.2, -0.25], "length": 0.95)",
                                   R"("symbols": [[1, 2, "GAS", "", "STANDARD", 0, 0.1, 0, -0.1, -0.05]]})"})
        EXPECT_NE(json.find(part), std::string::npos) << part << " in " << json;
}

TEST_F(CommandLineTest, SortAndExtensionRules) {
    const std::string drawing = Write("a.dxf", DrawingWith(LayerTable({"b.x", "B", "c.x.y", "a.x", "A"})));
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "b.x;B;c.x.y;a.x;A;"},
        {{"--sort=name"}, "A;a.x;B;b.x;c.x.y;"},
        {{"--sort=extension"}, "A;B;a.x;b.x;c.x.y;"},
        {{"--extension", "x"}, "b.x;a.x;"},
        {{"--extension", "x", "--sort", "name"}, "a.x;b.x;"},
        {{"--extension="}, "B;A;"},
        {{"--extension", "X"}, ""}};
    for (const auto& [options, expected] : cases) {
        std::vector<std::string> arguments{"list", drawing, "--type", "Layer", "--format", "tsv"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        std::istringstream words(RunCommand(arguments).out);
        std::string names, word;
        for (int column = 0; std::getline(words, word, column % 5 == 4 ? '\n' : '\t'); ++column)
            names += column > 5 && column % 5 == 1 ? word + ';' : "";
        EXPECT_EQ(names, expected);
    }
}

TEST_F(CommandLineTest, MissingLineTypesAreShownOnRequest) {
    const std::string drawing = Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall"}, "Hidden")));
    EXPECT_EQ(RunCommand({"list", drawing, "--type=LineType", "--format=tsv"}).out.find("Hidden"), std::string::npos);
    EXPECT_NE(RunCommand({"list", drawing, "--type=LineType", "--format=tsv", "--all"}).out.find("2\tHidden\t\t\n"),
              std::string::npos);
}

TEST_F(CommandLineTest, TheSummaryCountsWhatBecameOfTheAttributes) {
    const std::string style = "0\nTABLE\n2\nSTYLE\n0\nSTYLE\n2\nx\n0\nENDTAB\n";
    const std::string one = Write("one.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall"}, "Dashed")));
    const std::string two = Write("two.dxf", DrawingWith(LayerTable({"WALL", "Roof"}, "Dashed") + style));
    const std::string me = "zalattributes: ";
    EXPECT_EQ(RunCommand({"list", one, two, one}).err,
              me + one + ": 3 new, 0 reused, 0 renamed\n" + me + two + ": records not read: STYLE 1\n" + me + two +
                  ": 1 new, 3 reused, 0 renamed\n" + me + one + ": 0 new, 3 reused, 0 renamed\n");
}

TEST_F(CommandLineTest, WhatCannotBeDoneIsSaidInOneLine) {
    const std::string good = Write("good.dxf", DrawingWith(LayerTable({"Wall"})));
    const std::string cut = DrawingWith(LayerTable({"Wall"}));
    const std::pair<std::vector<std::string>, std::string> cases[] = {
        {{}, "no command"},
        {{"lst", good}, "no command 'lst'"},
        {{"list"}, "no file"},
        {{"list", "--colour", good}, "no option --colour"},
        {{"list", good, "--type"}, "--type needs a value"},
        {{"list", good, "--all=yes"}, "--all has no value"},
        {{"list", good, "--sort", "name", "--sort", "name"}, "--sort is given twice"},
        {{"list", good, "--type", "Door"}, "no kind 'Door'"},
        {{"list", good, "--sort", "color"}, "index, name, extension"},
        {{"list", good, "--format", "xml"}, "table, tsv, json"},
        {{"list", good, folder.string() + "/no\nsuch.dxf"}, "no\\x0Asuch.dxf: there is no such file"},
        {{"list", folder.string()}, "this is a folder without Attribute.xml"},
        {{"list", Write("empty.dxf", "")}, "the file is empty"},
        {{"list", Write("cut.dxf", cut.substr(0, cut.find("62")))}, "cut.dxf:"},
        {{"list", Write("note.txt", "dear reader\n")}, "note.txt:1: this is neither"},
        {{"list", Write("binary", Sample("mozman-ezdxf__bin_dxf_r12.dxf"))}, "binary"},
        {{"list", Write("foreign.zas", "no store at all")}, "foreign.zas: the store cannot be read"},
        {{"import", "--out", "x"}, "no file is given to import"},
        {{"import", good}, "option --out"},
        {{"import", good, "--out", ""}, "the name of the target is empty"},
        {{"import", good, "--out", good}, "good.dxf: this is a file"},
        {{"import", good, "--out", folder.string() + "/no/such.zas"}, "such.zas: it cannot be saved there"},
        {{"import", good, "--out", folder.string() + "/no/such"}, "such: it cannot be saved there"},
        {{"convert", good}, "two names, IN and OUT"},
        {{"convert", good, "x", "y"}, "two names, IN and OUT"},
        {{"convert", good, "x.zas", "--stream-version", "5"}, "use one of 1, 2, 3, 4"},
        {{"convert", good, "x", "--stream-version", "2"}, "is for stores"},
        {{"roundtrip"}, "one name, IN"},
        {{"roundtrip", good, good}, "one name, IN"},
        {{"list", good, Write("bad.lin", "*A,b\nA,x\n")}, "bad.lin:2: "},
        {{"list", Write("bad.pat", "*A,b\n0,0\n")}, "bad.pat:2: "},
    };
    for (const auto& [arguments, said] : cases) {
        const Outcome outcome = RunCommand(arguments);
        EXPECT_TRUE(outcome.code == 2 && outcome.out.empty()) << said;
        EXPECT_NE(outcome.err.find(said), std::string::npos) << said << " in " << outcome.err;
        EXPECT_TRUE(outcome.err.starts_with("zalattributes: ")) << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    }
}

TEST_F(CommandLineTest, WhatWasImportedIsListedAsTheDrawingIs) {
    const std::string samples = std::string(TEST_DATA_DIR) + "/host/data/";
    const std::string drawing = samples + "gdsestimating-dxf-parser__tables.dxf";
    const std::string patterns = samples + "ezdxf-patterns-a.pat";
    const std::string list = RunCommand({"list", drawing, patterns, "--format", "json", "--all"}).out;
    const std::string documents = Path("set"), store = Path("set.zas"), other = Path("other"),
                      again = Path("again.ZAS");
    for (const std::string& target : {documents, store}) {
        const Outcome import = RunCommand({"import", drawing, patterns, "--out", target});
        EXPECT_EQ(import.code, 0) << import.err;
        EXPECT_NE(import.out.find("\n  Layer               "), std::string::npos) << import.out;
        EXPECT_EQ(RunCommand({"list", target, "--format", "json", "--all"}).out, list);
    }
    EXPECT_EQ(RunCommand({"convert", store, other}).code, 0);
    EXPECT_EQ(RunCommand({"convert", other, again}).code, 0);
    EXPECT_EQ(Bytes(again), Bytes(store)) << "there and back";
    EXPECT_EQ(RunCommand({"convert", documents, Path("copy")}).code, 0);
    for (const auto& file : std::filesystem::directory_iterator(documents))
        EXPECT_EQ(Bytes(Path("copy") + '/' + file.path().filename().string()), Bytes(file.path().string())) << file;
    std::filesystem::rename(again, Path("store"));
    EXPECT_EQ(RunCommand({"list", Path("store"), "--format", "json", "--all"}).out, list) << "known by its content";
    EXPECT_EQ(RunCommand({"list", documents + "/Attribute.xml", "--format", "json", "--all"}).out, list);
    EXPECT_NE(RunCommand({"list", store, documents}).err.find(": 0 new, "), std::string::npos) << "merged";
}

TEST_F(CommandLineTest, RoundtripsHaveATable) {
    const std::string drawing = Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall"}, "DASHED")));
    const Outcome outcome = RunCommand({"roundtrip", drawing});
    EXPECT_EQ(outcome.code, 0) << outcome.err;
    std::istringstream lines(outcome.out);
    std::string results, line;
    while (std::getline(lines, line))
        results += line.substr(0, 16) + '|' + line.substr(16, 12) + '|' + line.substr(42, 9) + '\n';
    EXPECT_EQ(results, "form            |  attributes|result   \n"
                       "stream version 1|           3|explained\n"
                       "stream version 2|           3|equal\n"
                       "stream version 3|           3|equal\n"
                       "stream version 4|           3|equal\n"
                       "XML             |           3|equal\n");
}

TEST_F(CommandLineTest, WhatATargetCannotCarryIsReported) {
    const std::string drawing = Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall"}, "DASHED")));
    const std::string store = Path("set.zas"), old = Path("old.zas");
    ASSERT_EQ(RunCommand({"import", drawing, "--out", store}).code, 0);
    const Outcome outcome = RunCommand({"convert", store, old, "--stream-version=1"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("old.zas: lost: Layer 1 \"Wall\": object id\n"), std::string::npos) << outcome.err;
    EXPECT_NE(RunCommand({"list", old}).err.find("version 1 cannot be read back"), std::string::npos);
    const std::string before = Bytes(store);
    EXPECT_EQ(RunCommand({"convert", store, store, "--stream-version=1"}).code, 2) << "nothing is lost in place";
    EXPECT_EQ(Bytes(store), before);
    EXPECT_EQ(RunCommand({"convert", store, store}).code, 0);
    EXPECT_EQ(Bytes(store), before);
}

TEST_F(CommandLineTest, DocumentsThatAreNotWholeAreNotSavedOver) {
    const std::string drawing = Write("a.dxf", DrawingWith(LayerTable({"Wall"})));
    const std::string documents = Path("set");
    ASSERT_EQ(RunCommand({"import", drawing, "--out", documents}).code, 0);
    std::string layers = Bytes(documents + "/Attr_Layer.xml");
    layers.replace(layers.find("<color>"), 0, "<depth>3</depth>");
    Write("set/Attr_Layer.xml", layers);
    const Outcome list = RunCommand({"list", documents});
    EXPECT_EQ(list.code, 0);
    EXPECT_NE(list.err.find("a part that another version wrote was passed over (Host::Layer)"), std::string::npos);
    for (const std::string& target : {documents, documents + "/", documents + "/../set"}) {
        const Outcome convert = RunCommand({"convert", documents + "/Attribute.xml", target});
        EXPECT_EQ(convert.code, 2);
        EXPECT_NE(convert.err.find("it was not read whole"), std::string::npos) << convert.err;
        EXPECT_EQ(Bytes(documents + "/Attr_Layer.xml"), layers);
    }
    EXPECT_EQ(RunCommand({"convert", documents, Path("other")}).code, 1);
}

TEST_F(CommandLineTest, DamagedDocumentsAreRefusedInOneLine) {
    const std::string drawing = Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall"}, "DASHED")));
    const std::string store = Path("set.zas");
    ASSERT_EQ(RunCommand({"import", drawing, "--out", store}).code, 0);
    const std::string bytes = Bytes(store);
    std::string flipped = bytes;
    flipped[flipped.size() / 2] ^= 1;
    const auto documentsWithout = [&](const char* name, const std::string& replacement) {
        std::filesystem::remove_all(Path("set"));
        EXPECT_EQ(RunCommand({"convert", store, Path("set")}).code, 0);
        std::filesystem::remove(Path("set/" + std::string(name)));
        return replacement.empty() ? Path("set") : (Write("set/" + std::string(name), replacement), Path("set"));
    };
    const std::function<std::string()> cases[] = {
        [&] { return Write("cut.zas", bytes.substr(0, bytes.size() - 1)); },
        [&] { return Write("cut.zas", bytes.substr(0, 20)); },
        [&] { return Write("long.zas", bytes + '\0'); },
        [&] { return Write("flipped.zas", flipped); },
        [&] { return documentsWithout("Attribute.xml", ""); },
        [&] { return documentsWithout("Attr_Layer.xml", ""); },
        [&] { return documentsWithout("Attr_Layer.xml", "<AttributeSet><Attributes>"); },
        [&] { return documentsWithout("Attr_Layer.xml", "<!DOCTYPE x><AttributeSet/>"); },
        [&] { return documentsWithout("Attribute.xml", "<Other/>"); },
    };
    for (const auto& makeInput : cases) {
        const std::string input = makeInput();
        const Outcome outcome = RunCommand({"list", input});
        EXPECT_EQ(outcome.code, 2) << input;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
        EXPECT_NE(outcome.err.find(input), std::string::npos) << outcome.err;
    }
}

TEST_F(CommandLineTest, FilesAreKnownByTheirContentToo) {
    const struct {
        const char* name;
        std::string bytes;
        const char* kind;
    } cases[] = {
        {"drawing", "999\ncomment\n" + DrawingWith(LayerTable({"Found"})), "Layer"},
        {"marked.txt", "\xEF\xBB\xBF" + DrawingWith(LayerTable({"Found"})), "Layer"},
        {"lines", "; comment\n\n*Found,line\nA,1,-1\n", "LineType"},
        {"spelt", "*Found,line\na , 1,-1\n", "LineType"},
        {"patterns", "*Found\n0,0,0,0,1\n", "Fill"},
        {"UPPER.PAT", "*Found\n0,0,0,0,1\n", "Fill"},
        {"-", "*Found\n0,0,0,0,1\n", "Fill"},
    };
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(folder);
    for (const auto& c : cases) {
        Write(c.name, c.bytes);
        EXPECT_NE(RunCommand({"list", c.name, "--type", c.kind}).out.find("Found"), std::string::npos) << c.name;
    }
    Write("--all", std::end(cases)[-1].bytes);
    EXPECT_NE(RunCommand({"list", "--", "--all"}).out.find("Found"), std::string::npos);
    std::filesystem::current_path(before);
}

// Those that the general help lists.
std::vector<std::string> Commands() {
    std::vector<std::string> commands;
    const std::string help = RunCommand({"--help"}).out;
    std::istringstream lines(help.substr(help.find("Commands:\n")));
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line) && line.starts_with("  "))
        commands.push_back(line.substr(2, line.find(' ', 2) - 2));
    return commands;
}

// "\-\-out" for "--out".
std::string InManual(const std::string& option) {
    return std::regex_replace(option, std::regex("-"), "\\-");
}

TEST_F(CommandLineTest, TheManualHasEveryCommandAndOption) {
    const std::string manual = Bytes(std::string(TEST_DATA_DIR) + "/../docs/man/zalattributes.1");
    for (const std::string& command : Commands()) {
        const std::size_t begin = manual.find("\n.SS " + command + '\n');
        ASSERT_NE(begin, std::string::npos) << command;
        const std::string section = manual.substr(begin, manual.find("\n.S", begin + 1) - begin);
        const std::string help = RunCommand({command, "--help"}).out;
        const std::regex option("\n  (--[a-z-]+)");
        for (std::sregex_iterator found(help.begin(), help.end(), option), end; found != end; ++found) {
            const bool isOfAll = found->str(1) == "--help";
            EXPECT_TRUE(isOfAll || section.find(InManual(found->str(1))) != std::string::npos)
                << command << found->str(1);
        }
    }
}

TEST_F(CommandLineTest, HelpSaysWhatThereIs) {
    EXPECT_EQ(RunCommand({"--help"}).code, 0);
    const Outcome list = RunCommand({"list", "--nonsense", "--help"});
    EXPECT_EQ(list.code, 0);
    const std::vector<std::string> commands = Commands();
    EXPECT_EQ(commands.size(), 8U);
    for (const std::string& command : commands) {
        const Outcome help = RunCommand({command, "--help"});
        EXPECT_NE(help.out.find("\nExample: "), std::string::npos);
        EXPECT_NE(help.out.find("\n  zalattributes " + command + ' '), std::string::npos);
    }
    for (const char* const word : {"--type KIND", "--sort KEY", "--extension TEXT", "--format FORM", "--all",
                                   "BuildingMaterial", "Exit codes", "index name color lineType flags\n"})
        EXPECT_NE(list.out.find(word), std::string::npos) << word;
}

TEST_F(CommandLineTest, OutputThatCannotBeWrittenIsAFailure) {
    const std::string drawing = Write("a.dxf", DrawingWith(LayerTable({"Wall"})));
    for (const std::vector<std::string>& arguments : {std::vector<std::string>{"list", drawing}, {"--help"}}) {
        std::ostream out(nullptr);
        std::ostringstream err;
        EXPECT_EQ(Host::RunCommandLine(arguments, out, err), 2);
        EXPECT_NE(err.str().find("standard output"), std::string::npos) << err.str();
    }
    std::ostream out(nullptr);
    std::ostringstream err;
    const std::string target = Path("old.zas");
    EXPECT_EQ(
        Host::RunCommandLine(std::vector<std::string>{"convert", drawing, target, "--stream-version=1"}, out, err), 2);
    EXPECT_NE(err.str().find("lost: Layer 1"), std::string::npos) << "all is told that is true of the target";
    EXPECT_NE(err.str().find(target + ": it is saved, but standard output"), std::string::npos) << err.str();
    EXPECT_TRUE(std::filesystem::exists(target));
}

#ifdef __unix__

TEST_F(CommandLineTest, SourceDateEpochMustBeATime) {
    const std::string drawing = Write("a.dxf", DrawingWith(LayerTable({"Wall"})));
    const std::pair<const char*, int> cases[] = {{"0", 0},  {"1700000000", 0},  {"", 2},           {"now", 2},
                                                 {"-1", 2}, {"1700000000 ", 2}, {"99999999999", 2}};
    for (const auto& [value, code] : cases) {
        setenv("SOURCE_DATE_EPOCH", value, 1);
        EXPECT_EQ(RunCommand({"list", drawing}).code, code) << value;
    }
    unsetenv("SOURCE_DATE_EPOCH");
}

// What only a process can show: how its exit code and its streams are tied together.
TEST_F(CommandLineTest, TheProgramAnswersWithItsExitCode) {
    const char* const program = std::getenv("ZALATTRIBUTES_PATH");
    if (program == nullptr)
        GTEST_SKIP() << "ZALATTRIBUTES_PATH does not name the program";
    const std::string drawing = Write("a.dxf", DrawingWith(LayerTable({"Wall"})));
    const std::string list = "'" + std::string(program) + "' list '" + drawing + "' 2>/dev/null ";
    const std::pair<std::string, int> cases[] = {
        {list + ">/dev/null", 0},
        {list + ">/dev/full", 2},
        {list + ">&-", 2},
        {"{ sleep 0.2; " + list + "; echo $? >'" + folder.string() + "/code'; } | true; sleep 0.5; exit $(cat '" +
             folder.string() + "/code')",
         2},
        {"'" + std::string(program) + "' 2>/dev/null", 2},
        {"(ulimit -f 1; exec '" + std::string(program) + "' import '" + drawing + "' --out '" + Path("full") +
             "') 2>&1 >/dev/null | grep -q '/full/Attr_Layer.xml.new.*too large'",
         0},
    };
    for (const auto& [command, code] : cases)
        EXPECT_EQ(std::system(command.c_str()) / 256, code) << command;
}

#endif

}   // namespace
