#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

#include <Kest/ByteSink.hpp>

#include "FileCalls.hpp"
#include "FirstFailure.hpp"

namespace IO {

/// Looks for the file that shall be replaced: follows \p path through symbolic links and finds out what is there.
/// \returns whether it can be replaced or made
bool FindTarget(std::string& path, FileFacts& target, FirstFailure& failure);

/// A file that is being made beside the one that it shall replace. It is removed with the object, unless it was placed
/// or kept.
class NewFile final : public Kest::IByteSink {
public:
    /// \p newFailure hears of all failures, and a failure from elsewhere ends the writing here too.
    explicit NewFile(FirstFailure& newFailure) noexcept : failure(newFailure) {}
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;
    ~NewFile() override { Discard(); }

    /// Makes the file at \p path. A refusal is only returned: there may be another path.
    std::error_code Make(const std::string& path, const FileFacts& replaced);

    int Write(const char* bytes, std::size_t size) override;
    /// Flushes and closes.
    int Finish() override;

    bool IsMade() const noexcept { return isMade; }
    bool IsFinished() const noexcept { return isFinished; }
    const std::string& GetPath() const noexcept { return file.GetPath(); }
    std::uint64_t GetSize() const noexcept { return size; }
    /// CRC-32C of what was written.
    std::uint32_t GetChecksum() const noexcept { return checksum; }

    /// Whether no other file has come into its place; refuses otherwise.
    bool IsInPlace();
    /// Renames the finished file to \p target, unless another file has come into its place. \returns whether it worked
    bool Place(const std::string& target);
    /// Leaves the file where it is when the object dies.
    void Keep() noexcept { isMade = false; }
    /// Removes the file, finished or not, unless another one has come into its place.
    void Discard() noexcept;

private:
    FirstFailure& failure;
    OpenFile file;
    std::uint64_t size = 0;
    std::uint32_t checksum = 0;
    bool isMade = false;
    bool isFinished = false;
};

}   // namespace IO
