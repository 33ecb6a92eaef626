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

private:
    friend class EventSource;
    struct Mark;

    // Stands for this observer in its sources and outlives it while one of them holds it. So an observer of tens of
    // thousands of sources keeps no list of them, and dies without walking over them.
    Mark* mark = nullptr;
};

}   // namespace Kest
