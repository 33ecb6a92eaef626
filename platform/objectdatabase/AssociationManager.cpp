#include <ODB/AssociationManager.hpp>

#include <algorithm>
#include <utility>
#include <vector>

#include <ODB/Association1NUntyped.hpp>

#include "Associations.hpp"

namespace ODB {
namespace {

using IdentifiedAssociation = std::pair<Id, const Association1NUntyped*>;

// Another association may have taken the place in memory of one that is gone.
bool IsThere(const IdentifiedAssociation& association) {
    const auto& all = GetAssociations();
    return std::find(all.begin(), all.end(), association.second) != all.end() &&
           association.second->GetId() == association.first;
}

}   // namespace

void AssociationManager::EnumerateAssociations(const Kest::ClassInfo* leftClass,
                                               const CustomAssociationPropertyValue& property,
                                               const std::function<void(const Association1NUntyped&)>& call) {
    std::vector<IdentifiedAssociation> found;
    for (const Association1NUntyped* const association : GetAssociations())
        if (association->GetProperties().Has(property) &&
            (leftClass == nullptr || leftClass->IsCompatibleWith(*association->GetLeftClass())))
            found.emplace_back(association->GetId(), association);
    std::sort(found.begin(), found.end(), [](const IdentifiedAssociation& one, const IdentifiedAssociation& other) {
        return one.first.GetGuid() < other.first.GetGuid();
    });
    for (const IdentifiedAssociation& association : found)
        if (IsThere(association))
            call(*association.second);
}

}   // namespace ODB
