#include <ODB/Association1N.hpp>

#include <algorithm>
#include <random>
#include <set>

#include <gtest/gtest.h>

#include "TestObjects.hpp"

namespace {

using Event = Thing::Event;

class Association1NTest : public testing::Test, public ThingWorld {
protected:
    ODB::RefList<ODB::Object> Refs(const std::vector<int>& numbers) const {
        ODB::RefList<ODB::Object> refs;
        for (int number : numbers)
            refs.Push(Of(number));
        return refs;
    }
};

// Lefts 0 to 3, rights from 100 on, in two associations at once; what is linked stands in plain vectors.
class LinkModel : protected ThingWorld {
public:
    explicit LinkModel(unsigned seed) : random(seed) {
        for (int left = 0; left < 4; ++left)
            lefts.push_back(Make(left));
        for (int count = 0; count < 60; ++count)
            MakeRight();
    }

    void Step() {
        switch (Draw(8)) {
        case 0:
        case 1:
        case 2:
            return Connect();
        case 3:
            return Cut();
        case 4:
            return Reorder();
        case 5:
            return Delete();
        case 6:
            return rights.size() < 120 ? MakeRight() : Delete();
        default:
            return Draw(20) == 0 ? Empty() : Connect();
        }
    }

    bool IsRight() const {
        for (std::size_t kind = 0; kind < 2; ++kind)
            for (std::size_t left = 0; left < 4; ++left)
                if (RightNumbers(Kind(kind), lefts[left]) != linked[kind][left] ||
                    Kind(kind).GetConnectionCount(lefts[left]) != linked[kind][left].size())
                    return false;
        return space.CheckInvariants();
    }

private:
    static const Things& Kind(std::size_t kind) { return kind == 0 ? Plain() : Indexed(); }
    std::size_t Draw(std::size_t end) { return std::uniform_int_distribution<std::size_t>(0, end - 1)(random); }
    int DrawRight() { return rights[Draw(rights.size())]; }
    void MakeRight() {
        Make(nextRight);
        rights.push_back(nextRight++);
    }
    void Forget(std::size_t kind, int right) {
        for (auto& list : linked[kind])
            std::erase(list, right);
    }
    void ForgetAll(int right) {
        for (std::size_t kind = 0; kind < 2; ++kind)
            Forget(kind, right);
        std::erase(rights, right);
    }

    void Connect() {
        const std::size_t kind = Draw(2);
        const std::size_t left = Draw(4);
        const int right = DrawRight();
        EXPECT_EQ(Kind(kind).Connect(lefts[left], Of(right)), 0);
        auto& list = linked[kind][left];
        if (std::count(list.begin(), list.end(), right) != 0)
            return;
        Forget(kind, right);
        list.push_back(right);
    }
    void Cut() {
        const std::size_t kind = Draw(2);
        const std::size_t left = Draw(4);
        const int right = DrawRight();
        auto& list = linked[kind][left];
        const bool isLinked = std::count(list.begin(), list.end(), right) != 0;
        EXPECT_EQ(Kind(kind).Disconnect(lefts[left], Of(right)), isLinked ? 0 : -7003);
        if (!isLinked)
            return;
        if (kind == 0)
            std::erase(list, right);
        else
            ForgetAll(right);   // its only owner is gone
    }
    void Reorder() {
        const std::size_t kind = Draw(2);
        const std::size_t left = Draw(4);
        auto& list = linked[kind][left];
        if (list.empty())
            return;
        const std::size_t from = Draw(list.size());
        const std::size_t to = Draw(list.size());
        const int right = list[from];
        EXPECT_EQ(Kind(kind).ReorderLinkFromLeftObject(lefts[left], Of(right), from, to), 0);
        list.erase(list.begin() + static_cast<std::ptrdiff_t>(from));
        list.insert(list.begin() + static_cast<std::ptrdiff_t>(to), right);
    }
    void Delete() {
        if (rights.size() < 10)
            return;
        const int right = DrawRight();
        ODB::Database::DeleteObject(Of(right));
        ForgetAll(right);
    }
    void Empty() {
        const std::size_t left = Draw(4);
        Plain().DisconnectAsLeft(lefts[left]);
        linked[0][left].clear();
    }

    std::mt19937 random;
    std::vector<ThingRef> lefts;
    std::vector<int> rights;
    int nextRight = 100;
    std::vector<int> linked[2][4];
};

TEST(LinkModelTest, RandomOperationsAgreeWithPlainLists) {
    for (unsigned seed = 1; seed <= 8; ++seed) {
        LinkModel model(seed);
        for (int step = 0; step < 500; ++step) {
            model.Step();
            ASSERT_TRUE(model.IsRight()) << "seed " << seed << ", step " << step;
        }
    }
}

TEST_F(Association1NTest, ConnectRefusesWhatCannotBe) {
    const ThingRef root = MakeLinked(Owning(), 1, {2});
    OwningToo().Connect(Of(2), Make(3));
    OwningToo().Connect(Make(4), Of(2));   // a second owner
    const struct {
        const char* what;
        ThingRef left;
        ThingRef right;
        int expected;
    } cases[] = {{"null left", ThingRef(), root, -7001},
                 {"null right", root, ThingRef(), -7001},
                 {"owning oneself", root, root, -7003},
                 {"owning one's owner", Of(3), Of(1), -7003},
                 {"owning one's other owner", Of(3), Of(4), -7003},
                 {"what is linked already", root, Of(2), 0}};
    for (const auto& c : cases)
        EXPECT_EQ(Owning().Connect(c.left, c.right), c.expected) << c.what;
    EXPECT_EQ(Plain().Connect(root, root), 0) << "a link that owns nothing may be a loop";
    EXPECT_EQ(RightNumbers(Owning(), root), std::vector<int>{2});
    EXPECT_TRUE(space.CheckInvariants());
    ODB::Database::DeleteObject(root);
    EXPECT_TRUE(Of(2)) << "the second owner holds it";
}

TEST_F(Association1NTest, EnumerationVisitsWhatIsStillLinkedAtItsTurn) {
    using Act = void (*)(ThingWorld&, const ThingRef& left, int visited);
    const struct {
        const char* what;
        Act act;
        std::vector<int> expected;
    } cases[] = {
        {"each deletes itself",
         [](auto& t, const ThingRef&, int v) { ODB::Database::DeleteObject(t.Of(v)); },
         {10, 11, 12, 13, 14}},
        {"one deletes its neighbours",
         [](auto& t, const ThingRef&, int v) {
             if (v == 12)
                 for (int gone : {11, 13})
                     ODB::Database::DeleteObject(t.Of(gone));
         },
         {10, 11, 12, 14}},
        {"new links wait",
         [](auto& t, const ThingRef& left, int v) { Plain().Connect(left, t.Make(v + 100)); },
         {10, 11, 12, 13, 14}},
        {"cut and linked again counts as new",
         [](auto& t, const ThingRef& left, int v) {
             if (v != 10)
                 return;
             Plain().Disconnect(left, t.Of(12));
             Plain().Connect(left, t.Of(12));
         },
         {10, 11, 13, 14}},
        {"moved to another left object",
         [](auto& t, const ThingRef&, int v) {
             if (v == 10)
                 Plain().Connect(t.Make(2), t.Of(11));
         },
         {10, 12, 13, 14}},
        {"reordering changes no turn",
         [](auto& t, const ThingRef& left, int v) {
             if (v == 11)
                 Plain().ReorderLinkFromLeftObject(left, t.Of(14), 4, 0);
             if (v == 12) {
                 ODB::Database::DeleteObject(t.Of(13));
                 Plain().ReorderLinkFromLeftObject(left, t.Of(10), 1, 0);
             }
         },
         {10, 11, 12, 14}},
        {"the left object is deleted",
         [](auto& t, const ThingRef& left, int v) {
             if (v == 12)
                 ODB::Database::DeleteObject(t.Of(left.GetConst()->GetNumber()));
         },
         {10, 11, 12}},
        {"the left object is deleted after a reorder",
         [](auto& t, const ThingRef& left, int v) {
             if (v == 11) {
                 Plain().ReorderLinkFromLeftObject(left, t.Of(11), 1, 0);
                 ODB::Database::DeleteObject(left);
             }
         },
         {10, 11}},
        {"all links are cut", [](auto&, const ThingRef& left, int) { Plain().ClearAsLeft(left); }, {10}},
        {"an inner walk of the same list",
         [](auto&, const ThingRef& left, int v) {
             if (v == 10)
                 Plain().ForEachRight(left, [&](const ThingRef& r) {
                     if (NumberOf(r) % 2 == 1)
                         Plain().Disconnect(left, r);
                 });
         },
         {10, 12, 14}},
    };
    for (const auto& c : cases) {
        ThingWorld world;
        const ThingRef left = world.MakeLinked(Plain(), 1, {10, 11, 12, 13, 14});
        std::vector<int> visited;
        Plain().ForEachRight(left, [&](const ThingRef& right) {
            visited.push_back(NumberOf(right));
            c.act(world, left, visited.back());
            EXPECT_TRUE(world.space.CheckInvariants()) << c.what;
        });
        EXPECT_EQ(visited, c.expected) << c.what;
    }
}

TEST_F(Association1NTest, RandomWalksMeetEveryLinkThatStays) {
    std::mt19937 random(11);
    for (int round = 0; round < 40; ++round) {
        ODB::IdSpace own;
        const ThingRef left = MakeIn(own, 1);
        std::set<int> stays;
        for (int number = 10; number < 60; ++number) {
            Indexed().Connect(left, MakeIn(own, number));
            stays.insert(number);
        }
        std::vector<int> visited;
        int next = 100;
        Indexed().ForEachRight(left, [&](const ThingRef& right) {
            visited.push_back(NumberOf(right));
            const auto rights = RightNumbers(Indexed(), left);
            const int victim = rights[random() % rights.size()];
            switch (random() % 4) {
            case 0:
                ODB::Database::DeleteObject(ThingIn(own, victim));
                stays.erase(victim);
                break;
            case 1:
                Indexed().ReorderLinkFromLeftObject(
                    left, ThingIn(own, victim),
                    static_cast<std::size_t>(std::find(rights.begin(), rights.end(), victim) - rights.begin()),
                    random() % rights.size());
                break;
            case 2:
                Indexed().Connect(left, MakeIn(own, next++));
                break;
            default:
                break;
            }
            EXPECT_TRUE(own.CheckInvariants());
        });
        std::set<int> met(visited.begin(), visited.end());
        EXPECT_EQ(met.size(), visited.size()) << "nobody twice";
        EXPECT_TRUE(std::includes(met.begin(), met.end(), stays.begin(), stays.end())) << "nobody skipped";
        EXPECT_LT(*met.rbegin(), 100) << "newcomers wait";
    }
}

TEST_F(Association1NTest, CuttingManyInRandomOrderKeepsTheRest) {
    constexpr int Count = 4000;
    const ThingRef left = Make(1);
    std::vector<int> numbers;
    for (int number = 10; number < 10 + Count; ++number) {
        Plain().Connect(left, Make(number));
        numbers.push_back(number);
    }
    std::vector<int> cut = numbers;
    std::shuffle(cut.begin(), cut.end(), std::mt19937(3));
    for (std::size_t place = 0; place < cut.size() - 100; ++place)
        ASSERT_EQ(Plain().Disconnect(left, Of(cut[place])), 0);
    const std::set<int> gone(cut.begin(), cut.end() - 100);
    std::erase_if(numbers, [&](int number) { return gone.contains(number); });
    EXPECT_EQ(RightNumbers(Plain(), left), numbers);
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(Association1NTest, EventsComeWhenEverythingIsDone) {
    const ThingRef first = MakeLinked(Sending(), 1, {10, 11});
    const ThingRef second = Make(2);
    std::vector<std::pair<Event, int>> heard;
    Thing::hook = [&](Event event, Thing& left, const ODB::ConstRef<ODB::Object>& right) {
        heard.emplace_back(event, left.GetNumber());
        if (event == Event::Connected || event == Event::Disconnected) {
            EXPECT_EQ(RightNumbers(Sending(), second), std::vector<int>{NumberOf(right)});
        }
        EXPECT_TRUE(space.CheckInvariants());
    };
    Sending().Connect(second, Of(10));
    Of(10).GetLogicalConst()->SetNumber(10);
    Sending().Connect(second, Of(10));
    EXPECT_EQ(heard, (std::vector<std::pair<Event, int>>{
                         {Event::Disconnected, 1}, {Event::Connected, 2}, {Event::Modified, 2}}));
    heard.clear();
    Thing::hook = [&](Event event, Thing& left, const auto&) { heard.emplace_back(event, left.GetNumber()); };
    Sending().Connect(second, Of(11));
    Sending().ReorderLinkFromLeftObject(second, Of(11), 1, 0);
    Sending().CreateIsolatedLink(first, Of(11));
    Sending().DeleteIsolatedLink(first, Of(11));
    EXPECT_TRUE(Of(11)) << "isolated links destroy nothing";
    ODB::Database::DeleteObject(Of(10));
    EXPECT_EQ(heard, (std::vector<std::pair<Event, int>>{
                         {Event::Disconnected, 1}, {Event::Connected, 2}, {Event::Reordered, 2}, {Event::Deleted, 2}}));
}

TEST_F(Association1NTest, IsolatedFormsDoAllOrNothing) {
    const ThingRef left = MakeLinked(Owning(), 1, {10, 11, 12});
    const ThingRef other = MakeLinked(Owning(), 2, {20});
    Make(30);
    EXPECT_EQ(Owning().CreateIsolatedLinks(left, Refs({30, 20})), -7003) << "20 has another left object";
    EXPECT_EQ(Owning().DeleteIsolatedLinks(left, Refs({10, 30})), -7003);
    for (const std::vector<int>& wrong : {std::vector<int>{10, 11}, {10, 11, 11}, {10, 11, 20}})
        EXPECT_EQ(Owning().ReorderIsolatedLinks(left, Refs(wrong)), -7003);
    EXPECT_EQ(Owning().ReorderIsolatedLink(left, Of(11), 0, 2), -7003) << "not at that place";
    EXPECT_EQ(Owning().ReorderIsolatedLink(left, Of(11), 1, 3), -7003) << "no such place";
    EXPECT_EQ(RightNumbers(Owning(), left), (std::vector<int>{10, 11, 12}));
    EXPECT_EQ(Owning().ReorderIsolatedLinks(left, Refs({12, 10, 11})), 0);
    EXPECT_EQ(Owning().CreateIsolatedLinks(left, Refs({30})), 0);
    EXPECT_EQ(Owning().DeleteIsolatedLinks(left, Refs({10, 12})), 0);
    EXPECT_EQ(RightNumbers(Owning(), left), (std::vector<int>{11, 30}));
    EXPECT_TRUE(Of(10) && Of(12));
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(Association1NTest, ConnectFailsWithNothingChanged) {
    const auto connect = [&](bool relink) {
        std::unique_ptr<ODB::IdSpace> own;
        ThingRef left;
        ThingRef old;
        ThingRef right;
        {
            const AllocationsSucceed setup;
            own = std::make_unique<ODB::IdSpace>();
            left = MakeIn(*own, 1);
            old = MakeIn(*own, 2);
            right = ThingRef(new Thing(3));
            if (relink)
                Indexed().Connect(old, right);
        }
        bool failed = false;
        try {
            Plain().Connect(old, right);
            Indexed().Connect(left, right);
        } catch (const std::bad_alloc&) {
            failed = true;
        }
        const AllocationsSucceed looking;
        EXPECT_EQ(Indexed().IsConnected(left, right), !failed);
        EXPECT_EQ(Indexed().IsConnected(old, right), failed && relink);
        EXPECT_EQ(right.GetIdSpace() != nullptr, !failed || relink) << "no id without an owner";
        EXPECT_TRUE(own->CheckInvariants());
        if (relink || !failed) {
            EXPECT_EQ(IndexOf(failed ? old : left)->keys.size(), 1u);
        }
        ODB::Database::DeleteObject(right);
    };
    for (const bool relink : {false, true}) {
        connect(relink);
        const FailureCount count = ForEachFailure([&] { connect(relink); }, [](bool) {});
        EXPECT_GT(count.failures, 6u);
        EXPECT_EQ(count.leakedBlocks, 0);
    }
}

TEST_F(Association1NTest, ReorderingDuringAWalkFailsWithNothingChanged) {
    const ThingRef left = MakeLinked(Plain(), 1, {10, 11, 12, 13});
    std::vector<int> order = RightNumbers(Plain(), left);
    ForEachFailure(
        [&] {
            ODB::Association1NUntyped::RightWalk walk(Plain(), left);
            walk.Next();
            Plain().ReorderLinkFromLeftObject(left, Of(order[0]), 0, 3);
        },
        [&](bool failed) {
            if (!failed)
                std::rotate(order.begin(), order.begin() + 1, order.end());
            EXPECT_EQ(RightNumbers(Plain(), left), order);
            EXPECT_TRUE(space.CheckInvariants());
        });
}

}   // namespace
