#include <Kest/IChannel.hpp>

#include <cstring>
#include <new>

#include <Kest/Object.hpp>

namespace Kest {

IChannel::~IChannel() = default;

bool IChannel::Provide(std::size_t size) {
    return GetRest() >= size;
}

void IChannel::SetWindow(const char* begin, const char* next, const char* end, std::uint64_t position) noexcept {
    window = begin;
    cursor = next;
    limit = end;
    windowPosition = position;
}

bool IChannel::EnsureMore(std::size_t size) {
    if (status != ChannelStatus::None)
        return false;
    if (openFrames == 0 && Provide(size))
        return true;
    Fail(ChannelStatus::EndOfData);
    return false;
}

int IChannel::Fail(int code) noexcept {
    if (status == ChannelStatus::None)
        status = code;
    return status;
}

void IChannel::SetProtocolPlatform(PlatformSign sign) noexcept {
    platform = sign;
    swapsBytes = HasOtherByteOrder(sign);
}

bool IChannel::GetProtocolPlatform(PlatformSign& sign) const noexcept {
    if (platform == PlatformSign::Unknown)
        return false;
    sign = platform;
    return true;
}

int IChannel::Read(bool& value) {
    unsigned char byte = 0;
    if (Read(byte) != ChannelStatus::None)
        return status;
    if (byte > 1)
        return Fail(ChannelStatus::Damaged);
    value = byte != 0;
    return status;
}

int IChannel::Read(UniString& text) {
    std::uint32_t length = 0;
    if (ReadCount(length, sizeof(char16_t)) != ChannelStatus::None)
        return status;
    const char* const units = TakeBlock(std::size_t{length} * sizeof(char16_t));
    if (units == nullptr)
        return status;
    try {
        text = UniString::FromUnits(units, length, swapsBytes);
    } catch (const std::bad_alloc&) {
        Fail(ChannelStatus::MemoryFull);
    }
    return status;
}

int IChannel::Read(Guid& guid) {
    if (const char* const bytes = TakeBlock(sizeof(Guid::Bytes)))
        guid = Guid::Load(bytes);
    return status;
}

int IChannel::Read(Object& object) {
    return object.Read(*this);
}

int IChannel::ReadBlock(void* target, std::size_t size) {
    const char* const bytes = TakeBlock(size);
    if (bytes != nullptr && size > 0)
        std::memcpy(target, bytes, size);
    return status;
}

const char* IChannel::TakeBlock(std::size_t size) {
    if (!Ensure(size))
        return nullptr;
    const char* const bytes = cursor;
    cursor += size;
    return bytes;
}

int IChannel::ReadCount(std::uint32_t& count, std::size_t leastBytesPerItem) {
    std::uint32_t claimed = 0;
    if (Read(claimed) != ChannelStatus::None)
        return status;
    if (leastBytesPerItem != 0 && claimed > SIZE_MAX / leastBytesPerItem)
        return Fail(ChannelStatus::EndOfData);
    const std::size_t least = claimed * leastBytesPerItem;
    if (least > GetRest() && (openFrames > 0 || !Provide(least)))
        return Fail(ChannelStatus::EndOfData);
    count = claimed;
    return status;
}

}   // namespace Kest
