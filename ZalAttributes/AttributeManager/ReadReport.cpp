#include <AttributeManager/ReadReport.hpp>

#include <algorithm>
#include <new>
#include <utility>

namespace ADB {
namespace {

ReadReport* current = nullptr;

}   // namespace

ReadReport::Scope::Scope(ReadReport& report) noexcept : previous(std::exchange(current, &report)) {}

ReadReport::Scope::~Scope() {
    current = previous;
}

bool ReadReport::Contains(Kind kind) const noexcept {
    return std::any_of(entries.begin(), entries.end(), [kind](const Entry& entry) { return entry.kind == kind; });
}

void ReadReport::Add(const Entry& entry) noexcept {
    if (current == nullptr)
        return;
    try {
        current->entries.Push(entry);
    } catch (const std::bad_alloc&) {
        current->isIncomplete = true;
    }
}

bool ReadReport::IsWanted() noexcept {
    return current != nullptr;
}

}   // namespace ADB
