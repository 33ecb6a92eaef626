#pragma once

#include <Kest/Export.hpp>

#include <cstdint>

namespace Kest {

/// The part of ThreadSpecific that does not depend on the type.
class KEST_API ThreadSlot {
protected:
    using Dispose = void (*)(void* value) noexcept;

    ThreadSlot() noexcept;
    /// Disposes of the calling thread's value; those of other threads go with their threads.
    ~ThreadSlot();
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

    /// The calling thread's value, or null when it has none yet.
    void* Find() const noexcept;
    /// Makes \p value the calling thread's. Throws std::bad_alloc, and the value stays the caller's.
    void Put(void* value, Dispose dispose);

private:
    const std::uint64_t id;   // never used again: a value left in another thread cannot be mistaken for a later slot's
};

/// One value of type T per thread: value-initialised at the thread's first access, destroyed when the thread ends.
template <class T>
class ThreadSpecific : private ThreadSlot {
public:
    /// The calling thread's value. The first call in a thread may throw, as T's constructor or with std::bad_alloc.
    T& Get() {
        if (void* value = Find())
            return *static_cast<T*>(value);
        T* const value = new T();
        try {
            Put(value, [](void* old) noexcept { delete static_cast<T*>(old); });
        } catch (...) {
            delete value;
            throw;
        }
        return *value;
    }
};

}   // namespace Kest
