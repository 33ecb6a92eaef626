#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include <Kest/ByteOrder.hpp>
#include <Kest/ChannelStatus.hpp>
#include <Kest/Export.hpp>
#include <Kest/Guid.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/UniString.hpp>

namespace Kest {

class Object;

/// A stream of bytes to read from.
///
/// Every operation returns the channel's status: 0, or the code of its first failure, with which it stays failed;
/// then the argument keeps its value. So a reader may read many items and test once. Inside an InputFrame nothing
/// behind the frame's end is read. Numbers are in the byte order of the writer's platform.
class KEST_API IChannel {
public:
    virtual ~IChannel();
    IChannel(const IChannel&) = delete;
    IChannel& operator=(const IChannel&) = delete;

    /// Reads a number of 1, 2, 4 or 8 bytes.
    template <ChannelNumber T>
    int Read(T& value) {
        if (Ensure(sizeof(T))) {
            value = LoadNumber<T>(cursor, swapsBytes);
            cursor += sizeof(T);
        }
        return status;
    }
    /// Reads a byte, which must be 0 or 1.
    int Read(bool& value);
    int Read(UniString& text);
    int Read(Guid& guid);
    /// Has \p object read itself. \returns what it returns
    int Read(Object& object);

    /// Reads past a value of type T.
    template <ChannelNumber T>
    int Skip() {
        T dropped;
        return Read(dropped);
    }

    /// Reads \p size bytes as they are.
    int ReadBlock(void* target, std::size_t size);

    /// Moves past \p size bytes. \returns them, in place: valid until the next operation on the channel outside of all
    /// frames; null when the channel is failed or they are not there
    const char* TakeBlock(std::size_t size);

    /// Reads a 32-bit count of items of which each takes \p leastBytesPerItem bytes or more. A count that what is left
    /// cannot hold fails the channel.
    int ReadCount(std::uint32_t& count, std::size_t leastBytesPerItem);

    /// Bytes read so far, frame headers and skipped ones included.
    std::uint64_t GetPosition() const noexcept { return windowPosition + static_cast<std::uint64_t>(cursor - window); }

    int GetStatus() const noexcept { return status; }
    /// Fails the channel with \p code, unless it is failed already. \returns the status
    int Fail(int code) noexcept;

    /// \name Platform of the writer
    /// @{
    void SetProtocolPlatform(PlatformSign sign) noexcept;
    /// \returns whether it is known; when not, \p sign keeps its value
    bool GetProtocolPlatform(PlatformSign& sign) const noexcept;
    /// @}

protected:
    IChannel() noexcept = default;

    /// Outside of all frames: makes \p size bytes readable from the cursor on, by SetWindow. Takes memory in growing
    /// steps, only for bytes that are there. \returns false when they are not there; may Fail the channel
    virtual bool Provide(std::size_t size);

    /// Makes the bytes from \p begin to \p end those that can be read, with the cursor at \p next. \p position is that
    /// of \p begin in the stream.
    void SetWindow(const char* begin, const char* next, const char* end, std::uint64_t position) noexcept;
    const char* GetCursor() const noexcept { return cursor; }
    const char* GetWindowEnd() const noexcept { return limit; }

private:
    friend class InputFrame;

    std::size_t GetRest() const noexcept { return static_cast<std::size_t>(limit - cursor); }
    bool Ensure(std::size_t size) {
        if (status == ChannelStatus::None && GetRest() >= size) [[likely]]
            return true;
        return EnsureMore(size);
    }
    bool EnsureMore(std::size_t size);

    const char* cursor = nullptr;
    const char* limit = nullptr;   // of the innermost frame, else of the window
    const char* window = nullptr;
    std::uint64_t windowPosition = 0;
    int status = ChannelStatus::None;
    int openFrames = 0;
    bool swapsBytes = false;
    bool isVerified = false;   // what the innermost frame holds was under a checksum that was right
    PlatformSign platform = PlatformSign::Unknown;
};

}   // namespace Kest
