#pragma once

#include <Kest/Array.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/Export.hpp>
#include <Kest/Guid.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/UniString.hpp>
#include <Kest/XMLIChannelException.hpp>
#include <Kest/XMLName.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace Kest {

class XMLScanner;

/// Reads one XML document, element by element, in the order in which XMLOChannel wrote it.
///
/// The document is trusted in nothing. It must be UTF-8 throughout (a byte order mark may stand first) and hold only
/// characters that XML allows; a DOCTYPE is refused and so are references other than numeric ones to such characters
/// and the five predefined ones. Comments, processing instructions and attributes are passed over. Elements nest at
/// most MaximalDepth deep, the root included. Time is linear in the document.
///
/// Operations return the channel's status: 0, or the code of the first failure, for a document that is not what the
/// operation asks for ChannelStatus::Damaged, for an order of calls that has no meaning ChannelStatus::WrongCall, or
/// ChannelStatus::MemoryFull. A failed channel stays failed: its operations do nothing more and change no value.
/// Nothing throws but the constructor and ReadXMLCDATAHexToBin. Each failure leaves one message that ends in ", line L,
/// column C"; both count from 1, the column in characters.
class KEST_API XMLIChannel {
public:
    static constexpr std::size_t MaximalDepth = 256;

    /// Takes the bytes of a whole document, checks its characters and reads up to the start tag of the root, which must
    /// be \p documentName.
    /// \throws KestXML::XMLIChannelException when the document is damaged so far; std::bad_alloc.
    XMLIChannel(std::string text, const char* documentName);
    ~XMLIChannel();
    XMLIChannel(const XMLIChannel&) = delete;
    XMLIChannel& operator=(const XMLIChannel&) = delete;

    /// Passes over the rest of the root, whatever is open in it, and makes sure that nothing follows.
    int EndDocument() noexcept;

    /// Enters the next child of the current element, which must have the name \p name.
    int OpenTag(XMLName name) noexcept;

    /// Leaves the current element, passing over what has not been read of it. The root is left by EndDocument.
    int CloseTag() noexcept;

    /// Passes over the next child of the current element, whatever its name.
    int SkipElement() noexcept;

    /// Whether a child of the current element comes next; false when text or its end does, and on a failed channel.
    /// White space before the child is no longer text of the element afterwards.
    bool IsNextStartTag() noexcept;

    /// Whether the child that comes next is named \p name; otherwise as IsNextStartTag.
    bool IsNextTag(XMLName name) noexcept;

    /// Reads the next child, which must have the name \p name and hold nothing but one value that \p value can hold.
    /// White space may stand around a value, except around text, where it belongs to it. A bool is "true", "1", "false"
    /// or "0". In text the escapes "\\" and "\\uXXXX" (four digits in either letter case) stand for a backslash and for
    /// that UTF-16 unit; a backslash before anything else is damage.
    int Read(XMLName name, short& value) noexcept;
    int Read(XMLName name, unsigned short& value) noexcept;
    int Read(XMLName name, int& value) noexcept;
    int Read(XMLName name, unsigned int& value) noexcept;
    int Read(XMLName name, std::int64_t& value) noexcept;
    int Read(XMLName name, std::uint64_t& value) noexcept;
    int Read(XMLName name, bool& value) noexcept;
    int Read(XMLName name, double& value) noexcept;
    int Read(XMLName name, UniString& value) noexcept;
    int Read(XMLName name, Guid& value) noexcept;

    /// Reads the text of the current element up to the next tag, with escapes as above.
    int ReadText(UniString& value) noexcept;

    /// Reads an element "ClassVersion" with a major and a minor number, each 0 to 255.
    int ReadVersion(ClassVersion& version) noexcept;

    /// Reads an element "CDATASize", the number of bytes that ReadXMLCDATAHexToBin is to read next. Fails when the rest
    /// of the document is shorter than their digits, so that memory may be taken for them.
    int ReadCDATASize(unsigned int& size) noexcept;

    /// Reads the text of the current element up to the next tag: hexadecimal digits in either letter case, two for each
    /// of exactly \p size bytes, with white space anywhere between them.
    /// \throws KestXML::XMLIChannelException when it is anything else or the channel has failed before. The channel has
    /// failed then, and \p target may be filled in part.
    void ReadXMLCDATAHexToBin(char* target, std::size_t size);

    int GetStatus() const noexcept { return status; }

    /// Elements that CloseTag and EndDocument passed over so far, those inside others too.
    std::size_t GetSkippedElementCount() const noexcept { return skippedElements; }

    /// Makes the channel fail with \p code, other than 0, and adds \p message with the place reached to the messages. A
    /// channel that has failed already keeps its first code and takes no further message.
    int Fail(int code, const UniString& message) noexcept;

    /// Messages of the channel are added to \p newMessages from now on; null drops them. It must live as long as it is
    /// set. A message for which there is no memory is dropped.
    void SetMessages(Array<UniString>* newMessages) noexcept { messages = newMessages; }

    /// Notes the byte order in which numbers inside binary data were written. The channel itself has no use for it.
    void SetProtocolPlatform(PlatformSign sign) noexcept { protocolPlatform = sign; }

    /// \returns false, with \p sign unchanged, when none has been set.
    bool GetProtocolPlatform(PlatformSign& sign) const noexcept;

private:
    int Refuse() noexcept;
    template <class MakeMessage>
    int FailAt(const char* place, int code, MakeMessage makeMessage) noexcept;
    template <class Operation>
    int Try(Operation operation) noexcept;
    UniString DescribeFailure() const noexcept;
    template <class Value>
    int ReadValue(XMLName name, Value& value) noexcept;

    std::unique_ptr<XMLScanner> scanner;
    Array<UniString>* messages = nullptr;
    std::optional<PlatformSign> protocolPlatform;
    std::size_t skippedElements = 0;
    int status = 0;
};

}   // namespace Kest
