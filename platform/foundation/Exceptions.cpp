#include <Kest/Exceptions.hpp>

#include <optional>
#include <string>
#include <utility>

namespace Kest {

struct KestException::Details {
    UniString message;
    std::optional<std::string> file;
    std::unique_ptr<const KestException> cause;
};

RootException::~RootException() = default;

const char* RootException::GetName() const noexcept {
    return "RootException";
}

KestException::KestException(const char* message, const char* file, unsigned line) noexcept : sourceLine(line) {
    if (message != nullptr || file != nullptr)
        SetDetails(message, file, nullptr);
}

KestException::KestException(const char* message, const char* file, unsigned line, const KestException& cause) noexcept
    : sourceLine(line) {
    SetDetails(message, file, &cause);
}

KestException::KestException(const UniString& message, const char* file, unsigned line) noexcept : sourceLine(line) {
    SetDetails(message, file, nullptr);
}

KestException::KestException(const UniString& message, const char* file, unsigned line,
                             const KestException& cause) noexcept
    : sourceLine(line) {
    SetDetails(message, file, &cause);
}

KestException::KestException(const KestException& source) noexcept = default;
KestException& KestException::operator=(const KestException& source) noexcept = default;
KestException::~KestException() = default;

const char* KestException::GetName() const noexcept {
    return "KestException";
}

const UniString& KestException::GetMessage() const noexcept {
    static const UniString none;
    return details ? details->message : none;
}

const char* KestException::GetFile() const noexcept {
    return details && details->file ? details->file->c_str() : nullptr;
}

const KestException* KestException::GetCause() const noexcept {
    return details ? details->cause.get() : nullptr;
}

KestException* KestException::Clone() const noexcept {
    return NewCopy(*this);
}

template <class Text>
void KestException::SetDetails(const Text& message, const char* file, const KestException* cause) noexcept {
    try {
        auto made = std::make_shared<Details>();
        if (cause != nullptr)
            made->cause.reset(cause->Clone());
        made->message = message;
        if (file != nullptr)
            made->file = file;
        details = std::move(made);
    } catch (...) {   // the exception that is being made matters more than its details
    }
}

}   // namespace Kest
