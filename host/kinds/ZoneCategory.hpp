#pragma once

#include "Fill.hpp"
#include "Kind.hpp"
#include "SurfaceMaterial.hpp"

#include <tuple>

#include <Kest/UniString.hpp>

namespace Host {

/// A use of rooms.
struct ZoneCategoryFields {
    Kest::UniString code;   ///< short, for lists: "1.2"
    int color = 0xFFFFFF;   ///< 0xRRGGBB
    short fill = 0;
    short floor = 0;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "code", &ZoneCategoryFields::code), Field(2, "color", &ZoneCategoryFields::color),
                          Field(3, "fill", &ZoneCategoryFields::fill, Fill::Record.refId),
                          Field(4, "floor", &ZoneCategoryFields::floor, SurfaceMaterial::Record.refId));
    }
    bool operator==(const ZoneCategoryFields&) const = default;
};

class ZoneCategory final : public Kind<ZoneCategory, ZoneCategoryFields> {
public:
    static constexpr KindRecord Record{"Host::ZoneCategory",
                                       "ZoneCategory",
                                       "Zone Categories",
                                       FourCharacters("ZONC"),
                                       "{BE40723D-ABFB-4FD9-9DF1-7716C8742F17}",
                                       "{050C685C-56AB-4163-8C15-B91EC5565CDD}"};
};

}   // namespace Host
