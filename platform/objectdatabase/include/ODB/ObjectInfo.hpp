#pragma once

#include <atomic>
#include <cstdint>

#include <ODB/Export.hpp>
#include <ODB/Id.hpp>

namespace ODB {

class ChangeRecorder;
class IdSpace;
class LinkList;
class LinkTable;
class Object;

/// The record of one identity: what references point at.
///
/// A record outlives its object while references to it exist; it is *dead* then: it has no object. A dead record of an
/// id space comes alive again when an object arrives under its id. Records are made and freed by the database alone.
class ODB_API ObjectInfo {
public:
    ObjectInfo(const ObjectInfo&) = delete;
    ObjectInfo& operator=(const ObjectInfo&) = delete;

    const Id& GetId() const noexcept { return id; }
    IdSpace* GetIdSpace() const noexcept { return space; }

    /// The object, without any side effect; null when there is none.
    Object* GetObject() const noexcept { return object; }
    bool IsAlive() const noexcept { return object != nullptr; }

    /// Loads the object when it is not there yet.
    /// \returns whether there is an object now
    bool LoadObject() noexcept { return object != nullptr; }

    /// Value of the process-wide count of changes at the last change of the object; 0 for one never changed.
    std::uint64_t GetModificationStamp() const noexcept { return stamp & StampMask; }

    /// Called before an object is handed out for modification: shows its content to the recorders that are open, stamps
    /// it and notes it for the indexes above it, which look at it again before their next answer. Allocates nothing
    /// unless a recorder is open.
    void ProcessModificationRequest() noexcept {
        ShowContent();
        Touch();
    }

    /// The same for a change that does not count as a change of content: the stamp stays.
    void ProcessLogicalConstModificationRequest() noexcept {}

    /// Counts one more reference.
    void AddReference() noexcept { references.fetch_add(1, std::memory_order_relaxed); }

    /// Counts one reference less; the last one frees a dead record.
    void ReleaseObjectInfo() noexcept {
        if (references.fetch_sub(1, std::memory_order_acq_rel) == 1)
            Free();
    }

    /// The record that took this one's place when its object took an id that had a record already; null for most.
    ObjectInfo* GetSuccessor() const noexcept {
        return object == nullptr && (stamp & MovedFlag) != 0 ? successor : nullptr;
    }

    /// The newest stamp that was given: no object of the process was changed after it.
    static std::uint64_t GetLastStamp() noexcept { return lastStamp.load(std::memory_order_relaxed); }

    /// The record behind NullObjectInfo.
    static ObjectInfo nullInfo;

private:
    friend class Association1NUntyped;
    friend class ChangeRecorder;
    friend class Database;
    friend class IdSpace;
    friend class LinkList;
    friend class LinkTable;
    friend class MergeTarget;
    friend class ModificationGate;
    friend class Object;
    friend class RecordTable;
    friend class RefBase;
    template <class T>
    friend class RecordPool;

    constexpr ObjectInfo() noexcept = default;
    bool IsDying() const noexcept { return (stamp & DeletingFlag) != 0; }
    void Stamp() noexcept {
        const std::uint64_t next = lastStamp.load(std::memory_order_relaxed) + 1;
        lastStamp.store(next, std::memory_order_relaxed);
        stamp = (stamp & ~StampMask) | next;
    }
    // The object counts as changed; its content stays: for changes of its links.
    void Touch() noexcept {
        Stamp();
        if (links != 0)
            QueueOnLists();
    }
    // Before the first write of a change: the recorders take the content, unless they have it.
    void ShowContent() noexcept {
        if (recorders != nullptr)
            ShowContentToRecorders();
    }
    void ShowContentToRecorders() noexcept;
    void QueueOnLists() noexcept;
    void TakeOver(ObjectInfo& other) noexcept;
    void Free() noexcept;

    static constexpr std::uint64_t StampMask = (std::uint64_t{1} << 56) - 1;
    static constexpr std::uint64_t ManagedFlag = std::uint64_t{1} << 56;    // the database destroys the object
    static constexpr std::uint64_t DeletingFlag = std::uint64_t{1} << 57;   // on its way out
    static constexpr std::uint64_t MovedFlag = std::uint64_t{1} << 58;      // `successor` is set
    static std::atomic<std::uint64_t> lastStamp;
    static ChangeRecorder* recorders;   // those that are open, null without one

    Id id;
    union {
        IdSpace* space = nullptr;
        ObjectInfo* successor;   // counted; a record with a successor has no space
    };
    Object* object = nullptr;
    std::atomic<std::uint32_t> references = 0;
    std::uint32_t position = 0;   // of the only link in its list, see Links.hpp
    std::uint64_t stamp = 0;      // low 56 bits; flags above
    std::uintptr_t links = 0;     // none, the only list that this object is the right side in, or a table of links
};

/// Stands for the absence of an object; never counted.
inline constexpr ObjectInfo& NullObjectInfo = ObjectInfo::nullInfo;

}   // namespace ODB
