#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <new>

#include <Kest/Frames.hpp>

#include <ZalUtil/MemoConversion.hpp>

#include <AttributeManager/AttributeErrors.hpp>
#include <AttributeManager/AttributeManagerException.hpp>
#include <AttributeManager/RegTblData.hpp>

#include "ReportLaterFrame.hpp"

// In a frame of the class: int n | n bytes, the whole table, when n is above 0.

namespace ADB {

// Takes a table that a system of `writer` wrote, converting it where it stands.
int RegTblData::Take(char* bytes, std::size_t size, Kest::PlatformSign writer) {
    if (writer != Kest::PlatformSign::LittleEndian) {
        if (!ZalUtil::HoldsMemoRecord(bytes, size, writer))
            throw AttributeManagerException(static_cast<const char*>(nullptr), nullptr, 0);
        const int status = IVRegTblData(writer, {GetSignal(), ZalUtil::MemoLayoutVersion}, bytes, size);
        if (status != Error::None)
            return status;
    }
    return PutData(bytes, static_cast<std::int64_t>(size));
}

int RegTblData::Read(Kest::IChannel& channel) {
    Kest::InputFrame frame(channel, *GetClassInfoStatic());
    if (frame.GetStatus() != Error::None)
        return frame.GetStatus();
    ReportLaterFrame(*GetClassInfoStatic(), frame.GetVersion());
    int size = 0;
    channel.Read(size);
    if (size <= 0)
        return frame.Close();
    const auto count = static_cast<std::size_t>(size);
    const char* const bytes = channel.TakeBlock(count);
    if (bytes == nullptr)
        return channel.GetStatus();
    Kest::PlatformSign writer = Kest::PlatformSign::LittleEndian;
    channel.GetProtocolPlatform(writer);
    int status = Error::None;
    if (writer == Kest::PlatformSign::LittleEndian) {
        status = PutData(bytes, size);
    } else {
        const std::unique_ptr<char[]> copy(new (std::nothrow) char[count]);
        if (!copy)
            return Error::MemoryFull;
        std::memcpy(copy.get(), bytes, count);
        status = Take(copy.get(), count, writer);
    }
    return status != Error::None ? status : frame.Close();
}

int RegTblData::Write(Kest::OChannel& channel) const {
    Kest::OutputFrame frame(channel, *GetClassInfoStatic());
    const std::size_t size = GetSize();
    if (size > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        channel.Fail(Kest::ChannelStatus::TooLarge);
    } else {
        channel.Write(static_cast<int>(size));
        channel.WriteBlock(GetBytes(), size);
    }
    return frame.Close();
}

int RegTblData::Restore(const Kest::ObjectState& state) {
    RegTblData restored;
    const int status = restored.BaseRegTblData::Restore(state);
    if (status == Error::None)
        *this = restored;
    return status;
}

}   // namespace ADB
