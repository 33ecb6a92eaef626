#pragma once

#include <Kest/Export.hpp>

namespace Kest {

class EventSource;

/// Somebody who wants to hear of events. Derived classes add the events as virtual operations with empty bodies.
///
/// An observer that dies is forgotten by all its sources. A copy starts without sources; assigning keeps them.
class KEST_API EventObserver {
public:
    EventObserver() noexcept = default;
    EventObserver(const EventObserver&) noexcept {}
    EventObserver& operator=(const EventObserver&) noexcept { return *this; }
    virtual ~EventObserver();

    /// \p source dies and has already forgotten this observer. Only its address may be used.
    virtual void SourceDestroyed(EventSource* source);

protected:
    /// Takes the memory that attaching to a first source takes: attaching to a source that nobody else observes cannot
    /// fail from then on. \throws std::bad_alloc with nothing changed
    void PrepareToObserve();

private:
    friend class EventSource;
    struct Mark;

    // Stands for this observer in its sources and outlives it while one of them holds it. So an observer of tens of
    // thousands of sources keeps no list of them, and dies without walking over them.
    Mark* mark = nullptr;
};

}   // namespace Kest
