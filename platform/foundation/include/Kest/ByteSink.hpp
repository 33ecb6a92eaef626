#pragma once

#include <Kest/Export.hpp>

#include <cstddef>
#include <string>

namespace Kest {

/// Where the bytes of a document go: a file, a text in memory.
///
/// Called from its first byte to its last, in order. The first code other than 0 is the end: nothing more is written
/// and Finish is not called, so a sink that dies without Finish holds no whole document and throws away what it has.
class KEST_API IByteSink {
public:
    virtual ~IByteSink();

    /// Takes \p size bytes, which are the caller's again afterwards. \returns 0 or a ChannelStatus code.
    virtual int Write(const char* bytes, std::size_t size) = 0;

    /// The document is complete: makes it last, as far as the sink does that. Called at most once.
    /// \returns 0 or a ChannelStatus code.
    virtual int Finish() = 0;
};

/// Collects a document in memory.
class KEST_API StringSink : public IByteSink {
public:
    StringSink() noexcept;
    ~StringSink() override;

    /// \returns 0, or ChannelStatus::MemoryFull with the text as it was.
    int Write(const char* bytes, std::size_t size) override;
    int Finish() override;

    /// What has come so far, whole or not.
    const std::string& GetText() const noexcept { return text; }

    /// Hands the text over; an empty one is left.
    std::string TakeText() noexcept;

private:
    std::string text;
};

}   // namespace Kest
