#include "ConvertCommand.hpp"

#include "Arguments.hpp"
#include "SetSaving.hpp"
#include "output/SafeText.hpp"

namespace Host {

namespace {

constexpr std::string_view Name = "convert";

constexpr Option Options[] = {{"--stream-version", "N"}, {"--help", ""}};

std::string GetConvertHelp() {
    return R"help(Usage: zalattributes convert IN OUT [--stream-version 1|2|3|4]

Reads one input and saves it in another form. As nothing is merged, the fills of the set and its active attributes are
taken too; import, which merges, takes neither from its further documents. A folder that import or convert has made and
that is saved as a folder keeps every byte.

IN is whatever list reads: a folder of documents, a store (.zas), a drawing or a library. OUT is a store when its name
ends in .zas, else a folder of documents; what is there already is replaced as a whole.

Options:
  --stream-version N  the store is written for programs of that version: 4 and 3 carry everything but the fills of the
                      set; 2 leaves out building materials; 1 leaves out graphic overrides and operation profiles too,
                      cuts names to 32 bytes and has no user data, object ids and active attributes. Version 1 cannot be
                      read back by programs of today. The default is 4.
  --help              this text
  --                  what follows are files, whatever they begin with

The loss report, on standard error, has a line with "lost:" for each attribute and part of it that OUT cannot carry.
Besides what versions leave out that are, in XML, active attributes, the order of links and the versions of user data.

An input that was not read whole is never saved over; nor is one that would lose something.

Exit codes: 0 done; 1 done, but something was lost on reading or writing; 2 not done: one line on standard error says
why and what to do. 2 is also the answer when OUT is saved but standard output cannot be written: standard error has all
its lines then, and the last one says so.

Example: a folder of documents becomes a store, for an older program
  zalattributes convert attributes attributes.zas --stream-version 2
)help";
}

SetForm ChooseForm(const Arguments& arguments, const std::string& path) {
    const bool isStore = IsStorePath(path);
    if (!arguments.Has("--stream-version"))
        return isStore ? CurrentStream : SetForm::Xml;
    const std::string version = arguments.Get("--stream-version", "");
    if (version.size() != 1 || version < "1" || version > "4")
        throw Failure("--stream-version cannot be '" + EscapeForMessage(version) + "': use one of 1, 2, 3, 4");
    if (!isStore)
        throw Failure("--stream-version is for stores: let the name of OUT end in .zas, or leave the option out");
    return static_cast<SetForm>(version.front() - '0');
}

ExitCode RunConvert(std::span<const std::string> given, std::ostream& out, std::ostream& notes, Progress& progress) {
    const Arguments arguments(given, Options, Name);
    const std::vector<std::string>& files = arguments.GetFiles();
    if (files.size() != 2)
        throw Failure("convert needs two names, IN and OUT" + TryHelp(Name));
    const Target target{files[1], ChooseForm(arguments, files[1])};
    return ReadAndSave(Name, std::span(files).first(1), target, out, notes, progress);
}

}   // namespace

const Command ConvertCommand{Name, "save documents in another form or for an older version", GetConvertHelp,
                             RunConvert};

}   // namespace Host
