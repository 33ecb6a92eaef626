#pragma once

#include <Kest/MemoryHandle.hpp>

namespace ADB {

/// A handle that is freed at the end of its scope.
class ScopedHandle {
public:
    explicit ScopedHandle(char** owned = nullptr) noexcept : handle(owned) {}
    ~ScopedHandle() { BMKillHandle(&handle); }
    ScopedHandle(const ScopedHandle&) = delete;
    ScopedHandle& operator=(const ScopedHandle&) = delete;

    char** handle;
};

}   // namespace ADB
