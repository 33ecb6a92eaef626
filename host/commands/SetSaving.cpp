#include "SetSaving.hpp"

#include "Failure.hpp"
#include "Session.hpp"
#include "documents/DocumentReader.hpp"
#include "documents/DocumentWriter.hpp"
#include "documents/LossReport.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <vector>

namespace Host {

namespace {

using SetRef = ODB::ConstRef<ADB::AttributeSet>;

// What is in the target now. A form that leaves a kind out has none of it.
void WriteCounts(const SetRef& set, const Target& target, std::ostream& out) {
    constexpr std::size_t NameWidth = 20;
    std::size_t total = 0;
    std::string lines;
    for (const KindEntry& kind : GetKinds()) {
        const unsigned int count = set->GetAttributeNumber(TypeIdOf(kind.record.refId));
        if (count == 0 || LeavesOut(target.form, kind.record.refId))
            continue;
        total += count;
        const std::string name = kind.record.name;
        lines += "  " + name + std::string(NameWidth - name.size(), ' ') + std::to_string(count) + '\n';
    }
    out << ReplaceControls(Kest::UniString::FromUtf8(target.path)) << ": " << total << " attributes, "
        << NameOf(target.form) << '\n'
        << lines;
}

// Throws when an input would not survive being saved over.
void CheckLosses(std::span<const FileImporter* const> importers, const Target& target,
                 const std::vector<std::string>& losses) {
    const bool isInput = std::ranges::any_of(
        importers, [&target](const FileImporter* importer) { return importer->IsInput(target.path); });
    if (isInput && !losses.empty())
        throw Failure(EscapeForMessage(target.path) + ": what is in it would not all be kept in the form " +
                      NameOf(target.form) + " (" + losses.front() + "): choose another target");
}

}   // namespace

Target GetTarget(const Arguments& arguments) {
    if (!arguments.Has("--out"))
        throw Failure("option --out says where the set is saved, and is missing" + TryHelp(arguments.GetCommand()));
    const std::string path = arguments.Get("--out", "");
    return {path, IsStorePath(path) ? CurrentStream : SetForm::Xml};
}

ExitCode Save(const SetRef& set, std::span<const FileImporter* const> importers, const Target& target,
              std::string_view report, std::ostream& out, std::ostream& notes, Progress& progress) {
    for (const FileImporter* const importer : importers)
        importer->CheckTarget(target.path);
    const std::vector<std::string> losses = FindLosses(set, target.form);
    CheckLosses(importers, target, losses);
    progress.Step(CountAttributes(set));

    std::vector<std::string> saveNotes;
    WriteDocument(set, target.path, target.form, saveNotes);
    progress.Erase();
    out << report;
    WriteCounts(set, target, out);
    bool isWhole = losses.empty();
    for (const FileImporter* const importer : importers) {
        for (const std::string& note : importer->GetNotes())
            notes << note << '\n';
        isWhole = isWhole && !importer->HasLosses();
    }
    for (const std::string& note : saveNotes)
        notes << note << '\n';
    for (const std::string& loss : losses)
        notes << EscapeForMessage(target.path) << ": lost: " << loss << '\n';
    if (!out.flush())
        throw Failure(EscapeForMessage(target.path) + ": it is saved, but standard output cannot be written: check " +
                      "where that goes and that there is room");
    return isWhole ? Done : Findings;
}

ExitCode ReadAndSave(std::string_view command, std::span<const std::string> inputs, const Target& target,
                     std::ostream& out, std::ostream& notes, Progress& progress) {
    const bool isSameDocument = inputs.size() == 1;   // what is merged is a new one
    const Session session(isSameDocument ? FindStoredSetId(inputs.front()) : Kest::Guid());
    FileImporter importer(session.GetSet());
    progress.Begin(command, inputs.size() + 2);
    for (const std::string& input : inputs) {
        importer.Import(input);
        progress.Step(CountAttributes(session.GetSet()));
    }
    const FileImporter* const importers[] = {&importer};
    return Save(session.GetSet(), importers, target, {}, out, notes, progress);
}

}   // namespace Host
