#include <Kest/XMLOChannel.hpp>

#include "XMLText.hpp"

#include <Kest/ChannelStatus.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <exception>
#include <limits>
#include <new>

namespace Kest {

namespace {

constexpr std::size_t BufferSize = 64 * 1024;

// Short pieces are copied in blocks: calling memcpy would take longer than copying. So up to a block less a byte is
// read and written behind the piece, for which there is room everywhere.
constexpr std::size_t BlockSize = 16;

// A line break and the tabs in front of a line: the first n + 1 characters serve depth n.
constexpr auto LineStart = [] {
    std::array<char, XMLOChannel::MaximalDepth + BlockSize> start{};
    start.fill('\t');
    start[0] = '\n';
    return start;
}();

constexpr auto HexPairs = [] {
    std::array<char, 512> pairs{};
    for (std::size_t byte = 0; byte < 256; ++byte) {
        pairs[2 * byte] = "0123456789ABCDEF"[byte >> 4];
        pairs[2 * byte + 1] = "0123456789ABCDEF"[byte & 0xF];
    }
    return pairs;
}();

char* Put(char* out, std::string_view text) noexcept {
    std::memcpy(out, text.data(), text.size());
    return out + text.size();
}

char* PutBlocks(char* out, const char* piece, std::size_t size) noexcept {
    for (std::size_t at = 0; at < size; at += BlockSize) {
        char block[BlockSize];   // the two may overlap behind the piece
        std::memcpy(block, piece + at, BlockSize);
        std::memcpy(out + at, block, BlockSize);
    }
    return out + size;
}

// A copy of a few bytes, for which a call of memcpy would take longer.
char* PutShort(char* out, std::string_view text) noexcept {
    const char* const from = text.data();
    const std::size_t size = text.size();
    if (size > BlockSize)
        return Put(out, text);
    if (size >= BlockSize / 2) {
        std::memcpy(out, from, BlockSize / 2);
        std::memcpy(out + size - BlockSize / 2, from + size - BlockSize / 2, BlockSize / 2);
    } else if (size >= BlockSize / 4) {
        std::memcpy(out, from, BlockSize / 4);
        std::memcpy(out + size - BlockSize / 4, from + size - BlockSize / 4, BlockSize / 4);
    } else {
        for (std::size_t at = 0; at < size; ++at)
            out[at] = from[at];
    }
    return out + size;
}

// As Guid::ToText, without its memory.
char* PutGuid(char* out, const Guid& guid) noexcept {
    const Guid::Bytes bytes = guid.GetBytes();
    *out++ = '{';
    for (std::size_t at = 0; at < bytes.size(); ++at) {
        if (at == 4 || at == 6 || at == 8 || at == 10)
            *out++ = '-';
        std::memcpy(out, &HexPairs[2 * std::size_t{bytes[at]}], 2);
        out += 2;
    }
    *out++ = '}';
    return out;
}

char* PutHex(char* out, const char* bytes, std::size_t size) noexcept {
    for (std::size_t at = 0; at < size; ++at, out += 2)
        std::memcpy(out, &HexPairs[2 * std::size_t{static_cast<unsigned char>(bytes[at])}], 2);
    return out;
}

char* PutEndTag(char* out, std::string_view name) noexcept {
    *out++ = '<';
    *out++ = '/';
    out = Put(out, name);
    *out++ = '>';
    return out;
}

}   // namespace

XMLOChannel::XMLOChannel(IByteSink& newSink, const char* documentName) noexcept : sink(&newSink), used(BufferSize) {
    try {
        openTags = documentName;
    } catch (const std::exception&) {
        status = ChannelStatus::MemoryFull;
    }
}

XMLOChannel::~XMLOChannel() = default;

int XMLOChannel::Fail(int code, const UniString& message) noexcept {
    if (status != 0)
        return status;
    status = code;
    try {
        if (messages != nullptr)
            messages->Push(message);
    } catch (const std::bad_alloc&) {   // the code says enough
    }
    return status;
}

int XMLOChannel::FailWith(int code, const char* format) noexcept {
    if (status != 0)
        return status;
    try {
        const std::size_t rootEnd = depth > 1 ? tagStarts[1] : openTags.size();
        return Fail(code, UniString::Printf(format, std::string_view(openTags).substr(0, rootEnd)));
    } catch (const std::exception&) {
        return status = code;
    }
}

int XMLOChannel::BeginDocument() noexcept {
    if (status != 0)
        return status;
    if (sink == nullptr || buffer)
        return FailWith(ChannelStatus::WrongCall, "Document \"%s\" is begun twice");
    buffer.reset(new (std::nothrow) char[BufferSize]);
    if (!buffer)
        return FailWith(ChannelStatus::MemoryFull, "No memory to write document \"%s\"");

    char* out = Put(buffer.get(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<");
    if (!XMLName(openTags.c_str()).IsProper())
        return FailForName();
    out = Put(out, openTags);
    *out++ = '>';
    Advance(out);
    tagStarts[0] = 0;
    depth = 1;
    return status;
}

int XMLOChannel::EndDocument() noexcept {
    if (depth != 1)
        FailWith(ChannelStatus::WrongCall, "Document \"%s\" is ended with other elements open than the root");
    else if (status == 0 && CloseElement() == 0 && Room(1) != nullptr) {
        buffer[used++] = '\n';
        Flush();
    }
    if (status == 0)
        if (const int code = sink->Finish(); code != 0)
            FailWith(code, "Document \"%s\" cannot be finished");
    sink = nullptr;
    buffer.reset();
    used = BufferSize;
    depth = 0;
    return status;
}

int XMLOChannel::FailForName() noexcept {
    return FailWith(ChannelStatus::WrongCall, "Document \"%s\" has an element without a proper name");
}

bool XMLOChannel::Flush() noexcept {
    if (!buffer) {
        FailWith(ChannelStatus::WrongCall, "Document \"%s\" is not open");
        return false;
    }
    const int code = sink->Write(buffer.get(), used);
    used = 0;
    if (code != 0)
        FailWith(code, "Document \"%s\" cannot be written");
    return code == 0;
}

// Where the next bytes go, at most \p size, which must be far less than the buffer; null on a failed channel.
char* XMLOChannel::Room(std::size_t size) noexcept {
    if (status != 0 || (BufferSize - used < size + BlockSize && !Flush()))
        return nullptr;
    return buffer.get() + used;
}

// As Room, with the indentation of a new line already there.
char* XMLOChannel::BeginLine(std::size_t size) noexcept {
    char* const out = Room(depth + 1 + size);
    return out != nullptr ? PutBlocks(out, LineStart.data(), depth + 1) : nullptr;
}

// As BeginLine, with a start tag already there: \p end is its end, null on a failed channel. Room is left for the end
// tag too. \returns the name inside the tag.
std::string_view XMLOChannel::BeginElement(XMLName name, std::size_t size, char*& end) noexcept {
    const std::string_view text = name;
    if (!name.IsProper()) {
        FailForName();
        end = nullptr;
        return {};
    }
    end = BeginLine(2 * text.size() + 5 + size);
    if (end == nullptr)
        return {};
    *end++ = '<';
    const char* const tag = end;
    end = PutShort(end, text);
    *end++ = '>';
    return {tag, text.size()};
}

bool XMLOChannel::PushTag(std::string_view name) noexcept {
    if (depth == MaximalDepth) {
        FailWith(ChannelStatus::TooLarge, "Document \"%s\" has its elements nested too deep");
        return false;
    }
    const std::size_t start = openTags.size();
    try {
        openTags.append(name);
    } catch (const std::exception&) {
        FailWith(ChannelStatus::MemoryFull, "No memory to write document \"%s\"");
        return false;
    }
    tagStarts[depth++] = static_cast<std::uint32_t>(start);
    hasContent = false;
    return true;
}

int XMLOChannel::OpenTag(XMLName name) noexcept {
    char* out = nullptr;
    const std::string_view tag = BeginElement(name, 0, out);
    if (out != nullptr && PushTag(tag))
        Advance(out);
    return status;
}

int XMLOChannel::CloseTag() noexcept {
    if (status != 0)
        return status;
    if (depth <= 1)
        return FailWith(ChannelStatus::WrongCall, "Document \"%s\" has no element open but the root");
    return CloseElement();
}

int XMLOChannel::CloseElement() noexcept {
    const std::size_t start = tagStarts[depth - 1];
    const std::string_view name = std::string_view(openTags).substr(start);
    --depth;
    char* out = hasContent ? BeginLine(name.size() + 3) : Room(name.size() + 3);
    if (out == nullptr)
        return status;
    Advance(PutEndTag(out, name));
    if (depth > 0)   // the root's name stays for messages
        openTags.resize(start);
    hasContent = true;
    return status;
}

// An element on one line. \p encode writes at most \p longest bytes, far less than the buffer, to the place it is given
// and returns their end.
template <class Encode>
int XMLOChannel::WriteValue(XMLName name, std::size_t longest, Encode encode) noexcept {
    char* out = nullptr;
    const std::string_view tag = BeginElement(name, longest, out);
    if (out == nullptr)
        return status;
    out = encode(out);
    *out++ = '<';
    *out++ = '/';
    out = PutBlocks(out, tag.data(), tag.size() + 1);   // with its ">"
    Advance(out);
    hasContent = true;
    return status;
}

template <class Number>
int XMLOChannel::WriteNumber(XMLName name, Number value) noexcept {
    constexpr std::size_t Longest = 32;   // "-1.7976931348623157e+308", "-9223372036854775808"
    return WriteValue(name, Longest, [value](char* out) { return std::to_chars(out, out + Longest, value).ptr; });
}

int XMLOChannel::Write(XMLName name, short value) noexcept {
    return WriteNumber(name, value);
}
int XMLOChannel::Write(XMLName name, unsigned short value) noexcept {
    return WriteNumber(name, value);
}
int XMLOChannel::Write(XMLName name, int value) noexcept {
    return WriteNumber(name, value);
}
int XMLOChannel::Write(XMLName name, unsigned int value) noexcept {
    return WriteNumber(name, value);
}
int XMLOChannel::Write(XMLName name, std::int64_t value) noexcept {
    return WriteNumber(name, value);
}
int XMLOChannel::Write(XMLName name, std::uint64_t value) noexcept {
    return WriteNumber(name, value);
}

int XMLOChannel::Write(XMLName name, double value) noexcept {
    return WriteNumber(name, std::isnan(value) ? std::numeric_limits<double>::quiet_NaN() : value);   // never "-nan"
}

int XMLOChannel::Write(XMLName name, bool value) noexcept {
    return WriteValue(name, 5, [value](char* out) { return Put(out, value ? "true" : "false"); });
}

int XMLOChannel::Write(XMLName name, const Guid& value) noexcept {
    return WriteValue(name, 38, [&value](char* out) { return PutGuid(out, value); });
}

int XMLOChannel::WriteVersion(ClassVersion version) noexcept {
    return WriteValue("ClassVersion", 7, [version](char* out) {
        out = std::to_chars(out, out + 3, version.GetMajor()).ptr;
        *out++ = '.';
        return std::to_chars(out, out + 3, version.GetMinor()).ptr;
    });
}

int XMLOChannel::Write(XMLName name, const UniString& value) noexcept {
    constexpr std::size_t LongestInOnePiece = 1000;
    const std::u16string_view text = value.GetView();
    if (text.size() > LongestInOnePiece)
        return WriteLongText(name, text);
    return WriteValue(name, text.size() * XMLText::LongestUnit, [text](char* out) {
        std::size_t position = 0;
        return XMLText::EncodeText(text, position, text.size(), out);
    });
}

int XMLOChannel::WriteLongText(XMLName name, std::u16string_view text) noexcept {
    constexpr std::size_t Piece = 4096;
    char* out = nullptr;
    BeginElement(name, 0, out);
    if (out == nullptr)
        return status;
    Advance(out);
    for (std::size_t position = 0; position < text.size();) {
        out = Room((Piece + 1) * XMLText::LongestUnit);
        if (out == nullptr)
            return status;
        Advance(XMLText::EncodeText(text, position, std::min(position + Piece, text.size()), out));
    }
    const std::string_view tag = name;
    out = Room(tag.size() + 3);
    if (out != nullptr)
        Advance(PutEndTag(out, tag));
    hasContent = true;
    return status;
}

int XMLOChannel::WriteXMLCDATABinToHex(const char* bytes, std::size_t size) noexcept {
    constexpr std::size_t BytesPerLine = 64;
    constexpr std::string_view Begin = "<![CDATA[";
    constexpr std::string_view End = "]]>";
    if (size > std::numeric_limits<unsigned int>::max())
        return FailWith(ChannelStatus::TooLarge, "Document \"%s\" cannot carry that much binary data");
    if (Write("CDATASize", static_cast<unsigned int>(size)) != 0)
        return status;

    char* out = BeginLine(Begin.size());
    if (out == nullptr)
        return status;
    Advance(Put(out, Begin));
    for (std::size_t at = 0; at < size; at += BytesPerLine) {
        out = Room(1 + 2 * BytesPerLine);
        if (out == nullptr)
            return status;
        if (at > 0)
            *out++ = '\n';
        Advance(PutHex(out, bytes + at, std::min(BytesPerLine, size - at)));
    }
    out = Room(End.size());
    if (out != nullptr)
        Advance(Put(out, End));
    return status;
}

}   // namespace Kest
