#pragma once

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>

#include <IO/Location.hpp>

#include "FileCalls.hpp"

/// A folder of its own for a test, removed with what is in it.
class TestFolder {
public:
    /// In memory where the system has such a place: what is flushed thousands of times must not wait for a disk.
    TestFolder() {
        for (const std::filesystem::path& base :
             {std::filesystem::path("/dev/shm"), std::filesystem::temp_directory_path()})
            if (std::string name = (base / "zaltestXXXXXX").string(); path.empty() && ::mkdtemp(name.data()) != nullptr)
                path = name;
        if (path.empty())
            throw std::runtime_error("no folder for the test");
    }
    TestFolder(const TestFolder&) = delete;
    TestFolder& operator=(const TestFolder&) = delete;
    ~TestFolder() { std::filesystem::remove_all(path); }

    const std::filesystem::path& GetPath() const { return path; }
    std::filesystem::path At(const std::string& name) const { return path / name; }
    IO::Location Place(const std::string& name = "") const {
        return IO::Location(Kest::UniString::FromUtf8(At(name).string()));
    }

    void Put(const std::string& name, const std::string& text) const {
        std::ofstream(At(name), std::ios::binary | std::ios::trunc) << text;
    }
    /// Text of a file; "-" when there is none.
    std::string Get(const std::string& name) const {
        std::ifstream file(At(name), std::ios::binary);
        return file ? std::string(std::istreambuf_iterator<char>(file), {}) : "-";
    }
    std::set<std::string> Names() const {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path))
            names.insert(entry.path().filename().string());
        return names;
    }
    /// Leaves the folder empty.
    void Clear() const {
        for (const std::string& name : Names())
            std::filesystem::remove_all(At(name));
    }

private:
    std::filesystem::path path;
};

/// While it lives, the file call after \p allowed further ones fails, and when \p lasting every one after it too: then
/// what was done stays, and nothing more is done, as when the program is killed.
class FileCallFailures final : public IO::FileCallHook {
public:
    FileCallFailures(std::size_t newAllowed, bool newLasting) : allowed(newAllowed), lasting(newLasting) {
        IO::SetFileCallHook(this);
    }
    ~FileCallFailures() { IO::SetFileCallHook(nullptr); }

    bool Occurred() const { return occurred; }

    bool Allows(IO::FileCall, const std::string&) override {
        if (allowed > 0) {
            --allowed;
            return true;
        }
        if (occurred && !lasting)
            return true;
        occurred = true;
        return false;
    }

private:
    std::size_t allowed;
    bool lasting;
    bool occurred = false;
};

/// As ForEachFailure, for file calls: \p prepare, \p operation with a failing call, \p check with whether a call failed
/// and whether all later ones did too. \returns the number of failures
template <class Prepare, class Operation, class Check>
std::size_t ForEachFileFailure(Prepare&& prepare, Operation&& operation, Check&& check) {
    std::size_t count = 0;
    for (const bool lasting : {false, true}) {
        bool failed = true;
        for (std::size_t allowed = 0; failed; ++allowed) {
            prepare();
            {
                const FileCallFailures failures(allowed, lasting);
                operation();
                failed = failures.Occurred();
            }
            count += failed ? 1 : 0;
            check(failed, lasting);
        }
    }
    return count;
}
