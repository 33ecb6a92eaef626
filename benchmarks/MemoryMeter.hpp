#pragma once

#include <cstddef>

namespace Bench {

/// Counts the bytes of the heap that are taken while it lives, whoever takes them and however: the allocator's own
/// rounding and block headers are in it.
///
/// It asks the allocator (glibc's) instead of standing between it and the program, so that it costs the operations that
/// are timed in the same program nothing.
class MemoryMeter {
public:
    MemoryMeter();
    /// Bytes that are taken now and were free when the meter was made.
    std::size_t GetBytes() const;

private:
    std::size_t before;
};

}   // namespace Bench
