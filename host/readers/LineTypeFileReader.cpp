#include "LineTypeFileReader.hpp"

#include "DefinitionFile.hpp"
#include "TextLines.hpp"

#include <charconv>
#include <numbers>
#include <utility>

namespace Host {

namespace {

/// Reads the definition of one line type, whose lines it joins.
class DefinitionReader {
public:
    DefinitionReader(const Definition& newDefinition, TextDecoder& newDecoder)
        : definition(newDefinition),
          decoder(newDecoder) {}

    FileLineType Read();

private:
    void ReadLine(const DefinitionLine& line, bool isFirst);
    void ReadSymbol(std::string_view text);
    void ReadSymbolContent(std::string_view content, LineTypeSymbol& symbol);
    void ReadSymbolField(std::string_view field, LineTypeSymbol& symbol);
    Number ReadRotation(std::string_view text) const;

    const Definition& definition;
    TextDecoder& decoder;
    FileLineType lineType;
    std::size_t lineNumber = 0;
    bool goesOn = true;   ///< a comma at the end of the last line calls for another
};

FileLineType DefinitionReader::Read() {
    lineType.line = definition.line;
    lineType.name = definition.name;
    lineType.description = definition.description;
    for (const DefinitionLine& line : definition.body)
        ReadLine(line, &line == definition.body.data());
    if (goesOn || lineType.elements.empty())
        throw ReadError(definition.line, "the line type has no complete definition: get a complete file");
    return std::move(lineType);
}

void DefinitionReader::ReadLine(const DefinitionLine& line, bool isFirst) {
    lineNumber = line.number;
    if (!goesOn)
        throw ReadError(lineNumber, "the definition ended with the line above: put a comma there or remove this line");

    std::vector<std::string_view> parts = SplitAtCommas(line.text);
    if (isFirst) {
        if (!EqualsIgnoringCase(parts.front(), "A"))
            throw ReadError(lineNumber, "a line type is defined as A,dash,gap,...: correct the line");
        parts.erase(parts.begin());
    }
    goesOn = parts.empty() || parts.back().empty();
    if (goesOn && !parts.empty())
        parts.pop_back();
    for (const std::string_view part : parts)
        if (part.starts_with('['))
            ReadSymbol(part);
        else
            lineType.elements.push_back(ParseNumber(part, lineNumber, "the dash length"));
}

void DefinitionReader::ReadSymbol(std::string_view text) {
    if (!text.ends_with(']'))
        throw ReadError(lineNumber, "a bracket is not closed: correct the line");
    if (lineType.elements.empty())
        throw ReadError(lineNumber, "a text or shape must follow a dash: correct the line");

    LineTypeSymbol symbol;
    symbol.element = lineType.elements.size() - 1;
    ReadSymbolContent(text.substr(1, text.size() - 2), symbol);
    lineType.symbols.push_back(std::move(symbol));
}

void DefinitionReader::ReadSymbolContent(std::string_view content, LineTypeSymbol& symbol) {
    const std::vector<std::string_view> fields = SplitAtCommas(content);
    const std::string_view shown = fields.front();
    const bool isText = shown.size() >= 2 && shown.front() == '"' && shown.back() == '"';
    if (shown.empty() || (!isText && shown.front() == '"'))
        throw ReadError(lineNumber, "a bracket needs a text in quotes or a shape first: correct the line");

    symbol.flags = isText ? LineTypeSymbol::IsText : LineTypeSymbol::IsShape;
    (isText ? symbol.text : symbol.shape) = decoder.Decode(isText ? shown.substr(1, shown.size() - 2) : shown);
    for (std::size_t place = 1; place < fields.size(); ++place)
        if (place == 1 && fields[place].find('=') == std::string_view::npos)
            symbol.style = decoder.Decode(fields[place]);
        else
            ReadSymbolField(fields[place], symbol);
}

void DefinitionReader::ReadSymbolField(std::string_view field, LineTypeSymbol& symbol) {
    const std::size_t equals = field.find('=');
    const std::string_view key = Trimmed(field.substr(0, equals));
    const std::string_view value = equals == std::string_view::npos ? "" : field.substr(equals + 1);
    if (EqualsIgnoringCase(key, "S")) {
        symbol.scale = ParseNumber(value, lineNumber, "the scale S");
    } else if (EqualsIgnoringCase(key, "X")) {
        symbol.xOffset = ParseNumber(value, lineNumber, "the offset X");
    } else if (EqualsIgnoringCase(key, "Y")) {
        symbol.yOffset = ParseNumber(value, lineNumber, "the offset Y");
    } else if (EqualsIgnoringCase(key, "R") || EqualsIgnoringCase(key, "A") || EqualsIgnoringCase(key, "U")) {
        symbol.rotation = ReadRotation(Trimmed(value));
        if (EqualsIgnoringCase(key, "A"))
            symbol.flags |= LineTypeSymbol::AbsoluteRotation;
        else if (EqualsIgnoringCase(key, "U"))
            symbol.flags |= LineTypeSymbol::KeepsUpright;
    } else {
        throw ReadError(lineNumber, "a bracket knows S, R, A, U, X and Y, not " + Quoted(field) + ": correct it");
    }
}

/// Rotations are degrees, or what the letter behind them says: d degrees, r radians, g gons.
Number DefinitionReader::ReadRotation(std::string_view text) const {
    constexpr const char* What = "the rotation";
    const char unit = text.empty() ? '\0' : text.back();
    const bool isDegrees = unit == 'd' || unit == 'D';
    const bool isRadians = unit == 'r' || unit == 'R';
    const bool isGons = unit == 'g' || unit == 'G';
    if (isDegrees || isRadians || isGons)
        text.remove_suffix(1);

    const Number rotation = ParseNumber(text, lineNumber, What);
    if (!isRadians && !isGons)
        return rotation;
    char digits[32];
    const double degrees = rotation.value * (isRadians ? 180 / std::numbers::pi : 0.9);
    const char* const end = std::to_chars(digits, digits + sizeof(digits), degrees).ptr;
    return ParseNumber({digits, end}, lineNumber, What);   // refuses what went beyond all numbers
}

}   // namespace

LineTypeFile ReadLineTypeFile(std::string_view bytes) {
    DefinitionFile source = SplitDefinitions(bytes, "line-type file (.lin)");
    LineTypeFile file;
    for (const Definition& definition : source.definitions)
        file.lineTypes.push_back(DefinitionReader(definition, source.decoder).Read());
    file.warnings = source.Warnings();
    return file;
}

}   // namespace Host
