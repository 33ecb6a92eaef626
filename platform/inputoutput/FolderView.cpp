#include <IO/FolderView.hpp>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include <Kest/Crc32c.hpp>

#include "FileCalls.hpp"
#include "FileReading.hpp"
#include "FirstFailure.hpp"
#include "FolderLayout.hpp"
#include "InterruptedSave.hpp"

namespace IO {

using Kest::ChannelStatus::Damaged;
using Kest::ChannelStatus::None;
using Kest::ChannelStatus::ReadFailed;
using Kest::ChannelStatus::WrongCall;

namespace {

constexpr int MostAttempts = 100;   // a writer at work disturbs only while it renames

}   // namespace

class FolderView::Work {
public:
    Work(const Location& folder, std::span<const Kest::UniString> knownNames) : layout(folder, knownNames) {}

    int Open();
    bool Contains(const Kest::UniString& name) const;
    int ReadFile(const Kest::UniString& name, std::string& bytes);

    const Kest::UniString& GetProblem() const noexcept { return failure.GetProblem(); }

private:
    struct Sight {
        FileFacts own;
        FileFacts made;
    };
    enum class Reading { Done, Refused, Changed };

    void Look();
    bool FindSights(std::vector<Sight>& sights);
    bool IsUnchanged(const std::vector<Sight>& before) const;
    const JournalEntry* FindEntry(std::size_t document) const;
    Reading Read(std::size_t document, std::string& bytes);
    Reading ReadPlain(std::size_t document, std::string& bytes);
    Reading ReadListed(const JournalEntry& entry, std::string& bytes);
    bool ReadIfThere(const std::string& path, std::string& bytes, FileFacts& facts);

    FirstFailure failure{ReadFailed};
    FolderLayout layout;
    std::vector<Sight> seen;   // in the layout's order
    InterruptedSave found;
    bool isOpen = false;
    bool hasHandedOut = false;
};

int FolderView::Work::Open() {
    failure = FirstFailure(ReadFailed);
    isOpen = hasHandedOut = false;
    return failure.Run([&] {
        for (int attempt = 0; attempt < MostAttempts && !isOpen && failure.GetStatus() == None; ++attempt)
            Look();
        if (!isOpen)
            failure.Refuse(ReadFailed, "changes all the time", layout.GetFolder());
    });
}

// The journal is read between two looks at all files: when these are equal, the files were as seen all the time between
// them, also at the moment at which the journal was there or not.
void FolderView::Work::Look() {
    FileFacts facts;
    std::vector<Sight> before;
    if (!failure.Passes(Inspect(layout.GetFolder(), facts), "cannot be looked at", layout.GetFolder()))
        return;
    if (facts.kind != FileFacts::Kind::Folder) {
        failure.Refuse(ReadFailed, "is no folder", layout.GetFolder());
        return;
    }
    if (!layout.Locate(failure) || !FindSights(before) || !FindInterruptedSave(layout, found, failure) ||
        !FindSights(seen) || !IsUnchanged(before))
        return;
    isOpen = found.state != InterruptedSave::State::Incomplete && found.state != InterruptedSave::State::Unreadable;
    if (!isOpen)
        failure.Refuse(Damaged, "was damaged after an interrupted save", layout.GetFolder());
}

bool FolderView::Work::FindSights(std::vector<Sight>& sights) {
    sights.clear();
    for (const KnownDocument& document : layout.GetDocuments()) {
        Sight& sight = sights.emplace_back();
        if (!failure.Passes(Inspect(document.path, sight.own), "cannot be looked at", document.path) ||
            !failure.Passes(Inspect(document.newPath, sight.made), "cannot be looked at", document.newPath))
            return false;
    }
    return true;
}

// Without a journal new documents grow all the time while a writer is at work, and do not count.
bool FolderView::Work::IsUnchanged(const std::vector<Sight>& before) const {
    const bool hasJournal = found.state != InterruptedSave::State::None;
    return std::equal(seen.begin(), seen.end(), before.begin(), before.end(), [&](const Sight& a, const Sight& b) {
        return a.own.IsSameFile(b.own) && (!hasJournal || a.made.IsSameFile(b.made));
    });
}

bool FolderView::Work::Contains(const Kest::UniString& name) const {
    const std::size_t document = isOpen ? layout.Find(name) : FolderLayout::NoDocument;
    return document != FolderLayout::NoDocument && (FindEntry(document) != nullptr || seen[document].own.IsThere());
}

int FolderView::Work::ReadFile(const Kest::UniString& name, std::string& bytes) {
    failure = FirstFailure(ReadFailed);
    return failure.Run([&] {
        const std::size_t document = layout.Find(name);
        if (!isOpen || document == FolderLayout::NoDocument) {
            failure.Refuse(WrongCall, "cannot be asked for this document", layout.GetFolder());
            return;
        }
        std::string read;
        Reading reading = Read(document, read);
        if (reading == Reading::Changed && !hasHandedOut && Open() == None)
            reading = Read(document, read);
        if (reading == Reading::Changed)
            failure.Refuse(ReadFailed, "was saved anew while it was read", layout.GetFolder());
        if (failure.GetStatus() == None)
            bytes = std::move(read);
        hasHandedOut = true;
    });
}

FolderView::Work::Reading FolderView::Work::Read(std::size_t document, std::string& bytes) {
    const JournalEntry* const entry = FindEntry(document);
    return entry != nullptr ? ReadListed(*entry, bytes) : ReadPlain(document, bytes);
}

const JournalEntry* FolderView::Work::FindEntry(std::size_t document) const {
    const auto entry = std::find_if(found.entries.begin(), found.entries.end(),
                                    [&](const JournalEntry& other) { return other.document == document; });
    return entry == found.entries.end() ? nullptr : &*entry;
}

FolderView::Work::Reading FolderView::Work::ReadPlain(std::size_t document, std::string& bytes) {
    const std::string& path = layout.GetDocuments()[document].path;
    FileFacts facts;
    if (!ReadIfThere(path, bytes, facts))
        return Reading::Refused;
    if (!facts.IsSameFile(seen[document].own) || bytes.size() != facts.size)
        return Reading::Changed;
    if (facts.IsThere())
        return Reading::Done;
    failure.Refuse(ReadFailed, "is not there", path);
    return Reading::Refused;
}

// Its writer, or the next one, may rename it meanwhile; the checksum tells whether it is still the same.
FolderView::Work::Reading FolderView::Work::ReadListed(const JournalEntry& entry, std::string& bytes) {
    const KnownDocument& document = layout.GetDocuments()[entry.document];
    for (const std::string* const path : {&document.newPath, &document.path}) {
        FileFacts facts;
        if (!ReadIfThere(*path, bytes, facts))
            return Reading::Refused;
        if (facts.IsThere() && bytes.size() == entry.size &&
            Kest::Crc32c(0, bytes.data(), bytes.size()) == entry.checksum)
            return Reading::Done;
    }
    return Reading::Changed;
}

bool FolderView::Work::ReadIfThere(const std::string& path, std::string& bytes, FileFacts& facts) {
    bytes.clear();
    OpenFile file;
    const std::error_code error = file.OpenToRead(path);
    if (error == std::errc::no_such_file_or_directory)
        return true;
    if (!failure.Passes(error, "cannot be read", path) ||
        !failure.Passes(ReadUntil(file, bytes, bytes.max_size()), "cannot be read", path))
        return false;
    facts = file.GetFacts();
    return true;
}

FolderView::FolderView(const Location& folder, std::span<const Kest::UniString> knownNames)
    : work(std::make_unique<Work>(folder, knownNames)) {}

FolderView::~FolderView() = default;

int FolderView::Open() {
    return work->Open();
}

bool FolderView::Contains(const Kest::UniString& name) const noexcept {
    return work->Contains(name);
}

int FolderView::ReadFile(const Kest::UniString& name, std::string& bytes) {
    return work->ReadFile(name, bytes);
}

const Kest::UniString& FolderView::GetProblem() const noexcept {
    return work->GetProblem();
}

}   // namespace IO
