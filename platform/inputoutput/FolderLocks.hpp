#pragma once

#include <memory>
#include <string>
#include <vector>

#include "FileCalls.hpp"
#include "FirstFailure.hpp"
#include "FolderLayout.hpp"

namespace IO {

/// Keeps other savers out of a folder and of the folders that its documents' links lead to.
///
/// The lock file in a folder that a link leads to holds the path of the folder that is saved. When the saver dies, it
/// tells the next one whose journal may still count on files there.
class FolderLocks {
public:
    /// Takes all locks, waiting for nobody. Two savers that want the same folders do not hinder each other for ever.
    /// \returns whether all are ours and no interrupted save of another folder counts on files of these
    bool Take(const FolderLayout& layout, FirstFailure& failure);

    /// Gives all locks back. As long as there is a journal at \p journalPath, the lock files stay and tell of it.
    void Release(const std::string& journalPath) noexcept;

private:
    struct Folder {
        std::string path;
        FileFacts facts;
        bool isOwn = false;
    };

    static bool FindFolders(const FolderLayout& layout, std::vector<Folder>& folders, FirstFailure& failure);
    bool TakeOne(const Folder& folder, const std::string& owner, FirstFailure& failure);

    std::vector<std::unique_ptr<OpenFile>> locks;
    bool isTelling = false;   // one of the files may hold our path
};

}   // namespace IO
