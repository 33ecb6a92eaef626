#if !defined(_WIN32)

#include "FileCalls.hpp"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <memory>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace IO {
namespace {

constexpr std::size_t LargestStep = std::size_t{1} << 30;   // some systems refuse more in one call
constexpr int MostLinks = 40;
constexpr int MostLockAttempts = 16;
constexpr unsigned PermissionBits = 0777;
constexpr unsigned WriteBits = 0222;

std::error_code ErrorOf(int number) {
    return {number, std::generic_category()};
}

// Calls again what a signal has interrupted.
template <class Call>
auto Persistently(Call&& call) {
    auto result = call();
    while (result < 0 && errno == EINTR)
        result = call();
    return result;
}

std::error_code ErrorUnless(bool done) {
    return done ? std::error_code() : ErrorOf(errno);
}

int OpenAt(const std::string& path, int flags, unsigned permissions = 0) {
    return Persistently([&] { return ::open(path.c_str(), flags | O_CLOEXEC, permissions); });
}

FileFacts FactsOf(const struct stat& status) {
    FileFacts facts;
    facts.kind = S_ISREG(status.st_mode)   ? FileFacts::Kind::File
                 : S_ISDIR(status.st_mode) ? FileFacts::Kind::Folder
                                           : FileFacts::Kind::Other;
    facts.permissions = status.st_mode & PermissionBits;
    facts.owner = status.st_uid;
    facts.group = status.st_gid;
    facts.device = static_cast<std::uint64_t>(status.st_dev);
    facts.number = static_cast<std::uint64_t>(status.st_ino);
    facts.size = static_cast<std::uint64_t>(status.st_size);
#if defined(__APPLE__)
    const struct timespec& modified = status.st_mtimespec;
#else
    const struct timespec& modified = status.st_mtim;
#endif
    facts.modified = std::int64_t{modified.tv_sec} * 1'000'000'000 + modified.tv_nsec;
    return facts;
}

std::error_code FactsOf(int descriptor, FileFacts& facts) {
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return ErrorOf(errno);
    facts = FactsOf(status);
    return {};
}

// A file whose group could not be kept gives the new group no more than everybody has.
std::error_code TakeOwnership(int descriptor, const FileFacts& replaced) {
    FileFacts facts;
    if (const std::error_code error = FactsOf(descriptor, facts))
        return error;
    if (facts.owner != replaced.owner || facts.group != replaced.group) {
        if (::fchown(descriptor, replaced.owner, replaced.group) != 0 &&
            ::fchown(descriptor, static_cast<uid_t>(-1), replaced.group) != 0)
            errno = 0;   // the file is ours then
        if (const std::error_code error = FactsOf(descriptor, facts))
            return error;
    }
    unsigned permissions = replaced.permissions;
    if (facts.group != replaced.group)
        permissions &= ~070U | (permissions & 07U) << 3;
    if (facts.permissions == permissions)   // some file systems have the same for all, and no call to change them
        return {};
    return ErrorUnless(::fchmod(descriptor, static_cast<mode_t>(permissions)) == 0);
}

// What another user's program has left behind may be ours to read only; that will do for locking it.
int OpenLockAt(const std::string& path) {
    constexpr int Flags = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;
    const int descriptor = OpenAt(path, O_RDWR | O_CREAT | Flags, 0666);
    return descriptor < 0 && errno == EACCES ? OpenAt(path, O_RDONLY | Flags) : descriptor;
}

// The lock counts only if the file is still the one at the path: whoever had it before has removed it.
std::error_code LockAt(int descriptor, const std::string& path, bool& isOurs) {
    isOurs = false;
    if (Persistently([&] { return ::flock(descriptor, LOCK_EX | LOCK_NB); }) != 0)
        return errno == EWOULDBLOCK ? std::make_error_code(std::errc::resource_unavailable_try_again) : ErrorOf(errno);
    FileFacts held;
    if (const std::error_code error = FactsOf(descriptor, held))
        return error;
    if (!held.IsFile())
        return ErrorOf(EINVAL);
    struct stat status {};
    isOurs = ::lstat(path.c_str(), &status) == 0 && FactsOf(status).IsSameEntry(held);
    return {};
}

// Somebody who removes strays may have taken the file before it was locked. Where files cannot be locked, nobody does.
std::error_code Hold(int descriptor, const std::string& path) {
    bool isOurs = false;
    const std::error_code error = LockAt(descriptor, path, isOurs);
    const bool isTaken = error ? error == std::errc::resource_unavailable_try_again : !isOurs;
    return isTaken ? std::make_error_code(std::errc::file_exists) : std::error_code();
}

int FlushDescriptor(int descriptor) {
#if defined(__APPLE__)
    if (::fcntl(descriptor, F_FULLFSYNC) == 0)   // fsync leaves the bytes in the drive's own memory there
        return 0;
#endif
    return Persistently([&] { return ::fsync(descriptor); });
}

}   // namespace

std::error_code OpenFile::OpenToRead(const std::string& newPath) {
    path = newPath;
    if (const std::error_code error = RefusalOf(FileCall::OpenToRead, path))
        return error;
    const int descriptor = OpenAt(path, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return ErrorOf(errno);
    std::error_code error = FactsOf(descriptor, facts);
    if (!error && !facts.IsFile())
        error = ErrorOf(facts.kind == FileFacts::Kind::Folder ? EISDIR : EINVAL);
    if (error)
        ::close(descriptor);
    else
        handle = descriptor;
    return error;
}

std::error_code OpenFile::OpenNew(const std::string& newPath, const FileFacts& replaced) {
    path = newPath;
    if (const std::error_code error = RefusalOf(FileCall::OpenNew, path))
        return error;
    const int descriptor = OpenAt(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, replaced.IsFile() ? 0600 : 0666);
    if (descriptor < 0)
        return ErrorOf(errno);
    if (const std::error_code error = Hold(descriptor, path)) {
        ::close(descriptor);
        return error;
    }
    std::error_code error = replaced.IsFile() ? TakeOwnership(descriptor, replaced) : std::error_code();
    if (!error)
        error = FactsOf(descriptor, facts);
    const int second = error ? -1 : ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);   // shares the lock
    if (!error && second < 0)
        error = ErrorOf(errno);
    if (error) {
        ::unlink(path.c_str());
        ::close(descriptor);
    } else {
        handle = descriptor;
        hold = second;
    }
    return error;
}

std::error_code OpenFile::OpenLock(const std::string& newPath) {
    path = newPath;
    if (const std::error_code error = RefusalOf(FileCall::OpenLock, path))
        return error;
    for (int attempt = 0; attempt < MostLockAttempts; ++attempt) {
        const int descriptor = OpenLockAt(path);
        if (descriptor < 0)
            return ErrorOf(errno);
        bool isOurs = false;
        const std::error_code error = LockAt(descriptor, path, isOurs);
        if (isOurs) {
            handle = descriptor;
            return {};
        }
        ::close(descriptor);
        if (error)
            return error;
    }
    return std::make_error_code(std::errc::resource_unavailable_try_again);
}

std::error_code OpenFile::Read(char* target, std::size_t size, std::size_t& got) {
    got = 0;
    if (const std::error_code error = RefusalOf(FileCall::Read, path))
        return error;
    while (got < size) {
        const std::size_t step = std::min(size - got, LargestStep);
        const ssize_t count = Persistently([&] { return ::read(static_cast<int>(handle), target + got, step); });
        if (count < 0)
            return ErrorOf(errno);
        if (count == 0)
            break;
        got += static_cast<std::size_t>(count);
    }
    return {};
}

std::error_code OpenFile::Write(const char* bytes, std::size_t size) {
    if (const std::error_code error = RefusalOf(FileCall::Write, path))
        return error;
    while (size > 0) {
        const std::size_t step = std::min(size, LargestStep);
        const ssize_t count = Persistently([&] { return ::write(static_cast<int>(handle), bytes, step); });
        if (count <= 0)
            return ErrorOf(count < 0 ? errno : EIO);
        bytes += count;
        size -= static_cast<std::size_t>(count);
    }
    return {};
}

std::error_code OpenFile::Flush() {
    if (const std::error_code error = RefusalOf(FileCall::Flush, path))
        return error;
    return ErrorUnless(FlushDescriptor(static_cast<int>(handle)) == 0);
}

std::error_code OpenFile::Close() {
    if (!IsOpen())
        return {};
    const std::error_code error = RefusalOf(FileCall::Close, path);
    const int descriptor = static_cast<int>(handle);
    handle = NoHandle;
    const bool closed = ::close(descriptor) == 0 || errno == EINTR;   // interrupted: it is closed all the same
    return error ? error : ErrorUnless(closed);
}

void OpenFile::Release() noexcept {
    if (hold != NoHandle)
        ::close(static_cast<int>(hold));
    hold = NoHandle;
}

std::error_code OpenFile::LookForOwn(bool& isThere) const {
    isThere = false;
    if (const std::error_code error = RefusalOf(FileCall::Inspect, path))
        return error;
    struct stat status {};
    isThere = ::lstat(path.c_str(), &status) == 0 && FactsOf(status).IsSameEntry(facts);
    return {};
}

std::error_code OpenFile::RemoveLock() {
    const std::error_code error = RemoveFile(path);   // while we hold it: afterwards it may be somebody else's
    const std::error_code closeError = Close();
    return error ? error : closeError;
}

std::error_code RenameFile(const std::string& from, const std::string& to) {
    if (const std::error_code error = RefusalOf(FileCall::Rename, to))
        return error;
    return ErrorUnless(::rename(from.c_str(), to.c_str()) == 0);
}

std::error_code RemoveFile(const std::string& path) {
    if (const std::error_code error = RefusalOf(FileCall::Remove, path))
        return error;
    return ErrorUnless(::unlink(path.c_str()) == 0 || errno == ENOENT);
}

std::error_code RemoveStray(const std::string& path) {
    if (const std::error_code error = RefusalOf(FileCall::Remove, path))
        return error;
    const int descriptor = OpenAt(path, O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY);
    if (descriptor < 0)
        return {};
    bool isOurs = false;
    if (!LockAt(descriptor, path, isOurs) && isOurs)
        ::unlink(path.c_str());
    ::close(descriptor);
    return {};
}

std::error_code FlushFolder(const std::string& path) {
    if (const std::error_code error = RefusalOf(FileCall::FlushFolder, path))
        return error;
    const int descriptor = OpenAt(path, O_RDONLY | O_DIRECTORY);
    if (descriptor < 0)
        return ErrorOf(errno);
    std::error_code error = ErrorUnless(FlushDescriptor(descriptor) == 0);
    if (error == std::errc::invalid_argument || error == std::errc::not_supported)
        error.clear();   // a file system without this call keeps its folders safe by itself
    ::close(descriptor);
    return error;
}

std::error_code Inspect(const std::string& path, FileFacts& facts) {
    facts = FileFacts();
    if (const std::error_code error = RefusalOf(FileCall::Inspect, path))
        return error;
    struct stat status {};
    if (::stat(path.c_str(), &status) == 0)
        facts = FactsOf(status);
    else if (errno != ENOENT && errno != ENOTDIR)
        return ErrorOf(errno);
    return {};
}

bool IsWritable(const std::string& path, const FileFacts& facts) {
    return (facts.permissions & WriteBits) != 0 && ::access(path.c_str(), W_OK) == 0;
}

std::error_code ResolveLinks(std::string& path) {
    std::array<char, 4096> target;
    for (int links = 0; links <= MostLinks; ++links) {
        if (const std::error_code error = RefusalOf(FileCall::ReadLink, path))
            return error;
        const ssize_t length = ::readlink(path.c_str(), target.data(), target.size());
        if (length < 0)   // not a link, or nothing at all
            return ErrorUnless(errno == EINVAL || errno == ENOENT || errno == ENOTDIR);
        const auto size = static_cast<std::size_t>(length);
        if (size == 0 || size == target.size())
            return ErrorOf(ENAMETOOLONG);
        std::string next(target.data(), size);
        if (next.front() != '/' && path.find('/') != std::string::npos)
            next.insert(0, path, 0, path.find_last_of('/') + 1);
        path = std::move(next);
    }
    return ErrorOf(ELOOP);
}

std::error_code MakeAbsolute(std::string& path) {
    if (const std::error_code error = RefusalOf(FileCall::ReadLink, path))
        return error;
    const std::unique_ptr<char, decltype(&std::free)> found(::realpath(path.c_str(), nullptr), &std::free);
    if (!found)
        return ErrorOf(errno);
    path = found.get();
    return {};
}

std::error_code MakeFolderAt(const std::string& path) {
    if (const std::error_code error = RefusalOf(FileCall::MakeFolder, path))
        return error;
    if (::mkdir(path.c_str(), 0777) == 0)
        return {};
    const int number = errno;
    FileFacts facts;
    if (number == EEXIST && !Inspect(path, facts) && facts.kind == FileFacts::Kind::Folder)
        return {};
    return ErrorOf(number);
}

}   // namespace IO

#endif
