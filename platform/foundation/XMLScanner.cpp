#include "XMLScanner.hpp"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <utility>

namespace Kest {

namespace {

using XMLText::IsNamePart;
using XMLText::IsNameStart;
using XMLText::IsSpace;
using XMLText::RunKind;

constexpr std::size_t MaximalDepth = XMLIChannel::MaximalDepth;
constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
constexpr std::string_view CDataBegin = "<![CDATA[";
constexpr std::string_view CDataEnd = "]]>";
constexpr char DamagedText[] = "Text is damaged";

const char* SkipSpace(const char* position, const char* end) noexcept {
    while (position < end && IsSpace(*position))
        ++position;
    return position;
}

// The name at the position, which moves behind it; empty when there is none.
std::string_view TakeName(const char*& position, const char* end) noexcept {
    const char* const start = position;
    if (position < end && IsNameStart(*position))
        while (position < end && IsNamePart(*position))
            ++position;
    return {start, static_cast<std::size_t>(position - start)};
}

bool IsEqualIgnoringCase(std::string_view text, std::string_view lower) noexcept {
    return std::equal(text.begin(), text.end(), lower.begin(), lower.end(),
                      [](char a, char b) { return (XMLText::IsLetter(a) ? a | 0x20 : a) == b; });
}

constexpr std::uint8_t SpaceDigit = 0x40;
constexpr std::uint8_t NoDigit = 0x80;

constexpr auto HexDigits = [] {
    std::array<std::uint8_t, 256> digits{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        const int value = XMLText::DigitValue(static_cast<char32_t>(byte));
        digits[byte] = value >= 0 ? static_cast<std::uint8_t>(value) : NoDigit;
    }
    for (const char space : {' ', '\t', '\n', '\r'})
        digits[static_cast<unsigned char>(space)] = SpaceDigit;
    return digits;
}();

// Fills memory from digits that come in runs, two of them a byte, with white space anywhere.
class HexReader {
public:
    HexReader(char* target, std::size_t size) noexcept : next(target), last(target + size) {}

    bool IsFull() const noexcept { return next == last && !hasHalf; }

    // The place of a byte that should not be there, or null.
    const char* Take(std::string_view run) noexcept {
        const char* position = run.data();
        const char* const end = position + run.size();
        while (position < end) {
            position = TakePairs(position, end);
            if (position == end)
                break;
            const std::uint8_t digit = HexDigits[static_cast<unsigned char>(*position)];
            if (digit != SpaceDigit && (digit == NoDigit || next == last))
                return position;
            if (digit != SpaceDigit)
                TakeHalf(digit);
            ++position;
        }
        return nullptr;
    }

private:
    const char* TakePairs(const char* position, const char* end) noexcept {
        if (hasHalf)
            return position;
        for (; end - position >= 2 && next < last; position += 2) {
            const unsigned high = HexDigits[static_cast<unsigned char>(position[0])];
            const unsigned low = HexDigits[static_cast<unsigned char>(position[1])];
            if ((high | low) > 0xF)
                break;
            *next++ = static_cast<char>(high << 4 | low);
        }
        return position;
    }

    void TakeHalf(unsigned digit) noexcept {
        if (hasHalf)
            *next++ = static_cast<char>(half << 4 | digit);
        half = digit;
        hasHalf = !hasHalf;
    }

    char* next;
    char* last;
    unsigned half = 0;
    bool hasHalf = false;
};

}   // namespace

XMLScanner::XMLScanner(std::string document)
    : text(std::move(document)),
      cursor(text.data()),
      end(text.data() + text.size()),
      place(cursor) {
    openTags.reserve(MaximalDepth);
}

bool XMLScanner::Refuse(const char* at, const char* format, std::string_view name) noexcept {
    place = at;
    problem = {format, name};
    return false;
}

std::string_view XMLScanner::Rest(const char* position) const noexcept {
    return {position, static_cast<std::size_t>(end - position)};
}

XMLScanner::Location XMLScanner::Locate(const char* position) const noexcept {
    Location location{1, 1};
    const char* at = text.starts_with(ByteOrderMark) ? text.data() + ByteOrderMark.size() : text.data();
    for (; at < position; ++at) {
        const bool isLineEnd = *at == '\n' || (*at == '\r' && at[1] != '\n');
        if (isLineEnd)
            location = {location.line + 1, 1};
        else if ((static_cast<unsigned char>(*at) & 0xC0) != 0x80)   // the first byte of a character
            ++location.column;
    }
    return location;
}

bool XMLScanner::Begin(std::string_view rootName) noexcept {
    if (const std::size_t damage = XMLText::FindDamage(text); damage < text.size())
        return Refuse(text.data() + damage, "Character in UTF-8 expected that XML allows");

    const char* position = cursor + (text.starts_with(ByteOrderMark) ? ByteOrderMark.size() : 0);
    const std::string_view rest = Rest(position);
    if (rest.starts_with("<?xml") && rest.size() > 5 && IsSpace(rest[5]) && !ReadDeclaration(position))
        return false;
    if (!SkipSpaceAndRemarks(position))
        return false;
    if (Rest(position).starts_with("<!DOCTYPE"))
        return Refuse(position, "DOCTYPE is not allowed");
    if (Rest(position).empty() || *position != '<')
        return Refuse(position, "Start tag \"%s\" expected", rootName);
    const char* const root = position;
    if (!ReadStartTag(position))
        return false;
    return openTags.back() == rootName || Refuse(root, "Start tag \"%s\" expected", rootName);
}

bool XMLScanner::End() noexcept {
    if (!CloseDownTo(0) || !SkipSpaceAndRemarks(cursor))
        return false;
    return cursor == end || Refuse(cursor, "End of document expected");
}

bool XMLScanner::ReadDeclaration(const char*& position) noexcept {
    static constexpr std::string_view Order[] = {"version", "encoding", "standalone"};
    std::size_t next = 0;   // in Order
    for (position += 5;;) {
        const char* const at = SkipSpace(position, end);
        if (Rest(at).starts_with("?>")) {
            position = at + 2;
            return next > 0 || Refuse(at, "Version of XML expected");
        }
        std::string_view name;
        std::string_view value;
        const bool hasSpace = at != position;
        position = at;
        if (!hasSpace || !ReadAttribute(position, name, value))
            return Refuse(at, "XML declaration is damaged");
        const auto* const found = std::find(std::begin(Order) + next, std::end(Order), name);
        if (found == std::end(Order) || (next == 0 && name != Order[0]))
            return Refuse(at, "XML declaration is damaged");
        next = static_cast<std::size_t>(found - std::begin(Order)) + 1;
        if (name == "version" && (value.size() != 3 || !value.starts_with("1.") || !XMLText::IsDigit(value[2])))
            return Refuse(at, "XML version 1 expected, not \"%s\"", value);
        if (name == "encoding" && !IsEqualIgnoringCase(value, "utf-8"))
            return Refuse(at, "Encoding UTF-8 expected, not \"%s\"", value);
        if (name == "standalone" && value != "yes" && value != "no")
            return Refuse(at, "XML declaration is damaged");
    }
}

// Name, "=" and quoted value.
bool XMLScanner::ReadAttribute(const char*& position, std::string_view& name, std::string_view& value) noexcept {
    const char* const start = position;
    name = TakeName(position, end);
    position = SkipSpace(position, end);
    if (name.empty() || !Rest(position).starts_with('='))
        return Refuse(start, "Attribute expected");
    position = SkipSpace(position + 1, end);
    if (Rest(position).empty() || (*position != '"' && *position != '\''))
        return Refuse(position, "Quoted value expected");
    const std::string_view rest = Rest(position + 1);
    const std::size_t length = rest.find(*position);
    if (length == rest.npos)
        return Refuse(position, "Quoted value is not ended");
    value = rest.substr(0, length);
    if (value.find('<') != value.npos)
        return Refuse(position, "Quoted value holds a \"<\"");
    if (value.find('&') != value.npos)
        if (const char* const bad = XMLText::FindBadReference(value); bad != nullptr)
            return Refuse(bad, "Reference to a character expected");
    position += length + 2;
    return true;
}

// A comment or a processing instruction at the position, which moves behind it.
bool XMLScanner::SkipRemark(const char*& position) noexcept {
    const std::string_view rest = Rest(position);
    if (rest.starts_with("<!--")) {
        const std::size_t dashes = rest.find("--", 4);
        if (dashes == rest.npos || !rest.substr(dashes).starts_with("-->"))
            return Refuse(position, "Comment is not ended");
        position += dashes + 3;
        return true;
    }
    const char* behindName = position + 2;
    const std::string_view target = TakeName(behindName, end);
    const std::size_t close = rest.find("?>", 2);
    if (close == rest.npos || target.empty() || IsEqualIgnoringCase(target, "xml") ||
        (!IsSpace(*behindName) && behindName != position + close))
        return Refuse(position, "Processing instruction is damaged");
    position += close + 2;
    return true;
}

bool XMLScanner::SkipSpaceAndRemarks(const char*& position) noexcept {
    for (;;) {
        position = SkipSpace(position, end);
        const std::string_view rest = Rest(position);
        if (!rest.starts_with("<?") && !rest.starts_with("<!--"))
            return true;
        if (!SkipRemark(position))
            return false;
    }
}

// Enters the element whose start tag is at the position.
bool XMLScanner::ReadStartTag(const char* position) noexcept {
    const char* const start = position++;
    const std::string_view name = TakeName(position, end);
    if (name.empty())
        return Refuse(start, "Start tag expected");
    if (openTags.size() == MaximalDepth)
        return Refuse(start, "Elements are nested too deep");
    for (;;) {
        const char* const behind = position;
        position = SkipSpace(position, end);
        const std::string_view rest = Rest(position);
        isInEmptyTag = rest.starts_with("/>");
        if (isInEmptyTag || rest.starts_with('>')) {
            openTags.push_back(name);   // within the room reserved
            cursor = position + (isInEmptyTag ? 2 : 1);
            return true;
        }
        std::string_view attribute;
        std::string_view value;
        if (position == behind)
            return Refuse(start, "Start tag \"%s\" is damaged", name);
        if (!ReadAttribute(position, attribute, value))
            return false;
    }
}

// Leaves the element whose end tag is at the position.
bool XMLScanner::ReadEndTag(const char* position) noexcept {
    const std::string_view name = openTags.back();
    const char* behind = nullptr;
    if (const std::string_view rest = Rest(position).substr(2); rest.starts_with(name))
        behind = SkipSpace(rest.data() + name.size(), end);
    if (behind == nullptr || behind == end || *behind != '>')
        return Refuse(position, "End tag \"%s\" expected", name);
    openTags.pop_back();
    cursor = behind + 1;
    return true;
}

// The next "<", which there must be: the current element is not ended yet.
bool XMLScanner::FindTag(const char* from, const char*& tag) noexcept {
    tag = static_cast<const char*>(std::memchr(from, '<', static_cast<std::size_t>(end - from)));
    return tag != nullptr || Refuse(end, "End tag \"%s\" expected", openTags.back());
}

bool XMLScanner::IsNextStartTag() noexcept {
    if (isInEmptyTag || openTags.empty())
        return false;
    const char* position = cursor;
    if (!SkipSpaceAndRemarks(position) || end - position < 2 || *position != '<' || !IsNameStart(position[1]))
        return false;
    cursor = position;
    return true;
}

bool XMLScanner::IsTagAt(const char* position, std::string_view name) const noexcept {
    const std::string_view rest = Rest(position);
    return rest.starts_with('<') && rest.substr(1).starts_with(name) &&
           (rest.size() == name.size() + 1 || !IsNamePart(rest[name.size() + 1]));
}

bool XMLScanner::IsNextTag(std::string_view name) noexcept {
    return IsNextStartTag() && IsTagAt(cursor, name);
}

bool XMLScanner::Open(std::string_view name) noexcept {
    const char* position = cursor;
    if (!isInEmptyTag && !SkipSpaceAndRemarks(position))
        return false;
    if (isInEmptyTag || !IsTagAt(position, name))
        return Refuse(position, "Start tag \"%s\" expected", name);
    return ReadStartTag(position);
}

bool XMLScanner::OpenAny() noexcept {
    const char* position = cursor;
    if (!isInEmptyTag && !SkipSpaceAndRemarks(position))
        return false;
    if (isInEmptyTag || !Rest(position).starts_with('<'))
        return Refuse(position, "Start tag expected");
    return ReadStartTag(position);
}

// One piece of markup at the cursor, within the current element.
bool XMLScanner::SkipMarkup() noexcept {
    const std::string_view rest = Rest(cursor);
    if (rest.starts_with("</"))
        return ReadEndTag(cursor);
    if (rest.starts_with(CDataBegin)) {
        const std::size_t close = rest.find(CDataEnd, CDataBegin.size());
        if (close == rest.npos)
            return Refuse(cursor, "CDATA section is not ended");
        cursor += close + CDataEnd.size();
        return true;
    }
    if (rest.starts_with("<!--") || rest.starts_with("<?"))
        return SkipRemark(cursor);
    ++passedElements;
    return ReadStartTag(cursor);
}

bool XMLScanner::CloseDownTo(std::size_t depth) noexcept {
    while (openTags.size() > depth) {
        if (isInEmptyTag) {
            isInEmptyTag = false;
            openTags.pop_back();
            continue;
        }
        const char* const start = SkipSpace(cursor, end);
        if (!FindTag(start, cursor))
            return false;
        const std::string_view run(start, static_cast<std::size_t>(cursor - start));
        if (const char* const bad = run.empty() ? nullptr : XMLText::FindBadText(run); bad != nullptr)
            return Refuse(bad, DamagedText);
        if (!SkipMarkup())
            return false;
    }
    return true;
}

bool XMLScanner::CloseAtEnd() noexcept {
    if (!isInEmptyTag && (!SkipSpaceAndRemarks(cursor) || !Rest(cursor).starts_with("</")))
        return Refuse(cursor, "End tag \"%s\" expected", openTags.back());
    return CloseDownTo(openTags.size() - 1);
}

bool XMLScanner::TryReadElement(std::string_view name, std::string_view& content) noexcept {
    if (isInEmptyTag || openTags.empty() || openTags.size() == MaximalDepth)
        return false;
    const char* const start = SkipSpace(cursor, end);
    const std::size_t tagSize = name.size() + 2;
    if (Rest(start).size() < 2 * tagSize + 1 || start[0] != '<' || start[tagSize - 1] != '>' ||
        std::memcmp(start + 1, name.data(), name.size()) != 0)
        return false;

    const char* const first = start + tagSize;
    const auto* const tag = static_cast<const char*>(std::memchr(first, '<', static_cast<std::size_t>(end - first)));
    if (tag == nullptr || Rest(tag).size() < tagSize + 1 || tag[1] != '/' || tag[tagSize] != '>' ||
        std::memcmp(tag + 2, name.data(), name.size()) != 0)
        return false;
    content = {first, static_cast<std::size_t>(tag - first)};
    cursor = tag + tagSize + 1;
    return true;
}

// Passes the runs of text up to the next tag to takeRun, which answers the place of damage or null.
template <class TakeRun>
bool XMLScanner::WalkText(TakeRun takeRun) {
    const auto take = [&](const char* from, const char* to, RunKind kind) {
        const char* const bad = takeRun(std::string_view(from, static_cast<std::size_t>(to - from)), kind);
        return bad == nullptr || Refuse(bad, DamagedText);
    };
    while (!isInEmptyTag) {
        const char* const start = cursor;
        if (!FindTag(start, cursor) || !take(start, cursor, RunKind::Plain))
            return false;
        const std::string_view rest = Rest(cursor);
        if (rest.starts_with("</") || (!rest.starts_with("<!") && !rest.starts_with("<?")))
            break;
        const char* const markup = cursor;
        if (!SkipMarkup())
            return false;
        if (rest.starts_with(CDataBegin) && !take(markup + CDataBegin.size(), cursor - CDataEnd.size(), RunKind::CData))
            return false;
    }
    return true;
}

void XMLScanner::BeginText(const char* start) noexcept {
    textStart = start;
    unitCount = 0;
    hasBackslash = false;
}

// Appends what a run stands for to the units. The place of damage, or null.
const char* XMLScanner::AppendRun(std::string_view run, RunKind kind) {
    if (units.size() - unitCount < run.size())
        units.resize(std::max(unitCount + run.size(), units.size() + units.size() / 2));
    char16_t* out = units.data() + unitCount;
    const char* const bad = XMLText::DecodeText(run, kind, out, hasBackslash);
    unitCount = static_cast<std::size_t>(out - units.data());
    return bad;
}

bool XMLScanner::Decode(std::string_view content, std::u16string_view& result) {
    BeginText(content.data());
    if (const char* const bad = AppendRun(content, RunKind::Plain); bad != nullptr)
        return Refuse(bad, DamagedText);
    result = {units.data(), unitCount};
    return true;
}

bool XMLScanner::ReadText(std::u16string_view& result) {
    BeginText(cursor);
    const bool isRead = WalkText([this](std::string_view run, RunKind kind) { return AppendRun(run, kind); });
    result = {units.data(), unitCount};
    return isRead;
}

bool XMLScanner::ReadElement(std::string_view name, std::u16string_view& result) {
    std::string_view content;
    if (TryReadElement(name, content))
        return Decode(content, result);
    return Open(name) && ReadText(result) && CloseAtEnd();
}

bool XMLScanner::UndoEscapes(std::u16string_view& result) noexcept {
    if (hasBackslash && !XMLText::UndoEscapes(units.data(), unitCount))
        return Refuse(textStart, "Escape in text is damaged");
    result = {units.data(), unitCount};
    return true;
}

bool XMLScanner::ReadHex(char* target, std::size_t size) noexcept {
    HexReader reader(target, size);
    if (!WalkText([&reader](std::string_view run, RunKind) { return reader.Take(run); }))
        return false;
    return reader.IsFull() || Refuse(cursor, "More hexadecimal digits expected");
}

}   // namespace Kest
