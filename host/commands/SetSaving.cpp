#include "SetSaving.hpp"

#include "Failure.hpp"
#include "Session.hpp"
#include "documents/DocumentReader.hpp"
#include "documents/DocumentWriter.hpp"
#include "documents/LossReport.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

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

void CheckLosses(const FileImporter& importer, const Target& target, const std::vector<std::string>& losses) {
    if (!losses.empty() && importer.IsInput(target.path))
        throw Failure(EscapeForMessage(target.path) + ": what is in it would not all be kept in the form " +
                      NameOf(target.form) + " (" + losses.front() + "): choose another target");
}

}   // namespace

ExitCode ReadAndSave(std::string_view command, std::span<const std::string> inputs, const Target& target,
                     std::ostream& out, std::ostream& notes, Progress& progress) {
    const bool isSameDocument = inputs.size() == 1;   // what is merged is a new one
    const Session session(isSameDocument ? FindStoredSetId(inputs.front()) : Kest::Guid());
    const SetRef set = session.GetSet();
    FileImporter importer(session.GetSet());
    progress.Begin(command, inputs.size() + 2);
    for (const std::string& input : inputs) {
        importer.Import(input);
        progress.Step(CountAttributes(set));
    }
    importer.CheckTarget(target.path);
    const std::vector<std::string> losses = FindLosses(set, target.form);
    CheckLosses(importer, target, losses);
    progress.Step(CountAttributes(set));

    std::vector<std::string> saveNotes;
    WriteDocument(set, target.path, target.form, saveNotes);
    progress.Erase();
    WriteCounts(set, target, out);
    for (const std::vector<std::string>* const lines : {&importer.GetNotes(), &std::as_const(saveNotes)})
        for (const std::string& line : *lines)
            notes << line << '\n';
    for (const std::string& loss : losses)
        notes << EscapeForMessage(target.path) << ": lost: " << loss << '\n';
    if (!out.flush())
        throw Failure(EscapeForMessage(target.path) + ": it is saved, but standard output cannot be written: check " +
                      "where that goes and that there is room");
    return losses.empty() && !importer.HasLosses() ? Done : Findings;
}

}   // namespace Host
