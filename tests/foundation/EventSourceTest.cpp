#include <Kest/EventSource.hpp>

#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <stdexcept>
#include <vector>

#include <gtest/gtest.h>

#include "support/ForEachFailure.hpp"

namespace {

using Kest::EventSource;

class Listener : public Kest::EventObserver {
public:
    Listener(int listenerName, std::vector<int>& allHeard) : name(listenerName), heard(allHeard) {}
    void Hear() {
        heard.push_back(name);
        if (act)
            act();
    }
    void SourceDestroyed(EventSource*) override {
        heard.push_back(-name);
        if (whenDestroyed)
            whenDestroyed();
    }

    int name;
    std::vector<int>& heard;
    std::function<void()> act;
    std::function<void()> whenDestroyed;
};

void Announce(const EventSource& source) {
    source.EnumerateObservers([](Kest::EventObserver& observer) { static_cast<Listener&>(observer).Hear(); });
}

class EventSourceTest : public testing::Test {
protected:
    EventSourceTest() { Renew(); }
    // A source with the listeners 1 to 4, attached in this order.
    void Renew() {
        listeners.clear();
        source = std::make_unique<EventSource>();
        for (int name = 1; name <= 4; ++name) {
            listeners.push_back(std::make_unique<Listener>(name, heard));
            source->Attach(*listeners.back());
        }
        heard.clear();
    }
    Listener& Of(int name) { return *listeners[static_cast<std::size_t>(name - 1)]; }
    void Kill(int name) { listeners[static_cast<std::size_t>(name - 1)].reset(); }

    std::vector<int> heard;
    std::unique_ptr<EventSource> source;
    std::vector<std::unique_ptr<Listener>> listeners;
};

TEST_F(EventSourceTest, WalkGoesFromTheLastToTheFirstWhateverCallbacksDo) {
    const struct {
        const char* what;
        std::function<void()> act;   // of the third listener
        std::vector<int> expected;
    } cases[] = {
        {"nothing", [] {}, {4, 3, 2, 1}},
        {"attached again: nothing", [this] { source->Attach(Of(4)); }, {4, 3, 2, 1}},
        {"detaches itself", [this] { source->Detach(Of(3)); }, {4, 3, 2, 1}},
        {"detaches one to come", [this] { source->Detach(Of(2)); }, {4, 3, 1}},
        {"detaches one who was called", [this] { source->Detach(Of(4)); }, {4, 3, 2, 1}},
        {"detaches all",
         [this] {
             for (const auto& listener : listeners)
                 source->Detach(*listener);
         },
         {4, 3}},
        {"detaches and attaches: next time",
         [this] {
             source->Detach(Of(1));
             source->Attach(Of(1));
         },
         {4, 3, 2}},
        {"kills one to come", [this] { Kill(1); }, {4, 3, 2}},
        {"kills one who was called", [this] { Kill(4); }, {4, 3, 2, 1}},
        {"kills one to come and attaches another",
         [this] {
             Kill(2);
             listeners.push_back(std::make_unique<Listener>(5, heard));
             source->Attach(*listeners.back());
         },
         {4, 3, 1}},
        {"destroys the source", [this] { source.reset(); }, {4, 3, -4, -3, -2, -1}},
        {"closes the source", [this] { source->Close(); }, {4, 3, -4, -3, -2, -1}},
        {"an inner walk in which others detach",
         [this] {
             Of(3).act = nullptr;
             Of(2).act = [this] {
                 source->Detach(Of(2));
                 source->Detach(Of(4));
             };
             Announce(*source);
         },
         {4, 3, 4, 3, 2, 1, 1}},
    };
    for (const auto& c : cases) {
        Renew();
        Of(3).act = c.act;
        Announce(*source);
        EXPECT_EQ(heard, c.expected) << c.what;
        EXPECT_FALSE(EventSource::IsAnnouncing()) << c.what;
    }
}

TEST_F(EventSourceTest, DyingSourceTellsEachOnceAndSurvivesWhatTheyDo) {
    Of(4).whenDestroyed = [this] { Kill(2); };
    Of(3).whenDestroyed = [this] { source->Detach(Of(1)); };
    source->Close();
    EXPECT_EQ(heard, (std::vector<int>{-4, -3}));
    EXPECT_EQ(source->GetObserverCount(), 0u);
}

TEST_F(EventSourceTest, ExceptionEndsTheWalkAndLeavesTheSourceUsable) {
    Of(3).act = [] { throw std::runtime_error("enough"); };
    EXPECT_THROW(Announce(*source), std::runtime_error);
    EXPECT_EQ(heard, (std::vector<int>{4, 3}));
    EXPECT_FALSE(EventSource::IsAnnouncing());
    Of(3).act = nullptr;
    source->Detach(Of(4));
    Announce(*source);
    EXPECT_EQ(heard, (std::vector<int>{4, 3, 3, 2, 1}));
}

TEST_F(EventSourceTest, CopiesHaveNoObservers) {
    EventSource copy(*source);
    EXPECT_EQ(copy.GetObserverCount(), 0u);
    copy.Attach(Of(1));
    copy = *source;
    EXPECT_EQ(copy.GetObserverCount(), 1u);
    Listener copied(Of(1));
    copied.name = 9;
    EXPECT_FALSE(source->IsAttached(copied));
    copy.Attach(copied);
    EXPECT_EQ(copy.GetObserverCount(), 2u);
}

TEST_F(EventSourceTest, QuietComesAfterTheOutermostAnnouncement) {
    static int calls = 0;
    calls = 0;
    EventSource::CallWhenQuiet([] { ++calls; });
    EXPECT_EQ(calls, 1) << "at once when nothing is announced";
    Of(3).act = [&] {
        Of(3).act = nullptr;
        EventSource::CallWhenQuiet([] { ++calls; });
        Announce(*source);
        EXPECT_EQ(calls, 1);
        const EventSource::Announcement byHand;
    };
    Announce(*source);
    EXPECT_EQ(calls, 2);
}

// Sources and observers at random, some dying, walks in walks; who is attached stands in a plain list, and each walk
// notes who has left or come since it began.
class EventModel {
public:
    explicit EventModel(unsigned seed) : random(seed) {
        for (std::size_t place = 0; place < Sources; ++place)
            sources.push_back(std::make_unique<EventSource>());
        while (observers.size() < Observers)
            MakeObserver();
    }

    void Change() { Step(0); }

    void Walk(std::size_t which, int depth) {
        std::vector<int> expected(attached[which].rbegin(), attached[which].rend());
        std::size_t turn = 0;
        walks.push_back({which, {}});
        const std::size_t own = walks.size() - 1;
        sources[which]->EnumerateObservers([&](Kest::EventObserver& observer) {
            const int name = static_cast<Listener&>(observer).name;
            while (turn < expected.size() && walks[own].gone.contains(expected[turn]))
                ++turn;
            ASSERT_LT(turn, expected.size());
            EXPECT_EQ(name, expected[turn++]);
            for (std::size_t count = random() % 3; count > 0; --count)
                Step(depth);
        });
        while (turn < expected.size() && walks[own].gone.contains(expected[turn]))
            ++turn;
        EXPECT_EQ(turn, expected.size()) << "nobody skipped";
        walks.pop_back();
    }

private:
    static constexpr std::size_t Sources = 3;
    static constexpr std::size_t Observers = 12;
    struct RunningWalk {
        std::size_t source;
        std::set<int> gone;   // detached since the walk began, even if attached again
    };

    void MakeObserver() {
        observers.emplace(nextName, std::make_unique<Listener>(nextName, heard));
        ++nextName;
    }
    int DrawObserver() {
        auto place = observers.begin();
        std::advance(place, static_cast<std::ptrdiff_t>(random() % observers.size()));
        return place->first;
    }
    void Left(std::size_t which, int name) {
        if (std::erase(attached[which], name) != 0)
            for (RunningWalk& walk : walks)
                if (walk.source == which)
                    walk.gone.insert(name);
    }
    void Step(int depth) {
        const std::size_t which = random() % Sources;
        const int name = DrawObserver();
        EventSource& source = *sources[which];
        switch (random() % 8) {
        case 0:
        case 1:
        case 2:
            source.Attach(*observers[name]);
            if (std::count(attached[which].begin(), attached[which].end(), name) == 0)
                attached[which].push_back(name);
            break;
        case 3:
        case 4:
            source.Detach(*observers[name]);
            Left(which, name);
            break;
        case 5:
            observers.erase(name);
            for (std::size_t place = 0; place < Sources; ++place)
                Left(place, name);
            MakeObserver();
            break;
        case 6:
            if (depth > 0)
                Walk(which, depth - 1);
            break;
        default:
            EXPECT_EQ(source.GetObserverCount(), attached[which].size());
        }
    }

    std::mt19937 random;
    std::vector<int> heard;
    std::vector<std::unique_ptr<EventSource>> sources;
    std::map<int, std::unique_ptr<Listener>> observers;
    std::vector<int> attached[Sources];
    std::vector<RunningWalk> walks;
    int nextName = 1;
};

TEST(EventModelTest, RandomCallbacksAgreeWithPlainLists) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        EventModel model(seed);
        for (int round = 0; round < 60 && !testing::Test::HasFailure(); ++round) {
            for (int change = 0; change < 10; ++change)
                model.Change();
            model.Walk(static_cast<std::size_t>(round) % 3, 3);
        }
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
}

TEST(EventAttachTest, AttachFailsWithNothingChanged) {
    std::vector<int> heard;
    const auto attach = [&] {
        std::optional<EventSource> source(std::in_place);
        std::optional<Listener> first(std::in_place, 1, heard);
        std::optional<Listener> second(std::in_place, 2, heard);
        std::optional<Listener> third(std::in_place, 3, heard);
        std::size_t attached = 0;
        try {
            for (Listener* const listener : {&*first, &*second, &*third}) {
                source->Attach(*listener);
                ++attached;
            }
        } catch (const std::bad_alloc&) {
        }
        const AllocationsSucceed looking;
        EXPECT_EQ(source->GetObserverCount(), attached);
        EXPECT_EQ(source->IsAttached(*second), attached > 1);
        first.reset();
        EXPECT_EQ(source->GetObserverCount(), attached > 0 ? attached - 1 : 0);
    };
    heard.reserve(100);
    attach();
    const FailureCount count = ForEachFailure(attach, [&](bool) { heard.clear(); });
    EXPECT_GT(count.failures, 8u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
