#include "CommandLine.hpp"

#include <csignal>
#include <iostream>
#include <string>
#include <vector>

int main(int argumentCount, char** arguments) {
#ifdef SIGPIPE
    std::signal(SIGPIPE, SIG_IGN);   // a reader that has gone is a failed write like any other
#endif
#ifdef SIGXFSZ
    std::signal(SIGXFSZ, SIG_IGN);   // and so is a file that may not grow any more
#endif
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> given(arguments + (argumentCount > 0 ? 1 : 0), arguments + argumentCount);
    return Host::RunCommandLine(given, std::cout, std::cerr);
}
