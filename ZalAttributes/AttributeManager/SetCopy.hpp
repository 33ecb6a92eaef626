#pragma once

#include <optional>
#include <vector>

#include <ODB/IdSpace.hpp>
#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeContainer.hpp>
#include <AttributeManager/AttributeSet.hpp>

namespace ADB {

/// Which ids copies get.
enum class CopyIds { Same, Fresh };

/// Copies the attributes of one container into another one, which holds none, in one go: without states between, and
/// with an index that is made from the index of the source.
class ContainerCopy {
public:
    /// \param wantedIds of the copies, in the id space of \p target
    ContainerCopy(const AttributeContainer& source, AttributeContainer& target, CopyIds wantedIds);
    ~ContainerCopy();
    ContainerCopy(const ContainerCopy&) = delete;
    ContainerCopy& operator=(const ContainerCopy&) = delete;

    /// Makes clones, in link order, which the container observes.
    /// \returns whether it was done: not when an attribute has links besides, which would be lost, cannot be cloned, or
    /// has an id that is taken. \throws std::bad_alloc. Either way nothing is left behind
    bool Run();

    /// Makes the counterpart of the source's active attribute the target's.
    void CarryActive();
    /// Copies by that name alone have no passing marks (see GeneralAttribute::IsDisabled).
    void DropPassingMarks() const noexcept;

private:
    bool CloneAll();
    bool Clone(const GeneralAttribute& attribute);
    void FillIndex();

    const AttributeContainer& from;
    AttributeContainer& into;
    const CopyIds ids;
    std::vector<GeneralAttribute*> clones;   // ours until they are linked
    std::vector<ODB::ObjectInfo*> records;
    ODB::Ref<GeneralAttribute> active;
};

/// Copies a container, or a set, with all that it holds into \p target, where no object has the id of the source; links
/// to and from other objects are not copied.
/// \returns the copy; nothing, with nothing left behind, when there are objects or links that a container or set by
/// itself does not have, or an id is taken. \throws std::bad_alloc with nothing left behind
std::optional<ODB::Ref<AttributeContainer>> CopyContainer(const AttributeContainer& source, ODB::IdSpace& target,
                                                          CopyIds ids);
std::optional<ODB::Ref<AttributeSet>> CopySet(const AttributeSet& source, ODB::IdSpace& target, CopyIds ids);

}   // namespace ADB
