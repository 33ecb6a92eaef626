#pragma once

#include <vector>

#include <Kest/HashSet.hpp>
#include <Kest/HashTable.hpp>

#include "LinkPlan.hpp"

namespace ODB {

/// Whether the links of a merge would make an object own itself. Follows owners upwards, from the objects that come to
/// be owned and own something, so that it does not matter how much they own.
class OwnershipCheck {
public:
    /// \throws std::bad_alloc
    explicit OwnershipCheck(const LinkPlan& linkPlan);

    bool FindsRing();

private:
    enum class State { Open, Done };

    bool OwnsAnything(const ObjectInfo& object) const;
    bool LeadsIntoRing(ObjectInfo& object);
    std::vector<ObjectInfo*> GetOwners(ObjectInfo& object) const;

    const LinkPlan& plan;
    Kest::HashSet<const void*> newOwners;
    Kest::HashTable<const void*, std::vector<ObjectInfo*>> coming;   // new owners of objects that own something
    std::vector<ObjectInfo*> suspects;                               // these objects
    Kest::HashTable<const void*, State> states;
};

}   // namespace ODB
