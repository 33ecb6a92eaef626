#include <ODB/Association1N.hpp>

#include <algorithm>
#include <numeric>
#include <optional>
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
    }

    void Step() {
        while (rights.size() < 60) {
            Make(nextRight);
            rights.push_back(nextRight++);
        }
        const std::size_t kind = random() % 2;
        const Things& association = kind == 0 ? Plain() : Indexed();
        const ThingRef& left = lefts[random() % 4];
        auto& list = linked[kind][static_cast<std::size_t>(NumberOf(left))];
        const int right = rights[random() % rights.size()];
        const auto place = std::find(list.begin(), list.end(), right);
        const auto draw = random() % 64;
        if (draw < 30) {
            EXPECT_EQ(association.Connect(left, Of(right)), 0);
            if (place != list.end())
                return;
            Forget(kind, right);
            list.push_back(right);
        } else if (draw < 40) {
            EXPECT_EQ(association.Disconnect(left, Of(right)), place != list.end() ? 0 : -7003);
            if (place == list.end())
                return;
            Forget(kind, right);
            if (kind == 1)
                Dead(right);   // its only owner is gone
        } else if (draw < 55 && place != list.end()) {
            const std::size_t to = random() % list.size();
            const auto from = static_cast<std::size_t>(place - list.begin());
            EXPECT_EQ(association.ReorderLinkFromLeftObject(left, Of(right), from, to), 0);
            list.erase(place);
            list.insert(list.begin() + static_cast<std::ptrdiff_t>(to), right);
        } else if (draw < 63) {
            ODB::Database::DeleteObject(Of(right));
            Dead(right);
        } else if (kind == 0) {
            Plain().DisconnectAsLeft(left);
            list.clear();
        }
    }

    bool IsRight() const {
        for (const ThingRef& left : lefts) {
            const auto place = static_cast<std::size_t>(NumberOf(left));
            if (RightNumbers(Plain(), left) != linked[0][place] || RightNumbers(Indexed(), left) != linked[1][place] ||
                Indexed().GetConnectionCount(left) != linked[1][place].size())
                return false;
        }
        return space.CheckInvariants();
    }

private:
    void Forget(std::size_t kind, int right) {
        for (auto& list : linked[kind])
            std::erase(list, right);
    }
    void Dead(int right) {
        Forget(0, right);
        Forget(1, right);
        std::erase(rights, right);
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
        {"cut and linked again counts as new",
         [](auto& t, const ThingRef& left, int v) {
             if (v == 10) {
                 Plain().Disconnect(left, t.Of(12));
                 Plain().Connect(left, t.Of(12));
             }
         },
         {10, 11, 13, 14}},
        {"moved to another left object",
         [](auto& t, const ThingRef&, int v) {
             if (v == 10)
                 Plain().Connect(t.Make(2), t.Of(11));
         },
         {10, 12, 13, 14}},
        {"the left object is deleted after a reorder",
         [](auto& t, const ThingRef& left, int v) {
             if (v == 11) {
                 Plain().ReorderLinkFromLeftObject(left, t.Of(11), 1, 0);
                 ODB::Database::DeleteObject(left);
             }
         },
         {10, 11}},
        {"all links are cut", [](auto&, const ThingRef& left, int) { Plain().ClearAsLeft(left); }, {10}},
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
            const std::size_t place = random() % rights.size();
            const ThingRef victim = ThingIn(own, rights[place]);
            const auto draw = random() % 4;
            if (draw == 0) {
                ODB::Database::DeleteObject(victim);
                stays.erase(rights[place]);
            } else if (draw == 1) {
                Indexed().ReorderLinkFromLeftObject(left, victim, place, random() % rights.size());
            } else if (draw == 2) {
                Indexed().Connect(left, MakeIn(own, next++));
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
    const ThingRef left = Make(1);
    std::vector<int> numbers(4000);
    std::iota(numbers.begin(), numbers.end(), 10);
    for (const int number : numbers)
        Plain().Connect(left, Make(number));
    std::shuffle(numbers.begin(), numbers.end(), std::mt19937(3));
    for (; numbers.size() > 100; numbers.pop_back())
        ASSERT_EQ(Plain().Disconnect(left, Of(numbers.back())), 0);
    std::sort(numbers.begin(), numbers.end());
    EXPECT_EQ(RightNumbers(Plain(), left), numbers);
    EXPECT_TRUE(space.CheckInvariants());
}

TEST_F(Association1NTest, EventsComeWhenEverythingIsDone) {
    const ThingRef first = MakeLinked(Sending(), 1, {10, 11});
    const ThingRef second = Make(2);
    std::vector<std::pair<Event, int>> heard;
    Thing::hook = [&](Event event, Thing& left, const ODB::ConstRef<ODB::Object>& right) {
        heard.emplace_back(event, left.GetNumber());
        EXPECT_EQ(RightNumbers(Sending(), second), std::vector<int>{NumberOf(right)});
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
    for (const bool relink : {false, true}) {
        const auto connect = [relink] {
            std::optional<AllocationsSucceed> setup(std::in_place);
            ODB::IdSpace own;
            const ThingRef left = MakeIn(own, 1);
            const ThingRef old = MakeIn(own, 2);
            const ThingRef right(new Thing(3));
            if (relink)
                Indexed().Connect(old, right);
            setup.reset();
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
            EXPECT_TRUE(own.CheckInvariants());
            EXPECT_TRUE((failed && !relink) || IndexOf(failed ? old : left)->keys.size() == 1u);
            ODB::Database::DeleteObject(right);
        };
        connect();
        const FailureCount count = ForEachFailure(connect, [](bool) {});
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
