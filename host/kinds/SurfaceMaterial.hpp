#pragma once

#include "Fill.hpp"
#include "Kind.hpp"

#include <tuple>

namespace Host {

/// What a surface looks like.
struct SurfaceMaterialFields {
    int color = 0xFFFFFF;      ///< 0xRRGGBB
    double transparency = 0;   ///< from 0 to 1
    double shine = 0;          ///< from 0 to 1
    short fill = 0;            ///< its hatching in line drawings

    static constexpr auto Fields() {
        return std::tuple(Field(1, "color", &SurfaceMaterialFields::color),
                          Field(2, "transparency", &SurfaceMaterialFields::transparency),
                          Field(3, "shine", &SurfaceMaterialFields::shine),
                          Field(4, "fill", &SurfaceMaterialFields::fill, Fill::Record.refId));
    }
    bool operator==(const SurfaceMaterialFields&) const = default;
};

class SurfaceMaterial final : public Kind<SurfaceMaterial, SurfaceMaterialFields> {
public:
    static constexpr KindRecord Record{"Host::SurfaceMaterial",
                                       "SurfaceMaterial",
                                       "Surfaces",
                                       FourCharacters("SURF"),
                                       "{10CC7960-EC39-4D63-AC6F-BE8214BE7541}",
                                       "{0234590B-4E6B-44F8-837C-22BDB8FD2984}"};
};

}   // namespace Host
