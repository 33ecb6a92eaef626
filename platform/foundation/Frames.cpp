#include <Kest/Frames.hpp>

#include <cstdint>

#include <Kest/ClassManager.hpp>
#include <Kest/Crc32c.hpp>

namespace Kest {
namespace {

constexpr std::uint16_t SealedFlag = 1;
constexpr std::size_t SealSize = sizeof(std::uint32_t);
constexpr std::size_t VersionOffset = 16;
constexpr std::size_t FlagsOffset = 18;
constexpr std::size_t LengthOffset = 20;

}   // namespace

OutputFrame::OutputFrame(OChannel& target, const ClassInfo& info)
    : channel(target),
      start(target.GetSize()),
      version(info.GetVersionFor(ClassManager::GetOutputVersion())),
      isSealed(target.openFrames == 0) {
    if (isSealed && start > 0 && channel.status == ChannelStatus::None) {
        channel.BytesReady();
        start = channel.GetSize();
    }
    ++channel.openFrames;
    if (!channel.Ensure(FrameHeaderSize))
        return;
    char* const header = channel.cursor;
    info.GetId().Store(header);
    StoreNumber(header + VersionOffset, version.GetMajor(), false);
    StoreNumber(header + VersionOffset + 1, version.GetMinor(), false);
    StoreNumber(header + FlagsOffset, isSealed ? SealedFlag : std::uint16_t{0}, channel.swapsBytes);
    StoreNumber(header + LengthOffset, std::uint64_t{0}, false);   // known at the end
    channel.cursor += FrameHeaderSize;
}

int OutputFrame::End() {
    isOpen = false;
    if (channel.status == ChannelStatus::None) {
        const std::uint64_t length = channel.GetSize() - start - FrameHeaderSize;
        StoreNumber(channel.buffer + start + LengthOffset, length, channel.swapsBytes);
        if (isSealed)
            Seal();
    }
    --channel.openFrames;
    if (isSealed && channel.status == ChannelStatus::None)
        channel.BytesReady();
    return channel.status;
}

void OutputFrame::Seal() {
    channel.Write(Crc32c(0, channel.buffer + start, channel.GetSize() - start));
}

struct InputFrame::Header {
    Guid classId;
    ClassVersion version;
    std::uint16_t flags = 0;
    std::uint64_t length = 0;
};

InputFrame::InputFrame(IChannel& source, const ClassInfo& info) : channel(source), status(source.status) {
    if (status == ChannelStatus::None) {
        Open(info);
        status = channel.status;
    }
}

// Reads without moving on: the checksum covers the header too.
bool InputFrame::ReadHeader(Header& header) const {
    if (!channel.Ensure(FrameHeaderSize))
        return false;
    const char* const bytes = channel.cursor;
    header.classId = Guid::Load(bytes);
    header.version = ClassVersion(LoadNumber<std::uint8_t>(bytes + VersionOffset, false),
                                  LoadNumber<std::uint8_t>(bytes + VersionOffset + 1, false));
    header.flags = LoadNumber<std::uint16_t>(bytes + FlagsOffset, channel.swapsBytes);
    header.length = LoadNumber<std::uint64_t>(bytes + LengthOffset, channel.swapsBytes);
    return true;
}

void InputFrame::Open(const ClassInfo& info) {
    Header header;
    if (!ReadHeader(header))
        return;
    if (header.classId != info.GetId()) {
        channel.Fail(ChannelStatus::WrongClass);
        return;
    }
    if ((header.flags & ~SealedFlag) != 0 || header.length > SIZE_MAX / 2) {
        channel.Fail(ChannelStatus::Damaged);
        return;
    }
    const bool isSealed = (header.flags & SealedFlag) != 0;
    const std::size_t covered = FrameHeaderSize + static_cast<std::size_t>(header.length);
    if (!channel.Ensure(covered + (isSealed ? SealSize : 0)))
        return;
    const char* const end = channel.cursor + covered;
    if (isSealed && !channel.isVerified &&
        LoadNumber<std::uint32_t>(end, channel.swapsBytes) != Crc32c(0, channel.cursor, covered)) {
        channel.Fail(ChannelStatus::Damaged);
        return;
    }
    version = header.version;
    outerLimit = channel.limit;
    outerIsVerified = channel.isVerified;
    behind = isSealed ? end + SealSize : end;
    channel.isVerified = channel.isVerified || isSealed;
    channel.cursor += FrameHeaderSize;
    channel.limit = end;
    ++channel.openFrames;
    isOpen = true;
}

int InputFrame::End() noexcept {
    isOpen = false;
    channel.cursor = behind;
    channel.limit = outerLimit;
    channel.isVerified = outerIsVerified;
    --channel.openFrames;
    return channel.status;
}

}   // namespace Kest
