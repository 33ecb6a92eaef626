#include <IO/FileIChannel.hpp>

#include <algorithm>
#include <cstdint>
#include <exception>
#include <string>

#include "FileCalls.hpp"
#include "FileReading.hpp"

namespace IO {
namespace {

constexpr std::size_t PieceSize = std::size_t{1} << 16;   // in bytes

}   // namespace

class FileIChannel::Reader {
public:
    OpenFile file;
    std::string piece;
};

FileIChannel::FileIChannel(const Location& location) : reader(std::make_unique<Reader>()) {
    if (reader->file.OpenToRead(location.ToUtf8()))
        Fail(Kest::ChannelStatus::ReadFailed);
}

FileIChannel::~FileIChannel() = default;

bool FileIChannel::Provide(std::size_t size) {
    std::string& piece = reader->piece;
    const std::uint64_t position = GetPosition();
    const auto left = static_cast<std::size_t>(GetWindowEnd() - GetCursor());
    if (left >= size)
        return true;
    piece.erase(0, piece.size() - left);
    try {
        if (ReadUntil(reader->file, piece, std::max(size, PieceSize)))
            Fail(Kest::ChannelStatus::ReadFailed);
    } catch (const std::exception&) {
        Fail(Kest::ChannelStatus::MemoryFull);
    }
    SetWindow(piece.data(), piece.data(), piece.data() + piece.size(), position);
    return GetStatus() == Kest::ChannelStatus::None && piece.size() >= size;
}

}   // namespace IO
