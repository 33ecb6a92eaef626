#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>
#include <string_view>

namespace Host {

/// One line on a terminal that says how far long work is: "import: 40 %, 12345 attributes". Work that is done soon
/// shows nothing, and when the work ends nothing is left on the screen.
class Progress {
public:
    /// \param terminal  null when there is none: then nothing is ever shown
    /// \param shownAfter  how long the work must take to be shown
    explicit Progress(std::ostream* terminal, std::chrono::milliseconds shownAfter = std::chrono::milliseconds(500))
        : out(terminal),
          start(std::chrono::steady_clock::now() + shownAfter) {}
    ~Progress() { Erase(); }
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// The work, called \p work, begins; it has \p steps steps, at least one.
    void Begin(std::string_view work, std::size_t steps);

    /// A step is done; \p attributes is how many attributes the work has got through by now.
    void Step(std::size_t attributes);

    /// Takes the line off the screen: the work is done, or something else is to be printed.
    void Erase();

private:
    std::ostream* out;
    std::chrono::steady_clock::time_point start;
    std::string name;
    std::size_t stepCount = 1;
    std::size_t stepsDone = 0;
    std::size_t width = 0;   // of what is on the screen
};

}   // namespace Host
