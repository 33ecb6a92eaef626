#include <Kest/XMLIChannel.hpp>

#include "XMLScanner.hpp"

#include <Kest/ChannelStatus.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <exception>
#include <utility>

namespace Kest {

namespace {

constexpr char SourceName[] = "platform/foundation/XMLIChannel";

UniString TextOf(const XMLScanner::Problem& problem) {
    return UniString::Printf(problem.format, problem.name);
}

UniString WithLocation(const UniString& message, const XMLScanner& scanner, const char* place) {
    const auto [line, column] = scanner.Locate(place);
    return message + UniString::Printf(", line %u, column %u", line, column).GetView();
}

template <class Number>
bool ParseWhole(std::string_view text, Number& value) noexcept {
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    return error == std::errc() && end == text.data() + text.size();
}

template <class Number>
bool Parse(std::string_view text, Number& value) noexcept {
    return ParseWhole(text, value);
}

bool Parse(std::string_view text, double& value) noexcept {
    if (!ParseWhole(text, value))
        return false;
    return std::isfinite(value) || text == "nan" || text == "inf" || text == "-inf";   // of all spellings, ours
}

bool Parse(std::string_view text, bool& value) noexcept {
    value = text == "true" || text == "1";
    return value || text == "false" || text == "0";
}

bool Parse(std::string_view text, Guid& value) noexcept {
    return Guid::Parse(text, value);
}

bool Parse(std::string_view text, ClassVersion& value) noexcept {
    const std::size_t point = text.find('.');
    std::uint8_t majorNumber = 0;
    std::uint8_t minorNumber = 0;
    if (point == text.npos || !ParseWhole(text.substr(0, point), majorNumber) ||
        !ParseWhole(text.substr(point + 1), minorNumber))
        return false;
    value = ClassVersion(majorNumber, minorNumber);
    return true;
}

// As bytes, for values that are written in ASCII; anything else becomes a byte that no such value has.
std::string Narrow(std::u16string_view text) {
    std::string result(text.size(), '\0');
    std::transform(text.begin(), text.end(), result.begin(),
                   [](char16_t unit) { return unit < 0x80 ? static_cast<char>(unit) : '\0'; });
    return result;
}

}   // namespace

XMLIChannel::XMLIChannel(std::string text, const char* documentName)
    : scanner(std::make_unique<XMLScanner>(std::move(text))) {
    if (!scanner->Begin(documentName))
        throw KestXML::XMLIChannelException(WithLocation(TextOf(scanner->GetProblem()), *scanner, scanner->GetPlace()),
                                            SourceName, __LINE__);
}

XMLIChannel::~XMLIChannel() = default;

template <class MakeMessage>
int XMLIChannel::FailAt(const char* place, int code, MakeMessage makeMessage) noexcept {
    if (status != 0)
        return status;
    status = code;
    try {
        if (messages != nullptr)
            messages->Push(WithLocation(makeMessage(), *scanner, place));
    } catch (const std::exception&) {   // no memory for it: the code says enough
    }
    return status;
}

int XMLIChannel::Fail(int code, const UniString& message) noexcept {
    return FailAt(scanner->GetCursor(), code, [&message] { return message; });
}

int XMLIChannel::Refuse() noexcept {
    return FailAt(scanner->GetPlace(), ChannelStatus::Damaged, [this] { return TextOf(scanner->GetProblem()); });
}

// What an operation does around its own step: nothing on a failed channel or outside the root.
template <class Operation>
int XMLIChannel::Try(Operation operation) noexcept {
    if (status != 0)
        return status;
    if (scanner->GetDepth() == 0)
        return FailAt(scanner->GetCursor(), ChannelStatus::WrongCall, [] { return "The document has been ended"; });
    try {
        return operation() ? 0 : Refuse();
    } catch (const std::exception&) {
        return FailAt(scanner->GetCursor(), ChannelStatus::MemoryFull, [] { return "No memory to read the document"; });
    }
}

int XMLIChannel::EndDocument() noexcept {
    const std::size_t before = scanner->GetPassedElements();
    const int result = Try([this] { return scanner->End(); });
    skippedElements += scanner->GetPassedElements() - before;
    return result;
}

int XMLIChannel::OpenTag(XMLName name) noexcept {
    return Try([this, name] { return scanner->Open(name); });
}

int XMLIChannel::CloseTag() noexcept {
    if (scanner->GetDepth() == 1)
        return FailAt(scanner->GetCursor(), ChannelStatus::WrongCall, [] { return "No element is open but the root"; });
    const std::size_t before = scanner->GetPassedElements();
    const int result = Try([this] { return scanner->CloseDownTo(scanner->GetDepth() - 1); });
    skippedElements += scanner->GetPassedElements() - before;
    return result;
}

int XMLIChannel::SkipElement() noexcept {
    return Try([this] { return scanner->OpenAny() && scanner->CloseDownTo(scanner->GetDepth() - 1); });
}

bool XMLIChannel::IsNextStartTag() noexcept {
    return status == 0 && scanner->IsNextStartTag();
}

bool XMLIChannel::IsNextTag(XMLName name) noexcept {
    return status == 0 && scanner->IsNextTag(name);
}

// A value that is written in ASCII.
template <class Value>
int XMLIChannel::ReadValue(XMLName name, Value& value) noexcept {
    return Try([this, name, &value] {
        Value parsed{};
        std::string_view content;
        std::u16string_view text;
        if (scanner->TryReadElement(name, content)) {
            if (Parse(XMLText::Trim(content), parsed)) {
                value = parsed;
                return true;
            }
            if (!scanner->Decode(content, text))
                return false;
        } else if (!scanner->ReadElement(name, text)) {
            return false;
        }
        const std::string narrow = Narrow(text);
        if (!Parse(XMLText::Trim(std::string_view(narrow)), parsed))
            return scanner->RefuseText("Value of \"%s\" is damaged or out of range", name);
        value = parsed;
        return true;
    });
}

int XMLIChannel::Read(XMLName name, short& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, unsigned short& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, int& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, unsigned int& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, std::int64_t& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, std::uint64_t& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, bool& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, double& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::Read(XMLName name, Guid& value) noexcept {
    return ReadValue(name, value);
}
int XMLIChannel::ReadVersion(ClassVersion& version) noexcept {
    return ReadValue("ClassVersion", version);
}

int XMLIChannel::Read(XMLName name, UniString& value) noexcept {
    return Try([this, name, &value] {
        std::u16string_view text;
        if (!scanner->ReadElement(name, text) || !scanner->UndoEscapes(text))
            return false;
        value = UniString(text);
        return true;
    });
}

int XMLIChannel::ReadText(UniString& value) noexcept {
    return Try([this, &value] {
        std::u16string_view text;
        if (!scanner->ReadText(text) || !scanner->UndoEscapes(text))
            return false;
        value = UniString(text);
        return true;
    });
}

int XMLIChannel::ReadCDATASize(unsigned int& size) noexcept {
    constexpr XMLName Name = "CDATASize";
    unsigned int claimed = 0;
    if (Read(Name, claimed) != 0)
        return status;
    return Try([this, claimed, &size, &Name] {
        if (scanner->GetRemainingSize() / 2 < claimed)
            return scanner->RefuseText("\"%s\" is more than the document holds", Name);
        size = claimed;
        return true;
    });
}

void XMLIChannel::ReadXMLCDATAHexToBin(char* target, std::size_t size) {
    if (Try([this, target, size] { return scanner->ReadHex(target, size); }) == 0)
        return;
    throw KestXML::XMLIChannelException(DescribeFailure(), SourceName, __LINE__);
}

// For an exception: why the channel has failed.
UniString XMLIChannel::DescribeFailure() const noexcept {
    try {
        if (const XMLScanner::Problem& problem = scanner->GetProblem(); *problem.format != '\0')
            return WithLocation(TextOf(problem), *scanner, scanner->GetPlace());
        return "Hexadecimal data cannot be read from a channel that has failed";
    } catch (const std::exception&) {   // without a message then
        return UniString();
    }
}

bool XMLIChannel::GetProtocolPlatform(PlatformSign& sign) const noexcept {
    if (!protocolPlatform)
        return false;
    sign = *protocolPlatform;
    return true;
}

}   // namespace Kest
