#include <Kest/OChannel.hpp>

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>
#include <utility>

#include <Kest/Object.hpp>

namespace Kest {
namespace {

constexpr std::size_t FirstSize = 256;

}   // namespace

OChannel::~OChannel() {
    delete[] buffer;
}

void OChannel::BytesReady() {}

void OChannel::DropBytes() noexcept {
    flushed += GetSize();
    cursor = buffer;
}

char* OChannel::TakeBytes() noexcept {
    cursor = end = nullptr;
    return std::exchange(buffer, nullptr);
}

bool OChannel::EnsureMore(std::size_t size) {
    if (status == ChannelStatus::None && openFrames == 0 && cursor != buffer)
        BytesReady();
    if (status != ChannelStatus::None)
        return false;
    const std::size_t used = GetSize();
    if (static_cast<std::size_t>(end - cursor) >= size)
        return true;
    const auto most = static_cast<std::size_t>(std::numeric_limits<std::ptrdiff_t>::max());
    if (size > most - used) {
        Fail(ChannelStatus::TooLarge);
        return false;
    }
    if (!Grow(std::max({FirstSize, used + size, std::min(most, 2 * used)})))
        Fail(ChannelStatus::MemoryFull);
    return status == ChannelStatus::None;
}

bool OChannel::Grow(std::size_t capacity) noexcept {
    const std::size_t used = GetSize();
    char* const grown = new (std::nothrow) char[capacity];
    if (grown == nullptr)
        return false;
    if (used > 0)
        std::memcpy(grown, buffer, used);
    delete[] std::exchange(buffer, grown);
    cursor = buffer + used;
    end = buffer + capacity;
    return true;
}

void OChannel::Expect(std::size_t size) noexcept {
    const std::size_t used = GetSize();
    if (status == ChannelStatus::None && size > static_cast<std::size_t>(end - cursor) && size < SIZE_MAX / 4 - used)
        Grow(used + size);
}

int OChannel::Fail(int code) noexcept {
    if (status == ChannelStatus::None)
        status = code;
    return status;
}

void OChannel::SetProtocolPlatform(PlatformSign sign) noexcept {
    platform = sign;
    swapsBytes = HasOtherByteOrder(sign);
}

bool OChannel::GetProtocolPlatform(PlatformSign& sign) const noexcept {
    if (platform == PlatformSign::Unknown)
        return false;
    sign = platform;
    return true;
}

int OChannel::Write(bool value) {
    return Write(static_cast<unsigned char>(value));
}

int OChannel::Write(const UniString& text) {
    const std::u16string_view units = text.GetView();
    const std::size_t size = units.size() * sizeof(char16_t);
    if (!Ensure(sizeof(std::uint32_t) + size))
        return status;
    Write(static_cast<std::uint32_t>(units.size()));
    if (!swapsBytes)
        return WriteBlock(units.data(), size);
    for (const char16_t unit : units)
        Write(static_cast<std::uint16_t>(unit));
    return status;
}

int OChannel::Write(const Object& object) {
    return object.Write(*this);
}

int OChannel::WriteBlock(const void* bytes, std::size_t size) {
    if (size > 0 && Ensure(size)) {
        std::memcpy(cursor, bytes, size);
        cursor += size;
    }
    return status;
}

}   // namespace Kest
