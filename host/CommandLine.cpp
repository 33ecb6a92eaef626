#include "CommandLine.hpp"

#include "Failure.hpp"
#include "ReproducibleClock.hpp"
#include "commands/Arguments.hpp"
#include "commands/CheckCommand.hpp"
#include "commands/ConvertCommand.hpp"
#include "commands/DiffCommand.hpp"
#include "commands/EditCommand.hpp"
#include "commands/ImportCommand.hpp"
#include "commands/ListCommand.hpp"
#include "commands/MergeCommand.hpp"
#include "commands/RoundtripCommand.hpp"
#include "output/SafeText.hpp"
#include "output/Terminal.hpp"

#include <algorithm>
#include <exception>
#include <new>
#include <sstream>
#include <string_view>

#include <Kest/Exceptions.hpp>

namespace Host {

namespace {

const Command* const Commands[] = {&ListCommand, &ImportCommand, &ConvertCommand, &RoundtripCommand,
                                   &DiffCommand, &CheckCommand,  &EditCommand,    &MergeCommand};

std::string GetHelp() {
    std::string help = R"(Usage: zalattributes COMMAND ...

Reads, lists, merges and saves the attributes of CAD drawings: layers, line types, fills, dimension standards and others.

Commands:
)";
    for (const Command* const command : Commands)
        help += "  " + std::string(command->name) + std::string(10 - command->name.size(), ' ') +
                std::string(command->summary) + '\n';
    return help + R"(
'zalattributes COMMAND --help' says everything about a command.

Exit codes: 0 done; 1 done, with findings; 2 not done: one line on standard error says why and what to do.

Example: the layers of a drawing, sorted by name
  zalattributes list floorplan.dxf --type Layer --sort name
)";
}

bool AsksForHelp(std::span<const std::string> arguments) {
    const auto end = std::ranges::find(arguments, "--");
    return std::find(arguments.begin(), end, "--help") != end;
}

ExitCode RunCommand(std::span<const std::string> arguments, std::ostream& out, std::ostream& notes,
                    Progress& progress) {
    if (arguments.empty())
        throw Failure("no command is given" + TryHelp(""));
    const std::string& name = arguments.front();
    if (name == "--help") {
        out << GetHelp();
        return Done;
    }
    const auto command = std::ranges::find(Commands, std::string_view(name), &Command::name);
    if (command == std::end(Commands))
        throw Failure("there is no command '" + EscapeForMessage(name) + "'" + TryHelp(""));
    if (AsksForHelp(arguments.subspan(1))) {
        out << (*command)->getHelp();
        return Done;
    }
    const ReproducibleClock clock;
    return (*command)->run(arguments.subspan(1), out, notes, progress);
}

// Takes no memory, for want of which a command may have ended.
void WriteNotes(std::string_view notes, std::ostream& err) {
    while (!notes.empty()) {
        const std::string_view line = notes.substr(0, notes.find('\n'));
        err << "zalattributes: " << line << '\n';
        notes.remove_prefix(std::min(line.size() + 1, notes.size()));
    }
}

}   // namespace

int RunCommandLine(std::span<const std::string> arguments, std::ostream& out, std::ostream& err) {
    ExitCode code = Cannot;
    std::ostringstream notes;
    std::string reason;
    try {
        Progress progress(IsTerminal(err) ? &err : nullptr);
        code = RunCommand(arguments, out, notes, progress);
        if (!out.flush())
            throw Failure("standard output cannot be written: check where it goes and that there is room");
    } catch (const Failure& failure) {
        reason = failure.what();
    } catch (const std::bad_alloc&) {
        reason = "there is not enough memory: read fewer or smaller files together";
    } catch (const std::exception& exception) {
        reason = std::string("unexpected failure (") + exception.what() + "): please report it";
    } catch (const Kest::RootException& exception) {
        reason = std::string("unexpected failure (") + exception.GetName() + "): please report it";
    }
    WriteNotes(notes.view(), err);
    if (reason.empty())
        return code;
    err << "zalattributes: " << reason << '\n';
    return Cannot;
}

}   // namespace Host
