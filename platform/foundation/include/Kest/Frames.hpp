#pragma once

/// \file
/// Versioned frames: what an object of one class writes, marked with the class, its version and its length.
///
/// Layout: class GUID (16 bytes), major and minor version (a byte each), flags (16 bits, bit 0: sealed), length of the
/// body (64 bits), the body, and for a sealed frame the CRC-32C of header and body. A frame is sealed when no other is
/// open on its channel; a damaged or cut one is refused on opening, before anything of it is used. Other flags are for
/// later: a frame that has some is refused.

#include <cstddef>

#include <Kest/ClassInfo.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/Export.hpp>
#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

namespace Kest {

/// Bytes of a frame ahead of its body.
inline constexpr std::size_t FrameHeaderSize = 28;

/// A frame that is being written. Frames are closed in the reverse of the order in which they were opened.
class KEST_API OutputFrame {
public:
    /// Opens a frame for an object of \p info, of the version that is asked for (see ClassManager::OutputVersionBlock).
    OutputFrame(OChannel& target, const ClassInfo& info);
    ~OutputFrame() { Close(); }
    OutputFrame(const OutputFrame&) = delete;
    OutputFrame& operator=(const OutputFrame&) = delete;

    /// The version to be written.
    ClassVersion GetVersion() const noexcept { return version; }

    /// Ends the frame, unless it is closed already. \returns the channel's status
    int Close() { return isOpen ? End() : channel.GetStatus(); }

private:
    int End();
    void Seal();

    OChannel& channel;
    std::size_t start;   // of the header, in the channel's buffer
    ClassVersion version;
    bool isSealed;
    bool isOpen = true;
};

/// A frame that is being read: until it is closed, the channel ends where the frame ends.
class KEST_API InputFrame {
public:
    /// Opens the frame that stands next, which must be one of \p info's class, whole and undamaged; else the channel is
    /// failed.
    InputFrame(IChannel& source, const ClassInfo& info);
    ~InputFrame() { Close(); }
    InputFrame(const InputFrame&) = delete;
    InputFrame& operator=(const InputFrame&) = delete;

    /// 0, or why the frame could not be opened: then nothing of its body may be read.
    int GetStatus() const noexcept { return status; }

    /// The version that was written; 0.0 when the frame could not be opened.
    ClassVersion GetVersion() const noexcept { return version; }

    /// Moves behind the frame, past what was not read of it. \returns the channel's status
    int Close() { return isOpen ? End() : channel.GetStatus(); }

private:
    struct Header;

    bool ReadHeader(Header& header) const;
    void Open(const ClassInfo& info);
    int End() noexcept;

    IChannel& channel;
    const char* outerLimit = nullptr;
    const char* behind = nullptr;   // where the channel goes on after the frame
    ClassVersion version;
    int status;
    bool outerIsVerified = false;
    bool isOpen = false;
};

}   // namespace Kest
