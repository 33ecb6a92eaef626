#pragma once

#include "Fill.hpp"
#include "Kind.hpp"
#include "LineType.hpp"
#include "SurfaceMaterial.hpp"

#include <optional>
#include <tuple>

namespace Host {

/// What elements look like while a rule holds for them. What an override leaves out stays as it is.
struct GraphicOverrideFields {
    std::optional<int> lineColor;   ///< 0xRRGGBB
    short lineType = 0;             ///< 0 leaves it as it is
    short fill = 0;                 ///< 0 leaves it as it is
    short surface = 0;              ///< 0 leaves it as it is
    std::optional<int> fillColor;   ///< 0xRRGGBB

    static constexpr auto Fields() {
        return std::tuple(Field(1, "lineColor", &GraphicOverrideFields::lineColor),
                          Field(2, "lineType", &GraphicOverrideFields::lineType, LineType::Record.refId),
                          Field(3, "fill", &GraphicOverrideFields::fill, Fill::Record.refId),
                          Field(4, "surface", &GraphicOverrideFields::surface, SurfaceMaterial::Record.refId),
                          Field(5, "fillColor", &GraphicOverrideFields::fillColor));
    }
    bool operator==(const GraphicOverrideFields&) const = default;
};

class GraphicOverride final : public Kind<GraphicOverride, GraphicOverrideFields> {
public:
    static constexpr KindRecord Record{"Host::GraphicOverride",
                                       "GraphicOverride",
                                       "Graphic Overrides",
                                       FourCharacters("GOVR"),
                                       "{BFE7861B-B9A3-4E40-BCF5-816434C0E855}",
                                       "{6F858B06-76C4-4EF4-99D8-29C7F489D971}"};
};

}   // namespace Host
