#include "DxfReader.hpp"

#include "DxfGroups.hpp"
#include "TextDecoding.hpp"
#include "TextLines.hpp"

#include <charconv>
#include <cstdint>
#include <utility>

namespace Host {

namespace {

/// Counts one kind of oddity, so that a drawing with a thousand of them gives one warning.
struct Tally {
    std::size_t count = 0;
    std::size_t firstLine = 0;

    void Add(std::size_t line, std::size_t amount = 1) {
        if (count == 0 && amount != 0)
            firstLine = line;
        count += amount;
    }
};

/// Groups that tie records together or mark classes, by handles that mean nothing outside of the drawing. Group 5 is
/// another, except in a dimension style.
bool IsBookkeeping(int code) {
    return code == 100 || code == 102 || code == 105 || code == 330;
}

/// "AC1021" and whatever came later.
bool IsUtf8Version(std::string_view version) {
    constexpr int FirstWithUtf8 = 1021;
    if (!version.starts_with("AC"))
        return false;
    int number = 0;
    std::from_chars(version.data() + 2, version.data() + version.size(), number);
    return number >= FirstWithUtf8;
}

/// A colour as a drawing stores it, in a signed or an unsigned number, with marks above its 24 bits.
int ParseTrueColor(const DxfGroup& group) {
    std::int64_t color = 0;
    const std::string_view text = Trimmed(group.value);
    const std::from_chars_result result = std::from_chars(text.data(), text.data() + text.size(), color);
    if (result.ec != std::errc() || result.ptr != text.data() + text.size())
        color = ParseInteger(text, group.line, "the value of group 420");   // which says what is wrong
    return static_cast<int>(color & 0xFFFFFF);
}

class DxfParser {
public:
    DxfParser(std::string_view bytes, bool newIsMarkedUtf8) : groups(bytes), isMarkedUtf8(newIsMarkedUtf8) {}

    DxfDrawing Read();

private:
    void RefuseWhatDoesNotBeginLikeADrawing();
    void ReadSections();
    void ReadSection();
    void ReadHeader();
    void ReadTables();
    void ReadTable();
    void SkipSection(const std::string& name);

    template <class Record>
    void ReadRecords(const std::string& table, std::vector<Record>& records);
    template <class Record>
    void ReadRecord(const std::string& table, std::vector<Record>& records);

    bool Take(DxfLayer& layer);
    bool Take(DxfLineType& lineType);
    bool Take(DxfDimStyle& dimStyle);
    bool TakeVariable(DxfDimStyle& dimStyle);
    bool Take(LineTypeSymbol& symbol);
    bool TakeSymbolFlags(DxfLineType& lineType);

    const DxfGroup& Group() const { return groups.Get(); }
    void NextInside(const std::string& place);
    std::string NextName(const std::string& place);
    bool IsAtTableEnd(const std::string& table) const;
    std::string GroupTitle() const { return "the value of group " + std::to_string(Group().code); }
    int TakeInteger() const { return ParseInteger(Group().value, Group().line, GroupTitle()); }
    Number TakeNumber() const { return ParseNumber(Group().value, Group().line, GroupTitle()); }
    std::u16string TakeText();
    TextDecoder MakeDecoder() const;

    // Give a field the value of the group; true, so that what takes a field can end with it.
    bool Set(std::u16string& field) { return field = TakeText(), true; }
    bool Set(int& field) const { return field = TakeInteger(), true; }
    bool Set(bool& field) const { return field = TakeInteger() != 0, true; }
    bool Set(Number& field) const { return field = TakeNumber(), true; }
    bool Set(std::optional<int>& field) const { return field = TakeInteger(), true; }
    bool Set(std::optional<Number>& field) const { return field = TakeNumber(), true; }

    void Warn(std::size_t line, std::string message) { drawing.warnings.push_back({line, std::move(message)}); }
    void WarnOfTexts();

    DxfGroups groups;
    bool isMarkedUtf8;
    DxfDrawing drawing;
    std::string lastSection;              ///< that was read whole
    bool areTablesRead = false;           ///< whole: what follows cannot change the result any more
    std::optional<TextDecoder> decoder;   ///< made for the first text, when the header has been read
    Tally oddBytes;
    Tally nameless;
    std::size_t flaggedDimStyle = 0;   ///< line of the dimension style whose flags were the last to be read
};

DxfDrawing DxfParser::Read() {
    RefuseWhatDoesNotBeginLikeADrawing();
    try {
        ReadSections();
    } catch (const ReadError& error) {
        if (!areTablesRead)
            throw;
        Warn(error.GetLine(), std::string("what follows the tables is not whole and was not read: ") + error.what());
    }
    WarnOfTexts();
    return std::move(drawing);
}

void DxfParser::RefuseWhatDoesNotBeginLikeADrawing() {
    bool isDrawing = false;
    try {
        isDrawing = groups.Next() && (Group().Is(0, "SECTION") || Group().Is(0, "EOF"));
    } catch (const ReadError&) {
        // no group code where the first one should be: no drawing
    }
    if (!isDrawing)
        throw ReadError(1, "this is not a DXF drawing, which begins with a SECTION: save the drawing as text DXF");
}

void DxfParser::ReadSections() {
    do {
        if (Group().Is(0, "EOF"))
            return;
        if (Group().Is(0, "SECTION"))
            ReadSection();
    } while (groups.Next());
    // Every drawing has something behind these sections, so that more than the end mark is lost.
    if (!areTablesRead && (lastSection.empty() || lastSection == "HEADER" || lastSection == "CLASSES"))
        throw ReadError(groups.GetLine(), "the drawing ends ahead of its tables: get a complete copy of it");
    Warn(groups.GetLine(), "the drawing has no end mark (EOF): check that it is complete");
}

void DxfParser::ReadSection() {
    const std::string name = NextName("a section");
    if (name == "HEADER")
        ReadHeader();
    else if (name == "TABLES")
        ReadTables();
    else
        SkipSection(name);
    lastSection = name;
}

void DxfParser::ReadHeader() {
    std::string variable;
    for (NextInside("its HEADER section"); !Group().Is(0, "ENDSEC"); NextInside("its HEADER section")) {
        if (Group().code == 9)
            variable = Trimmed(Group().value);
        else if (variable == "$ACADVER" && Group().code == 1)
            drawing.version = Trimmed(Group().value);
        else if (variable == "$DWGCODEPAGE" && Group().code == 3)
            drawing.codePage = Trimmed(Group().value);
    }
}

void DxfParser::ReadTables() {
    areTablesRead = false;
    NextInside("its TABLES section");
    while (!Group().Is(0, "ENDSEC")) {
        if (Group().Is(0, "TABLE"))
            ReadTable();
        NextInside("its TABLES section");
    }
    areTablesRead = true;
}

void DxfParser::ReadTable() {
    const std::string name = NextName("a table");
    const std::string place = "its " + name + " table";
    do {
        NextInside(place);
    } while (Group().code != 0);

    if (name == "LAYER")
        ReadRecords(name, drawing.layers);
    else if (name == "LTYPE")
        ReadRecords(name, drawing.lineTypes);
    else if (name == "DIMSTYLE")
        ReadRecords(name, drawing.dimStyles);
    else
        for (; !IsAtTableEnd(name); NextInside(place))
            if (Group().code == 0)
                ++drawing.recordsNotRead[name];
}

void DxfParser::SkipSection(const std::string& name) {
    std::size_t records = 0;
    const std::string place = "its " + name + " section";
    for (NextInside(place); !Group().Is(0, "ENDSEC"); NextInside(place))
        if (Group().code == 0)
            ++records;
    if (records != 0)
        drawing.recordsNotRead[name] += records;
}

template <class Record>
void DxfParser::ReadRecords(const std::string& table, std::vector<Record>& records) {
    const std::string place = "its " + table + " table";
    while (!IsAtTableEnd(table))
        if (Group().Is(0, table)) {
            ReadRecord(table, records);
        } else {
            if (Group().code == 0)
                ++drawing.recordsNotRead[table];
            NextInside(place);
        }
}

/// Leaves the walk at the group 0 that ends the record.
template <class Record>
void DxfParser::ReadRecord(const std::string& table, std::vector<Record>& records) {
    const std::string place = "its " + table + " table";
    std::map<int, std::size_t>& notKept = drawing.groupsNotKept[table];
    Record record;
    record.line = Group().line;
    bool isInHandleList = false;
    for (NextInside(place); Group().code != 0; NextInside(place)) {
        if (Group().code == 102)
            isInHandleList = Trimmed(Group().value).starts_with('{');
        else if (!isInHandleList && !IsBookkeeping(Group().code) && !Take(record))
            ++notKept[Group().code];
    }
    if (record.name.empty())
        nameless.Add(record.line);
    else
        records.push_back(std::move(record));
}

bool DxfParser::Take(DxfLayer& layer) {
    switch (Group().code) {
    case 2:
        return Set(layer.name);
    case 5:
        return true;
    case 6:
        return Set(layer.lineType);
    case 62:
        return Set(layer.color);
    case 70:
        return Set(layer.flags);
    case 290:
        return Set(layer.plot);
    case 370:
        return Set(layer.lineWeight);
    case 420:
        layer.trueColor = ParseTrueColor(Group());
        return true;
    default:
        return false;
    }
}

bool DxfParser::Take(DxfLineType& lineType) {
    constexpr int AlwaysAligned = 72;   // has one value only
    switch (Group().code) {
    case 2:
        return Set(lineType.name);
    case 3:
        return Set(lineType.description);
    case 5:
    case AlwaysAligned:
        return true;
    case 40:
        return Set(lineType.length);
    case 49:
        lineType.elements.push_back(TakeNumber());
        return true;
    case 70:
        return Set(lineType.flags);
    case 73:
        return Set(lineType.itemCount);
    case 74:
        return TakeSymbolFlags(lineType);
    default:
        // What describes a symbol belongs to the dash before it.
        return !lineType.symbols.empty() && lineType.symbols.back().element + 1 == lineType.elements.size() &&
               Take(lineType.symbols.back());
    }
}

bool DxfParser::TakeSymbolFlags(DxfLineType& lineType) {
    const int flags = TakeInteger();
    if (flags == 0)   // a plain dash
        return true;
    if (lineType.elements.empty())
        return false;
    LineTypeSymbol& symbol = lineType.symbols.emplace_back();
    symbol.element = lineType.elements.size() - 1;
    symbol.flags = flags;
    return true;
}

bool DxfParser::Take(LineTypeSymbol& symbol) {
    switch (Group().code) {
    case 9:
        return Set(symbol.text);
    case 44:
        return Set(symbol.xOffset);
    case 45:
        return Set(symbol.yOffset);
    case 46:
        return Set(symbol.scale);
    case 50:
        return Set(symbol.rotation);
    case 75:
        return Set(symbol.shapeNumber);
    default:
        return false;
    }
}

bool DxfParser::Take(DxfDimStyle& dimStyle) {
    const int code = Group().code;
    if (code == 2)
        return Set(dimStyle.name);
    if (code == 70 && flaggedDimStyle != dimStyle.line) {   // a second group 70 of a style is something else
        flaggedDimStyle = dimStyle.line;
        return Set(dimStyle.flags);
    }
    // Group 5 is an arrow block in older drawings, the handle in some others: not to be told apart.
    constexpr int FirstExtendedData = 1000;
    if (code != 5 && code != 70 && code < FirstExtendedData)
        ++dimStyle.variableCount;
    return TakeVariable(dimStyle);
}

bool DxfParser::TakeVariable(DxfDimStyle& dimStyle) {
    switch (Group().code) {
    case 40:
        return Set(dimStyle.scale);
    case 41:
        return Set(dimStyle.arrowSize);
    case 42:
        return Set(dimStyle.extensionOffset);
    case 44:
        return Set(dimStyle.extensionBeyond);
    case 75:
        return Set(dimStyle.suppressFirstExtension);
    case 76:
        return Set(dimStyle.suppressSecondExtension);
    case 140:
        return Set(dimStyle.textHeight);
    case 147:
        return Set(dimStyle.textOffset);
    case 271:
        return Set(dimStyle.decimalPlaces);
    case 281:
        return Set(dimStyle.suppressFirstDimension);
    case 282:
        return Set(dimStyle.suppressSecondDimension);
    default:
        return false;
    }
}

void DxfParser::NextInside(const std::string& place) {
    const bool isThere = groups.Next();
    if (!isThere || Group().Is(0, "EOF"))
        throw ReadError(groups.GetLine(), "the drawing ends inside " + place + ": get a complete copy of it");
    if (Group().Is(0, "SECTION"))
        throw ReadError(Group().line, "a section begins inside " + place + ": save the drawing again as text DXF");
}

/// The name behind a group that begins a section or a table.
std::string DxfParser::NextName(const std::string& place) {
    NextInside(place);
    if (Group().code != 2)
        throw ReadError(Group().line, place + " has no name (group 2): save the drawing again as text DXF");
    return std::string(Trimmed(Group().value));
}

bool DxfParser::IsAtTableEnd(const std::string& table) const {
    if (Group().Is(0, "TABLE") || Group().Is(0, "ENDSEC"))
        throw ReadError(Group().line,
                        "the " + table + " table has no end (ENDTAB): save the drawing again as text DXF");
    return Group().Is(0, "ENDTAB");
}

std::u16string DxfParser::TakeText() {
    if (!decoder)
        decoder.emplace(MakeDecoder());
    const std::size_t before = decoder->GetOddBytes();
    std::u16string text = ResolveEscapes(decoder->Decode(Group().value));
    oddBytes.Add(Group().line, decoder->GetOddBytes() - before);
    return text;
}

TextDecoder DxfParser::MakeDecoder() const {
    if (isMarkedUtf8 || IsUtf8Version(drawing.version))
        return TextDecoder::Utf8();
    return drawing.codePage.empty() ? TextDecoder::Windows1252() : TextDecoder::ForCodePage(drawing.codePage);
}

void DxfParser::WarnOfTexts() {
    if (decoder && decoder->IsFallback() && decoder->HasMetNonAscii())
        Warn(0, "code page " + Quoted(drawing.codePage) +
                    " is not known here, texts were read as Windows-1252: check names");
    if (oddBytes.count != 0)
        Warn(oddBytes.firstLine, "texts hold bytes that are not in the drawing's encoding (" +
                                     std::to_string(oddBytes.count) + "): check the names");
    if (nameless.count != 0)
        Warn(nameless.firstLine, "table records without a name were left out (" + std::to_string(nameless.count) +
                                     "): save the drawing again if they are missed");
}

}   // namespace

bool IsBinaryDxf(std::string_view bytes) noexcept {
    constexpr std::size_t SentinelLength = 22;
    return bytes.substr(0, SentinelLength).find("Binary DXF") != std::string_view::npos;
}

DxfDrawing ReadDxf(std::string_view bytes) {
    if (IsBinaryDxf(bytes))
        throw ReadError(1, "the binary form of DXF is not read: save the drawing as text DXF");
    bool isMarkedUtf8 = false;
    const std::string_view text = WithoutByteOrderMark(bytes, isMarkedUtf8);
    return DxfParser(text, isMarkedUtf8).Read();
}

}   // namespace Host
