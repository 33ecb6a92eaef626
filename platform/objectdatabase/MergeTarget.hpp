#pragma once

#include <cstdint>
#include <memory>

#include <ODB/Id.hpp>
#include <ODB/IdSpace.hpp>
#include <ODB/Object.hpp>
#include <ODB/Ref.hpp>

namespace ODB {

/// The id space that a delta is merged into, and what a merge alone may do to records.
class MergeTarget {
public:
    explicit MergeTarget(IdSpace& targetSpace) noexcept : space(targetSpace) {}

    IdSpace& GetSpace() const noexcept { return space; }

    /// The record of \p id, dead or alive; null when there is none.
    ObjectInfo* Find(const Id& id) const noexcept { return space.FindRecord(id); }
    /// The same, made when there is none. \throws std::bad_alloc with nothing changed
    Ref<Object> Identify(const Id& id) const { return Ref<Object>(&space.GetRecord(id)); }

    /// Gives \p object, which has no id, to the database under the identity of a dead record.
    /// \returns whether it had none
    static bool Arrive(ObjectInfo& identity, std::unique_ptr<Object> object) noexcept;

    static bool IsDying(const ObjectInfo& record) noexcept { return record.IsDying(); }
    static bool IsManaged(const ObjectInfo& record) noexcept { return (record.stamp & ObjectInfo::ManagedFlag) != 0; }
    static void Manage(ObjectInfo& record) noexcept { record.stamp |= ObjectInfo::ManagedFlag; }
    static void Touch(ObjectInfo& record) noexcept { record.Touch(); }

    /// A number that a record without links keeps; anything for one with links, or to which none was given.
    static void Note(ObjectInfo& record, std::uint32_t number) noexcept { record.position = number; }
    static std::uint32_t GetNote(const ObjectInfo& record) noexcept { return record.position; }

private:
    IdSpace& space;
};

}   // namespace ODB
