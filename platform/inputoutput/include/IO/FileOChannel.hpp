#pragma once

#include <Kest/ByteSink.hpp>
#include <Kest/OChannel.hpp>

#include <IO/Export.hpp>

namespace IO {

/// Writes to a file that is being saved: a FileSave, or a document of a FolderSave. What fails there fails the channel,
/// with its code.
class IO_API FileOChannel : public Kest::OChannel {
public:
    /// \p newSink stays the caller's and must live as long as the channel.
    explicit FileOChannel(Kest::IByteSink& newSink) noexcept;
    /// Hands on nothing: a channel that is not finished leaves its file unfinished.
    ~FileOChannel() override;

    /// Hands on what is left and finishes the sink, unless the channel has failed. To be called once, outside of all
    /// frames. \returns the status
    int Finish();

protected:
    void BytesReady() override;

private:
    void HandOn();

    Kest::IByteSink& sink;
};

}   // namespace IO
