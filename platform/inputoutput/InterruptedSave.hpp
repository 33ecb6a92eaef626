#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <Kest/ByteSink.hpp>

#include "FirstFailure.hpp"
#include "FolderLayout.hpp"

namespace IO {

/// A document that a save has made, as its journal tells.
struct JournalEntry {
    std::size_t document = 0;     // its place in the folder's layout
    std::uint64_t size = 0;       // in bytes
    std::uint32_t checksum = 0;   // CRC-32C
    bool isRenamed = false;       // found under its own name; not in the journal
};

/// What an earlier save, or one that is under way, has left in a folder.
struct InterruptedSave {
    enum class State {
        None,         // no journal: the documents under their names belong together
        Passed,       // a damaged journal, but no new documents beside the old ones: as None
        Whole,        // the documents of the journal are all there, under their new or their own names
        Incomplete,   // one of them is not
        Unreadable    // a damaged journal, and new documents: nobody can tell which were renamed already
    };

    State state = State::None;
    std::vector<JournalEntry> entries;   // of a journal in order
};

/// Finds out what is left. \returns whether nothing was refused
bool FindInterruptedSave(const FolderLayout& layout, InterruptedSave& found, FirstFailure& failure);

/// Whether the file at \p path has size and checksum of \p entry. No file there has not. \returns whether nothing was
/// refused
bool CompareContent(const std::string& path, const JournalEntry& entry, bool& isSame, FirstFailure& failure);

/// Hands a journal of \p entries to \p sink, which tells \p failure itself, and finishes it. A journal without entries
/// marks a folder that nobody can make sense of.
void WriteJournal(const FolderLayout& layout, const std::vector<JournalEntry>& entries, Kest::IByteSink& sink,
                  FirstFailure& failure);

}   // namespace IO
