#include <IO/FileSave.hpp>

#include <string>

#include "FileCalls.hpp"
#include "FirstFailure.hpp"
#include "NewFile.hpp"

namespace IO {
namespace {

constexpr int MostNames = 1000;

}   // namespace

class FileSave::Work {
public:
    explicit Work(const Location& target) : path(target.ToUtf8()) {}

    int Write(const char* bytes, std::size_t size);
    int Finish();

    const Kest::UniString& GetProblem() const noexcept { return failure.GetProblem(); }

private:
    void Begin();

    FirstFailure failure{Kest::ChannelStatus::WriteFailed};
    std::string path;
    bool isBegun = false;
    FileFacts old;
    NewFile file{failure};
};

// What stands beside the target under the name that we would like may be anybody's.
void FileSave::Work::Begin() {
    isBegun = true;
    if (!FindTarget(path, old, failure))
        return;
    const std::string base = path + ".new";
    std::error_code error = file.Make(base, old);
    for (int number = 1; error == std::errc::file_exists && number < MostNames; ++number)
        error = file.Make(base + std::to_string(number), old);
    failure.Passes(error, "cannot be made", file.GetPath());
}

int FileSave::Work::Write(const char* bytes, std::size_t size) {
    failure.Run([&] {
        if (!isBegun)
            Begin();
    });
    return file.Write(bytes, size);
}

int FileSave::Work::Finish() {
    Write(nullptr, 0);
    file.Finish();
    failure.Run([&] {
        if (file.Place(path))
            failure.Passes(FlushFolder(FolderOf(path)), "cannot be flushed", FolderOf(path));
    });
    file.Discard();
    return failure.GetStatus();
}

FileSave::FileSave(const Location& target) : work(std::make_unique<Work>(target)) {}

FileSave::~FileSave() = default;

int FileSave::Write(const char* bytes, std::size_t size) {
    return work->Write(bytes, size);
}

int FileSave::Finish() {
    return work->Finish();
}

const Kest::UniString& FileSave::GetProblem() const noexcept {
    return work->GetProblem();
}

}   // namespace IO
