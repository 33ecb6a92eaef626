#include <ODB/Delta.hpp>

#include <algorithm>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <ODB/ConflictResolver.hpp>
#include <ODB/IsolatedStateIO.hpp>

#include <gtest/gtest.h>

#include "Coin.hpp"
#include "SpaceState.hpp"

namespace {

using Decision = ODB::ConflictResolver::Decision;
using Kest::Guid;

constexpr int MemoryFull = -108;
constexpr int WrongCall = -7003;

const std::vector<const Things*>& GetAssociations() {
    static const std::vector<const Things*> all{&Owning(), &OwningToo(), &Plain(), &Deleting(), &Sending(), &Indexed()};
    return all;
}

ThingRef ThingAt(const ODB::IdSpace& space, const Guid& id) {
    return ThingRef(space.Find(ODB::Id(id)).GetInfo());
}

void Fill(ODB::IdSpace& space, const SpaceState& state) {
    for (const auto& [id, number] : state.numbers) {
        ThingRef coin(new Coin(number));
        coin.Init(ODB::Id(id), &space);
        ODB::Database::AddObject(coin, false);
    }
    for (const auto& [list, rights] : state.rights)
        for (const Guid& right : rights)
            list.first->Connect(ThingAt(space, list.second), ThingAt(space, right));
}

// Draws states over the same ids, with one great list and some small ones. Owners stand before what they own in an
// order of each state's own.
SpaceState DrawState(std::mt19937& random, int most) {
    SpaceState state;
    std::vector<Guid> ids;
    for (int key = 1; key <= most; ++key)
        if (random() % 4 != 0) {
            ids.push_back(IdOf(key).GetGuid());
            state.numbers[ids.back()] = static_cast<int>(random() % 3) * 100 + key;
        }
    std::shuffle(ids.begin() + (random() % 8 != 0 && !ids.empty() ? 1 : 0), ids.end(), random);
    for (const Things* const association : GetAssociations())
        for (std::size_t right = 1; right < ids.size(); ++right)
            if (random() % 2 == 0)
                state.rights[{association, ids[random() % 2 == 0 ? 0 : random() % right]}].push_back(ids[right]);
    for (auto& [list, rights] : state.rights)
        if (random() % 2 == 0)
            std::shuffle(rights.begin(), rights.end(), random);
        else
            std::sort(rights.begin(), rights.end());
    return state;
}

ODB::RefList<ODB::Object> AllIn(const ODB::IdSpace& space, const SpaceState& state) {
    ODB::RefList<ODB::Object> all;
    for (const auto& [id, number] : state.numbers)
        all.Push(ThingAt(space, id));
    return all;
}

template <class Item>
std::vector<Item> Shuffled(std::vector<Item> items, std::mt19937& random) {
    std::shuffle(items.begin(), items.end(), random);
    return items;
}

// The way from one state to another, in no order, and without some of the cuts that follow from deletions.
ODB::Delta MakeDelta(const SpaceState& from, const SpaceState& to, std::mt19937& random) {
    ODB::IdSpace oldSpace;
    ODB::IdSpace newSpace;
    Fill(oldSpace, from);
    Fill(newSpace, to);
    ODB::Delta ordered(nullptr);
    EXPECT_EQ(ODB::CreateDelta(AllIn(oldSpace, from), AllIn(newSpace, to), &ordered, ODB::LinkBoundary::Inside, {}), 0);
    if (random() % 2 == 0)
        return ordered;
    ODB::Delta delta(nullptr);
    for (const auto& object : Shuffled(ordered.GetNewObjects(), random))
        delta.AddNewObject(newSpace.Find(object.id));
    for (const auto& object : Shuffled(ordered.GetModifiedObjects(), random))
        delta.AddModifiedObject(newSpace.Find(object.id));
    for (const auto& object : Shuffled(ordered.GetDeletedObjects(), random))
        delta.AddDeletedObject(*object.classInfo, object.id);
    for (const auto& link : Shuffled(ordered.GetNewLinks(), random))
        delta.AddNewLink(*link.association, link.left, link.right, link.behind);
    for (const auto& link : Shuffled(ordered.GetModifiedLinks(), random))
        delta.AddModifiedLink(*link.association, link.oldLeft, link.left, link.right, link.behind);
    for (const auto& link : Shuffled(ordered.GetReorderedLinks(), random))
        delta.AddReorderedLink(*link.association, link.left, link.right, link.behind);
    for (const auto& link : ordered.GetDeletedLinks())
        if (newSpace.Contains(link.right) || random() % 2 == 0)
            delta.AddDeletedLink(*link.association, link.left, link.right);
    return delta;
}

// As it comes out of a channel.
ODB::Delta ReadBack(const ODB::Delta& delta) {
    Kest::MemoryOChannel written;
    EXPECT_EQ(delta.Write(written), 0);
    Kest::MemoryIChannel channel(written.GetBytes(), written.GetSize());
    ODB::Delta read(delta.GetIdSpace());
    EXPECT_EQ(read.Read(channel), 0);
    return read;
}

// Every index files what is linked, and under its number.
void CheckIndexes(const ODB::IdSpace& space) {
    space.EnumerateObjects([](const ODB::Ref<ODB::Object>& left) {
        const NumberIndex* const index = IndexOf(left);
        if (index == nullptr)
            return;
        EXPECT_EQ(index->keys.size(), Indexed().GetConnectionCount(left));
        for (const auto& [record, number] : index->keys)
            EXPECT_TRUE(Indexed().FindLeft(*record) == left.GetInfo() && number == NumberOf(ThingRef(record)));
    });
}

// Walks over a list and merges in the middle: what was linked and still is gets its turn, in the old order.
class InterruptedWalk {
public:
    InterruptedWalk(const SpaceState& before, const SpaceState& after, std::mt19937& random) {
        if (before.rights.empty())
            return;
        const auto chosen = std::next(before.rights.begin(), static_cast<long>(random() % before.rights.size()));
        list = chosen->first;
        const auto now = after.rights.find(list);
        first = random() % chosen->second.size();
        for (std::size_t place = 0; place < chosen->second.size(); ++place) {
            const Guid& right = chosen->second[place];
            if (place <= first || (now != after.rights.end() &&
                                   std::find(now->second.begin(), now->second.end(), right) != now->second.end()))
                expected.push_back(right);
        }
    }

    template <class Merge>
    void Run(const ODB::IdSpace& space, Merge&& merge) {
        if (list.first == nullptr)
            return merge();
        std::vector<Guid> visited;
        list.first->EnumerateRight(ODB::Ref<ODB::Object>(ThingAt(space, list.second)),
                                   [&](const ODB::Ref<ODB::Object>& right) {
                                       visited.push_back(right.GetId().GetGuid());
                                       if (visited.size() == first + 1)
                                           merge();
                                   });
        EXPECT_EQ(visited, expected);
    }

private:
    SpaceState::List list{nullptr, Guid()};
    std::size_t first = 0;
    std::vector<Guid> expected;
};

TEST(DeltaMergeModelTest, RandomStatesBecomeEachOther) {
    for (unsigned seed = 1; seed <= 120; ++seed) {
        std::mt19937 random(seed);
        const int most = seed % 8 == 0 ? 150 : 12;
        const SpaceState states[] = {DrawState(random, most), DrawState(random, most)};
        ODB::IdSpace space;
        Fill(space, states[0]);
        std::vector<std::pair<ThingRef, int>> held;
        for (const auto& [id, number] : states[0].numbers)
            held.emplace_back(ThingAt(space, id), number);
        for (int step = 0; step < 4; ++step) {
            const SpaceState& from = states[step % 2];
            const SpaceState& to = states[(step + 1) % 2];
            ODB::Delta delta = MakeDelta(from, to, random);
            if (random() % 2 == 0)
                delta = ReadBack(delta);
            InterruptedWalk(from, to, random).Run(space, [&] { EXPECT_EQ(ODB::MergeDelta(space, delta), 0); });
            EXPECT_EQ(SpaceState::Of(space), to);
            EXPECT_TRUE(space.CheckInvariants());
            CheckIndexes(space);
            ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed << ", step " << step;
        }
        for (const auto& [thing, number] : held)
            EXPECT_EQ(NumberOf(thing), number) << "references to what came back are alive";
    }
}

TEST(DeltaMergeModelTest, NoMemory) {
    for (unsigned seed = 1; seed <= 4; ++seed) {
        std::mt19937 random(seed);
        const SpaceState before = DrawState(random, seed == 4 ? 40 : 7);
        const SpaceState after = DrawState(random, seed == 4 ? 40 : 7);
        const ODB::Delta delta = MakeDelta(before, after, random);
        const auto merge = [&] {
            std::optional<AllocationsSucceed> aside(std::in_place);
            const int living = Thing::living;
            {
                ODB::IdSpace space;
                Fill(space, before);
                aside.reset();
                const int status = ODB::MergeDelta(space, delta, nullptr, nullptr, true);
                aside.emplace();
                EXPECT_TRUE(status == 0 || status == MemoryFull) << status;
                EXPECT_TRUE(SpaceState::Of(space) == (status == 0 ? after : before)) << status;
                EXPECT_EQ(space.GetObjectCount(), SpaceState::Of(space).numbers.size());
                EXPECT_TRUE(space.CheckInvariants());
                CheckIndexes(space);
            }
            EXPECT_EQ(Thing::living, living);
        };
        merge();
        const FailureCount count = ForEachFailure(merge, [](bool) {});
        EXPECT_GT(count.failures, 60u);
        EXPECT_EQ(count.leakedBlocks, 0);
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
}

// Decides everything alike and notes what it was asked.
class NotingResolver : public ODB::ConflictResolver {
public:
    explicit NotingResolver(Decision everyDecision) : decision(everyDecision) {}

    Decision NewObjectExists(const ODB::Id&) override { return Note('N'); }
    Decision ModifiedObjectMissing(const ODB::Id&) override { return Note('M'); }
    Decision ModifiedObjectDiffersInClass(const ODB::Id&) override { return Note('C'); }
    Decision DeletedObjectMissing(const ODB::Id&) override { return Note('D'); }
    Decision DeletedObjectOwnsMore(const ODB::Id&) override { return Note('O'); }
    Decision LinkDiffers(const ODB::Association1NUntyped&, const ODB::Id&, const ODB::Id&) override {
        return Note('L');
    }
    Decision NeighbourMissing(const ODB::Association1NUntyped&, const ODB::Id&, const ODB::Id&) override {
        return Note('B');
    }

    std::set<char> asked;

private:
    Decision Note(char question) {
        asked.insert(question);
        return decision;
    }

    Decision decision;
};

// 1 owns 2, 3, 4; 3 owns 5 in another way; 6 is linked plainly to 2 and 5.
class DeltaMergeTest : public testing::Test, public ThingWorld {
protected:
    DeltaMergeTest() { Build(space); }

    static void Build(ODB::IdSpace& built) {
        for (int number = 1; number <= 6; ++number)
            MakeIn(built, number);
        for (const int right : {2, 3, 4})
            Owning().Connect(ThingIn(built, 1), ThingIn(built, right));
        OwningToo().Connect(ThingIn(built, 3), ThingIn(built, 5));
        for (const int right : {2, 5})
            Plain().Connect(ThingIn(built, 6), ThingIn(built, right));
    }

    // Puts into a delta what words say: N4=44 a new object with a number, M4=44 a modified one (C, c: coins), D4 a
    // deleted one; +O1-7>2 a new link of 1 and 7, which follows 2, *O1:6-3 one that goes from 1 to 6, -O1-3 a cut one,
    // ~O1-2>4 a reordered one.
    void Add(ODB::Delta& delta, const std::string& words) {
        std::istringstream rest(words);
        for (std::string word; rest >> word;) {
            std::vector<int> keys = NumbersIn(word);
            const auto id = [&](std::size_t place) { return place < keys.size() ? IdOf(keys[place]) : ODB::NullId; };
            const Things& association = AssociationOf(word[1]);
            switch (word[0]) {
            case 'N':
            case 'C':
            case 'M':
            case 'c':
                AddObject(delta, word[0], keys[0], keys.back());
                break;
            case 'D':
                delta.AddDeletedObject(*Thing::GetClassInfoStatic(), id(0));
                break;
            case '+':
                delta.AddNewLink(association, id(0), id(1), id(2));
                break;
            case '*':
                delta.AddModifiedLink(association, id(0), id(1), id(2), id(3));
                break;
            case '-':
                delta.AddDeletedLink(association, id(0), id(1));
                break;
            default:
                delta.AddReorderedLink(association, id(0), id(1), id(2));
            }
        }
    }

    // Objects, with their numbers where these are not those of their ids, and what they are linked to.
    static std::string Describe(const ODB::IdSpace& described) {
        std::ostringstream text;
        for (int key = 1; key < 80; ++key) {
            const ThingRef thing = ThingIn(described, key);
            if (!thing)
                continue;
            text << key;
            if (NumberOf(thing) != key)
                text << '=' << NumberOf(thing);
            for (const char letter : {'O', 'T', 'P', 'S'})
                if (AssociationOf(letter).IsConnectedAsLeft(thing)) {
                    text << ' ' << letter << '(';
                    for (const int right : RightNumbers(AssociationOf(letter), thing))
                        text << right << ' ';
                    text << ')';
                }
            text << "; ";
        }
        return text.str();
    }

    static constexpr const char* Untouched = "1 O(2 3 4 ); 2; 3 T(5 ); 4; 5; 6 P(2 5 ); ";

private:
    static const Things& AssociationOf(char letter) {
        return letter == 'O'   ? Owning()
               : letter == 'T' ? OwningToo()
               : letter == 'S' ? Sending()
               : letter == 'I' ? Indexed()
                               : Plain();
    }

    static std::vector<int> NumbersIn(std::string word) {
        std::replace_if(
            word.begin(), word.end(), [](char unit) { return unit < '0' || unit > '9'; }, ' ');
        std::istringstream rest(word);
        std::vector<int> numbers;
        for (int number = 0; rest >> number;)
            numbers.push_back(number);
        return numbers;
    }

    static void AddObject(ODB::Delta& delta, char kind, int key, int number) {
        ODB::IdSpace others;
        const ThingRef object = kind == 'C' || kind == 'c' ? Coin::MakeIn(others, key) : MakeIn(others, key);
        object->number = number;
        EXPECT_EQ(kind == 'M' || kind == 'c' ? delta.AddModifiedObject(object) : delta.AddNewObject(object), 0);
    }
};

TEST_F(DeltaMergeTest, ConflictsAreDecidedByTheResolver) {
    const struct {
        const char* what;
        const char* delta;
        std::set<char> questions;   // when the delta wins
        const char* kept;
        const char* taken;
    } cases[] = {
        {"a new object is there",
         "N4=44 N7",
         {'N'},
         "1 O(2 3 4 ); 2; 3 T(5 ); 4; 5; 6 P(2 5 ); 7; ",
         "1 O(2 3 44 ); 2; 3 T(5 ); 4=44; 5; 6 P(2 5 ); 7; "},
        {"a new object of another class is there", "C4=44", {'N'}, Untouched, Untouched},
        {"a modified object is missing", "M7=77", {'M'}, Untouched, "1 O(2 3 4 ); 2; 3 T(5 ); 4; 5; 6 P(2 5 ); 7=77; "},
        {"a missing object gets a link",
         "M7=77 +O1-7>2",
         {'M'},
         Untouched,
         "1 O(2 77 3 4 ); 2; 3 T(5 ); 4; 5; 6 P(2 5 ); 7=77; "},
        {"a modified object is of another class", "c4=44", {'C'}, Untouched, Untouched},
        {"a deleted object is missing", "D8", {'D'}, Untouched, Untouched},
        {"a deleted object owns more", "D3 -O1-3", {'O'}, Untouched, "1 O(2 4 ); 2; 4; 6 P(2 ); "},
        {"so does one deep beneath", "D3 D2 D4 D1 -O1-2 -O1-3 -O1-4", {'O'}, Untouched, "6; "},
        {"a right object is linked elsewhere",
         "+O6-2",
         {'L'},
         Untouched,
         "1 O(3 4 ); 2; 3 T(5 ); 4; 5; 6 O(2 ) P(2 5 ); "},
        {"a right object is linked there", "+O1-2>3", {'L'}, Untouched, "1 O(3 2 4 ); 2; 3 T(5 ); 4; 5; 6 P(2 5 ); "},
        {"a left object is missing", "*O1:8-2", {'L'}, Untouched, Untouched},
        {"a left object is deleted",
         "D4 *O1:4-2",
         {'L'},
         "1 O(2 3 ); 2; 3 T(5 ); 5; 6 P(2 5 ); ",
         "1 O(2 3 ); 2; 3 T(5 ); 5; 6 P(2 5 ); "},
        {"a right object comes from elsewhere",
         "*O5:6-3",
         {'L'},
         Untouched,
         "1 O(2 4 ); 2; 3 T(5 ); 4; 5; 6 O(3 ) P(2 5 ); "},
        {"a link to be cut is another one", "-P1-5", {'L'}, Untouched, "1 O(2 3 4 ); 2; 3 T(5 ); 4; 5; 6 P(2 ); "},
        {"a link to be cut is not there", "-P6-3", {'L'}, Untouched, Untouched},
        {"a reordered link is another one",
         "~P1-5",
         {'L'},
         Untouched,
         "1 O(2 3 4 ) P(5 ); 2; 3 T(5 ); 4; 5; 6 P(2 ); "},
        {"neighbours are missing",
         "~O1-2>6 ~O1-3>99 *P6:1-5>2",
         {'B'},
         "1 O(4 2 3 ) P(5 ); 2; 3 T(5 ); 4; 5; 6 P(2 ); ",
         "1 O(4 2 3 ) P(5 ); 2; 3 T(5 ); 4; 5; 6 P(2 ); "},
        {"a neighbour is deleted",
         "D4 ~O1-2>4",
         {'B'},
         "1 O(3 2 ); 2; 3 T(5 ); 5; 6 P(2 5 ); ",
         "1 O(3 2 ); 2; 3 T(5 ); 5; 6 P(2 5 ); "},
    };
    for (const auto& c : cases) {
        ODB::Delta delta(&space);
        Add(delta, c.delta);
        EXPECT_EQ(ODB::MergeDelta(space, delta), WrongCall) << c.what;
        for (const Decision decision : {Decision::Refuse, Decision::KeepTarget, Decision::TakeDelta}) {
            NotingResolver resolver(decision);
            const bool refuses = decision == Decision::Refuse;
            ODB::IdSpace target;
            Build(target);
            EXPECT_EQ(ODB::MergeDelta(target, delta, nullptr, &resolver, false), refuses ? WrongCall : 0) << c.what;
            EXPECT_EQ(Describe(target), refuses                            ? Untouched
                                        : decision == Decision::KeepTarget ? c.kept
                                                                           : c.taken)
                << c.what;
            EXPECT_TRUE(decision != Decision::TakeDelta || resolver.asked == c.questions) << c.what;
            EXPECT_TRUE(target.CheckInvariants()) << c.what;
        }
    }
    EXPECT_EQ(Describe(space), Untouched);
}

TEST_F(DeltaMergeTest, WhatNoResolverCanMendIsRefused) {
    const std::pair<const char*, const char*> cases[] = {
        {"two own each other", "*O1:5-3"},
        {"an object comes to own itself", "+S4-4"},
        {"new links make a ring of owners", "+T4-2 +S2-4"},
        {"new objects make a ring of owners", "N8 N9 +O8-9 +T9-8"},
        {"links follow each other in a ring", "~O1-2>3 ~O1-3>2"},
        {"two follow one", "~O1-2>4 ~O1-3>4"},
        {"a right object comes twice", "-O1-2 +O6-2"},
        {"a new right object comes twice", "N9 +O1-9>4 +P1-9 +P6-9>5"},
    };
    for (const auto& [what, words] : cases) {
        ODB::Delta delta(&space);
        Add(delta, std::string("M6=66 ") + words);
        for (const Decision decision : {Decision::KeepTarget, Decision::TakeDelta}) {
            ODB::UniformConflictResolver resolver(decision);
            EXPECT_EQ(ODB::MergeDelta(space, delta, nullptr, &resolver, false), WrongCall) << what;
            EXPECT_EQ(Describe(space), Untouched) << what;
        }
    }
    EXPECT_TRUE(space.CheckInvariants());
}

// Nothing that things may be linked to, and of a class that nobody can make.
class Stranger : public ODB::Object {
public:
    const Kest::ClassInfo* GetClassInfo() const override { return GetClassInfoStatic(); }
    static const Kest::ClassInfo* GetClassInfoStatic() {
        static const Kest::ClassInfo info("Test::Stranger", Guid("{D1E5C0DE-0000-4000-8000-0000000000A1}"),
                                          Kest::ClassVersion(1, 0), ODB::Object::GetClassInfoStatic());
        return &info;
    }
    Stranger* Clone() const override { return new Stranger; }
};

TEST_F(DeltaMergeTest, StrangersAreNeitherLinkedNorMade) {
    ODB::Ref<ODB::Object> stranger(new Stranger);
    stranger.Init(IdOf(8), &space);
    ODB::Database::AddObject(stranger, false);
    ODB::Delta linking(&space);
    Add(linking, "+P1-8");
    EXPECT_EQ(ODB::MergeDelta(space, linking), WrongCall);
    EXPECT_EQ(Plain().GetConnectionCount(Of(1)), 0u);
    ODB::Delta making(&space);
    making.AddNewObject(Make(7));
    making.AddNewObject(stranger);
    ODB::IdSpace target;
    EXPECT_EQ(ODB::MergeDelta(target, making), WrongCall);
    EXPECT_EQ(target.GetObjectCount(), 0u);
}

// The last digit of a number does not travel.
class TensIO : public ODB::IsolatedStateIO {
public:
    int WriteState(const ODB::Object& object, Kest::OChannel& channel) const override {
        return channel.Write(static_cast<const Thing&>(object).GetNumber() / 10);
    }
    int ReadState(ODB::Object& object, Kest::IChannel& channel) const override {
        auto& thing = static_cast<Thing&>(object);
        int tens = 0;
        channel.Read(tens);
        thing.number = tens * 10 + thing.number % 10;
        return tens == 9 ? -97 : channel.GetStatus();
    }
};

TEST_F(DeltaMergeTest, ContentsPassAsTheHostWants) {
    TensIO io;
    ODB::Delta delta(&space);
    Add(delta, "N7=77 M4=58");
    ASSERT_EQ(ODB::MergeDelta(space, delta, &io, nullptr, false), 0);
    EXPECT_EQ(Describe(space), "1 O(2 3 54 ); 2; 3 T(5 ); 4=54; 5; 6 P(2 5 ); 7=70; ");

    ODB::Delta failing(&space);
    Add(failing, "M3=33 M2=99");
    EXPECT_EQ(ODB::MergeDelta(space, failing, &io, nullptr, false), -97);
    EXPECT_EQ(NumberOf(Of(3)), 3);
    EXPECT_EQ(NumberOf(Of(2)), 2) << "half of it had been read";
}

TEST_F(DeltaMergeTest, ContentThatCannotBeHadLeavesEverything) {
    const struct {
        const char* what;
        int unstorable;
        int unrestorable;
        int expected;
    } cases[] = {
        {"a new content", 0, 77, -98},
        {"a modified content, after others", 0, 66, -98},
        {"a content that cannot be kept, with others that only come back as they were", 6, 4, -99},
    };
    for (const auto& c : cases) {
        ODB::IdSpace target;
        Build(target);
        ODB::Delta delta(&space);
        Add(delta, "N7=77 M4=44 M5=55 M6=66 -P6-2");
        if (c.unstorable != 0)
            ThingIn(target, c.unstorable)->number = -5;
        const std::string before = Describe(target);
        Thing::unrestorable = c.unrestorable;
        EXPECT_EQ(ODB::MergeDelta(target, delta), c.expected) << c.what;
        Thing::unrestorable = -1;
        EXPECT_EQ(Describe(target), before) << c.what;
    }
}

TEST_F(DeltaMergeTest, LeftObjectsAreToldWhenAllIsDone) {
    ODB::IdSpace target;
    for (const int left : {10, 20})
        for (int right = left + 1; right < left + 5; ++right)
            Sending().Connect(right == left + 1 ? MakeIn(target, left) : ThingIn(target, left), MakeIn(target, right));
    ODB::Delta delta(&target);
    Add(delta, "N7 +S10-7>14 *S10:20-11>24 ~S10-14 -S20-21 -S20-22 D22 M12=32");
    std::ostringstream heard;
    std::set<std::string> states;
    Thing::hook = [&](Thing::Event event, Thing& left, const ODB::ConstRef<ODB::Object>& right) {
        heard << "CDXMR"[static_cast<int>(event)] << left.GetNumber() << '-' << NumberOf(right) << ' ';
        states.insert(Describe(target));
    };
    ASSERT_EQ(ODB::MergeDelta(target, delta, nullptr, nullptr, true), 0);
    Thing::hook = nullptr;
    EXPECT_EQ(heard.str(), "X20-22 D20-21 R10-14 C10-7 D10-11 C20-11 ");
    EXPECT_EQ(states.size(), 2u) << "but for the object that is being deleted, all is as it will be";
    EXPECT_EQ(states.count("7; 10 S(14 7 32 13 ); 11; 12=32; 13; 14; 20 S(23 24 11 ); 21; 23; 24; "), 1u);
}

// Does something when its source dies.
class LastWord : public Kest::EventObserver {
public:
    explicit LastWord(std::function<void()> will) : act(std::move(will)) {}
    void SourceDestroyed(Kest::EventSource*) override { act(); }

private:
    std::function<void()> act;
};

TEST_F(DeltaMergeTest, ObserversOfTheDeletedMayDoAnything) {
    const std::pair<const char*, std::function<void(ODB::IdSpace&)>> cases[] = {
        {"delete what comes next", [](ODB::IdSpace& target) { ODB::Database::DeleteObject(ThingIn(target, 4)); }},
        {"delete the owner", [](ODB::IdSpace& target) { ODB::Database::DeleteObject(ThingIn(target, 1)); }},
        {"delete what was just made", [](ODB::IdSpace& target) { ODB::Database::DeleteObject(ThingIn(target, 7)); }},
        {"link what will be deleted",
         [](ODB::IdSpace& target) { Plain().Connect(ThingIn(target, 6), ThingIn(target, 4)); }},
        {"merge again",
         [this](ODB::IdSpace& target) {
             ODB::Delta more(&target);
             Add(more, "D4 ~O1-7");
             EXPECT_EQ(ODB::MergeDelta(target, more), 0);
         }},
    };
    for (const auto& [what, act] : cases) {
        ODB::IdSpace target;
        Build(target);
        LastWord observer([&, &will = act] {
            EXPECT_EQ(NumberOf(ThingIn(target, 7)), 7) << "all else is done";
            will(target);
        });
        ThingIn(target, 5)->Attach(observer);
        ODB::Delta delta(&target);
        Add(delta, "N7 +O1-7>2 D3 D5 D4");
        EXPECT_EQ(ODB::MergeDelta(target, delta), 0) << what;
        EXPECT_FALSE(ThingIn(target, 3) || ThingIn(target, 4) || ThingIn(target, 5)) << what;
        EXPECT_TRUE(target.CheckInvariants()) << what;
    }
}

TEST_F(DeltaMergeTest, AnIndexThatCannotTakeAnObjectIsFilledAnew) {
    const ThingRef left = MakeLinked(Indexed(), 10, {11, 12, 13});
    ODB::Delta delta(&space);
    Add(delta, "N7 +I10-7>12 M13=33 -I10-11");
    IndexOf(left)->failures = 1;
    ASSERT_EQ(ODB::MergeDelta(space, delta), 0);
    CheckIndexes(space);
    EXPECT_EQ(RightNumbers(Indexed(), left), (std::vector<int>{12, 7, 33}));
}

}   // namespace
