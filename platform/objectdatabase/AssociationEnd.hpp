#pragma once

#include <cstdint>

#include <Kest/Hash.hpp>

#include <ODB/Id.hpp>

namespace ODB {

class Association1NUntyped;

/// One end of links of an association: of all that a left object has, or of the only one that a right object has.
struct AssociationEnd {
    const Association1NUntyped* association;
    Id id;

    friend bool operator==(const AssociationEnd&, const AssociationEnd&) = default;
};

}   // namespace ODB

template <>
struct Kest::Hash<ODB::AssociationEnd> {
    std::uint64_t operator()(const ODB::AssociationEnd& end) const noexcept {
        return Kest::Hash<ODB::Id>()(end.id) ^ Kest::Hash<const void*>()(end.association) * 0x9E3779B97F4A7C15;
    }
};
