#include <IO/Files.hpp>

#include <exception>
#include <utility>

#include "FileCalls.hpp"
#include "FileReading.hpp"
#include "FirstFailure.hpp"

namespace IO {
namespace {

bool IsThere(const Location& location, FileFacts::Kind kind) noexcept {
    try {
        FileFacts facts;
        return !Inspect(location.ToUtf8(), facts) && facts.kind == kind;
    } catch (const std::exception&) {
        return false;
    }
}

}   // namespace

int ReadFile(const Location& location, std::string& bytes) noexcept {
    FirstFailure failure(Kest::ChannelStatus::ReadFailed);
    return failure.Run([&] {
        const std::string path = location.ToUtf8();
        std::string read;
        if (failure.Passes(ReadWhole(path, read), "cannot be read", path))
            bytes = std::move(read);
    });
}

bool IsFile(const Location& location) noexcept {
    return IsThere(location, FileFacts::Kind::File);
}

bool IsFolder(const Location& location) noexcept {
    return IsThere(location, FileFacts::Kind::Folder);
}

int MakeFolder(const Location& location) noexcept {
    FirstFailure failure(Kest::ChannelStatus::WriteFailed);
    return failure.Run([&] {
        const std::string path = location.ToUtf8();
        failure.Passes(MakeFolderAt(path), "cannot be made", path);
    });
}

}   // namespace IO
