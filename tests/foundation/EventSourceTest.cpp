#include <Kest/EventSource.hpp>

#include <functional>
#include <list>
#include <memory>
#include <random>
#include <stdexcept>
#include <utility>
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
        {"detaches itself", [this] { source->Detach(Of(3)); }, {4, 3, 2, 1}},
        {"detaches one to come", [this] { source->Detach(Of(2)); }, {4, 3, 1}},
        {"kills one to come", [this] { Kill(1); }, {4, 3, 2}},
        {"kills one who was called", [this] { Kill(4); }, {4, 3, 2, 1}},
        {"destroys the source", [this] { source.reset(); }, {4, 3, -4, -3, -2, -1}},
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
    Of(3).act = [this] {
        Of(3).act = nullptr;
        throw std::runtime_error("enough");
    };
    EXPECT_THROW(Announce(*source), std::runtime_error);
    EXPECT_FALSE(EventSource::IsAnnouncing());
    Announce(*source);
    EXPECT_EQ(heard, (std::vector<int>{4, 3, 4, 3, 2, 1}));
}

TEST_F(EventSourceTest, CopiesHaveNoObservers) {
    EventSource copy(*source);
    EXPECT_EQ(copy.GetObserverCount(), 0u);
    copy.Attach(Of(1));
    copy = *source;
    EXPECT_EQ(copy.GetObserverCount(), 1u);
    const Listener copied(Of(1));
    EXPECT_FALSE(source->IsAttached(copied));
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
// knows whom it has still to call.
class EventModel {
public:
    explicit EventModel(unsigned seed) : random(seed) {
        for (std::unique_ptr<Listener>& observer : observers)
            observer = std::make_unique<Listener>(nextName++, heard);
    }

    void Walk(std::size_t which, int depth) {
        RunningWalk& own = walks.emplace_back(which, attached[which]);
        sources[which].EnumerateObservers([&](Kest::EventObserver& observer) {
            ASSERT_FALSE(own.toCome.empty());
            EXPECT_EQ(static_cast<Listener&>(observer).name, own.toCome.back());
            own.toCome.pop_back();
            for (std::size_t count = random() % 3; count > 0; --count)
                Step(depth);
        });
        EXPECT_TRUE(own.toCome.empty()) << "nobody skipped";
        walks.pop_back();
    }

    void Step(int depth) {
        const std::size_t which = random() % std::size(sources);
        std::unique_ptr<Listener>& observer = observers[random() % std::size(observers)];
        EventSource& source = sources[which];
        const auto kind = random() % 8;
        if (kind < 3) {
            if (!source.IsAttached(*observer))
                attached[which].push_back(observer->name);
            source.Attach(*observer);
        } else if (kind < 5) {
            source.Detach(*observer);
            Left(which, observer->name);
        } else if (kind == 5) {
            for (std::size_t place = 0; place < std::size(sources); ++place)
                Left(place, observer->name);
            observer = std::make_unique<Listener>(nextName++, heard);
        } else if (kind == 6 && depth > 0) {
            Walk(which, depth - 1);
        }
        EXPECT_EQ(source.GetObserverCount(), attached[which].size());
    }

private:
    struct RunningWalk {
        RunningWalk(std::size_t walked, std::vector<int> all) : source(walked), toCome(std::move(all)) {}
        std::size_t source;
        std::vector<int> toCome;   // the next one last
    };

    void Left(std::size_t which, int name) {
        std::erase(attached[which], name);
        for (RunningWalk& walk : walks)
            if (walk.source == which)
                std::erase(walk.toCome, name);
    }

    std::mt19937 random;
    std::vector<int> heard;
    EventSource sources[3];
    std::unique_ptr<Listener> observers[12];
    std::vector<int> attached[3];
    std::list<RunningWalk> walks;
    int nextName = 1;
};

TEST(EventModelTest, RandomCallbacksAgreeWithPlainLists) {
    for (unsigned seed = 1; seed <= 20; ++seed) {
        EventModel model(seed);
        for (int round = 0; round < 600 && !testing::Test::HasFailure(); ++round)
            round % 10 == 0 ? model.Walk(static_cast<std::size_t>(round / 10) % 3, 3) : model.Step(0);
        ASSERT_FALSE(testing::Test::HasFailure()) << "seed " << seed;
    }
}

TEST(EventAttachTest, AttachFailsWithNothingChanged) {
    std::vector<int> heard;
    const auto attach = [&] {
        EventSource source;
        Listener listeners[] = {{1, heard}, {2, heard}, {3, heard}};
        std::size_t attached = 0;
        try {
            for (Listener& listener : listeners) {
                source.Attach(listener);
                ++attached;
            }
        } catch (const std::bad_alloc&) {
        }
        EXPECT_EQ(source.GetObserverCount(), attached);
        EXPECT_EQ(source.IsAttached(listeners[1]), attached > 1);
        source.Close();
    };
    heard.reserve(100);
    attach();
    const FailureCount count = ForEachFailure(attach, [&](bool) { heard.clear(); });
    EXPECT_GT(count.failures, 8u);
    EXPECT_EQ(count.leakedBlocks, 0);
}

}   // namespace
