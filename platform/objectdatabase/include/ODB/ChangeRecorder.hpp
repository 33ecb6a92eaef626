#pragma once

#include <memory>

#include <ODB/Delta.hpp>
#include <ODB/Export.hpp>

namespace ODB {

class IdSpace;
class LinkList;
class ObjectInfo;

/// Notes what happens in an id space while it is open, and gives the way from the state at its opening to the present
/// one, and the way back: for undo. What it costs depends on what is changed, not on what there is.
///
/// An object's content is taken before its first change, which every setter, reader and `Ref` announces; a write
/// through a plain pointer that nobody announced is not seen. Links count while both their ends are in the space; they
/// are noted one by one; compacting or reordering a long list of links costs as much as it does anyway. Objects that
/// came and went meanwhile leave no trace, nor does what is again as it was: contents are other when their isolated
/// states are other bytes. Any number of recorders may be open, also on one space, and be closed in any order.
///
/// Nothing of this fails where it happens: what cannot be noted, for want of memory or because an object cannot store
/// its content, is answered by CreateDeltas.
class ODB_API ChangeRecorder {
public:
    /// Opens the recorder. \param recordedSpace must live as long; null means the default space
    explicit ChangeRecorder(IdSpace* recordedSpace);
    /// Closes it.
    ~ChangeRecorder();
    ChangeRecorder(const ChangeRecorder&) = delete;
    ChangeRecorder& operator=(const ChangeRecorder&) = delete;

    /// Whether anything was noted. It may be as it was nevertheless: the deltas are empty then.
    bool HasChanges() const noexcept;

    /// Puts into \p forward the way from the state at the opening to the present one, and into \p back the way back;
    /// each may be null, is emptied first, keeps its name and gets the recorder's space. Recording goes on. Objects
    /// stand in the order in which they were first changed, links in the order of their lists.
    /// \returns 0; -108 when memory ran out now or while it was recording; -7003 when an object changed its class
    /// under its id, or died without the database, or the space is gone; what storing an object's state returned. Then
    /// both are empty
    int CreateDeltas(Delta* forward, Delta* back) const;

    /// Forgets what was noted: the present state is that of the opening from now on.
    void Restart() noexcept;

private:
    friend class Database;
    friend class IdSpace;
    friend class LinkList;
    friend class MergeTarget;
    friend class Object;
    friend class ObjectInfo;
    class Record;

    ChangeRecorder* next = nullptr;   // the one opened before
    IdSpace* space;
    std::unique_ptr<Record> record;
};

}   // namespace ODB
