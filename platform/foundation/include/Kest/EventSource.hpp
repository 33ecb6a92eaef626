#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <type_traits>

#include <Kest/EventObserver.hpp>
#include <Kest/Export.hpp>

namespace Kest {

/// Keeps a list of observers and walks over it, from the one attached last to the one attached first.
///
/// During a walk anybody may attach or detach anyone: nobody still attached is skipped or called twice, and an observer
/// attached during the walk waits for the next one. A copy starts without observers; assigning keeps one's own.
/// One observer costs no memory beyond the source itself.
class KEST_API EventSource {
public:
    EventSource() noexcept = default;
    EventSource(const EventSource&) noexcept {}
    EventSource& operator=(const EventSource&) noexcept { return *this; }

    /// Tells the observers through SourceDestroyed.
    virtual ~EventSource();

    /// Adds \p observer at the end; does nothing when it is attached already. The observer stays the caller's.
    /// \throws std::bad_alloc with nothing changed
    void Attach(EventObserver& observer);

    /// Removes \p observer; does nothing when it is not attached.
    void Detach(EventObserver& observer) noexcept;

    bool IsAttached(const EventObserver& observer) const noexcept;
    std::size_t GetObserverCount() const noexcept;

    /// Calls \p call with every observer, last attached first. An exception of \p call ends the walk and passes on.
    template <class Call>
    void EnumerateObservers(Call&& call) const {
        if (observers == 0)
            return;
        Walk(&call, [](void* function, EventObserver& observer) {
            (*static_cast<std::remove_reference_t<Call>*>(function))(observer);
        });
    }

    /// Tells every observer that the source is destroyed, forgets them all and ends the walks over them. For an owner
    /// that has to take the source away while it announces, and frees it when the announcement has ended.
    void Close() noexcept;

    /// Marks that this thread is announcing something. Every walk is one; whoever tells an object of an event without
    /// a walk makes one around the call, so that the object stays in memory until it returns.
    class KEST_API Announcement {
    public:
        Announcement() noexcept;
        ~Announcement();
        Announcement(const Announcement&) = delete;
        Announcement& operator=(const Announcement&) = delete;

    private:
        friend class EventSource;

        void* thread;   // the state of this thread, which costs a call to find
    };

    /// Whether this thread is announcing something.
    static bool IsAnnouncing() noexcept;

    /// Has \p call made once, as soon as the outermost announcement of this thread has ended; immediately when there is
    /// none. Several requests for one function are one; there is one such function in a process.
    static void CallWhenQuiet(void (*call)()) noexcept;

private:
    struct ObserverList;
    struct ActiveWalk;

    void Walk(void* function, void (*call)(void*, EventObserver&)) const;
    std::size_t Count() const noexcept;
    EventObserver::Mark* At(std::size_t place) const noexcept;
    std::size_t PlaceOf(const EventObserver::Mark* mark) const noexcept;
    void Append(EventObserver::Mark* mark);
    void RemoveAt(std::size_t place) const noexcept;
    void RemoveDead() noexcept;
    ObserverList* GetList() const noexcept;

    // 0, the mark of the only observer, or (lowest bit set) a list. Mutable because looking drops dead observers.
    mutable std::uintptr_t observers = 0;
};

}   // namespace Kest
