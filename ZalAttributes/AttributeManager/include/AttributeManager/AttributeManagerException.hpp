#pragma once

#include <Kest/Exceptions.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// Thrown where a constructor or reader of the library has no code to return. Its code is Error::WrongCall.
///
/// Message and file, which are copied, may be null, and the line 0; the cause is cloned.
class ADB_API AttributeManagerException : public virtual Kest::KestException, public virtual Kest::RootException {
public:
    AttributeManagerException(const char* message, const char* file, unsigned int line) noexcept;
    AttributeManagerException(const char* message, const char* file, unsigned int line,
                              const KestException& cause) noexcept;
    AttributeManagerException(const Kest::UniString& message, const char* file, unsigned int line) noexcept;
    AttributeManagerException(const Kest::UniString& message, const char* file, unsigned int line,
                              const KestException& cause) noexcept;
    AttributeManagerException(const AttributeManagerException&) noexcept = default;
    AttributeManagerException& operator=(const AttributeManagerException&) noexcept = default;
    ~AttributeManagerException() override;

    /// A copy on the heap, owned by the caller; null when memory runs out.
    KestException* Clone() const noexcept override;
    const char* GetName() const noexcept override;
};

}   // namespace ADB
