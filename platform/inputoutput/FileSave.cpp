#include <IO/FileSave.hpp>

#include <string>

#include "FileCalls.hpp"
#include "FirstFailure.hpp"
#include "NewFile.hpp"

namespace IO {
namespace {

constexpr const char* NewSuffix = ".zal-new";   // a name that nobody else gives to a file: what has it is ours
constexpr int MostNames = 32;                   // as many can save one file at a time

}   // namespace

class FileSave::Work {
public:
    explicit Work(const Location& target) : path(target.ToUtf8()) {}

    int Write(const char* bytes, std::size_t size);
    int Finish();

    const Kest::UniString& GetProblem() const noexcept { return failure.GetProblem(); }

private:
    void Begin();
    std::string NewPath(int number) const;

    FirstFailure failure{Kest::ChannelStatus::WriteFailed};
    std::string path;
    bool isBegun = false;
    FileFacts old;
    NewFile file{failure};
};

std::string FileSave::Work::NewPath(int number) const {
    return HiddenBeside(path, number == 0 ? NewSuffix : NewSuffix + std::to_string(number));
}

// All names are looked at: while several saved at a time, each may have been killed.
void FileSave::Work::Begin() {
    isBegun = true;
    if (!FindTarget(path, old, failure))
        return;
    for (int number = 0; number < MostNames; ++number)
        if (!failure.Passes(RemoveStray(NewPath(number)), "cannot be given a new file", path))
            return;
    std::error_code error = std::make_error_code(std::errc::file_exists);
    for (int number = 0; error == std::errc::file_exists && number < MostNames; ++number)
        error = file.Make(NewPath(number), old);
    failure.Passes(error, "cannot be given a new file", path);
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
