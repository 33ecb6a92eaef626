#pragma once

#include "Fill.hpp"
#include "Kind.hpp"
#include "SurfaceMaterial.hpp"

#include <tuple>

#include <Kest/UniString.hpp>

namespace Host {

/// What a building is made of.
struct BuildingMaterialFields {
    short fill = 0;            ///< where it is cut
    short surface = 0;         ///< where it is seen
    int priority = 500;        ///< the higher one cuts the lower one where two meet, 0 to 999
    double density = 0;        ///< kilograms per cubic metre
    double conductivity = 0;   ///< of heat, watts per metre and kelvin
    double heatCapacity = 0;   ///< joules per kilogram and kelvin
    Kest::UniString manufacturer;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "fill", &BuildingMaterialFields::fill, Fill::Record.refId),
                          Field(2, "surface", &BuildingMaterialFields::surface, SurfaceMaterial::Record.refId),
                          Field(3, "priority", &BuildingMaterialFields::priority),
                          Field(4, "density", &BuildingMaterialFields::density),
                          Field(5, "conductivity", &BuildingMaterialFields::conductivity),
                          Field(6, "heatCapacity", &BuildingMaterialFields::heatCapacity),
                          Field(7, "manufacturer", &BuildingMaterialFields::manufacturer));
    }
    bool operator==(const BuildingMaterialFields&) const = default;
};

class BuildingMaterial final : public Kind<BuildingMaterial, BuildingMaterialFields> {
public:
    static constexpr KindRecord Record{"Host::BuildingMaterial",
                                       "BuildingMaterial",
                                       "Building Materials",
                                       FourCharacters("BMAT"),
                                       "{C0027332-F94A-4A52-8F73-E3EC266B9F91}",
                                       "{B04C40F3-8229-46B9-AB7B-DEF2A3DDF80D}"};
};

}   // namespace Host
