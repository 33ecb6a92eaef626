#pragma once

#include <cstddef>

#include <Kest/Guid.hpp>

#include <ODB/Export.hpp>
#include <ODB/Id.hpp>

namespace ODB {

class Association1NUntyped;
class IdSpace;

/// Is told what is in a delta, item by item; see Delta::EnumerateContent. Every operation has an empty body. Ids belong
/// to the delta's space; nothing says that an object has one of them there now.
class ODB_API ContentEnumerator {
public:
    virtual ~ContentEnumerator();

    /// The object \p id of the class \p classId is new, with the isolated state that stands in \p length bytes at
    /// \p state, until the call returns; null and 0 when states are not asked for.
    virtual void NewObjectFound(const Kest::Guid& classId, const Id& id, IdSpace* idSpace, const char* state,
                                std::size_t length);
    /// The same for an object that has other content now.
    virtual void ModifiedObjectFound(const Kest::Guid& classId, const Id& id, IdSpace* idSpace, const char* state,
                                     std::size_t length);
    /// The object \p id is gone.
    virtual void DeletedObjectFound(const Kest::Guid& classId, const Id& id, IdSpace* idSpace);

    /// \p left and \p right are linked now.
    virtual void NewLinkFound(const Association1NUntyped& association, const Id& left, const Id& right);
    /// \p right went over to \p left.
    virtual void ModifiedLinkFound(const Association1NUntyped& association, const Id& left, const Id& right);
    /// \p right follows \p behind now among the right objects of \p left; the null id: it is the first.
    virtual void ReorderedLinkFound(const Association1NUntyped& association, const Id& left, const Id& right,
                                    const Id& behind);
    /// \p left and \p right are linked no more.
    virtual void DeletedLinkFound(const Association1NUntyped& association, const Id& left, const Id& right);

    /// The object \p id is not in the delta, but links of the delta name it: where the delta is merged, it must be.
    virtual void ControlObjectFound(const Id& id, IdSpace* idSpace);
};

}   // namespace ODB
