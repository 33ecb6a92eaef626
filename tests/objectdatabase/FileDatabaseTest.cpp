#include <ODB/FileDatabase.hpp>

#include <functional>
#include <new>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

using Messages = Kest::Array<Kest::UniString>;

// Writes itself as "book.xml" and reads an object numbered 50; then answers, or runs out of memory.
class Book : public Thing, public ODB::ICustomXMLRoot {
public:
    int CustomWriteXML(const IO::Location& folder, ODB::WrittenLocations* written, Messages& messages) const override {
        IO::Location document = folder;
        document.AppendToLocal(u"book.xml");
        written->Put(ODB::ConstRef<Object>(this), document);
        return Answer(messages);
    }
    int CustomReadXML(const IO::Location&, ODB::FileDatabase* database, Messages& messages) override {
        ThingRef read(new Thing(50));
        read.Init(IdOf(50), ODB::GetInputIdSpace());
        database->AddIsolatedObject(read, false);
        return Answer(messages);
    }

    int answer = 0;
    bool isOutOfMemory = false;

private:
    int Answer(Messages& messages) const {
        messages.Push(u"told");
        if (isOutOfMemory)
            throw std::bad_alloc();
        return answer;
    }
};

class FileDatabaseTest : public testing::Test, public ThingWorld {
protected:
    FileDatabaseTest() : book(new Book) { ODB::Database::AddObject(book, true); }
    int Save(const char* folder) { return database.Save(book, IO::Location(folder), messages); }
    int Load() { return database.Load(book, IO::Location(u"/in/book.xml"), messages); }
    ~FileDatabaseTest() override { ODB::Database::DeleteObject(book); }

    ODB::FileDatabase database{&space};
    ODB::Ref<Book> book;
    Messages messages;
};

TEST_F(FileDatabaseTest, ObjectsKeepTheirLinksAndGetAnIdOfTheSpace) {
    const ThingRef root = MakeLinked(Plain(), 1, {2});
    EXPECT_EQ(database.AddIsolatedObject(Of(2), false), 0);
    EXPECT_TRUE(Plain().IsConnectedAsLeft(root));
    const ThingRef raw(new Thing(3));
    EXPECT_EQ(database.AddIsolatedObject(raw, true), 0);
    EXPECT_EQ(raw.GetIdSpace(), &space);
    EXPECT_EQ(database.AddIsolatedObject(raw, true), 0);
    EXPECT_EQ(database.AddIsolatedObject(ThingRef(), true), -7001);
    ASSERT_EQ(database.GetObjects().GetSize(), 2u);
    EXPECT_EQ(database.GetObjects().GetEntry(1), raw);
}

TEST_F(FileDatabaseTest, SavingRemembersWhereObjectsWent) {
    EXPECT_TRUE(database.FindLocation(book).IsEmpty());
    EXPECT_EQ(Save("/out"), 0);
    book->answer = -55;
    EXPECT_EQ(Save("/fail"), -55);
    book->isOutOfMemory = true;
    EXPECT_EQ(Save("/full"), -108);
    EXPECT_EQ(database.FindLocation(book), IO::Location("/out/book.xml")) << "failed saves leave what was known";
    EXPECT_EQ(messages.GetSize(), 3u);
}

TEST_F(FileDatabaseTest, LoadingKeepsWhatWasReadUnlessItFails) {
    book->answer = -56;
    EXPECT_EQ(Load(), -56);
    EXPECT_TRUE(database.GetObjects().IsEmpty());
    ODB::Database::DeleteObject(Of(50));
    book->answer = 0;
    EXPECT_EQ(Load(), 0);
    EXPECT_EQ(database.GetObjects().GetSize(), 1u);
    EXPECT_EQ(NumberOf(Of(50)), 50) << "read into the space of the database";
    EXPECT_EQ(ODB::GetInputIdSpace(), ODB::GetDefaultIdSpace());
}

TEST_F(FileDatabaseTest, NothingToSaveOrLoad) {
    EXPECT_EQ(database.Save(ODB::NullRef, IO::Location(), messages), -7001);
    EXPECT_EQ(database.Load(ODB::IRef<ODB::ICustomXMLRoot>(Make(9).GetInfo()), IO::Location(), messages), -7001);
}

}   // namespace
