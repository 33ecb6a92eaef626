#include <Kest/EventSource.hpp>

#include <algorithm>
#include <memory>
#include <utility>
#include <vector>

namespace Kest {

// Shared by the observer and all its sources; freed by the last of them.
struct EventObserver::Mark {
    EventObserver* observer;   // null once the observer is dead
    std::size_t sources = 0;

    static void Release(Mark* mark) noexcept {
        if (--mark->sources == 0 && mark->observer == nullptr)
            delete mark;
    }
};

EventObserver::~EventObserver() {
    if (mark == nullptr)
        return;
    mark->observer = nullptr;
    if (mark->sources == 0)
        delete mark;
}

void EventObserver::SourceDestroyed(EventSource*) {}

void EventObserver::PrepareToObserve() {
    if (mark == nullptr)
        mark = new Mark{this};
}

struct EventSource::ObserverList {
    std::vector<EventObserver::Mark*> marks;
};

// One entry of the thread's stack of walks: everything from `position` on has had its turn or came too late.
struct EventSource::ActiveWalk {
    const EventSource* source;
    std::size_t position;
    ActiveWalk* outer;
};

namespace {

struct ThreadState {
    void* walks = nullptr;   // an EventSource::ActiveWalk, innermost first
    int announcements = 0;
    void (*whenQuiet)() = nullptr;
};

thread_local ThreadState state;

constexpr std::uintptr_t ListBit = 1;

}   // namespace

EventSource::Announcement::Announcement() noexcept : thread(&state) {
    ++static_cast<ThreadState*>(thread)->announcements;
}

EventSource::Announcement::~Announcement() {
    auto& here = *static_cast<ThreadState*>(thread);
    if (--here.announcements == 0 && here.whenQuiet != nullptr)
        std::exchange(here.whenQuiet, nullptr)();
}

EventSource::~EventSource() {
    Close();
}

void EventSource::Attach(EventObserver& observer) {
    observer.PrepareToObserve();
    if (observers != 0) {
        RemoveDead();
        if (PlaceOf(observer.mark) != Count())
            return;
    }
    Append(observer.mark);
    ++observer.mark->sources;
}

void EventSource::Detach(EventObserver& observer) noexcept {
    if (observer.mark == nullptr)
        return;
    const std::size_t place = PlaceOf(observer.mark);
    if (place != Count())
        RemoveAt(place);
}

bool EventSource::IsAttached(const EventObserver& observer) const noexcept {
    return observer.mark != nullptr && PlaceOf(observer.mark) != Count();
}

std::size_t EventSource::GetObserverCount() const noexcept {
    std::size_t living = 0;
    for (std::size_t place = 0; place < Count(); ++place)
        living += At(place)->observer != nullptr ? 1 : 0;
    return living;
}

void EventSource::Walk(void* function, void (*call)(void*, EventObserver&)) const {
    const Announcement announcement;
    auto& here = *static_cast<ThreadState*>(announcement.thread);
    ActiveWalk walk{this, Count(), static_cast<ActiveWalk*>(here.walks)};
    here.walks = &walk;
    const auto leave = [&here](ActiveWalk* ended) { here.walks = ended->outer; };
    const std::unique_ptr<ActiveWalk, decltype(leave)> guard(&walk, leave);
    while (walk.position > 0) {
        const std::size_t place = --walk.position;
        if (EventObserver* const observer = At(place)->observer)
            call(function, *observer);
        else
            RemoveAt(place);
    }
}

void EventSource::Close() noexcept {
    if (observers == 0)
        return;
    const Announcement announcement;
    for (auto* walk = static_cast<ActiveWalk*>(state.walks); walk != nullptr; walk = walk->outer)
        if (walk->source == this)
            walk->position = 0;
    while (observers != 0) {
        const std::size_t last = Count() - 1;
        EventObserver* const observer = At(last)->observer;
        RemoveAt(last);
        if (observer != nullptr)
            observer->SourceDestroyed(this);
    }
}

bool EventSource::IsAnnouncing() noexcept {
    return state.announcements > 0;
}

void EventSource::CallWhenQuiet(void (*call)()) noexcept {
    if (IsAnnouncing())
        state.whenQuiet = call;
    else
        call();
}

EventSource::ObserverList* EventSource::GetList() const noexcept {
    return (observers & ListBit) != 0 ? reinterpret_cast<ObserverList*>(observers & ~ListBit) : nullptr;
}

std::size_t EventSource::Count() const noexcept {
    const ObserverList* const list = GetList();
    return list != nullptr ? list->marks.size() : (observers != 0 ? 1 : 0);
}

EventObserver::Mark* EventSource::At(std::size_t place) const noexcept {
    const ObserverList* const list = GetList();
    return list != nullptr ? list->marks[place] : reinterpret_cast<EventObserver::Mark*>(observers);
}

std::size_t EventSource::PlaceOf(const EventObserver::Mark* mark) const noexcept {
    const std::size_t count = Count();
    std::size_t place = 0;
    while (place < count && At(place) != mark)
        ++place;
    return place;
}

void EventSource::Append(EventObserver::Mark* mark) {
    if (observers == 0) {
        observers = reinterpret_cast<std::uintptr_t>(mark);
        return;
    }
    if (ObserverList* const list = GetList()) {
        list->marks.push_back(mark);
        return;
    }
    auto list = std::make_unique<ObserverList>();
    list->marks = {At(0), mark};
    observers = reinterpret_cast<std::uintptr_t>(list.release()) | ListBit;
}

void EventSource::RemoveAt(std::size_t place) const noexcept {
    EventObserver::Mark* const mark = At(place);
    ObserverList* const list = GetList();
    if (list != nullptr)
        list->marks.erase(list->marks.begin() + static_cast<std::ptrdiff_t>(place));
    if (list == nullptr || list->marks.empty()) {
        delete list;
        observers = 0;
    }
    for (auto* walk = static_cast<ActiveWalk*>(state.walks); walk != nullptr; walk = walk->outer)
        if (walk->source == this && place < walk->position)   // nobody still attached is skipped or called twice
            --walk->position;
    EventObserver::Mark::Release(mark);
}

void EventSource::RemoveDead() noexcept {
    for (std::size_t place = Count(); place > 0; --place)
        if (At(place - 1)->observer == nullptr)
            RemoveAt(place - 1);
}

}   // namespace Kest
