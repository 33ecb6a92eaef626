#pragma once

#include "Kind.hpp"
#include "Layer.hpp"

#include <tuple>
#include <vector>

namespace Host {

/// A layer as a combination shows it.
struct LayerStatus {
    short layer = 0;
    bool isVisible = true;
    bool isLocked = false;
    bool isWireframe = false;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "layer", &LayerStatus::layer, Layer::Record.refId),
                          Field(2, "isVisible", &LayerStatus::isVisible), Field(3, "isLocked", &LayerStatus::isLocked),
                          Field(4, "isWireframe", &LayerStatus::isWireframe));
    }
    bool operator==(const LayerStatus&) const = default;
};

/// Which layers are seen together, and how.
struct LayerCombinationFields {
    std::vector<LayerStatus> layers;

    static constexpr auto Fields() { return std::tuple(Field(1, "layers", &LayerCombinationFields::layers)); }
    bool operator==(const LayerCombinationFields&) const = default;
};

class LayerCombination final : public Kind<LayerCombination, LayerCombinationFields> {
public:
    static constexpr KindRecord Record{"Host::LayerCombination",
                                       "LayerCombination",
                                       "Layer Combinations",
                                       FourCharacters("LCMB"),
                                       "{FA5888F8-DC3E-4074-A2BC-332BC5165B7C}",
                                       "{9CF106D2-748A-48D1-8260-4CBE3AC644BF}"};
};

}   // namespace Host
