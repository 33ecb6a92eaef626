#pragma once

#include <cstddef>
#include <memory>

#include <Kest/ByteSink.hpp>
#include <Kest/ChannelStatus.hpp>
#include <Kest/UniString.hpp>

#include <IO/Export.hpp>
#include <IO/Location.hpp>

namespace IO {

/// Replaces one file as a whole: whenever the program or the system stops, the file is the old one or the new one.
///
/// The bytes go into a new file beside the target, ".<name>.zal-new" or, while others save the same file, up to
/// ".<name>.zal-new31", which takes the target's place at the end. A symbolic link stays a link: the file that it
/// points at is replaced. The new file has the permissions of the old one and, where the system lets us, its owner.
/// What is there but is no file (a folder, a device) is refused, and so is a file that nobody may write.
///
/// Unfinished, the object leaves the target as it was and removes the new file. A program that is killed leaves one
/// behind, which the next save of the same target removes: the new file of a save at work is locked, so that it can be
/// told from such a stray. Bytes are handed to the system as they come: write them in blocks.
class IO_API FileSave : public Kest::IByteSink {
public:
    /// Touches nothing yet.
    /// \throws std::bad_alloc
    explicit FileSave(const Location& target);
    FileSave(const FileSave&) = delete;
    FileSave& operator=(const FileSave&) = delete;
    ~FileSave() override;

    /// Appends \p size bytes; the first call makes the new file. A save that failed stays failed.
    /// \returns 0, WriteFailed, MemoryFull, or WrongCall after Finish.
    int Write(const char* bytes, std::size_t size) override;

    /// Puts the new file, empty when nothing was written, in the target's place, safe against loss of power. To be
    /// called once.
    /// \returns as Write. The target is then the old file, unless all but flushing the folder went well: then it is the
    /// new one, which a loss of power may still turn back into the old.
    int Finish() override;

    /// One sentence about the first failure, with the path that it happened at; empty when there was none.
    const Kest::UniString& GetProblem() const noexcept;

private:
    class Work;

    std::unique_ptr<Work> work;
};

}   // namespace IO
