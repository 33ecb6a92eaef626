#pragma once

#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>
#include <Kest/XMLOChannel.hpp>

#include "CatchMemoryFull.hpp"

namespace ADB {

inline void FailForMemory(Kest::IChannel& channel) noexcept {
    channel.Fail(Error::MemoryFull);
}

inline void FailForMemory(Kest::OChannel& channel) noexcept {
    channel.Fail(Error::MemoryFull);
}

inline void FailForMemory(Kest::XMLOChannel& channel) noexcept {
    channel.Fail(Error::MemoryFull, Kest::UniString(u"No memory"));   // short enough to need none
}

/// The code that \p call, which reads or writes \p channel, returns. When it runs out of memory the channel fails: what
/// lacks a part must not pass for whole.
template <class Channel, class Call>
int WriteOrFail(Channel& channel, Call&& call) {
    const int status = CatchMemoryFull(call);
    if (status == Error::MemoryFull)
        FailForMemory(channel);
    return status;
}

}   // namespace ADB
