#include <IO/FileOChannel.hpp>

#include <cstddef>

namespace IO {
namespace {

constexpr std::size_t LeastHandedOn = std::size_t{1} << 15;   // in bytes; fewer cost more calls than they are worth

}   // namespace

FileOChannel::FileOChannel(Kest::IByteSink& newSink) noexcept : sink(newSink) {}

FileOChannel::~FileOChannel() = default;

void FileOChannel::BytesReady() {
    if (GetSize() >= LeastHandedOn)
        HandOn();
}

void FileOChannel::HandOn() {
    if (const int code = sink.Write(GetBytes(), GetSize()); code != Kest::ChannelStatus::None)
        Fail(code);
    DropBytes();
}

int FileOChannel::Finish() {
    if (GetStatus() == Kest::ChannelStatus::None && GetSize() > 0)
        HandOn();
    if (GetStatus() == Kest::ChannelStatus::None)
        if (const int code = sink.Finish(); code != Kest::ChannelStatus::None)
            Fail(code);
    return GetStatus();
}

}   // namespace IO
