#include <array>
#include <cstdint>
#include <new>

#include <Kest/ClassManager.hpp>
#include <Kest/Frames.hpp>
#include <Kest/MemoryChannels.hpp>
#include <Kest/XMLIChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include <ODB/IdReadingScope.hpp>
#include <ODB/Object.hpp>

namespace ODB {
namespace {

constexpr Kest::XMLName IdElement = "Id";

// FNV-1a of 128 bits, in two halves of 64: every byte takes part in every bit behind it. Spread over the id at the end.
class ContentHash {
public:
    void Add(const char* bytes, std::size_t size) noexcept {
        for (std::size_t place = 0; place < size; ++place)
            AddByte(static_cast<std::uint8_t>(bytes[place]));
    }

    // An id of the version that is meant for names: 8, made by rules of one's own.
    Kest::Guid MakeGuid() const noexcept {
        Kest::Guid::Bytes bytes{};
        for (std::size_t place = 0; place < bytes.size(); ++place)
            bytes[place] = static_cast<std::uint8_t>((place < 8 ? high : low) >> 8 * (7 - place % 8));
        bytes[6] = static_cast<std::uint8_t>((bytes[6] & 0x0F) | 0x80);
        bytes[8] = static_cast<std::uint8_t>((bytes[8] & 0x3F) | 0x80);
        return Kest::Guid(bytes);
    }

private:
    // Times the prime 2^88 + 0x13B.
    void AddByte(std::uint8_t byte) noexcept {
        low ^= byte;
        constexpr std::uint64_t primeLow = 0x13B;
        const std::uint64_t lowLow = (low & 0xFFFFFFFF) * primeLow;
        const std::uint64_t lowHigh = (low >> 32) * primeLow + (lowLow >> 32);
        high = high * primeLow + (low << 24) + (lowHigh >> 32);
        low = lowHigh << 32 | (lowLow & 0xFFFFFFFF);
    }

    std::uint64_t high = 0x6C62272E07BB0142;
    std::uint64_t low = 0x62B821756295C58D;
};

}   // namespace

int Object::WriteIdentity(Kest::OChannel& channel, const Kest::ClassInfo& partClass) const {
    Kest::OutputFrame frame(channel, partClass);
    channel.Write(GetId().GetGuid());
    return frame.Close();
}

int Object::ReadIdentity(Kest::IChannel& channel, const Kest::ClassInfo& partClass) {
    Kest::InputFrame frame(channel, partClass);
    Kest::Guid guid;
    if (frame.GetStatus() == 0 && channel.Read(guid) == 0) {
        IdReadingScope::NoteStoredId(Id(guid));
        IdReadingScope::NoteVersion(frame.GetVersion(), partClass.GetVersion());
    }
    return frame.Close();
}

int Object::Read(Kest::IChannel& channel) {
    return ReadIdentity(channel, *GetClassInfoStatic());
}

int Object::Write(Kest::OChannel& channel) const {
    return WriteIdentity(channel, *GetClassInfoStatic());
}

int Object::ReadIsolatedState(Kest::IChannel& channel) {
    return ReadIdentity(channel, *GetClassInfoStatic());
}

int Object::WriteIsolatedState(Kest::OChannel& channel) const {
    return WriteIdentity(channel, *GetClassInfoStatic());
}

int Object::WriteXML(Kest::XMLOChannel& channel) const {
    return channel.Write(IdElement, GetId().GetGuid());
}

int Object::ReadXML(Kest::XMLIChannel& channel) {
    Kest::Guid guid;
    if (channel.Read(IdElement, guid) == 0)
        IdReadingScope::NoteStoredId(Id(guid));
    return channel.GetStatus();
}

int Object::WriteIsolatedStateXML(Kest::XMLOChannel& channel) const {
    return Object::WriteXML(channel);
}

int Object::ReadIsolatedStateXML(Kest::XMLIChannel& channel) {
    return Object::ReadXML(channel);
}

int Object::WriteContentForIdGeneration(Kest::OChannel& channel) const {
    return channel.Write(GetClassInfo()->GetId());
}

Id Object::GenerateIdFromContent() const {
    const Kest::ClassManager::OutputVersionBlock current(0);
    Kest::MemoryOChannel channel;
    channel.SetProtocolPlatform(Kest::PlatformSign::LittleEndian);
    if (WriteContentForIdGeneration(channel) != 0)
        return NullId;
    ContentHash hash;
    hash.Add(channel.GetBytes(), channel.GetSize());
    return Id(hash.MakeGuid());
}

}   // namespace ODB
