#include <ODB/ContentEnumerator.hpp>

#include <cstddef>
#include <sstream>
#include <string>

#include <ODB/Delta.hpp>

#include <gtest/gtest.h>

#include "Coin.hpp"

namespace {

using ODB::Delta;
using ODB::Id;

std::string KeyOf(const Id& id) {
    return id.IsNull() ? "-" : std::to_string(id.GetGuid().GetBytes()[15]);
}

// Writes down what it is told: a letter, then the ids.
class Listener : public ODB::ContentEnumerator {
public:
    using Association = ODB::Association1NUntyped;

    explicit Listener(const ODB::IdSpace& expectedSpace) : space(expectedSpace) {}

    void NewObjectFound(const Kest::Guid& classId, const Id& id, ODB::IdSpace* where, const char* state,
                        std::size_t length) override {
        NoteStored('N', classId, id, where, state, length);
    }
    void ModifiedObjectFound(const Kest::Guid& classId, const Id& id, ODB::IdSpace* where, const char* state,
                             std::size_t length) override {
        NoteStored('M', classId, id, where, state, length);
    }
    void DeletedObjectFound(const Kest::Guid& classId, const Id& id, ODB::IdSpace* where) override {
        EXPECT_TRUE(where == &space && classId == Coin::GetClassInfoStatic()->GetId());
        Note("D") << KeyOf(id);
    }
    void NewLinkFound(const Association& association, const Id& left, const Id& right) override {
        NoteLink("n", association, left, right);
    }
    void ModifiedLinkFound(const Association& association, const Id& left, const Id& right) override {
        NoteLink("m", association, left, right);
    }
    void ReorderedLinkFound(const Association& association, const Id& left, const Id& right,
                            const Id& behind) override {
        NoteLink("r", association, left, right) << '>' << KeyOf(behind);
    }
    void DeletedLinkFound(const Association& association, const Id& left, const Id& right) override {
        NoteLink("d", association, left, right);
    }
    void ControlObjectFound(const Id& id, ODB::IdSpace* where) override {
        EXPECT_EQ(where, &space);
        Note("c") << KeyOf(id);
    }

    std::string Take() {
        std::string text = heard.str();
        heard.str("");
        return text;
    }

private:
    std::ostream& Note(const char* what) { return heard << (heard.tellp() > 0 ? " " : "") << what; }
    std::ostream& NoteLink(const char* what, const Association& association, const Id& left, const Id& right) {
        return Note(what) << (&association == &Owning() ? "" : "'") << KeyOf(left) << '-' << KeyOf(right);
    }
    void NoteStored(char what, const Kest::Guid& classId, const Id& id, const ODB::IdSpace* where, const char* state,
                    std::size_t length) {
        EXPECT_TRUE(where == &space && classId == Coin::GetClassInfoStatic()->GetId());
        Note("") << what << KeyOf(id);
        EXPECT_EQ(state == nullptr, length == 0);
        if (state == nullptr)
            return;
        const Coin sameContent(id.GetGuid().GetBytes()[15]);
        Kest::MemoryOChannel channel;
        sameContent.WriteIsolatedState(channel);
        EXPECT_EQ(HexOf(std::string(state, length)), HexOf(BytesOf(channel)));
        heard << '+';
    }

    const ODB::IdSpace& space;
    std::ostringstream heard;
};

class DeltaContentTest : public testing::Test, public ThingWorld {
protected:
    DeltaContentTest() {
        for (const int number : {4, 1})
            delta.AddNewObject(Coin::MakeIn(space, number));
        for (const int number : {3, 2})
            delta.AddModifiedObject(Coin::MakeIn(space, number));
        for (const int number : {6, 5})
            delta.AddDeletedObject(*Coin::GetClassInfoStatic(), IdOf(number));
        delta.AddNewLink(OwningToo(), IdOf(10), IdOf(1), ODB::NullId);
        delta.AddNewLink(Owning(), IdOf(10), IdOf(4), IdOf(9));
        delta.AddNewLink(Owning(), IdOf(10), IdOf(1), ODB::NullId);
        delta.AddModifiedLink(Owning(), IdOf(12), IdOf(11), IdOf(2), ODB::NullId);
        delta.AddDeletedLink(Owning(), IdOf(10), IdOf(5));
        delta.AddReorderedLink(Owning(), IdOf(2), IdOf(8), IdOf(3));
        delta.AddReorderedLink(Owning(), IdOf(2), IdOf(7), ODB::NullId);
    }

    Delta delta{&space};
    Listener listener{space};
};

TEST_F(DeltaContentTest, EachOrderAndModeTellsItsPart) {
    const struct {
        Delta::EnumerationOrdering ordering;
        Delta::EnumerationMode mode;
        const char* expected;
    } cases[] = {
        {Delta::InOrderOfAdding, Delta::Everything,
         "N4+ N1+ M3+ M2+ D6 D5 n'10-1 n10-4 n10-1 m11-2 r2-8>3 r2-7>- d10-5 c10 c9 c12 c11 c8 c7"},
        {Delta::ById, Delta::Everything,
         "N1+ N4+ M2+ M3+ D5 D6 n10-1 n10-4 n'10-1 m11-2 r2-7>- r2-8>3 d10-5 c10 c9 c12 c11 c7 c8"},
        {Delta::InOrderOfAdding, Delta::ObjectsOnly, "N4+ N1+ M3+ M2+ D6 D5"},
        {Delta::ById, Delta::LinksOnly, "n10-1 n10-4 n'10-1 m11-2 r2-7>- r2-8>3 d10-5 c10 c9 c12 c11 c7 c8"},
        {Delta::ById, Delta::WithoutStates,
         "N1 N4 M2 M3 D5 D6 n10-1 n10-4 n'10-1 m11-2 r2-7>- r2-8>3 d10-5 c10 c9 c12 c11 c7 c8"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(delta.EnumerateContent(listener, c.ordering, c.mode), 0);
        EXPECT_EQ(listener.Take(), c.expected);
    }
}

TEST_F(DeltaContentTest, StatesThatCannotBeMadeTellNothing) {
    Thing::unrestorable = 2;
    EXPECT_EQ(delta.EnumerateContent(listener, Delta::ById, Delta::Everything), -98);
    EXPECT_EQ(listener.Take(), "");
    EXPECT_EQ(delta.EnumerateContent(listener, Delta::ById, Delta::WithoutStates), 0);
    EXPECT_NE(listener.Take(), "");
}

TEST_F(DeltaContentTest, NoMemoryTellsNothing) {
    struct Counter : ODB::ContentEnumerator {
        void NewObjectFound(const Kest::Guid&, const Id&, ODB::IdSpace*, const char*, std::size_t) override { ++calls; }
        int calls = 0;
    };
    Counter counter;
    const auto enumerate = [&] { delta.EnumerateContent(counter, Delta::ById, Delta::Everything); };
    const FailureCount count = ForEachFailure(enumerate, [&](bool failed) {
        EXPECT_EQ(counter.calls, failed ? 0 : 2);
        counter.calls = 0;
    });
    EXPECT_GT(count.failures, 10u);
}

}   // namespace
