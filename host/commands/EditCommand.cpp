#include "EditCommand.hpp"

#include "Arguments.hpp"
#include "Choice.hpp"
#include "Session.hpp"
#include "SetSaving.hpp"
#include "documents/DebugCapture.hpp"
#include "documents/DocumentReader.hpp"
#include "documents/LogSilence.hpp"
#include "documents/Rehearsal.hpp"
#include "editing/TypeEdit.hpp"

#include <charconv>
#include <optional>
#include <utility>

#include <Kest/Utf8.hpp>

namespace Host {

namespace {

constexpr std::string_view Name = "edit";

constexpr Option Options[] = {{"--type", "KIND"},
                              {"--add", "NAME", true},
                              {"--rename", "INDEX=NAME", true},
                              {"--delete", "INDEX", true},
                              {"--replace", "OLD=NEW", true},
                              {"--force", ""},
                              {"--rehearse", ""},
                              {"--out", "TARGET"},
                              {"--help", ""}};

std::string GetEditHelp() {
    return R"help(Usage: zalattributes edit IN --type KIND [--add NAME] [--rename INDEX=NAME] [--delete INDEX]
                          [--replace OLD=NEW] [--force] [--rehearse] --out TARGET

Edits the attributes of one kind in a working copy, writes the edits back as a whole and saves the set. What other
attributes, the fills of the set and the active attribute refer to follows.

IN is whatever list reads: a folder of documents, a store (.zas), a drawing or a library. TARGET is a store when its
name ends in .zas, else a folder of documents; it may be IN itself.

Options:
  --type KIND          the kind: one of those that list --help names
  --add NAME           adds an attribute with the next index above the largest one; its fields are those of a new one
  --rename INDEX=NAME  renames the attribute with that index
  --delete INDEX       deletes it
  --replace OLD=NEW    deletes the attribute with the index OLD; whatever refers to it refers to NEW from then on
  --force              deletes also what others refer to: their references lead nowhere then, which check reports
  --rehearse           lists what the edits change in the database, takes them back and makes them again before anything
                       is saved: each time the set must be the same, byte by byte
  --out TARGET         where the set is saved; what is there already is replaced as a whole
  --help               this text
  --                   what follows is a file, whatever it begins with

Edits may be given several times; they are made in the order in which they are given. All of them are made or none: when
one cannot be, because an index is not there, a name is blank or taken by another attribute, letter case ignored,
nothing is saved. Nor is anything saved when an attribute is to be deleted that others refer to: they are listed, and
either a successor is to be named by --replace, together with --delete or without it, or --force to be given.

Standard output says what was done, one line each, and what was written, kind by kind; standard error what was odd in IN
and, in lines with "lost:", what TARGET cannot carry (see convert).

Exit codes: 0 done; 1 done, but something was lost on reading or writing, or not done, because others refer to what was
to be deleted; 2 not done: one line on standard error says why and what to do.

Example: two line types become one, and a layer gets another name
  zalattributes edit plan.zas --type LineType --replace 4=2 --out plan.zas
  zalattributes edit plan.zas --type Layer --rename "3=Walls, old" --add Walls --out plan.zas
)help";
}

short ParseIndex(std::string_view text, std::string_view option) {
    short index = 0;
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), index);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size() || index < 1)
        throw Failure(std::string(option) + ": '" + EscapeForMessage(text) + "' is no index: use a number from 1 to " +
                      std::to_string(MostAttributes));
    return index;
}

Kest::UniString ParseName(std::string_view text) {
    if (!Kest::IsValidUtf8(text))
        throw Failure("the name '" + EscapeForMessage(text) + "' is not UTF-8: write it in UTF-8");
    return Kest::UniString::FromUtf8(text);
}

// "3=Wall" in two.
std::pair<short, std::string_view> ParsePair(const GivenOption& option) {
    const std::string_view value = option.value;
    const std::size_t equals = value.find('=');
    if (equals == std::string_view::npos)
        throw Failure(std::string(option.name) + " needs two values with an equals sign between them" + TryHelp(Name));
    return {ParseIndex(value.substr(0, equals), option.name), value.substr(equals + 1)};
}

// Whether the option is an edit.
bool MakeEdit(const GivenOption& option, TypeEdit& edit) {
    if (option.name == "--add") {
        edit.Add(ParseName(option.value));
    } else if (option.name == "--rename") {
        const auto [index, name] = ParsePair(option);
        edit.Rename(index, ParseName(name));
    } else if (option.name == "--delete") {
        edit.Delete(ParseIndex(option.value, option.name));
    } else if (option.name == "--replace") {
        const auto [oldIndex, newIndex] = ParsePair(option);
        edit.Replace(oldIndex, ParseIndex(newIndex, option.name));
    } else {
        return false;
    }
    return true;
}

void MakeEdits(const Arguments& arguments, TypeEdit& edit) {
    bool hasEdits = false;
    for (const GivenOption& option : arguments.GetOptions())
        hasEdits = MakeEdit(option, edit) || hasEdits;
    if (!hasEdits)
        throw Failure("no edit is given: use --add, --rename, --delete or --replace");
}

// Two names that are exchanged are one for a moment, of which the library tells its developers.
void Finish(TypeEdit& edit) {
    const DebugCapture debug;
    const LogSilence log;
    edit.Finish();
}

std::string JoinLines(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines)
        text += line + '\n';
    return text;
}

ExitCode RunEdit(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    if (arguments.GetFiles().size() != 1)
        throw Failure("edit needs one name, IN" + TryHelp(Name));
    const KindEntry* const kind = ChooseKind(arguments);
    if (kind == nullptr)
        throw Failure("option --type says what is edited, and is missing" + TryHelp(Name));
    const Target target = GetTarget(arguments);
    const std::string& input = arguments.GetFiles().front();
    const Session session(FindStoredSetId(input));
    FileImporter importer(session.GetSet());
    progress.Begin(Name, 3);
    importer.Import(input);
    progress.Step(CountAttributes(session.GetSet()));

    TypeEdit edit(session.GetSet(), *kind);
    MakeEdits(arguments, edit);
    if (const std::vector<std::string> orphans = edit.FindOrphans(); !orphans.empty() && !arguments.Has("--force")) {
        progress.Erase();
        out << JoinLines(orphans);
        notes << "nothing is saved, because others refer to what is to be deleted: name a successor with --replace or "
                 "use --force\n";
        return Findings;
    }
    std::optional<Rehearsal> rehearsal;
    if (arguments.Has("--rehearse"))
        rehearsal.emplace(session.GetSet());
    Finish(edit);
    const std::string report = JoinLines(edit.GetReport()) + (rehearsal ? rehearsal->Finish(u"edit") : std::string());
    const FileImporter* const importers[] = {&importer};
    return Save(session.GetSet(), importers, target, report, out, notes, progress);
}

}   // namespace

const Command EditCommand{Name, "add, rename, delete and replace attributes", GetEditHelp, RunEdit};

}   // namespace Host
