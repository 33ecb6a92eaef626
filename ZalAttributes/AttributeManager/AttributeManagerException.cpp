#include <AttributeManager/AttributeManagerException.hpp>

#include <AttributeManager/AttributeErrors.hpp>

namespace ADB {

AttributeManagerException::AttributeManagerException(const char* message, const char* file, unsigned int line) noexcept
    : KestException(message, file, line) {
    SetErrorCode(Error::WrongCall);
}

AttributeManagerException::AttributeManagerException(const char* message, const char* file, unsigned int line,
                                                     const KestException& cause) noexcept
    : KestException(message, file, line, cause) {
    SetErrorCode(Error::WrongCall);
}

AttributeManagerException::AttributeManagerException(const Kest::UniString& message, const char* file,
                                                     unsigned int line) noexcept
    : KestException(message, file, line) {
    SetErrorCode(Error::WrongCall);
}

AttributeManagerException::AttributeManagerException(const Kest::UniString& message, const char* file,
                                                     unsigned int line, const KestException& cause) noexcept
    : KestException(message, file, line, cause) {
    SetErrorCode(Error::WrongCall);
}

AttributeManagerException::~AttributeManagerException() = default;

Kest::KestException* AttributeManagerException::Clone() const noexcept {
    return NewCopy(*this);
}

const char* AttributeManagerException::GetName() const noexcept {
    return "AttributeManagerException";
}

}   // namespace ADB
