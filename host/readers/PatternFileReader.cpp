#include "PatternFileReader.hpp"

#include "DefinitionFile.hpp"

#include <iterator>
#include <utility>

namespace Host {

namespace {

PatternFamily ReadFamily(const DefinitionLine& line) {
    constexpr std::size_t FixedNumbers = 5;
    std::vector<std::string_view> parts = SplitAtCommas(line.text);
    if (parts.size() > FixedNumbers && parts.back().empty())   // some programs end every line with a comma
        parts.pop_back();
    if (parts.size() < FixedNumbers)
        throw ReadError(line.number, "a line family needs angle, x, y, dx and dy: complete the line");

    PatternFamily family;
    family.angle = ParseNumber(parts[0], line.number, "the angle");
    family.x = ParseNumber(parts[1], line.number, "the x origin");
    family.y = ParseNumber(parts[2], line.number, "the y origin");
    family.dx = ParseNumber(parts[3], line.number, "the x offset");
    family.dy = ParseNumber(parts[4], line.number, "the y offset");
    for (std::size_t place = FixedNumbers; place < parts.size(); ++place)
        family.dashes.push_back(ParseNumber(parts[place], line.number, "the dash length"));
    return family;
}

}   // namespace

PatternFile ReadPatternFile(std::string_view bytes) {
    DefinitionFile source = SplitDefinitions(bytes, "hatch-pattern file (.pat)");
    PatternFile file;
    for (Definition& definition : source.definitions) {
        if (definition.body.empty())
            throw ReadError(definition.line, "the pattern has no line family: complete it or get a complete file");
        HatchPattern pattern{definition.line, std::move(definition.name), std::move(definition.description), {}};
        for (const DefinitionLine& line : definition.body)
            pattern.families.push_back(ReadFamily(line));
        file.patterns.push_back(std::move(pattern));
    }
    file.warnings = source.Warnings();
    return file;
}

}   // namespace Host
