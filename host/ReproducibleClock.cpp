#include "ReproducibleClock.hpp"

#include "Failure.hpp"

#include <charconv>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string_view>

#include <Kest/Clock.hpp>

namespace Host {

namespace {

int standingTime = 0;   // a clock is a plain function

int GetStandingTime() {
    return standingTime;
}

}   // namespace

ReproducibleClock::ReproducibleClock() {
    const char* const variable = std::getenv("SOURCE_DATE_EPOCH");
    if (variable == nullptr)
        return;
    constexpr std::int64_t Year2000 = 946684800;   // seconds since 1970
    const std::string_view text(variable);
    std::int64_t seconds = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), seconds);
    const bool isNumber = result.ec == std::errc() && result.ptr == text.data() + text.size() && seconds >= 0;
    if (!isNumber || seconds - Year2000 > std::numeric_limits<int>::max())
        throw Failure("SOURCE_DATE_EPOCH is no time in seconds since 1970: set it to one or unset it");
    standingTime = static_cast<int>(seconds - Year2000);
    TISetClock(GetStandingTime);
}

ReproducibleClock::~ReproducibleClock() {
    TISetClock(nullptr);
}

}   // namespace Host
