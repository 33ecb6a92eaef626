#include "DiffCommand.hpp"

#include "Arguments.hpp"
#include "Choice.hpp"
#include "Session.hpp"
#include "difference/DifferenceWriter.hpp"
#include "import/FileImport.hpp"

namespace Host {

namespace {

constexpr std::string_view Name = "diff";

constexpr Option Options[] = {{"--format", "FORM"}, {"--ignore-time", ""}, {"--help", ""}};

enum class Format { Text, Json };

constexpr Choice<Format> Formats[] = {{"text", Format::Text}, {"json", Format::Json}};

std::string GetDiffHelp() {
    return R"help(Usage: zalattributes diff A B [--format text|json] [--ignore-time]

Shows what the attributes of B have other than those of A, and in what the fills and the active attributes differ.

A and B are whatever list reads: drawings, libraries, folders of documents or stores (.zas). Attributes of a kind with
one object id are the same attribute, whatever it is called and numbered now; of the others, those with one name, letter
case ignored. Drawings have no ids, so that their attributes are compared by name.

For each attribute that both have, the fields that differ, with the old and the new value: name, index, attributeFlags,
modificationTime, userData with the owner, and the fields of the kind. A reference is shown as the index and the name of
the attribute that it leads to; one that leads to the same attribute under the same index is no difference, though that
attribute is called otherwise now. Object ids and the order of links are not compared.

Options:
  --format FORM  text (for people, the default) or json
  --ignore-time  modification times are not compared. They never are when A or B is a drawing or a library, which has
                 none: its attributes bear the time at which it is read.
  --help         this text
  --             what follows are files, whatever they begin with

json is an object with "a", "b", "equal", the array "set" of fields and the array "attributes": each has "kind",
"index", "name", "change" (changed, removed, added) and the array "fields" of objects with "field", "old" and "new".

Exit codes: 0 nothing differs; 1 something differs; 2 not done: one line on standard error says why and what to do.

Example: what an edit has done
  zalattributes diff before.zas after.zas
)help";
}

ExitCode RunDiff(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    const std::vector<std::string>& files = arguments.GetFiles();
    const auto format = Choose<Format>(Formats, arguments, "--format");
    if (files.size() != 2)
        throw Failure("diff needs two names, A and B" + TryHelp(Name));
    const Session session;
    const ScratchSet other(ScratchSet::OwnSpace);
    FileImporter importer(session.GetSet()), otherImporter(other.GetSet());
    progress.Begin(Name, 3);
    importer.Import(files[0]);
    progress.Step(CountAttributes(session.GetSet()));
    otherImporter.Import(files[1]);
    progress.Step(CountAttributes(session.GetSet()) + CountAttributes(other.GetSet()));
    const bool haveTimes = importer.AreDocuments() && otherImporter.AreDocuments();
    const Times times = haveTimes && !arguments.Has("--ignore-time") ? Times::Compared : Times::Ignored;
    const SetDifference difference = CompareSets(session.GetSet(), other.GetSet(), times);
    progress.Erase();
    if (format == Format::Json)
        WriteDifferenceJson(difference, files[0], files[1], out);
    else
        WriteDifferenceText(difference, out);
    for (const FileImporter* const read : {&importer, &otherImporter})
        for (const std::string& note : read->GetNotes())
            notes << note << '\n';
    return difference.IsEmpty() ? Done : Findings;
}

}   // namespace

const Command DiffCommand{Name, "show in what two sets differ", GetDiffHelp, RunDiff};

}   // namespace Host
