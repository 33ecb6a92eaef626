#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include <Kest/UniString.hpp>

#include <IO/Location.hpp>

#include "FirstFailure.hpp"

namespace IO {

/// A document that a folder may hold.
struct KnownDocument {
    Kest::UniString name;
    std::string path;      // behind symbolic links
    std::string newPath;   // of the new document while a save is under way, beside the old one
};

/// Where the files of a folder are that is saved as a whole. Only names that the caller knows ever become paths.
class FolderLayout {
public:
    static constexpr std::size_t NoDocument = static_cast<std::size_t>(-1);

    FolderLayout(const Location& folder, std::span<const Kest::UniString> knownNames);

    /// The journal's path in another folder that is saved as a whole.
    static std::string JournalIn(const std::string& folder);
    /// As JournalIn for the lock.
    static std::string LockIn(const std::string& folder);

    /// Settles all paths. \returns whether the known names can be used and the links be followed
    bool Locate(FirstFailure& failure);

    const std::string& GetFolder() const noexcept { return folderPath; }
    const std::string& GetJournal() const noexcept { return journalPath; }
    const std::string& GetNewJournal() const noexcept { return newJournalPath; }
    const std::vector<KnownDocument>& GetDocuments() const noexcept { return documents; }

    /// The place of document \p name in GetDocuments, or NoDocument.
    std::size_t Find(const Kest::UniString& name) const noexcept;

private:
    bool AreNamesUsable() const;
    std::string PathOf(const Kest::UniString& name) const;

    Location place;
    std::string folderPath;
    std::string journalPath;
    std::string newJournalPath;
    std::vector<KnownDocument> documents;
};

}   // namespace IO
