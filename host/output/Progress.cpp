#include "Progress.hpp"

namespace Host {

void Progress::Begin(std::string_view work, std::size_t steps) {
    name = work;
    stepCount = steps;
    stepsDone = 0;
}

void Progress::Step(std::size_t attributes) {
    ++stepsDone;
    if (out == nullptr || std::chrono::steady_clock::now() < start)
        return;
    Erase();
    const std::string line =
        name + ": " + std::to_string(100 * stepsDone / stepCount) + " %, " + std::to_string(attributes) + " attributes";
    *out << line << std::flush;
    width = line.size();
}

void Progress::Erase() {
    if (width != 0)
        *out << '\r' << std::string(width, ' ') << '\r' << std::flush;
    width = 0;
}

}   // namespace Host
