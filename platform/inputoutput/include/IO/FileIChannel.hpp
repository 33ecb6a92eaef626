#pragma once

#include <cstddef>
#include <memory>

#include <Kest/IChannel.hpp>

#include <IO/Export.hpp>
#include <IO/Location.hpp>

namespace IO {

/// Reads a file from its beginning, piece by piece. Symbolic links are followed.
class IO_API FileIChannel : public Kest::IChannel {
public:
    /// A file that cannot be opened fails the channel with ReadFailed.
    /// \throws std::bad_alloc
    explicit FileIChannel(const Location& location);
    ~FileIChannel() override;

protected:
    bool Provide(std::size_t size) override;

private:
    class Reader;

    std::unique_ptr<Reader> reader;
};

}   // namespace IO
