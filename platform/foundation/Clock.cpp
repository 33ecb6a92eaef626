#include <Kest/Clock.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace {

std::atomic<TIClock> replacement = nullptr;

int ReadSystemClock() {
    using namespace std::chrono;
    constexpr sys_seconds Start = sys_days(year(2000) / January / 1);
    const std::int64_t now = (floor<seconds>(system_clock::now()) - Start).count();
    using Limits = std::numeric_limits<int>;
    return static_cast<int>(std::clamp<std::int64_t>(now, Limits::min(), Limits::max()));
}

}   // namespace

int TIGetTime() {
    const TIClock clock = replacement;
    return clock != nullptr ? clock() : ReadSystemClock();
}

void TISetClock(TIClock clock) {
    replacement = clock;
}
