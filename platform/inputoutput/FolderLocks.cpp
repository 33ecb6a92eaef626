#include "FolderLocks.hpp"

#include <algorithm>
#include <tuple>
#include <utility>

#include <Kest/ChannelStatus.hpp>

#include "FileReading.hpp"

namespace IO {

using Kest::ChannelStatus::WriteFailed;

namespace {

constexpr std::size_t LongestOwner = 4096;   // in bytes; the longest path that the system takes

// The path of the folder that the last saver saved. What else is found there leads to no journal.
bool ReadOwner(OpenFile& lock, std::string& owner, FirstFailure& failure) {
    if (!failure.Passes(ReadUntil(lock, owner, LongestOwner), "cannot be read", lock.GetPath()))
        return false;
    if (owner.find('\0') != std::string::npos)
        owner = "?";
    return true;
}

bool IsWithoutJournal(const std::string& folder, FirstFailure& failure) {
    FileFacts facts;
    if (!failure.Passes(Inspect(FolderLayout::JournalIn(folder), facts), "cannot be looked at", folder))
        return false;
    if (facts.IsThere())
        failure.Refuse(WriteFailed, "shares documents and has an interrupted save; it must be saved first", folder);
    return !facts.IsThere();
}

}   // namespace

bool FolderLocks::Take(const FolderLayout& layout, FirstFailure& failure) {
    std::vector<Folder> folders;
    std::string owner = layout.GetFolder();
    if (!FindFolders(layout, folders, failure) ||
        !failure.Passes(MakeAbsolute(owner), "cannot be followed", layout.GetFolder()))
        return false;
    return std::all_of(folders.begin(), folders.end(),
                       [&](const Folder& folder) { return TakeOne(folder, owner, failure); });
}

// Each folder once, however the links spell it, in an order that is the same for all savers.
bool FolderLocks::FindFolders(const FolderLayout& layout, std::vector<Folder>& folders, FirstFailure& failure) {
    const auto add = [&](const std::string& path, bool isOwn) {
        const auto hasPath = [&](const Folder& other) { return other.path == path; };
        if (std::any_of(folders.begin(), folders.end(), hasPath))
            return true;
        Folder folder{path, FileFacts(), isOwn};
        if (!failure.Passes(Inspect(path, folder.facts), "cannot be looked at", path))
            return false;
        if (folder.facts.kind != FileFacts::Kind::Folder) {
            failure.Refuse(WriteFailed, "is no folder", path);
            return false;
        }
        const auto isSame = [&](const Folder& other) { return other.facts.IsSameEntry(folder.facts); };
        if (std::none_of(folders.begin(), folders.end(), isSame))
            folders.push_back(std::move(folder));
        return true;
    };
    if (!add(layout.GetFolder(), true))
        return false;
    for (const KnownDocument& document : layout.GetDocuments())
        if (!add(FolderOf(document.path), false))
            return false;
    std::sort(folders.begin(), folders.end(), [](const Folder& a, const Folder& b) {
        return std::tie(a.facts.device, a.facts.number) < std::tie(b.facts.device, b.facts.number);
    });
    return true;
}

// A lock that is refused here is closed and its file left alone: it may tell of somebody else's journal.
bool FolderLocks::TakeOne(const Folder& folder, const std::string& owner, FirstFailure& failure) {
    const std::string path = FolderLayout::LockIn(folder.path);
    auto lock = std::make_unique<OpenFile>();
    const std::error_code error = lock->OpenLock(path);
    if (error == std::errc::resource_unavailable_try_again)
        failure.Refuse(WriteFailed, "is being saved by somebody else", folder.path);
    std::string lastOwner;
    if (!failure.Passes(error, "cannot be locked", path) || !ReadOwner(*lock, lastOwner, failure) ||
        (!folder.isOwn && !IsWithoutJournal(folder.path, failure)) ||
        (!lastOwner.empty() && lastOwner != owner && !IsWithoutJournal(lastOwner, failure)))
        return false;
    if (!folder.isOwn && !lastOwner.empty() && lastOwner != owner) {   // its file goes, and a new one tells of us
        if (!failure.Passes(lock->RemoveLock(), "cannot be removed", path))
            return false;
        return TakeOne(folder, owner, failure);
    }
    OpenFile& taken = *locks.emplace_back(std::move(lock));
    if (folder.isOwn)
        return true;
    isTelling = true;
    return lastOwner == owner || (failure.Passes(taken.Write(owner.data(), owner.size()), "cannot be written", path) &&
                                  failure.Passes(taken.Flush(), "cannot be flushed", path));
}

// Without a journal it matters to nobody whether the files go: without an owner they lock nothing.
void FolderLocks::Release(const std::string& journalPath) noexcept {
    FileFacts journal;
    const bool areKept = isTelling && (Inspect(journalPath, journal) || journal.IsThere());
    for (const std::unique_ptr<OpenFile>& lock : locks)
        if (!areKept)
            lock->RemoveLock();
    locks.clear();   // closes the others
    isTelling = false;
}

}   // namespace IO
