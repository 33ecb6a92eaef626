#pragma once

#include <ODB/Export.hpp>
#include <ODB/Id.hpp>

namespace ODB {

class Association1NUntyped;

/// Decides what becomes of the parts of a delta that do not fit the state that it is merged into, since that is not the
/// one that the delta leads away from. Asked before anything is changed; it must not change anything itself.
class ODB_API ConflictResolver {
public:
    enum class Decision {
        Refuse,       ///< nothing is merged, MergeDelta returns -7003
        KeepTarget,   ///< this part is left out
        TakeDelta     ///< the target is made to be as the delta says
    };

    virtual ~ConflictResolver();

    /// \name The conflicts
    /// Refused here.
    /// @{
    /// A new object is there already. TakeDelta gives it the delta's content; an object of another class stays.
    virtual Decision NewObjectExists(const Id& id);
    /// A modified object is not there. TakeDelta makes it, without links but those of the delta.
    virtual Decision ModifiedObjectMissing(const Id& id);
    /// A modified object is of another class in the target. It stays, whatever is decided but Refuse.
    virtual Decision ModifiedObjectDiffersInClass(const Id& id);
    /// A deleted object is gone already. It stays so, whatever is decided but Refuse.
    virtual Decision DeletedObjectMissing(const Id& id);
    /// A deleted object owns objects that the delta does not delete. KeepTarget leaves it, with everything that the
    /// delta deletes beneath it; TakeDelta deletes them with it.
    virtual Decision DeletedObjectOwnsMore(const Id& id);
    /// A link cannot be made, moved, placed or cut as the delta says: an end is missing, or \p right is not linked as
    /// it was in the state that the delta leads away from. TakeDelta makes the link as it is in the delta's new state
    /// when both ends are there, wherever \p right is linked now, or cuts it.
    virtual Decision LinkDiffers(const Association1NUntyped& association, const Id& left, const Id& right);
    /// The object that \p right is to follow is not there. It becomes the last one, whatever is decided but Refuse.
    virtual Decision NeighbourMissing(const Association1NUntyped& association, const Id& left, const Id& right);
    /// @}
};

/// Decides every conflict alike.
class ODB_API UniformConflictResolver : public ConflictResolver {
public:
    explicit UniformConflictResolver(Decision everyDecision) noexcept : decision(everyDecision) {}

    Decision NewObjectExists(const Id& id) override;
    Decision ModifiedObjectMissing(const Id& id) override;
    Decision ModifiedObjectDiffersInClass(const Id& id) override;
    Decision DeletedObjectMissing(const Id& id) override;
    Decision DeletedObjectOwnsMore(const Id& id) override;
    Decision LinkDiffers(const Association1NUntyped& association, const Id& left, const Id& right) override;
    Decision NeighbourMissing(const Association1NUntyped& association, const Id& left, const Id& right) override;

private:
    Decision decision;
};

}   // namespace ODB
