#pragma once

#include <Kest/Array.hpp>
#include <Kest/ByteSink.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/Export.hpp>
#include <Kest/Guid.hpp>
#include <Kest/UniString.hpp>
#include <Kest/XMLName.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

namespace Kest {

/// Writes one XML document to a sink, element by element.
///
/// The document is UTF-8, one element a line, indented by tabs; the same calls give the same bytes. Any text survives:
/// of UniString values, a unit that XML cannot carry (a control character, a lone surrogate, U+FFFE, U+FFFF) is written
/// as "\\uXXXX" with four upper-case hexadecimal digits and a backslash as two of them; CR, LF and TAB become numeric
/// references. XMLIChannel undoes all of that.
///
/// Names of elements must be proper, see XMLName; elements nest at most MaximalDepth deep, the root included.
///
/// All operations return the channel's status: 0, or the code of the first failure. A failed channel stays failed and
/// writes nothing more. Codes are ChannelStatus::WrongCall for a name or an order of calls that gives no document,
/// TooLarge for elements too deep, MemoryFull, and what the sink answers. Nothing throws.
class KEST_API XMLOChannel {
public:
    static constexpr std::size_t MaximalDepth = 256;

    /// \p sink must outlive the channel; \p documentName, the name of the root element, is copied. A channel that dies
    /// before EndDocument leaves its sink unfinished.
    XMLOChannel(IByteSink& sink, const char* documentName) noexcept;
    ~XMLOChannel();
    XMLOChannel(const XMLOChannel&) = delete;
    XMLOChannel& operator=(const XMLOChannel&) = delete;

    /// Writes the XML declaration and the root's start tag. Comes first, once.
    int BeginDocument() noexcept;

    /// Closes the root, hands everything to the sink and finishes it; every other element must be closed.
    /// \returns 0 only when the whole document has been written and the sink finished.
    int EndDocument() noexcept;

    /// Begins an element.
    int OpenTag(XMLName name) noexcept;

    /// Ends the element begun last. The root is left to EndDocument.
    int CloseTag() noexcept;

    /// An element that holds one value. Numbers are decimal; of a double the shortest text that reads back as the same
    /// number, or "nan", "inf", "-inf"; of a bool "true" or "false".
    int Write(XMLName name, short value) noexcept;
    int Write(XMLName name, unsigned short value) noexcept;
    int Write(XMLName name, int value) noexcept;
    int Write(XMLName name, unsigned int value) noexcept;
    int Write(XMLName name, std::int64_t value) noexcept;
    int Write(XMLName name, std::uint64_t value) noexcept;
    int Write(XMLName name, bool value) noexcept;
    int Write(XMLName name, double value) noexcept;
    int Write(XMLName name, const UniString& value) noexcept;
    int Write(XMLName name, const Guid& value) noexcept;
    int Write(XMLName name, const char* value) = delete;       // would go out as a bool
    int Write(XMLName name, const char16_t* value) = delete;   // likewise

    /// An element "ClassVersion" with the major and the minor number, as in "1.0".
    int WriteVersion(ClassVersion version) noexcept;

    /// An element "CDATASize" with the number of bytes, then a CDATA section with two upper-case hexadecimal digits for
    /// each byte, 64 bytes a line.
    int WriteXMLCDATABinToHex(const char* bytes, std::size_t size) noexcept;

    int GetStatus() const noexcept { return status; }

    /// Makes the channel fail with \p code, other than 0, and adds \p message to the messages. A channel that has
    /// failed already keeps its first code and takes no further message.
    int Fail(int code, const UniString& message) noexcept;

    /// Messages of the channel are added to \p newMessages from now on; null drops them. It must live as long as it is
    /// set. A message for which there is no memory is dropped.
    void SetMessages(Array<UniString>* newMessages) noexcept { messages = newMessages; }

private:
    int FailWith(int code, const char* format) noexcept;
    int FailForName() noexcept;
    bool PushTag(std::string_view name) noexcept;
    int CloseElement() noexcept;
    bool Flush() noexcept;
    char* Room(std::size_t size) noexcept;
    void Advance(const char* newEnd) noexcept { used = static_cast<std::size_t>(newEnd - buffer.get()); }
    char* BeginLine(std::size_t size) noexcept;
    std::string_view BeginElement(XMLName name, std::size_t size, char*& end) noexcept;
    template <class Encode>
    int WriteValue(XMLName name, std::size_t longest, Encode encode) noexcept;
    template <class Number>
    int WriteNumber(XMLName name, Number value) noexcept;
    int WriteLongText(XMLName name, std::u16string_view text) noexcept;

    IByteSink* sink;   // null when the document has ended
    Array<UniString>* messages = nullptr;
    std::unique_ptr<char[]> buffer;   // null outside the document
    std::size_t used;                 // bytes in the buffer; all of them when there is none, so that nothing fits
    std::string openTags;             // names of the open elements, one behind the other, the root's from the start
    std::array<std::uint32_t, MaximalDepth> tagStarts;   // where in openTags each of them begins
    std::size_t depth = 0;                               // open elements
    bool hasContent = false;                             // the element begun last has something in it
    int status = 0;
};

}   // namespace Kest
