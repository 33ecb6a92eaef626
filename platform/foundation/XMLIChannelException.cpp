#include <Kest/XMLIChannelException.hpp>

#include <Kest/ChannelStatus.hpp>

namespace KestXML {

XMLIChannelException::XMLIChannelException(const char* message, const char* file, unsigned int line) noexcept
    : KestException(message, file, line) {
    SetErrorCode(Kest::ChannelStatus::Damaged);
}

XMLIChannelException::XMLIChannelException(const char* message, const char* file, unsigned int line,
                                           const Kest::KestException& cause) noexcept
    : KestException(message, file, line, cause) {
    SetErrorCode(Kest::ChannelStatus::Damaged);
}

XMLIChannelException::XMLIChannelException(const Kest::UniString& message, const char* file, unsigned int line) noexcept
    : KestException(message, file, line) {
    SetErrorCode(Kest::ChannelStatus::Damaged);
}

XMLIChannelException::XMLIChannelException(const Kest::UniString& message, const char* file, unsigned int line,
                                           const Kest::KestException& cause) noexcept
    : KestException(message, file, line, cause) {
    SetErrorCode(Kest::ChannelStatus::Damaged);
}

XMLIChannelException::~XMLIChannelException() = default;

Kest::KestException* XMLIChannelException::Clone() const noexcept {
    return NewCopy(*this);
}

const char* XMLIChannelException::GetName() const noexcept {
    return "XMLIChannelException";
}

}   // namespace KestXML
