#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include <ODB/IsolatedStateIO.hpp>
#include <ODB/Object.hpp>

#include "ModificationSilence.hpp"
#include "ObjectPlan.hpp"

namespace ODB {

/// Makes the new objects of a merge and gives new and modified ones their contents. All of it is taken back in the end
/// unless it is to stay.
class ObjectMerge {
public:
    /// \param stateIO how contents pass, null: as they are
    ObjectMerge(const ObjectPlan& objectPlan, const IsolatedStateIO* stateIO) noexcept
        : plan(objectPlan),
          io(stateIO) {}
    ~ObjectMerge();
    ObjectMerge(const ObjectMerge&) = delete;
    ObjectMerge& operator=(const ObjectMerge&) = delete;

    /// \returns 0; -7003 when a class cannot be made; what storing, restoring or passing a content returns
    /// \throws std::bad_alloc
    int Make();
    void Stay() noexcept { stays = true; }

private:
    int MakeNewcomers();
    int RestoreNewcomers();
    int Change();
    int Restore(Object& object, const Delta::StoredObject& source) const;
    int Pass(Object& object, const Delta::StoredObject& source) const;
    void GiveBack(std::size_t place) noexcept;
    static void RefillIndexes(ObjectInfo& right) noexcept;

    const ObjectPlan& plan;
    const IsolatedStateIO* io;
    std::size_t made = 0;
    std::vector<std::unique_ptr<Object::IsolatedState>> before;   // contents of the objects changed so far
    bool stays = false;
    const ModificationSilence silence;   // while contents change, and while they are taken back
};

}   // namespace ODB
