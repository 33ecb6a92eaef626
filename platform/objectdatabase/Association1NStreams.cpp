#include <cstdint>
#include <limits>
#include <new>

#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

#include <ODB/Association1NUntyped.hpp>

namespace ODB {

int Association1NUntyped::WriteLeft(const ConstRef<Object>& right, Kest::OChannel& channel) const {
    return GetLeft(right).WriteRef(channel);
}

int Association1NUntyped::WriteRight(const ConstRef<Object>& left, Kest::OChannel& channel) const {
    const std::size_t count = GetConnectionCount(left);
    if (count > std::numeric_limits<std::uint32_t>::max())
        return channel.Fail(Kest::ChannelStatus::TooLarge);
    channel.Write(static_cast<std::uint32_t>(count));
    RightWalk walk(*this, left);
    while (ObjectInfo* const right = walk.Next())
        ConstRef<Object>(right).WriteRef(channel);
    return channel.GetStatus();
}

int Association1NUntyped::IsolatedReadLeft(const Ref<Object>& right, Kest::IChannel& channel, IdSpace* idSpace) const {
    Ref<Object> left;
    if (const int status = left.ReadRef(channel, idSpace); status != 0 || !left)
        return status;
    try {
        return CreateIsolatedLink(left, right);
    } catch (const std::bad_alloc&) {
        return channel.Fail(Kest::ChannelStatus::MemoryFull);
    }
}

int Association1NUntyped::IsolatedReadRight(const Ref<Object>& left, Kest::IChannel& channel, IdSpace* idSpace) const {
    std::uint32_t count = 0;
    channel.ReadCount(count, sizeof(Kest::Guid::Bytes));
    try {
        RefList<Object> rights;
        for (std::uint32_t place = 0; place < count && channel.GetStatus() == 0; ++place) {
            Ref<Object> right;
            if (right.ReadRef(channel, idSpace) == 0 && right)
                rights.Push(right);
        }
        return channel.GetStatus() != 0 ? channel.GetStatus() : CreateIsolatedLinks(left, rights);
    } catch (const std::bad_alloc&) {
        return channel.Fail(Kest::ChannelStatus::MemoryFull);
    }
}

}   // namespace ODB
