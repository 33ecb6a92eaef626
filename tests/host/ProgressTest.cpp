#include "output/Progress.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <sstream>
#include <string>

namespace {

using Host::Progress;

TEST(ProgressTest, IsShownOnATerminalAndLeavesNothing) {
    std::ostringstream screen;
    {
        Progress progress(&screen, std::chrono::milliseconds(0));
        progress.Begin("import", 4);
        progress.Step(12);
        EXPECT_EQ(screen.str(), "import: 25 %, 12 attributes");
    }
    EXPECT_EQ(screen.str(), "import: 25 %, 12 attributes\r" + std::string(27, ' ') + "\r");
    std::ostringstream quick;
    for (std::ostream* const terminal : {static_cast<std::ostream*>(nullptr), static_cast<std::ostream*>(&quick)}) {
        Progress progress(terminal, std::chrono::hours(1));
        progress.Begin("import", 1);
        progress.Step(12);
    }
    EXPECT_EQ(quick.str(), "") << "work that is done soon shows nothing";
}

}   // namespace
