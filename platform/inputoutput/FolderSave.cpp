#include <IO/FolderSave.hpp>

#include <algorithm>
#include <string>
#include <vector>

#include "FileCalls.hpp"
#include "FirstFailure.hpp"
#include "FolderLayout.hpp"
#include "FolderLocks.hpp"
#include "InterruptedSave.hpp"
#include "NewFile.hpp"

namespace IO {

using Kest::ChannelStatus::Damaged;
using Kest::ChannelStatus::None;
using Kest::ChannelStatus::WriteFailed;
using Kest::ChannelStatus::WrongCall;

class FolderSave::Work {
public:
    Work(const Location& folder, std::span<const Kest::UniString> knownNames)
        : layout(folder, knownNames),
          documents(knownNames.size()) {}
    ~Work() { GiveUp(); }
    Work(const Work&) = delete;
    Work& operator=(const Work&) = delete;

    int Begin();
    int CreateFile(const Kest::UniString& name, Kest::IByteSink*& sink);
    int Commit();

    const Kest::UniString& GetProblem() const noexcept { return failure.GetProblem(); }

private:
    enum class Stage { Unused, Begun, Ended };

    struct Document {
        FileFacts old;
        std::unique_ptr<NewFile> file;   // null unless it was created
    };

    // Steps answer whether they went well; the failure knows why not.
    bool MakeFolder();
    bool FindTargets();
    bool Recover();
    bool FinishInterrupted(const std::vector<JournalEntry>& entries);
    bool RemoveJournal();
    bool RemoveStrays();
    bool IsFileOfItsOwn(std::size_t place);
    bool AreAllFinished();
    bool PlaceJournal(const std::vector<JournalEntry>& entries);
    bool Replace(const std::vector<JournalEntry>& entries);
    bool Flush(const std::string& folder);
    bool FlushFolders();
    std::vector<JournalEntry> GetEntries() const;
    void GiveUp() noexcept;

    FirstFailure failure{WriteFailed};
    FolderLayout layout;
    std::vector<Document> documents;   // in the layout's order
    FolderLocks locks;
    Stage stage = Stage::Unused;
    bool isUnreadable = false;   // nobody may see the documents as they are, unless all of them are replaced
};

int FolderSave::Work::Begin() {
    failure.Run([&] {
        if (stage != Stage::Unused)
            failure.Refuse(WrongCall, "is being saved already", layout.GetFolder());
        else if (layout.Locate(failure) && MakeFolder() && FindTargets() && locks.Take(layout, failure) && Recover() &&
                 FindTargets())
            stage = Stage::Begun;
    });
    if (failure.GetStatus() != None)
        GiveUp();
    return failure.GetStatus();
}

bool FolderSave::Work::MakeFolder() {
    const std::string& path = layout.GetFolder();
    FileFacts facts;
    if (!failure.Passes(Inspect(path, facts), "cannot be looked at", path))
        return false;
    if (!facts.IsThere())
        return failure.Passes(MakeFolderAt(path), "cannot be made", path) && Flush(FolderOf(path));
    if (facts.kind != FileFacts::Kind::Folder)
        return failure.Refuse(WriteFailed, "is no folder", path) == None;
    return IsWritable(path, facts) || failure.Refuse(WriteFailed, "is read-only", path) == None;
}

// Before the lock is taken, so that a refusal writes nothing at all, and again when nobody else can change them.
bool FolderSave::Work::FindTargets() {
    for (std::size_t place = 0; place < documents.size(); ++place) {
        std::string path = layout.GetDocuments()[place].path;
        if (!FindTarget(path, documents[place].old, failure))
            return false;
    }
    return true;
}

bool FolderSave::Work::Recover() {
    const std::string& newJournal = layout.GetNewJournal();
    InterruptedSave found;
    if (!FindInterruptedSave(layout, found, failure) ||
        !failure.Passes(RemoveFile(newJournal), "cannot be removed", newJournal))
        return false;
    switch (found.state) {
    case InterruptedSave::State::None:
        return RemoveStrays();
    case InterruptedSave::State::Passed:
        return RemoveJournal() && RemoveStrays();
    case InterruptedSave::State::Whole:
        return FinishInterrupted(found.entries) && RemoveJournal() && RemoveStrays();
    case InterruptedSave::State::Incomplete:
        isUnreadable = true;
        return true;
    case InterruptedSave::State::Unreadable:   // the new documents are what shows it, and we shall write others
        isUnreadable = true;
        return PlaceJournal({});
    }
    return false;
}

bool FolderSave::Work::FinishInterrupted(const std::vector<JournalEntry>& entries) {
    for (const JournalEntry& entry : entries) {
        const KnownDocument& document = layout.GetDocuments()[entry.document];
        if (!entry.isRenamed &&
            !failure.Passes(RenameFile(document.newPath, document.path), "cannot be replaced", document.path))
            return false;
    }
    return FlushFolders();
}

// Flushed, so that it does not come back after somebody else has changed a document.
bool FolderSave::Work::RemoveJournal() {
    const std::string& path = layout.GetJournal();
    return failure.Passes(RemoveFile(path), "cannot be removed", path) && Flush(layout.GetFolder());
}

bool FolderSave::Work::RemoveStrays() {
    for (const KnownDocument& document : layout.GetDocuments())
        if (!failure.Passes(RemoveFile(document.newPath), "cannot be removed", document.newPath))
            return false;
    return true;
}

int FolderSave::Work::CreateFile(const Kest::UniString& name, Kest::IByteSink*& sink) {
    return failure.Run([&] {
        const std::size_t place = layout.Find(name);
        if (stage != Stage::Begun || place == FolderLayout::NoDocument || documents[place].file) {
            failure.Refuse(WrongCall, ("cannot be given the document " + name.ToCStr()).c_str(), layout.GetFolder());
            return;
        }
        const std::string& path = layout.GetDocuments()[place].newPath;
        if (!IsFileOfItsOwn(place))
            return;
        if (isUnreadable && !failure.Passes(RemoveFile(path), "cannot be removed", path))
            return;
        auto file = std::make_unique<NewFile>(failure);
        if (failure.Passes(file->Make(path, documents[place].old), "cannot be made", path)) {
            documents[place].file = std::move(file);
            sink = documents[place].file.get();
        }
    });
}

// Links may lead two documents to one file, which cannot become both of them.
bool FolderSave::Work::IsFileOfItsOwn(std::size_t place) {
    const std::string& path = layout.GetDocuments()[place].path;
    for (std::size_t other = 0; other < documents.size(); ++other) {
        const std::string& otherPath = layout.GetDocuments()[other].path;
        if (!documents[other].file || NameOf(otherPath) != NameOf(path))
            continue;
        FileFacts folder;
        FileFacts otherFolder;
        if (!failure.Passes(Inspect(FolderOf(path), folder), "cannot be looked at", path) ||
            !failure.Passes(Inspect(FolderOf(otherPath), otherFolder), "cannot be looked at", otherPath))
            return false;
        if (folder.IsSameEntry(otherFolder))
            return failure.Refuse(WriteFailed, "is more than one of the documents", path) == None;
    }
    return true;
}

int FolderSave::Work::Commit() {
    failure.Run([&] {
        if (stage != Stage::Begun) {
            failure.Refuse(WrongCall, "is not being saved", layout.GetFolder());
        } else if (AreAllFinished()) {
            const std::vector<JournalEntry> entries = GetEntries();
            if (!entries.empty() && FlushFolders() && PlaceJournal(entries))
                Replace(entries);
        }
    });
    GiveUp();
    return failure.GetStatus();
}

bool FolderSave::Work::AreAllFinished() {
    for (std::size_t place = 0; place < documents.size(); ++place) {
        const Document& document = documents[place];
        const KnownDocument& known = layout.GetDocuments()[place];
        if (document.file && !document.file->IsFinished())
            failure.Refuse(WrongCall, "is unfinished", known.newPath);
        else if (!document.file && document.old.IsThere() && isUnreadable)
            failure.Refuse(Damaged, "was damaged after an interrupted save; all its documents must be saved",
                           layout.GetFolder());
        else if (document.file)
            document.file->IsInPlace();   // behind the journal it is too late to refuse
    }
    return failure.GetStatus() == None;
}

// Written aside and renamed, so that it is there whole or not at all.
bool FolderSave::Work::PlaceJournal(const std::vector<JournalEntry>& entries) {
    const std::string& path = layout.GetNewJournal();
    NewFile journal(failure);
    if (!failure.Passes(journal.Make(path, FileFacts()), "cannot be made", path))
        return false;
    WriteJournal(layout, entries, journal, failure);
    if (failure.GetStatus() != None || !journal.Place(layout.GetJournal()))
        return false;
    for (const JournalEntry& entry : entries)   // the folder is new from here on, and only with these files
        documents[entry.document].file->Keep();
    return Flush(layout.GetFolder());
}

bool FolderSave::Work::Replace(const std::vector<JournalEntry>& entries) {
    for (const JournalEntry& entry : entries)
        if (!documents[entry.document].file->Place(layout.GetDocuments()[entry.document].path))
            return false;
    return FlushFolders() && RemoveJournal() && (!isUnreadable || RemoveStrays());
}

bool FolderSave::Work::Flush(const std::string& folder) {
    return failure.Passes(FlushFolder(folder), "cannot be flushed", folder);
}

// Documents behind symbolic links may be in other folders.
bool FolderSave::Work::FlushFolders() {
    std::vector<std::string> folders;
    for (const KnownDocument& document : layout.GetDocuments())
        folders.push_back(FolderOf(document.path));
    std::sort(folders.begin(), folders.end());
    folders.erase(std::unique(folders.begin(), folders.end()), folders.end());
    return std::all_of(folders.begin(), folders.end(), [&](const std::string& folder) { return Flush(folder); });
}

std::vector<JournalEntry> FolderSave::Work::GetEntries() const {
    std::vector<JournalEntry> entries;
    for (std::size_t place = 0; place < documents.size(); ++place)
        if (const NewFile* const file = documents[place].file.get(); file != nullptr)
            entries.push_back({place, file->GetSize(), file->GetChecksum()});
    return entries;
}

void FolderSave::Work::GiveUp() noexcept {
    for (Document& document : documents)
        if (document.file)
            document.file->Discard();
    locks.Release(layout.GetJournal());
    stage = Stage::Ended;
}

FolderSave::FolderSave(const Location& folder, std::span<const Kest::UniString> knownNames)
    : work(std::make_unique<Work>(folder, knownNames)) {}

FolderSave::~FolderSave() = default;

int FolderSave::Begin() {
    return work->Begin();
}

int FolderSave::CreateFile(const Kest::UniString& name, Kest::IByteSink*& sink) {
    return work->CreateFile(name, sink);
}

int FolderSave::Commit() {
    return work->Commit();
}

const Kest::UniString& FolderSave::GetProblem() const noexcept {
    return work->GetProblem();
}

}   // namespace IO
