#pragma once

#include "BuildingMaterial.hpp"
#include "Kind.hpp"

#include <tuple>
#include <vector>

namespace Host {

/// One layer of a composite.
struct CompositeSkin {
    short material = 0;
    double thickness = 0;   ///< metres
    bool isCore = false;    ///< whether it bears the load
    int separatorPen = 0;   ///< of the line to the next skin, 0 for none

    static constexpr auto Fields() {
        return std::tuple(Field(1, "material", &CompositeSkin::material, BuildingMaterial::Record.refId),
                          Field(2, "thickness", &CompositeSkin::thickness), Field(3, "isCore", &CompositeSkin::isCore),
                          Field(4, "separatorPen", &CompositeSkin::separatorPen));
    }
    bool operator==(const CompositeSkin&) const = default;
};

/// The layers that a wall, a slab or a roof is made of.
struct CompositeWallFields {
    std::vector<CompositeSkin> skins;   ///< from the outside to the inside
    bool forWalls = true;
    bool forSlabs = false;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "skins", &CompositeWallFields::skins),
                          Field(2, "forWalls", &CompositeWallFields::forWalls),
                          Field(3, "forSlabs", &CompositeWallFields::forSlabs));
    }
    bool operator==(const CompositeWallFields&) const = default;
};

class CompositeWall final : public Kind<CompositeWall, CompositeWallFields> {
public:
    static constexpr KindRecord Record{"Host::CompositeWall",
                                       "CompositeWall",
                                       "Composites",
                                       FourCharacters("COMW"),
                                       "{CA078A25-4287-4939-A9C8-652F748F0527}",
                                       "{85A844E1-8897-4931-9F55-625B98988DCD}"};
};

}   // namespace Host
