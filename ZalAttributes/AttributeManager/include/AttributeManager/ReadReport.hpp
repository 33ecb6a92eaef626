#pragma once

#include <Kest/Array.hpp>
#include <Kest/ClassVersion.hpp>
#include <Kest/UniString.hpp>

#include <AttributeManager/Export.hpp>

namespace ADB {

/// What a reader of attributes, types, sets or documents could not bring in exactly as it was stored.
///
/// Readers answer 0 to much that is no failure but loses something: a frame of a later version that is passed over, two
/// attributes of one name. A host that asks sees all of it, and need not save over a document that it did not read
/// whole. Readers report to the report whose Scope is the innermost; without one nothing is noted.
class ADB_API ReadReport {
public:
    enum Kind : int {
        FrameSkipped = 1,   ///< a frame of a later version: `className`, `version`
        TypeSkipped = 2,    ///< a type that was not read: `name` is its GUID or the name of its document; types that
                            ///< have no document make one entry with the name of the main one
        AttributeRenamed = 3,      ///< `name` is the stored name, `newName` the present one, `index` the present index
        AttributeRenumbered = 4,   ///< `index` is the stored index, `newIndex` the present one
        RecordDropped = 5,         ///< an attribute that could not be kept: `name`, `index`
        ReferenceWithoutTarget = 6,   ///< the active attribute of a type is not there: `name` is its id
        FlagsMissing = 7,             ///< an attribute without flags in a document: `name`, `index`
        FileMissing = 8,              ///< a document that is not there: `name` is its file name
        SavePending = 9,              ///< an interrupted save was seen through
        ElementSkipped = 10,   ///< elements were passed over: of the attribute `name`, `index`, else of the document
                               ///< `name`
    };

    struct Entry {
        Kind kind;
        unsigned int refId = 0;   ///< ref id of the type, 0 when it is none's business
        Kest::UniString name{};
        Kest::UniString newName{};
        short index = 0;
        short newIndex = 0;
        const char* className = nullptr;
        Kest::ClassVersion version{};
    };

    /// Makes a report the one that readers report to, while it lives.
    class ADB_API Scope {
    public:
        explicit Scope(ReadReport& report) noexcept;
        ~Scope();
        Scope(const Scope&) = delete;
        Scope& operator=(const Scope&) = delete;

    private:
        ReadReport* previous;
    };

    const Kest::Array<Entry>& GetEntries() const noexcept { return entries; }
    bool IsEmpty() const noexcept { return entries.IsEmpty() && !isIncomplete; }
    /// Whether an entry was lost for want of memory.
    bool IsIncomplete() const noexcept { return isIncomplete; }
    /// Whether there is an entry of \p kind.
    bool Contains(Kind kind) const noexcept;

    /// Adds an entry to the report in force, if there is one.
    static void Add(const Entry& entry) noexcept;
    /// Whether a report is in force: for readers, before they take pains over an entry.
    static bool IsWanted() noexcept;

private:
    Kest::Array<Entry> entries;
    bool isIncomplete = false;
};

}   // namespace ADB
