#pragma once

#include <new>

#include <AttributeManager/AttributeManagerException.hpp>
#include <AttributeManager/Export.hpp>

namespace ADB {

/// Thrown when the library cannot make an object; a handler for the standard out-of-memory exception catches it too.
/// Its code is Error::MemoryFull.
///
/// Message and file, which are copied, may be null, and the line 0; the cause is cloned.
class ADB_API AttributeMemoryFullException : public virtual Kest::KestException,
                                             public virtual Kest::RootException,
                                             public AttributeManagerException,
                                             public std::bad_alloc {
public:
    AttributeMemoryFullException(const char* message, const char* file, unsigned int line) noexcept;
    AttributeMemoryFullException(const char* message, const char* file, unsigned int line,
                                 const KestException& cause) noexcept;
    AttributeMemoryFullException(const Kest::UniString& message, const char* file, unsigned int line) noexcept;
    AttributeMemoryFullException(const Kest::UniString& message, const char* file, unsigned int line,
                                 const KestException& cause) noexcept;
    AttributeMemoryFullException(const AttributeMemoryFullException&) noexcept = default;
    AttributeMemoryFullException& operator=(const AttributeMemoryFullException&) noexcept = default;
    ~AttributeMemoryFullException() override;

    /// A copy on the heap, owned by the caller; null when memory runs out.
    KestException* Clone() const noexcept override;
    const char* GetName() const noexcept override;
};

}   // namespace ADB
