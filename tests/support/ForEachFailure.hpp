#pragma once

#include <cstddef>
#include <initializer_list>
#include <new>

/// Lets the calling thread run out of memory while it lives: of all allocations by `new`, the one after \p allowed
/// further ones fails, and with \p lasting every one after it too. Such scopes do not nest.
class AllocationFailures {
public:
    AllocationFailures(std::size_t allowed, bool lasting) noexcept;
    ~AllocationFailures();
    AllocationFailures(const AllocationFailures&) = delete;
    AllocationFailures& operator=(const AllocationFailures&) = delete;

    /// Whether an allocation has failed yet.
    bool Occurred() const noexcept;
    /// Blocks taken since the scope began less blocks given back.
    std::ptrdiff_t GetLiveBlocks() const noexcept;
};

/// Inside an operation that is made to fail: what happens while it lives does not fail, and is counted all the same.
class AllocationsSucceed {
public:
    AllocationsSucceed() noexcept;
    ~AllocationsSucceed();
    AllocationsSucceed(const AllocationsSucceed&) = delete;
    AllocationsSucceed& operator=(const AllocationsSucceed&) = delete;

private:
    bool pausedBefore;
};

/// What ForEachFailure has seen.
struct FailureCount {
    std::size_t failures = 0;          // runs in which an allocation failed
    std::ptrdiff_t leakedBlocks = 0;   // that runs did not give back; means something when runs give all back
};

/// Runs \p operation with its first, second, ... allocation failing until a run meets no failure: all these runs once
/// with a single failure each, then once with all later allocations failing too. An exception for want of memory counts
/// as an answer. After each run, with memory at hand again, calls \p check with whether an allocation failed.
template <class Operation, class Check>
FailureCount ForEachFailure(Operation&& operation, Check&& check) {
    FailureCount count;
    for (const bool lasting : {false, true}) {
        bool failed = true;
        for (std::size_t allowed = 0; failed; ++allowed) {
            {
                const AllocationFailures failures(allowed, lasting);
                try {
                    operation();
                } catch (const std::bad_alloc&) {
                }
                failed = failures.Occurred();
                count.leakedBlocks += failures.GetLiveBlocks();
            }
            count.failures += failed ? 1 : 0;
            check(failed);
        }
    }
    return count;
}
