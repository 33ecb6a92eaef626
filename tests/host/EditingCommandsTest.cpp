#include "CommandLineFixture.hpp"

#include "Session.hpp"
#include "documents/DocumentWriter.hpp"
#include "kinds/AllKinds.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <Kest/Clock.hpp>
#include <Kest/MemoryHandle.hpp>

namespace {

using HostTests::DrawingWith;
using HostTests::LayerTable;
using HostTests::LineTypeTable;
using HostTests::Outcome;
using HostTests::RunCommand;

class EditingCommandsTest : public HostTests::CommandLineTest {
protected:
    // A store of the layers, drawn with the line type Dashed, or one that is missing.
    std::string Store(const std::string& name, const std::vector<std::string>& layers,
                      const std::string& lineType = "DASHED") const {
        const std::string drawing = Write(name + ".dxf", DrawingWith(LineTypeTable + LayerTable(layers, lineType)));
        EXPECT_EQ(RunCommand({"import", drawing, "--out", Path(name + ".zas")}).code, 0);
        return Path(name + ".zas");
    }

    static std::string Layers(const std::string& path) {
        return RunCommand({"list", path, "--type", "Layer", "--format", "tsv", "--all"}).out;
    }

    // A copy of the store that an edit made, each a second after the one before.
    std::string Edit(const std::string& store, const std::string& name, std::vector<std::string> options) const {
        options.insert(options.begin(), {"edit", store, "--out", Path(name)});
        ++editTime;
        TISetClock([] { return editTime; });   // a command gives the clock back
        const Outcome outcome = RunCommand(options);
        EXPECT_EQ(outcome.code, 0) << outcome.err;
        return Path(name);
    }

    static inline int editTime = 2'000'000'000;   // later than what is imported
};

TEST_F(EditingCommandsTest, EditsAreMadeInTheirOrderAndReferencesFollow) {
    const std::string store = Store("a", {"Wall", "Roof", "Door"});
    const Outcome edit = RunCommand({"edit", store, "--type", "LineType", "--add", "Dotted", "--replace=1=2",
                                     "--rename", "2=Dots = dots", "--out", store});
    EXPECT_EQ(edit.code, 0) << edit.err;
    EXPECT_EQ(edit.out, "added LineType 2 \"Dotted\"\n"
                        "replaced LineType 1 \"Dashed\" by LineType 2 \"Dotted\"\n"
                        "renamed LineType 2 \"Dotted\" to \"Dots = dots\"\n"
                        "reindexed Layer 1 \"Wall\": lineType 1 -> 2\n"
                        "reindexed Layer 2 \"Roof\": lineType 1 -> 2\n"
                        "reindexed Layer 3 \"Door\": lineType 1 -> 2\n" +
                            store +
                            ": 5 attributes, stream version 4\n"
                            "  Layer               3\n"
                            "  LineType            1\n"
                            "  PenTable            1\n");
    EXPECT_EQ(Layers(store), "index\tname\tcolor\tlineType\tflags\n1\tWall\t-7\tDots = dots\t4\n"
                             "2\tRoof\t-7\tDots = dots\t4\n3\tDoor\t-7\tDots = dots\t4\n");
    Edit(store, "a.zas",
         {"--type", "layer", "--delete", "3", "--add", "DOOR", "--rename=1=Tmp", "--rename=2=Wall", "--rename=1=Roof"});
    EXPECT_EQ(Layers(store), "index\tname\tcolor\tlineType\tflags\n1\tRoof\t-7\tDots = dots\t4\n"
                             "2\tWall\t-7\tDots = dots\t4\n4\tDOOR\t7\t\t0\n");
}

TEST_F(EditingCommandsTest, WhatOthersReferToIsDeletedWithASuccessorOrByForceOnly) {
    const std::string store = Store("a", {"Wall"}), before = Bytes(store);
    const std::vector<std::string> edit{"edit", store, "--type", "LineType", "--out", store, "--delete", "1"};
    const auto with = [&edit](std::vector<std::string> options) {
        options.insert(options.begin(), edit.begin(), edit.end());
        return RunCommand(options);
    };
    const Outcome refused = with({});
    EXPECT_EQ(refused.code, 1);
    EXPECT_EQ(refused.out, "Layer 1 \"Wall\": lineType refers to LineType 1 \"Dashed\"\n");
    EXPECT_NE(refused.err.find("nothing is saved"), std::string::npos);
    EXPECT_EQ(with({"--add", "New", "--replace", "1=2", "--delete", "2"}).code, 1) << "the successor goes, too";
    EXPECT_EQ(Bytes(store), before);
    const Outcome replaced = with({"--out", Path("b.zas"), "--add", "New", "--replace", "1=2"});
    EXPECT_EQ(replaced.code, 2) << "--out is given twice";
    EXPECT_EQ(RunCommand({"edit", store, "--type", "LineType", "--out", Path("b.zas"), "--delete", "1", "--add", "New",
                          "--replace", "1=2"})
                  .code,
              0);
    EXPECT_EQ(RunCommand({"check", Path("b.zas")}).out, "no findings\n");
    EXPECT_EQ(with({"--force"}).code, 0);
    const Outcome check = RunCommand({"check", store});
    EXPECT_EQ(check.code, 1);
    EXPECT_EQ(check.out, "1. Layer 1 \"Wall\": lineType refers to LineType 1, which is not there\n");
}

TEST_F(EditingCommandsTest, AllEditsAreMadeOrNone) {
    const std::string store = Store("a", {"Wall", "Roof"}), before = Bytes(store);
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{}, "no edit is given"},
        {{"--delete", "7"}, "no Layer 7"},
        {{"--delete", "1", "--rename", "1=x"}, "no Layer 1"},
        {{"--rename", "1=roof"}, "the name \"roof\" is that of Layer 2 \"Roof\""},
        {{"--rename", "1= "}, "a name is blank"},
        {{"--rename", "1"}, "equals sign"},
        {{"--rename", "x=y"}, "'x' is no index"},
        {{"--add", "WALL"}, "that of Layer 1"},
        {{"--add", "\xFF"}, "'\\xFF' is not UTF-8"},
        {{"--replace", "1=1"}, "cannot replace itself"},
        {{"--replace", "1=3"}, "no Layer 3"},
        {{"--replace", "40000=1"}, "'40000' is no index"},
        {{"--replace", "1=2", "--replace", "2=1"}, "no Layer 1"},
    };
    for (const auto& [options, said] : cases) {
        std::vector<std::string> arguments{"edit", store, "--type", "Layer", "--out", store, "--rename", "2=Roof"};
        if (options.empty())
            arguments.resize(6);
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = RunCommand(arguments);
        EXPECT_TRUE(outcome.code == 2 && outcome.out.empty()) << said;
        EXPECT_NE(outcome.err.find(said), std::string::npos) << said << " in " << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    }
    EXPECT_EQ(Bytes(store), before);
    EXPECT_NE(RunCommand({"edit", store, "--add", "x", "--out", store}).err.find("--type"), std::string::npos);
    EXPECT_NE(RunCommand({"edit", store, "--type", "Layer", "--add", "x"}).err.find("--out"), std::string::npos);
}

TEST_F(EditingCommandsTest, DifferencesAreShownFieldByField) {
    const std::string store = Store("a", {"Wall", "Roof", "Door"});
    EXPECT_EQ(RunCommand({"diff", store, store}).out, "no differences\n");
    const std::string layers =
        Edit(store, "b.zas", {"--type", "Layer", "--rename=1=Walls", "--delete=3", "--add=Pipe"});
    const std::string other = Edit(layers, "c.zas", {"--type", "LineType", "--add=Dotted", "--replace=1=2"});
    const Outcome text = RunCommand({"diff", store, other, "--ignore-time"});
    EXPECT_EQ(text.code, 1);
    EXPECT_EQ(text.out, "Layer 1 \"Wall\": changed\n"
                        "  name: \"Wall\" -> \"Walls\"\n"
                        "  lineType: 1 \"Dashed\" -> 2 \"Dotted\"\n"
                        "Layer 2 \"Roof\": changed\n"
                        "  lineType: 1 \"Dashed\" -> 2 \"Dotted\"\n"
                        "Layer 3 \"Door\": removed\n"
                        "Layer 4 \"Pipe\": added\n"
                        "LineType 1 \"Dashed\": removed\n"
                        "LineType 2 \"Dotted\": added\n"
                        "2 attributes changed, 2 attributes removed, 2 attributes added\n");
    const Outcome json = RunCommand({"diff", layers, other, "--ignore-time", "--format=json"});
    EXPECT_EQ(json.out, "{\n  \"a\": \"" + layers + "\",\n  \"b\": \"" + other +
                            R"(",
  "equal": false,
  "set": [],
  "attributes": [
    {"kind": "Layer", "index": 1, "name": "Walls", "change": "changed", "fields": [
      {"field": "lineType", "old": {"index": 1, "name": "Dashed"}, "new": {"index": 2, "name": "Dotted"}}
    ]},
    {"kind": "Layer", "index": 2, "name": "Roof", "change": "changed", "fields": [
      {"field": "lineType", "old": {"index": 1, "name": "Dashed"}, "new": {"index": 2, "name": "Dotted"}}
    ]},
    {"kind": "LineType", "index": 1, "name": "Dashed", "change": "removed", "fields": []},
    {"kind": "LineType", "index": 2, "name": "Dotted", "change": "added", "fields": []}
  ]
}
)");
    const std::string renamed = Edit(store, "d.zas", {"--type", "LineType", "--rename=1=Dashes"});
    EXPECT_EQ(RunCommand({"diff", store, renamed, "--ignore-time"}).out,
              "LineType 1 \"Dashed\": changed\n  name: \"Dashed\" -> \"Dashes\"\n1 attribute changed\n")
        << "what refers to it still does";
    const std::string drawing = Write("x.dxf", DrawingWith(LineTypeTable + LayerTable({"WALL"}, "Dashed")));
    EXPECT_EQ(RunCommand({"diff", store, drawing}).out, "Layer 1 \"Wall\": changed\n  name: \"Wall\" -> \"WALL\"\n"
                                                        "Layer 2 \"Roof\": removed\nLayer 3 \"Door\": removed\n"
                                                        "1 attribute changed, 2 attributes removed\n");
}

TEST_F(EditingCommandsTest, UserDataTimesFillsAndActiveAttributesDifferToo) {
    using namespace Host;
    const auto save = [this](const std::string& name, int time, std::string bytes, short fill) {
        const Session session;
        Layer layer;
        layer.SetName(u"Wall");
        layer.SetModificationTime(time);
        char** data = BMPtrToHandle(bytes.data(), static_cast<std::int64_t>(bytes.size()));
        layer.SetUserData(FourCharacters("HOST"), 1, 0x5757, 3, 7, data);
        BMKillHandle(&data);
        Fill solid;
        solid.SetName(u"Solid");
        session.GetSet()->NewAttribute(TypeIdOf(Layer::Record.refId), &layer, false, false);
        session.GetSet()->NewAttribute(TypeIdOf(Fill::Record.refId), &solid, false, false);
        session.GetSet()->SetSolidFill(fill);
        std::vector<std::string> notes;
        WriteDocument(session.GetSet(), Path(name), SetForm::Xml, notes);
        return Path(name);
    };
    const std::string one = save("one", 0, "ab", 1), two = save("two", 86400 * 366, "ac", 0);
    EXPECT_EQ(RunCommand({"diff", one, two}).out,
              "set: changed\n  solid fill: 1 \"Solid\" -> none\n"
              "Layer 1 \"Wall\": changed\n"
              "  modificationTime: 2000-01-01T00:00:00Z -> 2001-01-01T00:00:00Z\n"
              "  userData HOST/0x00000001: 2 bytes (version 256, flags 7, checksum e2a22936) -> 2 bytes (version 256, "
              "flags 7, checksum 10c9aa35)\n"
              "1 attribute changed\n");
}

TEST_F(EditingCommandsTest, FaultsOfDrawingsAndDocumentsAreNumbered) {
    const std::string drawing =
        Write("a.dxf", DrawingWith(LineTypeTable + LayerTable({"Wall", "WALL", "Roof"}, "Hidden")));
    const Outcome check = RunCommand({"check", drawing});
    EXPECT_EQ(check.code, 1);
    EXPECT_EQ(check.out, "1. Layer 2 \"WALL\" is called \"WALL (1)\" now: its name was taken\n"
                         "2. LineType 2 \"Hidden\": only its name is known, because others refer to it\n");
    EXPECT_TRUE(check.err.empty()) << check.err;

    const std::string documents = Path("set"), file = documents + "/Attr_Layer.xml";
    ASSERT_EQ(RunCommand({"convert", Store("b", {"Wall", "Roof", "Door"}), documents}).code, 0);
    const auto replace = [&](const std::string& from, const std::string& to) {
        std::string text = Bytes(file);
        ASSERT_NE(text.find(from), std::string::npos) << from << text;
        Write("set/Attr_Layer.xml", text.replace(text.find(from), from.size(), to));
    };
    replace("<Name>Roof</Name>", "<Name>wALL</Name>");
    replace("<Name>Door</Name>", "<Name> </Name>");
    replace("<Index>3</Index>", "<Index>32767</Index>");
    replace("<lineType>1</lineType>", "<lineType>9</lineType>");
    EXPECT_EQ(RunCommand({"check", documents}).out,
              "1. Layer 2 \"wALL\" is called \"wALL (1)\" now: its name was taken\n"
              "2. Layer 1 \"Wall\": lineType refers to LineType 9, which is not there\n"
              "3. Layer 32767 \" \": the name is blank\n"
              "4. Layer 32767 \" \": the index is outside 1 to 32766\n");
}

TEST_F(EditingCommandsTest, MergingRenamesRenumbersAndWritesATable) {
    const std::string server = Store("server", {"Wall", "Roof"});
    const std::string ann = Edit(server, "ann.zas", {"--type=Layer", "--add=Door", "--rename=1=Walls"});
    const std::string ben = Edit(Edit(server, "ben.zas", {"--type=LineType", "--add=Dotted", "--replace=1=2"}),
                                 "ben.zas", {"--type=Layer", "--replace=2=1", "--add=Pipe", "--add=Drain"});
    const std::string drawing = Write("x.dxf", DrawingWith(LineTypeTable + LayerTable({"Pipe"}, "Dashed")));
    const Outcome merge =
        RunCommand({"merge", server, ann, ben, drawing, "--out", Path("all"), "--table", Path("t.tsv")});
    EXPECT_EQ(merge.code, 0) << merge.err;
    EXPECT_EQ(merge.out, ann + ": 1 new, 3 the same, 1 newer, 0 older, 0 renamed, 0 renumbered\n" + ben +
                             ": 3 new, 1 the same, 1 newer, 0 older, 0 renamed, 1 renumbered\n"
                             "  renumbered Layer 3 \"Pipe\" to 5\n" +
                             drawing +
                             ": 1 new, 2 the same, 0 newer, 0 older, 1 renamed, 1 renumbered\n"
                             "  renamed Layer 1 \"Pipe\" to \"Pipe (1)\"\n"
                             "  renumbered Layer 1 \"Pipe\" to 6\n" +
                             Path("all") +
                             ": 9 attributes, XML\n"
                             "  Layer               6\n"
                             "  LineType            2\n"
                             "  PenTable            1\n");
    EXPECT_EQ(Bytes(Path("t.tsv")), "file\tkind\told index\tnew index\tname\n" + ben + "\tLayer\t3\t5\tPipe\n" +
                                        drawing + "\tLayer\t1\t6\tPipe (1)\n");
    EXPECT_EQ(Layers(Path("all")), "index\tname\tcolor\tlineType\tflags\n1\tWall\t-7\tDotted\t4\n"
                                   "2\tRoof\t-7\tDashed\t4\n3\tDoor\t7\t\t0\n4\tDrain\t7\t\t0\n"
                                   "5\tPipe\t7\t\t0\n6\tPipe (1)\t-7\tDashed\t4\n")
        << "the newer content is Ben's as a whole";
    EXPECT_EQ(RunCommand({"check", Path("all")}).out, "no findings\n");
    EXPECT_EQ(RunCommand({"merge", Path("all"), ann, ben, "--out", Path("again")}).code, 0);
    EXPECT_EQ(RunCommand({"diff", Path("all"), Path("again")}).out, "no differences\n") << "what is merged is known";
}

TEST_F(EditingCommandsTest, MergesThatCannotBeDoneSaveNothing) {
    const std::string server = Store("server", {"Wall"}), client = Store("client", {"Wall"});
    const std::string before = Bytes(server), documents = Path("documents");
    ASSERT_EQ(RunCommand({"convert", server, documents}).code, 0);
    const std::pair<std::vector<std::string>, const char*> cases[] = {
        {{"merge", server, "--out", server}, "at least one CLIENT"},
        {{"merge", server, client}, "--out"},
        {{"merge", server, client, Path("none.zas"), "--out", server}, "there is no such file"},
        {{"merge", server, client, "--out", server, "--table", client}, "this is an input or the target"},
        {{"merge", server, client, "--out", Path("new.zas"), "--table", Path("./new.zas")}, "an input or the target"},
        {{"merge", documents, client, "--out", server, "--table", documents + "/Attr_Fill.xml"}, "this is an input"},
        {{"merge", server, client, "--out", server, "--table", Path("no/t.tsv")}, "it cannot be saved there"},
        {{"diff", server}, "two names, A and B"},
        {{"diff", server, client, "--format", "xml"}, "text, json"},
        {{"check", server, client}, "one name, IN"},
    };
    for (const auto& [arguments, said] : cases) {
        const Outcome outcome = RunCommand(arguments);
        EXPECT_TRUE(outcome.code == 2 && outcome.out.empty()) << said;
        EXPECT_NE(outcome.err.find(said), std::string::npos) << said << " in " << outcome.err;
        EXPECT_EQ(std::ranges::count(outcome.err, '\n'), 1) << outcome.err;
    }
    EXPECT_EQ(Bytes(server), before);
}

TEST_F(EditingCommandsTest, WhatAKindCannotHaveIsMendedByAMerge) {
    const std::string server = Store("server", {"Wall"}), documents = Path("documents"), all = Path("all.zas");
    ASSERT_EQ(RunCommand({"convert", Store("client", {"Roof", "Door", "Pipe"}), documents}).code, 0);
    std::string layers = Bytes(documents + "/Attr_Layer.xml");
    for (const auto& [before, after] : {std::pair("<Index>1<", "<Index>0<"), std::pair("<Index>3<", "<Index>32767<")})
        layers.replace(layers.find(before), std::string_view(before).size(), after);
    Write("documents/Attr_Layer.xml", layers);
    EXPECT_EQ(RunCommand({"diff", documents, documents}).code, 0);
    const Outcome edit = RunCommand({"edit", documents, "--type=Layer", "--add=Drain", "--out", all});
    EXPECT_EQ(edit.code, 2);
    EXPECT_NE(edit.err.find("Layer 0 \"Roof\" has an index outside 1 to 32766"), std::string::npos) << edit.err;
    EXPECT_EQ(RunCommand({"merge", server, documents, "--out", all}).code, 0);
    EXPECT_EQ(Layers(all), "index\tname\tcolor\tlineType\tflags\n1\tWall\t-7\tDashed\t4\n"
                           "2\tDoor\t-7\tDashed\t4\n3\tRoof\t-7\tDashed\t4\n4\tPipe\t-7\tDashed\t4\n");
    EXPECT_EQ(RunCommand({"check", all}).out, "no findings\n");
    layers.replace(layers.find("Door"), 4, "");
    Write("documents/Attr_Layer.xml", layers);
    const std::string named = Edit(all, "all.zas", {"--type=Layer", "--rename=2=Gate"});
    EXPECT_EQ(RunCommand({"merge", documents, named, "--out", all}).code, 0);
    EXPECT_EQ(RunCommand({"check", all}).out, "no findings\n");
}

TEST_F(EditingCommandsTest, ReferencesThatLeadNowhereAreNotCaught) {
    const std::string server = Store("server", {"Wall"}), client = Store("client", {"Roof"});
    for (const std::string& store : {server, client})
        ASSERT_EQ(RunCommand({"edit", store, "--type=LineType", "--delete=1", "--force", "--out", store}).code, 0);
    const std::string lines = Write("a.lin", "*Dots,. .\nA,0,-1\n");
    const Outcome merge = RunCommand({"merge", server, client, lines, "--out", Path("all.zas")});
    EXPECT_EQ(merge.code, 1);
    EXPECT_NE(merge.err.find(client + ": Layer 1 \"Roof\": lineType referred to LineType 1, which is not there"),
              std::string::npos)
        << merge.err;
    EXPECT_EQ(Layers(Path("all.zas")), "index\tname\tcolor\tlineType\tflags\n1\tWall\t-7\t\t4\n2\tRoof\t-7\t\t4\n");
}

}   // namespace
