#pragma once

#include <memory>
#include <span>
#include <string>

#include <Kest/ChannelStatus.hpp>
#include <Kest/UniString.hpp>

#include <IO/Export.hpp>
#include <IO/Location.hpp>

namespace IO {

/// Reads the documents of a folder that FolderSave writes, all as one save has left them.
///
/// An interrupted save whose journal is in place is read as if it were finished; without a journal the documents are
/// read under their names. A damaged journal is passed over, unless new documents still lie beside the old ones: then
/// nobody can tell which belong together, and the folder counts as damaged. Nothing is written and no lock is taken.
///
/// Beside a writer at work: everything that one view hands out belongs to one save. When a save comes between, the view
/// opens itself again as long as it has handed out nothing, and else refuses: read the folder again with a new view.
class IO_API FolderView {
public:
    /// Touches nothing yet. \p knownNames as in FolderSave.
    /// \throws std::bad_alloc
    FolderView(const Location& folder, std::span<const Kest::UniString> knownNames);
    FolderView(const FolderView&) = delete;
    FolderView& operator=(const FolderView&) = delete;
    ~FolderView();

    /// Finds out what the documents are. May be called again, to see a later state.
    /// \returns 0; ReadFailed when there is no such folder, when the system refuses or a writer never rests; Damaged
    /// when what an interrupted save has left makes no whole; WrongCall for bad known names; MemoryFull.
    int Open();

    /// Whether the document \p name was there when the view was opened; false for an unknown name and before Open.
    bool Contains(const Kest::UniString& name) const noexcept;

    /// Reads the document \p name into \p bytes.
    /// \returns 0; ReadFailed when there is no such document, when it cannot be read or when a save came between;
    /// WrongCall for an unknown name or before Open; what Open returns; MemoryFull. When not 0, \p bytes is as before.
    int ReadFile(const Kest::UniString& name, std::string& bytes);

    /// One sentence about the latest failure, with the path that it happened at; empty when there was none.
    const Kest::UniString& GetProblem() const noexcept;

private:
    class Work;

    std::unique_ptr<Work> work;
};

}   // namespace IO
