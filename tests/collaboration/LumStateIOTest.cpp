#include <Lum/LumStateIO.hpp>

#include <Kest/Frames.hpp>
#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

#include <ODB/Database.hpp>
#include <ODB/Delta.hpp>
#include <ODB/IdSpace.hpp>

#include <Lum/Object.hpp>

#include <gtest/gtest.h>

namespace {

// What all clients share, and what is this client's own.
class Note : public Lum::Object {
public:
    struct IsolatedState : Lum::Object::IsolatedState {
        int shared = 0;
        int own = 0;
    };

    Note(int sharedPart = 0, int ownPart = 0) : Object(GetClassInfoStatic()), shared(sharedPart), own(ownPart) {}
    Note* Clone() const override { return new Note(*this); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Note", Kest::Guid("{D1E5C0DE-0000-4000-8000-0000000000B1}"),
                                          Kest::ClassVersion(1, 0), Lum::Object::GetClassInfoStatic(), {},
                                          []() -> Kest::Object* { return new Note; });
        return &info;
    }

    IsolatedState* CreateIsolatedState() const override { return new IsolatedState; }
    int StoreIsolatedState(ODB::Object::IsolatedState* state) const override {
        dynamic_cast<IsolatedState&>(*state).shared = shared;
        dynamic_cast<IsolatedState&>(*state).own = own;
        return 0;
    }
    int RestoreIsolatedState(const ODB::Object::IsolatedState* state) override {
        shared = dynamic_cast<const IsolatedState&>(*state).shared;
        own = dynamic_cast<const IsolatedState&>(*state).own;
        return 0;
    }
    int WriteLumIsolatedState(Kest::OChannel& channel) const override { return channel.Write(shared); }
    int ReadLumIsolatedState(Kest::IChannel& channel) override { return channel.Read(shared); }

    int shared;
    int own;
};

ODB::Ref<Note> MakeNote(ODB::IdSpace& space, const char* id, int shared, int own) {
    ODB::Ref<Note> note(new Note(shared, own));
    note.Init(ODB::Id(id), &space);
    ODB::Database::AddObject(note, false);
    return note;
}

TEST(LumStateIOTest, OnlyWhatClientsShareArrives) {
    constexpr const char* there = "{D1E5C0DE-0000-4000-8000-0000000000C1}";
    constexpr const char* missing = "{D1E5C0DE-0000-4000-8000-0000000000C2}";
    ODB::IdSpace server;
    ODB::IdSpace client;
    ODB::Delta delta(&client);
    delta.AddModifiedObject(MakeNote(client, there, 5, 50));
    delta.AddNewObject(MakeNote(client, missing, 6, 60));
    const ODB::Ref<Note> note = MakeNote(server, there, 1, 10);

    Lum::LumStateIO io;
    ASSERT_EQ(ODB::MergeDelta(server, delta, &io, nullptr, false), 0);
    EXPECT_TRUE(note->shared == 5 && note->own == 10);
    const ODB::Ref<Note> made(server.Find(ODB::Id(missing)).GetInfo());
    EXPECT_TRUE(made->shared == 6 && made->own == 0);

    ASSERT_EQ(ODB::MergeDelta(client, delta), -7003) << "the new one is there";
    EXPECT_EQ(note->own, 10);
}

}   // namespace
