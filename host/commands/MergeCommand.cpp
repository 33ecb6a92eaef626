#include "MergeCommand.hpp"

#include "Arguments.hpp"
#include "Session.hpp"
#include "SetSaving.hpp"
#include "documents/DebugCapture.hpp"
#include "documents/DocumentReader.hpp"
#include "documents/DocumentWriter.hpp"
#include "documents/LogSilence.hpp"
#include "documents/Rehearsal.hpp"
#include "merging/MergeText.hpp"
#include "merging/ProjectMerge.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <deque>
#include <optional>

namespace Host {

namespace {

constexpr std::string_view Name = "merge";

constexpr Option Options[] = {{"--out", "TARGET"}, {"--table", "FILE"}, {"--rehearse", ""}, {"--help", ""}};

std::string GetMergeHelp() {
    return R"help(Usage: zalattributes merge SERVER CLIENT... --out TARGET [--table FILE] [--rehearse]

Brings what the clients of a shared project have made into the server's attributes, client by client, and saves them.

SERVER and CLIENT are whatever list reads: folders of documents, stores (.zas), drawings or libraries. TARGET is a store
when its name ends in .zas, else a folder of documents; it may be SERVER itself.

Attributes of a kind with one object id are the same attribute: the newer of both contents wins, the server's when both
are of one time; the winner's name and index too, unless another attribute has them and keeps them. Of the others, those
are the same that have one name, letter case ignored, and one content. All others were made by the client: one whose
name the server has gets a number, "Wall (1)"; one whose index the server has, or nobody can have, gets a free one.
Every reference leads to the attribute that it led to, whatever its index is now. What the server alone has stays, and
so do its fills and its active attributes; a fill that it has not chosen is the client's.

A reference that leads to no attribute could come to lead to any: it is made one to none, which standard error says.

Options:
  --out TARGET  where the set is saved; what is there already is replaced as a whole
  --table FILE  writes the renumbering as tab-separated values, with a line of column names: for each attribute of an
                input that has another index now the file, the kind, the old index, the new index and the present name
  --rehearse    lists what the merge changes in the database, takes it back and makes it again before anything is saved:
                each time the set must be the same, byte by byte
  --help        this text
  --            what follows are files, whatever they begin with

Standard output has the counts of each input: how many of its attributes were new, the same on both sides, newer or
older than the server's, renamed and renumbered; then those that were renamed or renumbered, one line each; at last what
was written, kind by kind. Standard error says what was odd in the inputs and, in lines with "lost:", what TARGET cannot
carry (see convert).

Exit codes: 0 done; 1 done, but something was lost on reading or writing or a reference led nowhere; 2 not done: one
line on standard error says why and what to do.

Example: two clients bring in what they have made
  zalattributes merge plan.zas ann.zas ben.zas --out plan.zas --table renumbered.tsv
)help";
}

// A client's set with the way in which it was read. The server's is the session's.
struct Client {
    ScratchSet set{ScratchSet::OwnSpace};
    FileImporter importer{set.GetSet()};
};

std::string GetTablePath(const Arguments& arguments, const Target& target) {
    std::string path = arguments.Get("--table", "");
    const bool isInput =
        std::ranges::any_of(arguments.GetFiles(), [&path](const std::string& file) { return IsPartOf(path, file); });
    if (arguments.Has("--table") && (isInput || IsPartOf(path, target.path)))
        throw Failure(EscapeForMessage(path) + ": this is an input or the target: name another file for the table");
    return path;
}

void Merge(ProjectMerge& merge, std::deque<Client>& clients) {
    const DebugCapture debug;
    const LogSilence log;
    for (Client& client : clients)
        merge.Add(client.set.GetSet());
}

// Returns whether there were any.
bool WriteMended(std::span<const NamedInput> inputs, std::ostream& notes) {
    bool isAny = false;
    for (const auto& [path, input] : inputs)
        for (const std::string& line : input->mended) {
            notes << EscapeForMessage(path) << ": " << line << '\n';
            isAny = true;
        }
    return isAny;
}

ExitCode RunMerge(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    const std::vector<std::string>& files = arguments.GetFiles();
    if (files.size() < 2)
        throw Failure("merge needs the name of a SERVER and of at least one CLIENT" + TryHelp(Name));
    const Target target = GetTarget(arguments);
    const Session session(FindStoredSetId(files.front()));
    FileImporter serverImporter(session.GetSet());
    std::vector<const FileImporter*> importers{&serverImporter};
    std::deque<Client> clients;
    progress.Begin(Name, files.size() + 2);
    serverImporter.Import(files.front());
    progress.Step(CountAttributes(session.GetSet()));
    for (const std::string& file : std::span(files).subspan(1)) {
        Client& client = clients.emplace_back();
        importers.push_back(&client.importer);
        client.importer.Import(file);
        progress.Step(CountAttributes(client.set.GetSet()));
    }
    const std::string tablePath = GetTablePath(arguments, target);

    std::optional<Rehearsal> rehearsal;
    if (arguments.Has("--rehearse"))
        rehearsal.emplace(session.GetSet());
    ProjectMerge merge(session.GetSet());
    Merge(merge, clients);
    progress.Step(CountAttributes(session.GetSet()));
    std::vector<NamedInput> inputs;
    for (std::size_t i = 0; i < files.size(); ++i)
        inputs.push_back({files[i], &merge.GetInputs()[i]});
    if (arguments.Has("--table"))
        WriteTextFile(TableOfMerge(inputs), tablePath);
    const bool isMended = WriteMended(inputs, notes);
    const std::string report = TextOfMerge(inputs) + (rehearsal ? rehearsal->Finish(u"merge") : std::string());
    const ExitCode code = Save(session.GetSet(), importers, target, report, out, notes, progress);
    return isMended ? Findings : code;
}

}   // namespace

const Command MergeCommand{Name, "bring what clients have made into the server's set", GetMergeHelp, RunMerge};

}   // namespace Host
