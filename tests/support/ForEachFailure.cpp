#include "ForEachFailure.hpp"

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace {

struct Failing {
    bool active = false;
    bool paused = false;
    bool lasting = false;
    bool occurred = false;
    std::size_t allowed = 0;
    std::ptrdiff_t liveBlocks = 0;
};

constinit thread_local Failing failing;

bool MustFail() noexcept {
    if (failing.paused)
        return false;
    if (failing.allowed > 0) {
        --failing.allowed;
        return false;
    }
    if (failing.occurred && !failing.lasting)
        return false;
    failing.occurred = true;
    return true;
}

void* TryAllocate(std::size_t size, std::size_t alignment = 0) noexcept {
    if (failing.active && MustFail())
        return nullptr;
    size = std::max<std::size_t>(size, 1);
    void* const block = alignment == 0 ? std::malloc(size)
                                       : std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment);
    if (failing.active && block != nullptr)
        ++failing.liveBlocks;
    return block;
}

void* Allocate(std::size_t size, std::size_t alignment = 0) {
    void* const block = TryAllocate(size, alignment);
    if (block == nullptr)
        throw std::bad_alloc();
    return block;
}

void Release(void* block) noexcept {
    if (failing.active && block != nullptr)
        --failing.liveBlocks;
    std::free(block);
}

std::size_t Number(std::align_val_t alignment) {
    return static_cast<std::size_t>(alignment);
}

}   // namespace

AllocationFailures::AllocationFailures(std::size_t allowed, bool lasting) noexcept {
    failing = Failing{true, false, lasting, false, allowed, 0};
}

AllocationFailures::~AllocationFailures() {
    failing.active = false;
}

bool AllocationFailures::Occurred() const noexcept {
    return failing.occurred;
}

std::ptrdiff_t AllocationFailures::GetLiveBlocks() const noexcept {
    return failing.liveBlocks;
}

AllocationsSucceed::AllocationsSucceed() noexcept : pausedBefore(std::exchange(failing.paused, true)) {}

AllocationsSucceed::~AllocationsSucceed() {
    failing.paused = pausedBefore;
}

// All forms: the sanitizer's runtime brings each of its own, which would not come by here.
void* operator new(std::size_t size) {
    return Allocate(size);
}
void* operator new[](std::size_t size) {
    return Allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return TryAllocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return TryAllocate(size);
}
void* operator new(std::size_t size, std::align_val_t alignment) {
    return Allocate(size, Number(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment) {
    return Allocate(size, Number(alignment));
}
void* operator new(std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return TryAllocate(size, Number(alignment));
}
void* operator new[](std::size_t size, std::align_val_t alignment, const std::nothrow_t&) noexcept {
    return TryAllocate(size, Number(alignment));
}
void operator delete(void* block) noexcept {
    Release(block);
}
void operator delete[](void* block) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t) noexcept {
    Release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
    Release(block);
}
void operator delete[](void* block, const std::nothrow_t&) noexcept {
    Release(block);
}
void operator delete(void* block, std::align_val_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::align_val_t) noexcept {
    Release(block);
}
void operator delete(void* block, std::size_t, std::align_val_t) noexcept {
    Release(block);
}
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept {
    Release(block);
}
void operator delete(void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    Release(block);
}
void operator delete[](void* block, std::align_val_t, const std::nothrow_t&) noexcept {
    Release(block);
}
