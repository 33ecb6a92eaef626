#include "FileCalls.hpp"

#include <atomic>

namespace IO {
namespace {

std::atomic<FileCallHook*> currentHook = nullptr;

}   // namespace

FileCallHook* SetFileCallHook(FileCallHook* hook) noexcept {
    return currentHook.exchange(hook);
}

std::error_code RefusalOf(FileCall call, const std::string& path) {
    if (path.empty() || path.find('\0') != std::string::npos)
        return std::make_error_code(std::errc::invalid_argument);
    FileCallHook* const hook = currentHook;
    if (hook != nullptr && !hook->Allows(call, path))
        return std::make_error_code(std::errc::io_error);
    return {};
}

std::string FolderOf(const std::string& path) {
    const std::size_t separator = path.find_last_of('/');
    if (separator == std::string::npos)
        return ".";
    return path.substr(0, separator == 0 ? 1 : separator);
}

std::string NameOf(const std::string& path) {
    return path.substr(path.find_last_of('/') + 1);   // all of it without a separator
}

std::string HiddenBeside(const std::string& path, const std::string& suffix) {
    return FolderOf(path) + "/." + NameOf(path) + suffix;
}

}   // namespace IO
