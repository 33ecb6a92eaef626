#include <IO/FolderSave.hpp>
#include <IO/FolderView.hpp>

#include <atomic>
#include <map>
#include <optional>
#include <thread>
#include <vector>

#include <Kest/Crc32c.hpp>
#include <Kest/MemoryChannels.hpp>
#include <gtest/gtest.h>

#include "TestFolder.hpp"
#include "support/ForEachFailure.hpp"

namespace {

using Kest::UniString;
using std::filesystem::perms;
namespace ChannelStatus = Kest::ChannelStatus;
using Texts = std::map<std::string, std::string>;
using NameSet = std::set<std::string>;

const std::vector<UniString> Known{u"A.xml", u"B.xml", u"C.xml", u"D \u00E4.xml"};
const Texts Old{{"A.xml", "old A"}, {"B.xml", "old B"}, {"D ä.xml", "old D"}};
const Texts New{{"A.xml", "new A"}, {"B.xml", std::string(100'000, 'B')}, {"C.xml", "new C"}};
const Texts Both{{"A.xml", "new A"}, {"B.xml", New.at("B.xml")}, {"C.xml", "new C"}, {"D ä.xml", "old D"}};
const Texts Third{{"A.xml", "3 A"}, {"B.xml", "3 B"}, {"C.xml", "3 C"}, {"D ä.xml", "3 D"}};

int Write(IO::FolderSave& save, const Texts& texts) {
    for (const auto& [name, text] : texts) {
        Kest::IByteSink* sink = nullptr;
        int status = save.CreateFile(UniString::FromUtf8(name), sink);
        if (status == 0)
            status = sink->Write(text.data(), text.size());
        if (status == 0)
            status = sink->Finish();
        if (status != 0)
            return status;
    }
    return 0;
}

class FolderSaveTest : public testing::Test {
protected:
    int Save(const Texts& texts, const std::string& where = "") const {
        IO::FolderSave save(folder.Place(where), Known);
        if (const int status = save.Begin(); status != 0)
            return status;
        if (const int status = Write(save, texts); status != 0)
            return status;
        return save.Commit();
    }

    void Start(const Texts& texts = Old) const {
        folder.Clear();
        for (const auto& [name, text] : texts)
            folder.Put(name, text);
    }

    /// What a reader finds; nothing when it finds the folder damaged.
    std::optional<Texts> View(const std::string& where = "") const {
        IO::FolderView view(folder.Place(where), Known);
        const int status = view.Open();
        EXPECT_TRUE(status == 0 || status == ChannelStatus::Damaged) << view.GetProblem();
        if (status != 0)
            return std::nullopt;
        Texts texts;
        for (const UniString& name : Known) {
            std::string bytes;
            if (view.ReadFile(name, bytes) == 0)
                texts[name.ToCStr()] = bytes;
        }
        return texts;
    }

    /// Folders "a" and "b" with a document of their own each, and links to one in "shared".
    void StartShared() const {
        folder.Clear();
        for (const char* const name : {"a", "b", "shared"})
            std::filesystem::create_directory(folder.At(name));
        folder.Put("shared/doc.xml", "old");
        folder.Put("shared/doc.xml.new", "not ours");
        std::filesystem::create_symlink("../shared/doc.xml", folder.At("a/B.xml"));
        std::filesystem::create_symlink(folder.At("a/../shared/doc.xml"), folder.At("b/B.xml"));
        folder.Put("a/A.xml", "old");
        folder.Put("b/A.xml", "old");
    }
    static Texts AllOf(const char* text) { return {{"A.xml", text}, {"B.xml", text}}; }
    NameSet NamesIn(const char* name) const {
        NameSet names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.At(name)))
            names.insert(entry.path().filename().string());
        return names;
    }

    /// Stops a save of New once that many of its documents are renamed; at 0 the journal is in place.
    /// \returns what is in the folder then
    Texts Interrupt(std::size_t renamed) const {
        std::size_t allowed = 0;
        do {
            Start();
            const FileCallFailures failures(allowed++, true);
            Save(New);
        } while (folder.Get("Attribute.journal") == "-" || Renamed() < renamed);
        Texts left;
        for (const std::string& name : folder.Names())
            left[name] = folder.Get(name);
        return left;
    }
    std::size_t Renamed() const {
        std::size_t count = 0;
        for (const auto& [name, text] : New)
            count += folder.Get(name) == text ? 1 : 0;
        return count;
    }

    static NameSet NamesOf(const Texts& texts) {
        NameSet names;
        for (const auto& [name, text] : texts)
            names.insert(name);
        return names;
    }

    void ExpectSavesAll(const char* when) const {
        EXPECT_EQ(Save(Third), 0) << when;
        EXPECT_EQ(View(), Third) << when;
        EXPECT_EQ(folder.Names(), NamesOf(Third)) << when;
    }

    TestFolder folder;
};

TEST_F(FolderSaveTest, SavesSomeAndKeepsTheOthers) {
    std::filesystem::remove(folder.GetPath());
    ASSERT_EQ(Save(Old), 0);
    EXPECT_EQ(View(), Old);
    ASSERT_EQ(Save({}), 0);
    ASSERT_EQ(Save(New), 0);
    EXPECT_EQ(View(), Both);
    EXPECT_EQ(folder.Names(), NamesOf(Both));
    IO::FolderView nowhere(folder.Place("nothing"), Known);
    EXPECT_EQ(nowhere.Open(), ChannelStatus::ReadFailed);
}

TEST_F(FolderSaveTest, WithoutCommitTheOldStay) {
    Start();
    {
        IO::FolderSave save(folder.Place(), Known);
        ASSERT_EQ(save.Begin(), 0);
        ASSERT_EQ(Write(save, New), 0);
        EXPECT_EQ(View(), Old);
    }
    EXPECT_EQ(folder.Names(), NamesOf(Old));
    IO::FolderSave save(folder.Place(), Known);
    Kest::IByteSink* sink = nullptr;
    ASSERT_EQ(save.Begin(), 0);
    ASSERT_EQ(save.CreateFile(Known[0], sink), 0);
    EXPECT_EQ(save.Commit(), ChannelStatus::WrongCall) << "unfinished";
    EXPECT_EQ(folder.Names(), NamesOf(Old));
    EXPECT_EQ(View(), Old);
}

TEST_F(FolderSaveTest, IsOldOrNewWhateverCallFails) {
    int status = 0;
    const std::size_t failures = ForEachFileFailure([&] { Start(); }, [&] { status = Save(New); },
                                                    [&](bool failed, bool) {
                                                        const auto texts = View();
                                                        EXPECT_TRUE(texts == Both || (status != 0 && texts == Old));
                                                        EXPECT_TRUE(status == 0 || failed);
                                                        ExpectSavesAll("after a failure");
                                                    });
    EXPECT_GT(failures, 80U);
}

TEST_F(FolderSaveTest, IsOldOrNewWithoutMemory) {
    Start();
    int status = 0;
    ForEachFailure(
        [&] {
            status = ChannelStatus::MemoryFull;   // unless the constructor throws
            status = Save(New);
        },
        [&](bool failed) {
            EXPECT_TRUE(status == 0 || (failed && status == ChannelStatus::MemoryFull)) << status;
            const auto texts = View();
            EXPECT_TRUE(texts == Both || (status != 0 && texts == Old));
            Start();
        });
}

// What the system may lose with the power was flushed before anything is built on it.
TEST_F(FolderSaveTest, FlushesBeforeItRelies) {
    class Recorder final : public IO::FileCallHook {
    public:
        bool Allows(IO::FileCall call, const std::string& path) override {
            const auto last = path.substr(path.rfind('/') + 1);
            if (call == IO::FileCall::FlushFolder)
                calls.push_back("flush folder");
            else if (call == IO::FileCall::Flush)
                calls.push_back("flush " + last);
            else if (call == IO::FileCall::Rename)
                calls.push_back("place " + last);
            else if (call == IO::FileCall::Remove)
                calls.push_back("remove " + last);
            return true;
        }
        std::vector<std::string> calls;
    };
    Start();
    IO::FolderSave save(folder.Place(), Known);
    ASSERT_EQ(save.Begin(), 0);
    Recorder recorder;
    IO::SetFileCallHook(&recorder);
    EXPECT_EQ(Write(save, {{"A.xml", "a"}, {"B.xml", "b"}}), 0);
    EXPECT_EQ(save.Commit(), 0);
    IO::SetFileCallHook(nullptr);
    const std::vector<std::string> expected{"flush A.xml.new",
                                            "flush B.xml.new",
                                            "flush folder",
                                            "flush Attribute.journal.new",
                                            "place Attribute.journal",
                                            "flush folder",
                                            "place A.xml",
                                            "place B.xml",
                                            "flush folder",
                                            "remove Attribute.journal",
                                            "flush folder",
                                            "remove Attribute.lock"};
    EXPECT_EQ(recorder.calls, expected);
}

TEST_F(FolderSaveTest, RecoveryMayFailToo) {
    for (std::size_t renamed = 0; renamed <= New.size(); ++renamed) {
        const Texts left = Interrupt(renamed);
        ASSERT_EQ(View(), Both) << renamed;
        int status = 0;
        ForEachFileFailure([&] { Start(left); },
                           [&] {
                               IO::FolderSave save(folder.Place(), Known);
                               status = save.Begin();
                           },
                           [&](bool failed, bool) {
                               EXPECT_TRUE(status == 0 || failed);
                               EXPECT_EQ(View(), Both) << renamed;
                           });
        EXPECT_EQ(folder.Names(), NamesOf(Both));
    }
}

TEST_F(FolderSaveTest, FailingReaderMixesNothing) {
    for (const std::size_t renamed : {0U, 1U, 3U}) {
        Interrupt(renamed);
        Texts texts;
        ForEachFileFailure([&] { texts.clear(); },
                           [&] {
                               IO::FolderView view(folder.Place(), Known);
                               view.Open();
                               for (const UniString& name : Known)
                                   if (std::string bytes; view.ReadFile(name, bytes) == 0)
                                       texts[name.ToCStr()] = bytes;
                           },
                           [&](bool failed, bool) {
                               for (const auto& [name, text] : texts)
                                   EXPECT_EQ(text, Both.at(name));
                               EXPECT_TRUE(failed || texts == Both);
                           });
    }
}

TEST_F(FolderSaveTest, DamagedJournalMixesNothing) {
    Interrupt(1);
    const std::string journal = folder.Get("Attribute.journal");
    ASSERT_GT(journal.size(), 16U);
    std::vector<std::string> damaged{"", journal + "x", std::string(100'000, 'x')};
    for (std::size_t at = 0; at < journal.size(); ++at) {
        damaged.push_back(journal.substr(0, at));
        damaged.push_back(journal);
        damaged.back()[at] = static_cast<char>(damaged.back()[at] ^ 1 << at % 8);
    }
    for (const std::string& bytes : damaged) {
        folder.Put("Attribute.journal", bytes);
        ASSERT_EQ(View(), std::nullopt) << "one document is new, one old, and nobody can tell which";
    }
    EXPECT_EQ(Save(New), ChannelStatus::Damaged) << "leaves out a document";
    ASSERT_EQ(View(), std::nullopt) << "also when there are no new documents any more";
    ExpectSavesAll("a whole save repairs");

    for (const std::string& bytes : damaged) {
        folder.Put("Attribute.journal", bytes);
        ASSERT_EQ(View(), Third) << "nothing lies beside the documents";
    }
    EXPECT_EQ(Save(Old), 0);
    EXPECT_EQ(folder.Get("Attribute.journal"), "-");
}

TEST_F(FolderSaveTest, RepairMayFailToo) {
    Texts left = Interrupt(1);
    left["Attribute.journal"].back() ^= 1;
    int status = 0;
    ForEachFileFailure([&] { Start(left); }, [&] { status = Save(Third); },
                       [&](bool, bool) {
                           const auto texts = View();
                           EXPECT_TRUE(texts == Third || (status != 0 && !texts));
                       });
    EXPECT_EQ(folder.Names(), NamesOf(Third));
}

TEST_F(FolderSaveTest, DamagedDocumentMixesNothing) {
    const struct {
        const char* when;
        std::size_t renamed;
        const char* name;
        const char* text;
    } cases[] = {{"new document changed", 1, "B.xml.new", "other"},
                 {"new document cut", 0, "B.xml.new", ""},
                 {"renamed document changed", 1, "A.xml", "new B"}};
    for (const auto& c : cases) {
        Interrupt(c.renamed);
        folder.Put(c.name, c.text);
        EXPECT_EQ(View(), std::nullopt) << c.when;
        EXPECT_EQ(Save({{"A.xml", "3"}}), ChannelStatus::Damaged) << c.when;
        EXPECT_EQ(View(), std::nullopt) << c.when;
        ExpectSavesAll(c.when);
    }
}

TEST_F(FolderSaveTest, JournalLeadsNowhereElse) {
    const auto journalOf = [](const std::vector<UniString>& names, std::uint32_t count) {
        Kest::MemoryOChannel channel;
        channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
        channel.WriteBlock("ZAJL", 4);
        channel.Write(std::uint32_t{1});
        channel.Write(count);
        for (const UniString& name : names) {
            channel.Write(name);
            channel.Write(std::uint64_t{4});
            channel.Write(Kest::Crc32c(0, "evil", 4));
        }
        channel.Write(Kest::Crc32c(0, channel.GetBytes(), channel.GetSize()));
        return std::string(channel.GetBytes(), channel.GetSize());
    };
    const struct {
        const char* when;
        std::vector<UniString> names;
        std::uint32_t count;
        bool isValid;
    } cases[] = {
        {"a known name", {u"A.xml"}, 1, true},
        {"another name", {u"out"}, 1, false},
        {"a path", {u"inner/out"}, 1, false},
        {"a way out", {u"inner/../out"}, 1, false},
        {"other letter case", {u"a.xml"}, 1, false},
        {"a name twice", {u"A.xml", u"A.xml"}, 2, false},
        {"a huge count", {u"A.xml"}, 0xFFFFFFFF, false},
        {"a count too small", {u"A.xml"}, 0, false},
    };
    const NameSet others{"out", "out.new", "inner/out", "inner/out.new"};
    for (const auto& c : cases) {
        Start();
        std::filesystem::create_directory(folder.At("inner"));
        for (const std::string& name : others)
            folder.Put(name, "evil");
        folder.Put("A.xml.new", "evil");
        folder.Put("Attribute.journal", journalOf(c.names, c.count));
        EXPECT_EQ(View().has_value(), c.isValid) << c.when;
        EXPECT_EQ(Save(Third), 0) << c.when;
        EXPECT_EQ(View(), Third) << c.when;
        EXPECT_EQ(folder.Names().size(), Third.size() + 3) << c.when;
        for (const std::string& name : others)
            EXPECT_EQ(folder.Get(name), "evil") << c.when;
    }
}

TEST_F(FolderSaveTest, OneWriterAtATime) {
    Start();
    {
        IO::FolderSave first(folder.Place(), Known);
        ASSERT_EQ(first.Begin(), 0);
        ASSERT_EQ(Write(first, New), 0);
        IO::FolderSave second(folder.Place(), Known);
        EXPECT_EQ(second.Begin(), ChannelStatus::WriteFailed);
        EXPECT_NE(second.GetProblem().ToCStr().find(folder.GetPath().string()), std::string::npos);
        EXPECT_EQ(second.Commit(), ChannelStatus::WriteFailed);
        EXPECT_EQ(first.Commit(), 0) << "the second has touched nothing";
    }
    EXPECT_EQ(View(), Both);
    folder.Put("Attribute.lock", "of a program that died");
    ExpectSavesAll("a lock without an owner");
}

TEST_F(FolderSaveTest, OneWriterOfASharedDocument) {
    StartShared();
    IO::FolderSave first(folder.Place("a"), Known);
    ASSERT_EQ(first.Begin(), 0);
    ASSERT_EQ(Write(first, AllOf("new")), 0);
    for (const char* const other : {"b", "shared"})
        EXPECT_EQ(Save(AllOf("other"), other), ChannelStatus::WriteFailed) << other;
    EXPECT_EQ(first.Commit(), 0);
    EXPECT_EQ(View("a"), AllOf("new"));
    EXPECT_EQ(View("b"), (Texts{{"A.xml", "old"}, {"B.xml", "new"}}));
    EXPECT_EQ(Save(AllOf("other"), "b"), 0);
    EXPECT_EQ(View("a"), (Texts{{"A.xml", "new"}, {"B.xml", "other"}}));
    EXPECT_EQ(NamesIn("shared"), (NameSet{"doc.xml", "doc.xml.new"}));
    EXPECT_EQ(NamesIn("b"), (NameSet{"A.xml", "B.xml"}));
}

// Whatever the first save has left: the second one of the other folder neither mixes it nor takes its documents away.
TEST_F(FolderSaveTest, SharedDocumentIsOldOrNewWhateverCallFails) {
    int status = 0;
    std::size_t interrupted = 0;
    ForEachFileFailure([&] { StartShared(); }, [&] { status = Save(AllOf("new"), "a"); },
                       [&](bool failed, bool) {
                           EXPECT_TRUE(status == 0 || failed);
                           const auto left = View("a");
                           EXPECT_TRUE(left == AllOf("new") || (status != 0 && left == AllOf("old")));
                           const bool isOpen = std::filesystem::exists(folder.At("a/Attribute.journal"));
                           EXPECT_EQ(Save(AllOf("other"), "b"), isOpen ? ChannelStatus::WriteFailed : 0);
                           if (isOpen) {
                               ++interrupted;
                               EXPECT_EQ(View("a"), AllOf("new"));
                               EXPECT_EQ(Save({}, "a"), 0);
                               EXPECT_EQ(Save(AllOf("other"), "b"), 0);
                           }
                           EXPECT_EQ(View("b"), AllOf("other"));
                           EXPECT_EQ(Save(AllOf("third"), "a"), 0);
                           EXPECT_EQ(NamesIn("a"), (NameSet{"A.xml", "B.xml"}));
                           EXPECT_EQ(NamesIn("shared"), (NameSet{"doc.xml", "doc.xml.new"}));
                       });
    EXPECT_GT(interrupted, 5U);
}

TEST_F(FolderSaveTest, CommitsNoFileOfSomebodyElse) {
    Start();
    IO::FolderSave save(folder.Place(), Known);
    ASSERT_EQ(save.Begin(), 0);
    ASSERT_EQ(Write(save, New), 0);
    std::filesystem::remove(folder.At("A.xml.new"));
    folder.Put("A.xml.new", "half");
    EXPECT_EQ(save.Commit(), ChannelStatus::WriteFailed);
    EXPECT_EQ(View(), Old);
    EXPECT_EQ(folder.Get("A.xml.new"), "half");

    Start();
    std::filesystem::create_symlink("./B.xml", folder.At("C.xml"));
    EXPECT_EQ(Save(New), ChannelStatus::WriteFailed) << "one file cannot become two documents";
    EXPECT_EQ(folder.Get("B.xml"), "old B");
}

TEST_F(FolderSaveTest, RefusesWhatItCannotReplace) {
    const auto refused = [&](const char* when) {
        const NameSet before = folder.Names();
        EXPECT_EQ(Save(New), ChannelStatus::WriteFailed) << when;
        EXPECT_EQ(folder.Names(), before) << when;
    };
    Start();
    std::filesystem::permissions(folder.At("B.xml"), perms(0444));
    refused("a read-only document");
    Start();
    std::filesystem::permissions(folder.GetPath(), perms(0555));
    refused("a read-only folder");
    std::filesystem::permissions(folder.GetPath(), perms(0755));
    std::filesystem::create_directory(folder.At("C.xml"));
    refused("a folder in place of a document");
    folder.Clear();
    std::filesystem::create_symlink("elsewhere", folder.At("Attribute.lock"));
    refused("a link in place of the lock");
}

TEST_F(FolderSaveTest, LinksAndPermissionsStay) {
    Start();
    std::filesystem::permissions(folder.At("B.xml"), perms(0604));
    std::filesystem::create_directory(folder.At("other"));
    folder.Put("other/a", "old A");
    std::filesystem::remove(folder.At("A.xml"));
    std::filesystem::create_symlink("other/a", folder.At("A.xml"));
    ASSERT_EQ(Save(New), 0);
    EXPECT_EQ(View(), Both);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.At("A.xml")));
    EXPECT_EQ(folder.Get("other/a"), "new A");
    EXPECT_EQ(folder.Get("other/a.new"), "-");
    EXPECT_EQ(std::filesystem::status(folder.At("B.xml")).permissions(), perms(0604));
}

TEST_F(FolderSaveTest, OnlyKnownPlainNames) {
    Start();
    const std::vector<UniString> bad[] = {
        {u"../A"},
        {u""},
        {u".."},
        {UniString(std::u16string_view(u"A\0B", 3))},
        {u"A", u"a"},
        {u"A", u"A.new"},
        {u"attribute.LOCK"},
        {u"Attribute.journal.new"},
    };
    for (const auto& names : bad) {
        EXPECT_EQ(IO::FolderSave(folder.Place(), names).Begin(), ChannelStatus::WrongCall) << names[0];
        EXPECT_EQ(IO::FolderView(folder.Place(), names).Open(), ChannelStatus::WrongCall) << names[0];
    }
    for (const char16_t* const name : {u"E.xml", u"../A.xml", u"", u"a.xml", u"A.xml.new"}) {
        IO::FolderSave save(folder.Place(), Known);
        Kest::IByteSink* sink = nullptr;
        ASSERT_EQ(save.Begin(), 0);
        EXPECT_EQ(save.CreateFile(name, sink), ChannelStatus::WrongCall);
        EXPECT_EQ(sink, nullptr);
        EXPECT_EQ(save.Commit(), ChannelStatus::WrongCall);
    }
    EXPECT_EQ(folder.Names(), NamesOf(Old));
}

TEST_F(FolderSaveTest, ViewHandsOutOneSaveOnly) {
    Start();
    IO::FolderView view(folder.Place(), Known);
    std::string bytes = "before";
    EXPECT_EQ(view.ReadFile(Known[0], bytes), ChannelStatus::WrongCall);
    ASSERT_EQ(view.Open(), 0);
    EXPECT_EQ(view.ReadFile(u"E.xml", bytes), ChannelStatus::WrongCall);
    ASSERT_EQ(Save(New), 0);
    ASSERT_EQ(view.ReadFile(Known[2], bytes), 0) << "nothing was handed out yet";
    EXPECT_EQ(bytes, "new C");
    ASSERT_EQ(Save(Third), 0);
    EXPECT_EQ(view.ReadFile(Known[0], bytes), ChannelStatus::ReadFailed);
    EXPECT_EQ(bytes, "new C");
    ASSERT_EQ(view.Open(), 0);
    EXPECT_EQ(view.ReadFile(Known[0], bytes), 0);
    EXPECT_EQ(bytes, "3 A");
}

TEST_F(FolderSaveTest, ReadersBesideAWriter) {
    Start();
    ASSERT_EQ(Save(Third), 0);
    std::atomic<bool> ended = false;
    std::thread writer([&] {
        for (int round = 0; round < 60; ++round) {
            Texts texts = Third;
            for (auto& [name, text] : texts)
                text = std::to_string(round) + text.substr(1);
            EXPECT_EQ(Save(texts), 0);
        }
        ended = true;
    });
    while (!ended) {
        IO::FolderView view(folder.Place(), Known);
        ASSERT_EQ(view.Open(), 0) << view.GetProblem();
        std::set<std::string> rounds;
        for (const UniString& name : Known)
            if (std::string bytes; view.ReadFile(name, bytes) == 0)
                rounds.insert(bytes.substr(0, bytes.find(' ')));
        EXPECT_LE(rounds.size(), 1U);
    }
    writer.join();
}

}   // namespace
