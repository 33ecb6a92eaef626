#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <system_error>

/// \file
/// The one door to the operating system's files. Paths are UTF-8; an empty one and one with a zero in it are refused.
/// Every call asks the hook first, if there is one.
namespace IO {

enum class FileCall {
    OpenToRead,
    OpenNew,
    OpenLock,
    Read,
    Write,
    Flush,
    Close,
    Rename,
    Remove,
    FlushFolder,
    Inspect,
    ReadLink,
    MakeFolder
};

/// What tests watch file calls with and make them fail.
class FileCallHook {
public:
    /// Called before \p call is made for \p path. When the answer is no, the call does nothing and fails; only Close
    /// gives the file back to the system all the same, as a system does for a program that dies.
    virtual bool Allows(FileCall call, const std::string& path) = 0;

protected:
    ~FileCallHook() = default;
};

/// \p hook is asked from now on, by all threads; null for none. \returns the one before
FileCallHook* SetFileCallHook(FileCallHook* hook) noexcept;

/// Why \p call may not be made for \p path, or no error: the path is no path, or the hook says no.
std::error_code RefusalOf(FileCall call, const std::string& path);

/// What is at a place.
struct FileFacts {
    enum class Kind { Nothing, File, Folder, Other };

    Kind kind = Kind::Nothing;
    unsigned permissions = 0;   // the system's own bits, as are the next two
    unsigned owner = 0;
    unsigned group = 0;
    std::uint64_t device = 0;
    std::uint64_t number = 0;    // of the file on its device
    std::uint64_t size = 0;      // in bytes
    std::int64_t modified = 0;   // in the system's own finest unit

    bool IsFile() const noexcept { return kind == Kind::File; }
    bool IsThere() const noexcept { return kind != Kind::Nothing; }

    /// Whether both tell of the same file or folder, whatever is in it now.
    bool IsSameEntry(const FileFacts& other) const noexcept {
        return kind == other.kind && device == other.device && number == other.number;
    }
    /// Whether both tell of the same file with the same content, wherever it has been renamed to.
    bool IsSameFile(const FileFacts& other) const noexcept {
        return IsSameEntry(other) && size == other.size && modified == other.modified;
    }
};

/// A file while it is open. Destroying it closes it, with nobody told of a failure.
class OpenFile {
public:
    OpenFile() noexcept = default;
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;
    ~OpenFile() {
        Close();
        Release();
    }

    /// \name Opening. The object must be closed.
    /// @{
    /// Opens a file, no folder and no device, to read; does not wait for anybody.
    std::error_code OpenToRead(const std::string& newPath);
    /// Makes a file where nothing is, with the permissions and if possible the owner of \p replaced, if that is one.
    /// It is held until Release: RemoveStray leaves it alone, and its number on the device goes to no other file.
    /// \returns errc::file_exists also when a RemoveStray has come between
    std::error_code OpenNew(const std::string& newPath, const FileFacts& replaced);
    /// Makes or opens a file that nobody else holds open like this. It stays locked until it is closed; the program's
    /// end closes it too. \returns errc::resource_unavailable_try_again when somebody else has it
    std::error_code OpenLock(const std::string& newPath);
    /// @}

    /// Reads up to \p size bytes; \p got is fewer only at the end of the file.
    std::error_code Read(char* target, std::size_t size, std::size_t& got);
    /// Writes all of them.
    std::error_code Write(const char* bytes, std::size_t size);
    /// Makes what was written safe against loss of power.
    std::error_code Flush();
    /// Closes it, also when it fails. Nothing to do when it is closed already.
    std::error_code Close();
    /// Holds the file of OpenNew no longer.
    void Release() noexcept;
    /// Whether the file of OpenNew is still at its path; tells something as long as it is held.
    std::error_code LookForOwn(bool& isThere) const;
    /// Removes the file that OpenLock made, and closes it.
    std::error_code RemoveLock();

    bool IsOpen() const noexcept { return handle != NoHandle; }
    const std::string& GetPath() const noexcept { return path; }
    /// What OpenToRead found or OpenNew made.
    const FileFacts& GetFacts() const noexcept { return facts; }

private:
    static constexpr std::intptr_t NoHandle = -1;

    std::intptr_t handle = NoHandle;
    std::intptr_t hold = NoHandle;
    std::string path;
    FileFacts facts;
};

/// Puts the file \p from in the place of \p to, in one step.
std::error_code RenameFile(const std::string& from, const std::string& to);

/// Removes a file or a symbolic link. Nothing there is no failure.
std::error_code RemoveFile(const std::string& path);

/// Removes a file that OpenNew has made for a program that died. Whatever else is there, or cannot be removed, stays,
/// and is no failure. The name must be one that nobody else gives to a file.
std::error_code RemoveStray(const std::string& path);

/// Makes what was made, renamed and removed in the folder \p path safe against loss of power.
std::error_code FlushFolder(const std::string& path);

/// Looks what is at \p path, behind symbolic links. Nothing there is no failure.
std::error_code Inspect(const std::string& path, FileFacts& facts);

/// Whether we may write what Inspect found at \p path. The permissions of the file count also for a user whom the
/// system refuses nothing.
bool IsWritable(const std::string& path, const FileFacts& facts);

/// As long as \p path is a symbolic link, replaces it by what that points at, which need not be there.
std::error_code ResolveLinks(std::string& path);

/// Replaces the path of a folder that is there by the one that all programs know it by.
std::error_code MakeAbsolute(std::string& path);

/// Makes a folder. Such a folder there already is no failure.
std::error_code MakeFolderAt(const std::string& path);

/// The folder that \p path is in.
std::string FolderOf(const std::string& path);

/// The last name of \p path.
std::string NameOf(const std::string& path);

/// The path of a hidden file beside \p path: ".<name><suffix>".
std::string HiddenBeside(const std::string& path, const std::string& suffix);

}   // namespace IO
