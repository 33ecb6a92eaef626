#include "RoundtripCommand.hpp"

#include "Arguments.hpp"
#include "Session.hpp"
#include "documents/MemoryTrip.hpp"
#include "documents/StatusText.hpp"
#include "import/FileImport.hpp"
#include "kinds/KindTable.hpp"
#include "output/SafeText.hpp"

#include <algorithm>
#include <array>
#include <iomanip>
#include <map>
#include <vector>

#include <Kest/ChannelStatus.hpp>

namespace Host {

namespace {

using SetRef = ODB::ConstRef<ADB::AttributeSet>;

constexpr std::string_view Name = "roundtrip";

constexpr Option Options[] = {{"--help", ""}};

constexpr SetForm Forms[] = {SetForm::Stream1, SetForm::Stream2, SetForm::Stream3, SetForm::Stream4, SetForm::Xml};

std::string GetRoundtripHelp() {
    return R"help(Usage: zalattributes roundtrip IN

Writes the attributes of an input in every form, reads them back and compares everything that they have: names, indexes,
flags, times, object ids, user data, the fields of their kinds, the order of links, active attributes and the fills of
the set. All of it happens in memory; no file is written.

IN is whatever list reads: a folder of documents, a store (.zas), a drawing or a library.

Standard output has a table: the form, how many attributes it holds, its bytes, the result, and what the form cannot
carry, which explains a difference. Results:
  equal      nothing differs
  explained  nothing differs but what the form cannot carry
  different  something else differs: standard error has a line for each
  failed     it could not be written or read: standard error says why
Stream version 1 writes attributes without a record of user data where its reader expects one, so that they do not come
back; that explains them.

Options:
  --help     this text
  --         what follows is a file, whatever it begins with

Exit codes: 0 everything came back or is explained; 1 something differs or failed; 2 not done: one line on standard error
says why and what to do.

Example: does everything in these documents survive?
  zalattributes roundtrip attributes
)help";
}

struct Row {
    std::string form;
    std::size_t attributes = 0;
    std::size_t bytes = 0;
    std::string result{};
    std::string explanation{};
    std::vector<std::string> findings{};
};

std::size_t CountWritten(const SetRef& set, SetForm form) {
    std::size_t count = 0;
    for (const KindEntry& kind : GetKinds())
        if (!LeavesOut(form, kind.record.refId))
            count += set->GetAttributeNumber(TypeIdOf(kind.record.refId));
    return count;
}

void JudgeDifferences(SetForm form, const MemoryTrip& trip, Row& row) {
    std::map<Aspect, std::size_t> explained;
    for (const Difference& difference : trip.differences) {
        if (IsExplained(form, difference))
            ++explained[difference.aspect];
        else
            row.findings.push_back(row.form + ": " + TextOf(difference));
    }
    if (!trip.isRepeatable)
        row.findings.push_back(row.form + ": written again, the bytes differ");
    for (const auto& [aspect, count] : explained)
        row.explanation += (row.explanation.empty() ? "" : ", ") + NameOf(aspect) + " (" + std::to_string(count) + ')';
    row.result = !row.findings.empty() ? "different" : explained.empty() ? "equal" : "explained";
}

Row MakeRow(const SetRef& set, SetForm form) {
    const MemoryTrip trip = MakeMemoryTrip(set, form);
    Row row{.form = NameOf(form), .attributes = CountWritten(set, form), .bytes = trip.bytes};
    const bool isRefusedAsExpected =
        !CanBeReadBack(form) && row.attributes != 0 && trip.readStatus == Kest::ChannelStatus::EndOfData;
    if (isRefusedAsExpected) {
        row.result = "explained";
        row.explanation = "not read back: the reader expects user data, which this version does not write";
    } else if (trip.writeStatus != 0 || trip.readStatus != 0) {
        const int status = trip.writeStatus != 0 ? trip.writeStatus : trip.readStatus;
        row.result = "failed";
        row.findings.push_back(row.form + ": " + (trip.writeStatus != 0 ? "not written" : "not read back") + " (" +
                               TextOfStatus(status) + ')');
    } else {
        JudgeDifferences(form, trip, row);
    }
    return row;
}

void WriteTable(const std::vector<Row>& rows, std::ostream& out) {
    out << "form              attributes       bytes  result     explained\n";
    for (const Row& row : rows) {
        out << std::left << std::setw(16) << row.form << std::right << std::setw(12) << row.attributes << std::setw(12)
            << row.bytes << "  " << row.result;
        if (!row.explanation.empty())
            out << std::string(11 - row.result.size(), ' ') << row.explanation;
        out << '\n';
    }
}

ExitCode RunRoundtrip(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    if (arguments.GetFiles().size() != 1)
        throw Failure("roundtrip needs one name, IN" + TryHelp(Name));
    const Session session;
    const SetRef set = session.GetSet();
    FileImporter importer(session.GetSet());
    progress.Begin(Name, 1 + std::size(Forms));
    importer.Import(arguments.GetFiles().front());
    progress.Step(CountAttributes(set));
    std::vector<Row> rows;
    for (const SetForm form : Forms) {
        rows.push_back(MakeRow(set, form));
        progress.Step((rows.size() + 1) * CountAttributes(set));
    }
    progress.Erase();
    WriteTable(rows, out);
    for (const std::string& note : importer.GetNotes())
        notes << note << '\n';
    bool foundSomething = false;
    for (const Row& row : rows)
        for (const std::string& finding : row.findings) {
            notes << finding << '\n';
            foundSomething = true;
        }
    return foundSomething ? Findings : Done;
}

}   // namespace

const Command RoundtripCommand{Name, "write in every form, read back and compare", GetRoundtripHelp, RunRoundtrip};

}   // namespace Host
