#include <IO/FileIChannel.hpp>
#include <IO/FileOChannel.hpp>
#include <IO/FileSave.hpp>
#include <IO/Files.hpp>

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "TestFolder.hpp"

namespace {

using IO::FileSave;
using std::filesystem::perms;
namespace ChannelStatus = Kest::ChannelStatus;
using NameSet = std::set<std::string>;

int Save(const IO::Location& target, const std::string& text) {
    FileSave save(target);
    if (const int status = save.Write(text.data(), text.size()); status != 0)
        return status;
    return save.Finish();
}

TEST(FileTest, ReadsWholeFilesOnly) {
    const TestFolder folder;
    folder.Put("empty", "");
    folder.Put("small", std::string("a\0b", 3));
    folder.Put("large", std::string(300'000, 'x'));
    std::filesystem::create_directory(folder.At("folder"));
    std::filesystem::create_symlink("large", folder.At("link"));
    ASSERT_EQ(::mkfifo(folder.At("pipe").c_str(), 0600), 0);
    const struct {
        const char* name;
        bool isFile, isFolder;
    } cases[] = {{"empty", true, false}, {"small", true, false},    {"large", true, false},  {"link", true, false},
                 {"pipe", false, false}, {"nothing", false, false}, {"folder", false, true}, {"small/x", false, false}};
    for (const auto& c : cases) {
        std::string bytes = "before";
        EXPECT_EQ(IO::IsFile(folder.Place(c.name)), c.isFile) << c.name;
        EXPECT_EQ(IO::IsFolder(folder.Place(c.name)), c.isFolder) << c.name;
        EXPECT_EQ(IO::ReadFile(folder.Place(c.name), bytes), c.isFile ? 0 : ChannelStatus::ReadFailed) << c.name;
        EXPECT_EQ(bytes, c.isFile ? folder.Get(c.name) : "before") << c.name;
    }
    EXPECT_FALSE(IO::IsFile(IO::Location()));
    const std::u16string cut =
        Kest::UniString(folder.At("small").c_str()).GetView().data() + std::u16string(u"\0.txt", 5);
    EXPECT_FALSE(IO::IsFile(IO::Location(Kest::UniString(cut)))) << "a zero does not end a path early";

    EXPECT_EQ(IO::MakeFolder(folder.Place("folder")), 0);
    EXPECT_EQ(IO::MakeFolder(folder.Place("new")), 0);
    EXPECT_EQ(IO::MakeFolder(folder.Place("small")), ChannelStatus::WriteFailed);
    EXPECT_TRUE(IO::IsFolder(folder.Place("new")));
}

TEST(FileTest, SaveKeepsLinksAndPermissions) {
    const TestFolder folder;
    std::filesystem::create_directory(folder.At("other"));
    folder.Put("plain", "old");
    folder.Put("other/target", "old");
    std::filesystem::permissions(folder.At("plain"), perms(0646));
    std::filesystem::permissions(folder.At("other/target"), perms(0600));
    std::filesystem::create_symlink("other/second", folder.At("link"));
    std::filesystem::create_symlink("target", folder.At("other/second"));
    std::filesystem::create_symlink("other/made", folder.At("dangling"));
    std::filesystem::create_symlink("circle", folder.At("circle"));
    const NameSet before = folder.Names();
    const struct {
        const char* target;
        const char* replaced;
        int permissions;
    } cases[] = {{"plain", "plain", 0646}, {"link", "other/target", 0600}, {"dangling", "other/made", 0}};
    for (const auto& c : cases) {
        ASSERT_EQ(Save(folder.Place(c.target), "new"), 0) << c.target;
        EXPECT_FALSE(std::filesystem::is_symlink(folder.At(c.replaced))) << c.target;
        EXPECT_EQ(folder.Get(c.replaced), "new") << c.target;
        if (c.permissions != 0) {
            EXPECT_EQ(std::filesystem::status(folder.At(c.replaced)).permissions(), perms(c.permissions)) << c.target;
        }
    }
    EXPECT_EQ(Save(folder.Place("circle"), "new"), ChannelStatus::WriteFailed);
    EXPECT_EQ(folder.Names(), before);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.At("other/second")));
}

TEST(FileTest, SaveRefusesBeforeAnythingIsWritten) {
    const TestFolder folder;
    std::filesystem::create_directory(folder.At("folder"));
    folder.Put("readonly", "old");
    std::filesystem::permissions(folder.At("readonly"), perms(0444));
    const NameSet before = folder.Names();
    for (const char* const name : {"readonly", "folder", "nothing/x", "readonly/x"}) {
        FileSave save(folder.Place(name));
        EXPECT_EQ(save.Write("new", 3), ChannelStatus::WriteFailed) << name;
        EXPECT_NE(save.GetProblem().ToCStr().find(folder.At(name).string()), std::string::npos) << save.GetProblem();
        EXPECT_EQ(folder.Names(), before) << name;
        EXPECT_EQ(save.Finish(), ChannelStatus::WriteFailed) << name;
    }
    EXPECT_EQ(folder.Get("readonly"), "old");
    EXPECT_EQ(Save(IO::Location(), "new"), ChannelStatus::WriteFailed);
}

TEST(FileTest, UnfinishedSaveLeavesOthersAlone) {
    const TestFolder folder;
    folder.Put("a", "old");
    folder.Put("a.new", "not ours");
    {
        FileSave first(folder.Place("a"));
        FileSave second(folder.Place("a"));
        EXPECT_EQ(first.Write("x", 1), 0);
        EXPECT_EQ(second.Write("y", 1), 0);
        EXPECT_EQ(folder.Names().size(), 4U);
        EXPECT_EQ(second.Finish(), 0);
        EXPECT_EQ(second.Write("z", 1), ChannelStatus::WrongCall);
    }
    EXPECT_EQ(folder.Names(), (NameSet{"a", "a.new"}));
    EXPECT_EQ(folder.Get("a"), "y");
    EXPECT_EQ(folder.Get("a.new"), "not ours");
    EXPECT_EQ(FileSave(folder.Place("empty")).Finish(), 0);
    EXPECT_EQ(folder.Get("empty"), "");
}

TEST(FileTest, RemovesItsOwnStraysOnly) {
    const TestFolder folder;
    const NameSet strangers{"a", "a.new", ".b.zal-new", ".a.zal-new", ".a.zal-new2", ".a.zal-new3x"};
    for (const std::string& name : strangers)
        folder.Put(name, "not ours");
    std::filesystem::remove(folder.At(".a.zal-new"));
    std::filesystem::create_symlink("a.new", folder.At(".a.zal-new"));
    std::filesystem::remove(folder.At(".a.zal-new2"));
    std::filesystem::create_directory(folder.At(".a.zal-new2"));
    for (int number = 3; number < 32; ++number)
        folder.Put(".a.zal-new" + std::to_string(number), "of a program that died");
    FileSave alive(folder.Place("a"));
    ASSERT_EQ(alive.Write("alive", 5), 0);
    EXPECT_EQ(folder.Names().size(), strangers.size() + 1);
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(Save(folder.Place("a"), "new"), 0);
    EXPECT_EQ(alive.Finish(), 0) << "the others have left it alone";
    EXPECT_EQ(folder.Get("a"), "alive");
    EXPECT_EQ(folder.Names(), strangers);
    EXPECT_EQ(folder.Get("a.new"), "not ours");
}

TEST(FileTest, PlacesNoFileOfSomebodyElse) {
    const TestFolder folder;
    folder.Put("a", "old");
    FileSave save(folder.Place("a"));
    ASSERT_EQ(save.Write("new", 3), 0);
    std::filesystem::remove(folder.At(".a.zal-new"));
    folder.Put(".a.zal-new", "not ours");
    EXPECT_EQ(save.Finish(), ChannelStatus::WriteFailed);
    EXPECT_EQ(folder.Get("a"), "old");
    EXPECT_EQ(folder.Get(".a.zal-new"), "not ours");
}

TEST(FileTest, SaveIsOldOrNewWhateverCallFails) {
    const TestFolder folder;
    int status = 0;
    const std::size_t failures = ForEachFileFailure(
        [&] {
            folder.Clear();
            folder.Put("a", "old");
        },
        [&] { status = Save(folder.Place("a"), "new"); },
        [&](bool failed, bool killed) {
            const std::string text = folder.Get("a");
            EXPECT_EQ(status == 0, !failed);
            EXPECT_TRUE(text == "new" || (failed && text == "old")) << text;
            if (!killed) {
                EXPECT_EQ(folder.Names(), NameSet{"a"});
            }
            EXPECT_EQ(Save(folder.Place("a"), "third"), 0);
            EXPECT_EQ(folder.Names(), NameSet{"a"}) << "the next save removes what a killed one left";
        });
    EXPECT_GT(failures, 14U);
}

TEST(FileTest, ChannelsCarryMoreThanTheyHold) {
    const TestFolder folder;
    constexpr int Count = 100'000;
    FileSave save(folder.Place("a"));
    IO::FileOChannel out(save);
    for (int number = 0; number < Count; ++number)
        out.Write(number);
    EXPECT_GT(folder.Get(".a.zal-new").size(), 100'000U) << "not all at the end";
    EXPECT_EQ(out.Finish(), 0);

    IO::FileIChannel in(folder.Place("a"));
    for (int number = 0; number < Count; ++number) {
        int read = -1;
        in.Read(read);
        ASSERT_EQ(read, number);
    }
    EXPECT_EQ(in.GetPosition(), sizeof(int) * Count);
    EXPECT_EQ(in.GetStatus(), 0);
    EXPECT_EQ(in.Skip<char>(), ChannelStatus::EndOfData);

    IO::FileIChannel inBlocks(folder.Place("a"));
    std::string block(150'000, ' ');
    EXPECT_EQ(inBlocks.ReadBlock(block.data(), block.size()), 0);
    EXPECT_EQ(block, folder.Get("a").substr(0, block.size()));
    EXPECT_EQ(inBlocks.TakeBlock(std::size_t{1} << 60), nullptr) << "takes no memory for what is not there";
    EXPECT_EQ(inBlocks.GetStatus(), ChannelStatus::EndOfData);
}

TEST(FileTest, ChannelsTellWhatFailed) {
    const TestFolder folder;
    EXPECT_EQ(IO::FileIChannel(folder.Place("nothing")).GetStatus(), ChannelStatus::ReadFailed);
    folder.Put("a", std::string(100'000, 'x'));
    IO::FileIChannel in(folder.Place("a"));
    FileSave save(folder.Place("b"));
    IO::FileOChannel out(save);
    out.Write(1);
    const FileCallFailures failures(0, true);
    EXPECT_EQ(in.Skip<char>(), ChannelStatus::ReadFailed);
    EXPECT_EQ(out.Finish(), ChannelStatus::WriteFailed);
}

}   // namespace
