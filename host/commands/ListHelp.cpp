#include "ListHelp.hpp"

#include "kinds/KindTable.hpp"
#include "output/ListWriter.hpp"

#include <cstddef>
#include <string_view>

namespace Host {

namespace {

constexpr char Beginning[] =
    R"help(Usage: zalattributes list FILE... [--type KIND] [--sort KEY] [--extension TEXT]
                               [--format FORM] [--all]

Reads drawings, libraries and documents into one set of attributes and prints it.

FILE is a drawing in the text form of DXF, a line-type file (.lin), a hatch-pattern file (.pat) or a store of attributes
(.zas), told by its extension or, when that says nothing, by how it begins; or a folder of documents, with the file
"Attribute.xml" in it. Of a drawing the tables LAYER, LTYPE and DIMSTYLE are read: layers, with their colours as pens of
a pen table, line types and dimension standards. The binary form of DXF is not read.

The second and every further file is merged: an attribute that is there already, with the same name in any letter case
and the same content, is used again; one with other content under a taken name gets a number, "Wall (1)". A line type
that a layer names but its drawing does not define is the one of that name from another file or, until there is one,
known as missing. Of documents that are merged, neither the fills of the set nor the active attributes are taken.

Options:
  --type KIND       only attributes of this kind, which is one of
)help";

constexpr char Options[] =
    R"help(  --sort KEY        the order: index (as read, the default), name (letter case ignored) or
                    extension (by what stands behind the first dot of the name, then by what
                    stands before it)
  --extension TEXT  only attributes whose name has exactly this extension
  --format FORM     table (for people, the default), tsv (tab-separated) or json
  --all             also line types that are missing
  --help            this text
  --                what follows are files, whatever they begin with
An option's value may also be written behind an equals sign: --type=KIND.

Columns of table and tsv for the most used kinds:
)help";

constexpr char End[] =
    R"help(color is the drawing's number, negative for a layer that is off; flags are the drawing's: 1 frozen, 4 locked.
A pattern is lengths separated by blanks: dashes above 0, gaps below, dots 0. A family of lines is angle,x,y,dx,dy and
its dashes; families are separated by " | ". Without --type, tsv has the columns type, index and name of all kinds.
json is an object with an array per kind, and has all that is known of an attribute.

What stands in names can do no harm: tsv writes \t \n \r \\ and, for each byte of other control characters, \xHH;
table shows them as U+FFFD and json as \uXXXX. table cuts what is very wide, except names.

Standard error says what was odd, what was not kept, and how many attributes were new, reused and renamed.

Exit codes: 0 done; 1 done, with findings (list has none); 2 not done, because of an unreadable or damaged file, wrong
arguments, output that cannot be written or more than 32766 attributes of a kind: one line on standard error says which
file, which line and what to do.

SOURCE_DATE_EPOCH, in seconds since 1970, is the time of day in place of the clock's when it is set.

Example: the layers of a floor plan and its site plan together, by name
  zalattributes list floorplan.dxf site.dxf --type Layer --sort name
)help";

std::string GetKindHelp() {
    constexpr std::string_view Indent = "                   ";
    constexpr std::size_t Widest = 110;
    std::string help;
    std::string line(Indent);
    for (const KindEntry& kind : GetKinds()) {
        const std::string name = ' ' + std::string(kind.record.name);
        if (line.size() + name.size() > Widest) {
            help += line + '\n';
            line = Indent;
        }
        line += name;
    }
    return help + line + '\n';
}

std::string GetColumnHelp() {
    std::string help;
    for (const std::string_view name : {"Layer", "LineType", "Fill"}) {
        help += "  " + std::string(name) + std::string(9 - name.size(), ' ');
        for (const std::string& column : GetColumnNames(*FindKind(name)))
            help += ' ' + column;
        help += '\n';
    }
    return help;
}

}   // namespace

std::string GetListHelp() {
    return Beginning + GetKindHelp() + Options + GetColumnHelp() + End;
}

}   // namespace Host
