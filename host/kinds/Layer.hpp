#pragma once

#include "Kind.hpp"
#include "LineType.hpp"
#include "PenTable.hpp"

#include <optional>
#include <tuple>

namespace Host {

/// A layer of a drawing.
struct LayerFields {
    int color = 7;   ///< number in the drawing's palette; negative when the layer is off
    short lineType = 0;
    int flags = 0;   ///< as in the drawing: 1 frozen, 4 locked
    short penTable = 0;
    int pen = 0;                     ///< number of a pen of the pen table, from 1; 0 for none
    std::optional<int> lineWeight;   ///< hundredths of a millimetre; below 0 a default
    std::optional<int> trueColor;    ///< 0xRRGGBB, in place of the pen's
    bool isPlotted = true;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "color", &LayerFields::color),
                          Field(2, "lineType", &LayerFields::lineType, LineType::Record.refId),
                          Field(3, "flags", &LayerFields::flags),
                          Field(4, "penTable", &LayerFields::penTable, PenTable::Record.refId).AsDetail(),
                          Field(5, "pen", &LayerFields::pen).AsDetail(),
                          Field(6, "lineWeight", &LayerFields::lineWeight).AsDetail(),
                          Field(7, "trueColor", &LayerFields::trueColor).AsDetail(),
                          Field(8, "isPlotted", &LayerFields::isPlotted).AsDetail());
    }
    bool operator==(const LayerFields&) const = default;
};

class Layer final : public Kind<Layer, LayerFields> {
public:
    static constexpr KindRecord Record{"Host::Layer",
                                       "Layer",
                                       "Layers",
                                       FourCharacters("LAYR"),
                                       "{DA3DB600-94CE-44BD-9804-3B8A1B239CA9}",
                                       "{7D92AB86-32CC-472A-A681-8CBD3B43A9CB}"};
};

}   // namespace Host
