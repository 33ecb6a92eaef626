#pragma once

#include <cstddef>
#include <cstdint>

#include <Kest/ByteOrder.hpp>
#include <Kest/ChannelStatus.hpp>
#include <Kest/Export.hpp>
#include <Kest/Guid.hpp>
#include <Kest/PlatformSign.hpp>
#include <Kest/UniString.hpp>

namespace Kest {

class Object;

/// A stream of bytes to write to.
///
/// Every operation returns the channel's status: 0, or the code of its first failure, after which nothing more is
/// written. Numbers are written in the byte order of the platform that was set, else of our own.
class KEST_API OChannel {
public:
    virtual ~OChannel();
    OChannel(const OChannel&) = delete;
    OChannel& operator=(const OChannel&) = delete;

    /// Writes a number of 1, 2, 4 or 8 bytes.
    template <ChannelNumber T>
    int Write(T value) {
        if (Ensure(sizeof(T))) {
            StoreNumber(cursor, value, swapsBytes);
            cursor += sizeof(T);
        }
        return status;
    }
    int Write(bool value);
    /// A 32-bit count of units, then the units.
    int Write(const UniString& text);
    /// 16 bytes, in the order of the text's digits.
    int Write(const Guid& guid) {
        if (Ensure(GuidSize)) {
            guid.Store(cursor);
            cursor += GuidSize;
        }
        return status;
    }
    /// Has \p object write itself. \returns what it returns
    int Write(const Object& object);

    /// Writes \p size bytes as they are; \p bytes may be null when \p size is 0.
    int WriteBlock(const void* bytes, std::size_t size);

    /// Makes room for some \p size more bytes at once, which saves copying when the guess is good. Without memory for
    /// them nothing happens.
    void Expect(std::size_t size) noexcept;

    /// Bytes written so far.
    std::uint64_t GetPosition() const noexcept { return flushed + GetSize(); }

    int GetStatus() const noexcept { return status; }
    /// Fails the channel with \p code, unless it is failed already. \returns the status
    int Fail(int code) noexcept;

    /// \name Platform that is written for
    /// Numbers and texts follow it. Blocks of bytes do not: what they hold is the business of whoever writes them.
    /// @{
    void SetProtocolPlatform(PlatformSign sign) noexcept;
    /// \returns whether it was set; when not, \p sign keeps its value
    bool GetProtocolPlatform(PlatformSign& sign) const noexcept;
    /// @}

protected:
    OChannel() noexcept = default;

    /// Called when bytes are there and no frame is open: hands them on and calls DropBytes, or keeps them, which is
    /// what the base does. May Fail the channel.
    virtual void BytesReady();

    /// The bytes that were not handed on.
    const char* GetBytes() const noexcept { return buffer; }
    std::size_t GetSize() const noexcept { return static_cast<std::size_t>(cursor - buffer); }
    /// Forgets them.
    void DropBytes() noexcept;
    /// Gives them to the caller, who frees them with delete[]; the channel goes on without bytes.
    char* TakeBytes() noexcept;

private:
    friend class OutputFrame;

    static constexpr std::size_t GuidSize = 16;

    bool Ensure(std::size_t size) {
        if (status == ChannelStatus::None && static_cast<std::size_t>(end - cursor) >= size) [[likely]]
            return true;
        return EnsureMore(size);
    }
    bool EnsureMore(std::size_t size);
    bool Grow(std::size_t capacity) noexcept;

    char* buffer = nullptr;
    char* cursor = nullptr;
    char* end = nullptr;
    std::uint64_t flushed = 0;
    int status = ChannelStatus::None;
    int openFrames = 0;
    bool swapsBytes = false;
    PlatformSign platform = PlatformSign::Unknown;
};

}   // namespace Kest
