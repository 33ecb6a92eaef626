#include <Kest/ThreadSpecific.hpp>

#include <AttributeManager/AttributeManager.hpp>

namespace ADB {
namespace {

// Lives as long as the process, like everything that statics of the host may still ask for at the end.
Kest::ThreadSpecific<int>& GetCounts() {
    static auto& counts = *new Kest::ThreadSpecific<int>;
    return counts;
}

[[maybe_unused]] const Kest::ThreadSpecific<int>& countsFromTheStart = GetCounts();

}   // namespace

void DisableAccesFromCurrentThread() {
    ++GetCounts().Get();
}

void EnableAccesFromCurrentThread() {
    if (int& count = GetCounts().Get(); count > 0)
        --count;
}

int GetAccessCountOfCurrentThread() {
    return GetCounts().Get();
}

}   // namespace ADB
