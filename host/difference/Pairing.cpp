#include "Pairing.hpp"

#include "Session.hpp"
#include "kinds/KindTable.hpp"

#include <Kest/Guid.hpp>

#include <AttributeManager/GeneralAttribute.hpp>

namespace Host {

namespace {

using ADB::GeneralAttribute;
using SetRef = ODB::ConstRef<ADB::AttributeSet>;

std::unordered_map<Kest::Guid, short> GetIndexesById(const SetRef& set, short typeId) {
    std::unordered_map<Kest::Guid, short> indexes;
    set->EnumerateConstAttributes(typeId, [&indexes](const ODB::ConstRef<GeneralAttribute>& attribute) {
        indexes.emplace(attribute->GetGuid(), attribute->GetIndex());
    });
    return indexes;
}

}   // namespace

Pairing::Pairing(const SetRef& first, const SetRef& second) {
    for (const KindEntry& kind : GetKinds()) {
        const short typeId = TypeIdOf(kind.record.refId);
        Partners& partners = kinds[kind.record.refId];
        const auto pair = [&partners](short firstIndex, short secondIndex) {
            if (partners.firsts.emplace(secondIndex, firstIndex).second)
                partners.seconds.emplace(firstIndex, secondIndex);
        };
        const std::unordered_map<Kest::Guid, short> ids = GetIndexesById(second, typeId);
        std::vector<short> strangers;
        first->EnumerateConstAttributes(typeId, [&](const ODB::ConstRef<GeneralAttribute>& attribute) {
            const auto found = ids.find(attribute->GetGuid());
            found != ids.end() ? pair(attribute->GetIndex(), found->second)
                               : strangers.push_back(attribute->GetIndex());
        });
        for (const short index : strangers) {
            short namesake = 0;
            if (second->AttributeNameToIndex(typeId, first->GetAttributeName(typeId, index), &namesake) == 0)
                pair(index, namesake);
        }
    }
}

std::optional<short> Pairing::Find(const Kinds& kinds, unsigned int refId, short index, Indexes Partners::*direction) {
    const auto kind = kinds.find(refId);
    if (kind == kinds.end())
        return std::nullopt;
    const Indexes& indexes = kind->second.*direction;
    const auto found = indexes.find(index);
    return found != indexes.end() ? std::optional(found->second) : std::nullopt;
}

}   // namespace Host
