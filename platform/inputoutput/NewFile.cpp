#include "NewFile.hpp"

#include <Kest/ChannelStatus.hpp>
#include <Kest/Crc32c.hpp>

namespace IO {

bool FindTarget(std::string& path, FileFacts& target, FirstFailure& failure) {
    if (!failure.Passes(ResolveLinks(path), "cannot be followed", path) ||
        !failure.Passes(Inspect(path, target), "cannot be looked at", path))
        return false;
    if (target.IsThere() && !target.IsFile())
        failure.Refuse(Kest::ChannelStatus::WriteFailed, "is no file", path);
    else if (target.IsFile() && !IsWritable(path, target))
        failure.Refuse(Kest::ChannelStatus::WriteFailed, "is read-only", path);
    return failure.GetStatus() == Kest::ChannelStatus::None;
}

std::error_code NewFile::Make(const std::string& path, const FileFacts& replaced) {
    const std::error_code error = file.OpenNew(path, replaced);
    isMade = !error;
    return error;
}

int NewFile::Write(const char* bytes, std::size_t count) {
    return failure.Run([&] {
        if (!file.IsOpen()) {
            failure.Refuse(Kest::ChannelStatus::WrongCall, "was written to when it was closed", file.GetPath());
        } else if (failure.Passes(file.Write(bytes, count), "cannot be written", file.GetPath())) {
            checksum = Kest::Crc32c(checksum, bytes, count);
            size += count;
        }
    });
}

int NewFile::Finish() {
    return failure.Run([&] {
        if (!file.IsOpen())
            failure.Refuse(Kest::ChannelStatus::WrongCall, "was finished when it was closed", file.GetPath());
        else
            isFinished = failure.Passes(file.Flush(), "cannot be flushed", file.GetPath()) &&
                         failure.Passes(file.Close(), "cannot be closed", file.GetPath());
    });
}

bool NewFile::Place(const std::string& target) {
    if (!IsInPlace() || !failure.Passes(RenameFile(file.GetPath(), target), "cannot be replaced", target))
        return false;
    Keep();
    file.Release();
    return true;
}

bool NewFile::IsInPlace() {
    bool isOwn = false;
    if (!failure.Passes(file.LookForOwn(isOwn), "cannot be looked at", file.GetPath()))
        return false;
    if (!isOwn)
        failure.Refuse(Kest::ChannelStatus::WriteFailed, "was taken away by somebody else", file.GetPath());
    return isOwn;
}

void NewFile::Discard() noexcept {
    file.Close();
    bool isOwn = false;
    if (isMade && !file.LookForOwn(isOwn) && isOwn)
        RemoveFile(file.GetPath());
    isMade = false;
    file.Release();
}

}   // namespace IO
