#include "CheckCommand.hpp"

#include "Arguments.hpp"
#include "Session.hpp"
#include "checking/SetCheck.hpp"
#include "import/FileImport.hpp"

namespace Host {

namespace {

constexpr std::string_view Name = "check";

constexpr Option Options[] = {{"--help", ""}};

std::string GetCheckHelp() {
    return R"help(Usage: zalattributes check IN

Looks for what is wrong in a set of attributes and prints it, one numbered finding per line, or "no findings".

IN is whatever list reads: a drawing, a library, a folder of documents or a store (.zas).

Findings are:
  names that are blank, or that differ from another one by their letter case alone
  indexes outside 1 to 32766, or taken twice
  references and fills of the set that lead to no attribute; attributes of which only the name is known
  an active attribute that is not there
  user data that are no whole records, or hold two records of one owner
  whatever is odd in the file, or had to be mended or passed over on reading it

Options:
  --help     this text
  --         what follows is a file, whatever it begins with

Exit codes: 0 no findings; 1 findings; 2 not done: one line on standard error says why and what to do.

Example: is anything wrong in these documents?
  zalattributes check attributes
)help";
}

ExitCode RunCheck(std::span<const std::string> given, std::ostream& out, std::ostream&, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    if (arguments.GetFiles().size() != 1)
        throw Failure("check needs one name, IN" + TryHelp(Name));
    const Session session;
    FileImporter importer(session.GetSet());
    progress.Begin(Name, 2);
    importer.Import(arguments.GetFiles().front());
    progress.Step(CountAttributes(session.GetSet()));
    std::vector<std::string> findings = importer.GetFindings();
    const std::vector<std::string> faults = FindFaults(session.GetSet());
    findings.insert(findings.end(), faults.begin(), faults.end());
    progress.Erase();
    for (std::size_t i = 0; i < findings.size(); ++i)
        out << i + 1 << ". " << findings[i] << '\n';
    if (findings.empty())
        out << "no findings\n";
    return findings.empty() ? Done : Findings;
}

}   // namespace

const Command CheckCommand{Name, "look for what is wrong in a set", GetCheckHelp, RunCheck};

}   // namespace Host
