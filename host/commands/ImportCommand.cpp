#include "ImportCommand.hpp"

#include "Arguments.hpp"
#include "SetSaving.hpp"

namespace Host {

namespace {

constexpr std::string_view Name = "import";

constexpr Option Options[] = {{"--out", "TARGET"}, {"--help", ""}};

std::string GetImportHelp() {
    return R"help(Usage: zalattributes import FILE... --out TARGET

Reads drawings, libraries and documents into one set of attributes, as list does, and saves the set.

FILE is whatever list reads: a drawing (DXF), a line-type file (.lin), a hatch-pattern file (.pat), a folder of
documents or a store (.zas). The second and every further one is merged with what is there; of documents, neither the
fills of the set nor the active attributes are taken then.

Options:
  --out TARGET      where the set is saved. A name that ends in .zas is a store: one binary file, sealed by checksums.
                    Any other name is a folder, made when it is missing: XML documents, "Attribute.xml" and one for each
                    kind. What is there already is replaced as a whole; whatever happens, TARGET holds the old documents
                    or the new ones.
  --help            this text
  --                what follows are files, whatever they begin with

Standard output says what was written, kind by kind. Standard error says what was odd in the files, what became of the
attributes and, in lines with "lost:", what TARGET cannot carry: a store has no fills of the set, XML neither active
attributes nor the order of links nor versions of user data.

An input that was not read whole, because a later program wrote it or because its attributes clash, is never saved over;
nor is one that would lose something.

Exit codes: 0 done; 1 done, but something was lost on reading or writing; 2 not done: one line on standard error says
why and what to do. 2 is also the answer when TARGET is saved but standard output cannot be written: standard error has
all its lines then, and the last one says so.

SOURCE_DATE_EPOCH, in seconds since 1970, is the time of day in place of the clock's when it is set.

Example: two drawings become a folder of documents, and a store
  zalattributes import floorplan.dxf site.dxf --out attributes
  zalattributes import floorplan.dxf site.dxf --out attributes.zas
)help";
}

ExitCode RunImport(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    if (arguments.GetFiles().empty())
        throw Failure("no file is given to import" + TryHelp(Name));
    return ReadAndSave(Name, arguments.GetFiles(), GetTarget(arguments), out, notes, progress);
}

}   // namespace

const Command ImportCommand{Name, "save the attributes of drawings and libraries", GetImportHelp, RunImport};

}   // namespace Host
