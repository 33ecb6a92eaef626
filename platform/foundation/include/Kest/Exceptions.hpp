#pragma once

#include <Kest/Export.hpp>
#include <Kest/UniString.hpp>

#include <memory>
#include <new>

namespace Kest {

/// The root of the house's exceptions. Always a virtual base, so that a handler for it is never ambiguous.
class KEST_API RootException {
public:
    RootException() noexcept = default;
    RootException(const RootException&) noexcept = default;
    RootException& operator=(const RootException&) noexcept = default;
    virtual ~RootException();

    /// The name of the class, without its namespace.
    virtual const char* GetName() const noexcept;
};

/// An exception with an error code, a message, the place that threw it and the exception that caused it.
///
/// A virtual base of all classes derived from it. The most derived class constructs it and overrides GetName and
/// Clone; each class sets its code in its constructor's body, so that the most derived one has the last word. Copying
/// and moving throw nothing and share the details; a moved-from exception is unchanged. When there is no memory for
/// the details the exception goes without them: it is thrown all the same.
class KEST_API KestException : public virtual RootException {
public:
    /// The error code of a KestException whose class sets no other.
    static constexpr int GeneralError = -1;

    /// \p message and \p file (both copied) may be null, \p line 0; \p cause is cloned.
    KestException(const char* message, const char* file, unsigned line) noexcept;
    KestException(const char* message, const char* file, unsigned line, const KestException& cause) noexcept;
    KestException(const UniString& message, const char* file, unsigned line) noexcept;
    KestException(const UniString& message, const char* file, unsigned line, const KestException& cause) noexcept;
    // Moving copies: a class with several paths to this base may assign it once per path, from the same source.
    KestException(const KestException& source) noexcept;
    KestException& operator=(const KestException& source) noexcept;
    ~KestException() override;

    const char* GetName() const noexcept override;

    int GetErrorCode() const noexcept { return errorCode; }
    /// The message; empty when there is none.
    const UniString& GetMessage() const noexcept;
    /// The source file that threw, or null.
    const char* GetFile() const noexcept;
    /// The line that threw, or 0.
    unsigned GetLine() const noexcept { return sourceLine; }
    /// The clone of the exception that caused this one, or null. Owned by this exception and its copies.
    const KestException* GetCause() const noexcept;

    /// A new copy of the same class, which the caller deletes, or null when there is no memory.
    virtual KestException* Clone() const noexcept;

protected:
    void SetErrorCode(int newCode) noexcept { errorCode = newCode; }

    /// What Clone of each class returns: `return NewCopy(*this);`
    template <class Exception>
    static KestException* NewCopy(const Exception& source) noexcept {
        return new (std::nothrow) Exception(source);
    }

private:
    struct Details;

    template <class Text>
    void SetDetails(const Text& message, const char* file, const KestException* cause) noexcept;

    std::shared_ptr<const Details> details;   // null: no message, no file, no cause
    unsigned sourceLine = 0;
    int errorCode = GeneralError;
};

}   // namespace Kest
