#pragma once

#include <functional>

#include <Kest/ClassInfo.hpp>

#include <ODB/AssociationProperty.hpp>
#include <ODB/Export.hpp>

namespace ODB {

class Association1NUntyped;

/// What associations there are.
class ODB_API AssociationManager {
public:
    AssociationManager() = delete;

    /// Calls \p call with each association that carries \p property and whose left objects \p leftClass or one of its
    /// base classes names, in the order of their ids. A null class stands for every class. \p call may make and destroy
    /// associations: those that were there at the start and still are at their turn are visited.
    static void EnumerateAssociations(const Kest::ClassInfo* leftClass, const CustomAssociationPropertyValue& property,
                                      const std::function<void(const Association1NUntyped&)>& call);
};

}   // namespace ODB
