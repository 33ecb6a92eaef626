#pragma once

#include <cstddef>
#include <memory>

#include <Kest/Export.hpp>
#include <Kest/IChannel.hpp>
#include <Kest/OChannel.hpp>

namespace Kest {

/// Reads from bytes in memory, which stay the caller's and must stay where they are.
class KEST_API MemoryIChannel : public IChannel {
public:
    MemoryIChannel(const void* bytes, std::size_t size) noexcept;
    ~MemoryIChannel() override;
};

/// Writes to memory that grows.
class KEST_API MemoryOChannel : public OChannel {
public:
    MemoryOChannel() noexcept = default;
    ~MemoryOChannel() override;

    /// What was written; valid until the next write.
    const char* GetBytes() const noexcept { return OChannel::GetBytes(); }
    /// In bytes.
    std::size_t GetSize() const noexcept { return OChannel::GetSize(); }

    /// Gives the written bytes away, in a block that may be larger; the channel is empty then. Null when it is empty.
    std::unique_ptr<char[]> TakeBytes() noexcept { return std::unique_ptr<char[]>(OChannel::TakeBytes()); }
};

}   // namespace Kest
