#pragma once

#include <memory>
#include <span>

#include <Kest/ByteSink.hpp>
#include <Kest/ChannelStatus.hpp>
#include <Kest/UniString.hpp>

#include <IO/Export.hpp>
#include <IO/Location.hpp>

namespace IO {

/// Saves documents of one folder as a whole: whenever the program or the system stops, who reads the folder through
/// FolderView finds all of them old or all of them new.
///
/// In that order: the new documents are written beside the old ones as "<name>.new" and flushed; a journal,
/// "Attribute.journal", with their names, sizes and checksums is put in the folder whole; from then on the folder is
/// new. The documents are renamed, the journal is removed. A save that was stopped behind that point is finished by the
/// next one, a save that was stopped before it is cleared away. A file "Attribute.lock" keeps other writers out while
/// the object is at work; the system drops the lock of a program that dies.
///
/// Documents that are symbolic links stay links: the files that they point at are replaced, by way of new ones beside
/// them, ".<name>.zal-linked". Their folders are locked too, and as long as the save of one of the folders that lead
/// there is interrupted, only that folder can be saved. Replaced files keep their permissions and, where the system
/// lets us, their owner.
///
/// Use: Begin, then for each document CreateFile, write to the sink, Finish it; then Commit. Without Commit the old
/// documents stay and what was written is removed (a folder that Begin has made stays).
class IO_API FolderSave {
public:
    /// Touches nothing yet. \p knownNames: the documents that this kind of folder may hold; only these can be written,
    /// and a journal with another name counts as damaged. Each is a plain name; no two may be equal but for letter
    /// case, nor one the name of a file that the save makes itself. \throws std::bad_alloc
    FolderSave(const Location& folder, std::span<const Kest::UniString> knownNames);
    FolderSave(const FolderSave&) = delete;
    FolderSave& operator=(const FolderSave&) = delete;
    ~FolderSave();

    /// Makes the folder when it is missing, locks it and the folders that links lead to, and finishes or clears away an
    /// earlier save that was interrupted.
    ///
    /// When that save can be neither finished nor cleared, because its journal or its files were damaged later, the
    /// folder is left unreadable as it is: then only a save of every known document that is there can be committed.
    /// \returns 0; WriteFailed when another writer is at work in one of these folders or was interrupted in a folder
    /// that shares documents with this one, when one of the known documents is read-only or no file,
    /// or when the system refuses; WrongCall for bad known names or a second call; MemoryFull. When not 0, the folder
    /// is unlocked and no document differs for a reader.
    int Begin();

    /// Begins the new document \p name. \p sink is where its bytes go: this object owns it; write in blocks, and
    /// Finish it before Commit.
    /// \returns 0; WrongCall before Begin, for an unknown name or for one that was created already; WriteFailed, also
    /// when links lead it to the file of another created document; MemoryFull. When not 0, \p sink keeps its value, and
    /// Commit will refuse.
    int CreateFile(const Kest::UniString& name, Kest::IByteSink*& sink);

    /// Makes the created documents the folder's, and unlocks it. A known document that was not created stays as it is.
    /// \returns 0; WrongCall before Begin and after a Commit, or when a sink is unfinished; the code of the first
    /// failure of CreateFile or a sink; Damaged when Begin has left the folder unreadable and a document is missing
    /// here; WriteFailed; MemoryFull. When not 0, the documents are wholly old, or wholly new if the journal was in
    /// place already: then the next save will finish.
    int Commit();

    /// One sentence about the first failure, with the path that it happened at; empty when there was none.
    const Kest::UniString& GetProblem() const noexcept;

private:
    class Work;

    std::unique_ptr<Work> work;
};

}   // namespace IO
