#include <AttributeManager/AttributeMemoryFullException.hpp>

#include <AttributeManager/AttributeErrors.hpp>

namespace ADB {

AttributeMemoryFullException::AttributeMemoryFullException(const char* message, const char* file,
                                                           unsigned int line) noexcept
    : KestException(message, file, line),
      AttributeManagerException(message, file, line) {
    SetErrorCode(Error::MemoryFull);
}

AttributeMemoryFullException::AttributeMemoryFullException(const char* message, const char* file, unsigned int line,
                                                           const KestException& cause) noexcept
    : KestException(message, file, line, cause),
      AttributeManagerException(message, file, line, cause) {
    SetErrorCode(Error::MemoryFull);
}

AttributeMemoryFullException::AttributeMemoryFullException(const Kest::UniString& message, const char* file,
                                                           unsigned int line) noexcept
    : KestException(message, file, line),
      AttributeManagerException(message, file, line) {
    SetErrorCode(Error::MemoryFull);
}

AttributeMemoryFullException::AttributeMemoryFullException(const Kest::UniString& message, const char* file,
                                                           unsigned int line, const KestException& cause) noexcept
    : KestException(message, file, line, cause),
      AttributeManagerException(message, file, line, cause) {
    SetErrorCode(Error::MemoryFull);
}

AttributeMemoryFullException::~AttributeMemoryFullException() = default;

Kest::KestException* AttributeMemoryFullException::Clone() const noexcept {
    return NewCopy(*this);
}

const char* AttributeMemoryFullException::GetName() const noexcept {
    return "AttributeMemoryFullException";
}

}   // namespace ADB
