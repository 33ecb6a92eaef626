#pragma once

#include <Kest/Exceptions.hpp>

namespace KestXML {

/// Thrown where reading XML has no code to return. Its code is Kest::ChannelStatus::Damaged.
///
/// Message and file, which are copied, may be null, and the line 0; the cause is cloned.
class KEST_API XMLIChannelException : public virtual Kest::KestException, public virtual Kest::RootException {
public:
    XMLIChannelException(const char* message, const char* file, unsigned int line) noexcept;
    XMLIChannelException(const char* message, const char* file, unsigned int line,
                         const Kest::KestException& cause) noexcept;
    XMLIChannelException(const Kest::UniString& message, const char* file, unsigned int line) noexcept;
    XMLIChannelException(const Kest::UniString& message, const char* file, unsigned int line,
                         const Kest::KestException& cause) noexcept;
    XMLIChannelException(const XMLIChannelException&) noexcept = default;
    XMLIChannelException& operator=(const XMLIChannelException&) noexcept = default;
    ~XMLIChannelException() override;

    /// A copy on the heap, owned by the caller; null when memory runs out.
    Kest::KestException* Clone() const noexcept override;
    const char* GetName() const noexcept override;
};

}   // namespace KestXML
