#include <Kest/ThreadSpecific.hpp>

#include <Kest/HashTable.hpp>

#include <atomic>
#include <memory>

namespace Kest {

namespace {

using Value = std::unique_ptr<void, void (*)(void*) noexcept>;

// By slot id.
HashTable<std::uint64_t, Value>& ThreadValues() noexcept {
    thread_local HashTable<std::uint64_t, Value> values;
    return values;
}

std::atomic<std::uint64_t> slotsMade = 0;

}   // namespace

ThreadSlot::ThreadSlot() noexcept : id(++slotsMade) {}

ThreadSlot::~ThreadSlot() {
    ThreadValues().Delete(id);
}

void* ThreadSlot::Find() const noexcept {
    const Value* value = ThreadValues().Find(id);
    return value != nullptr ? value->get() : nullptr;
}

void ThreadSlot::Put(void* value, Dispose dispose) {
    ThreadValues().Reserve(ThreadValues().GetSize() + 1);   // from here on nothing fails
    ThreadValues().Add(id, Value(value, dispose));
}

}   // namespace Kest
