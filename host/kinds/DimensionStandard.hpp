#pragma once

#include "Kind.hpp"

#include <optional>
#include <tuple>

namespace Host {

/// How dimensions are drawn. What a standard leaves out is left to whoever uses it.
struct DimensionStandardFields {
    std::optional<double> scale;       ///< factor on all sizes
    std::optional<double> arrowSize;   ///< drawing units, as all lengths here
    std::optional<double> textHeight;
    std::optional<int> decimalPlaces;
    std::optional<double> extensionOffset;   ///< from the object to the extension line
    std::optional<double> extensionBeyond;   ///< of the extension line beyond the dimension line
    std::optional<double> textOffset;        ///< between dimension line and text
    bool hasFirstExtension = true;
    bool hasSecondExtension = true;
    bool hasFirstLine = true;   ///< whether the first half of the dimension line is drawn
    bool hasSecondLine = true;
    int flags = 0;   ///< as in the drawing

    static constexpr auto Fields() {
        return std::tuple(Field(1, "scale", &DimensionStandardFields::scale),
                          Field(2, "arrowSize", &DimensionStandardFields::arrowSize),
                          Field(3, "textHeight", &DimensionStandardFields::textHeight),
                          Field(4, "decimalPlaces", &DimensionStandardFields::decimalPlaces),
                          Field(5, "extensionOffset", &DimensionStandardFields::extensionOffset).AsDetail(),
                          Field(6, "extensionBeyond", &DimensionStandardFields::extensionBeyond).AsDetail(),
                          Field(7, "textOffset", &DimensionStandardFields::textOffset).AsDetail(),
                          Field(8, "hasFirstExtension", &DimensionStandardFields::hasFirstExtension).AsDetail(),
                          Field(9, "hasSecondExtension", &DimensionStandardFields::hasSecondExtension).AsDetail(),
                          Field(10, "hasFirstLine", &DimensionStandardFields::hasFirstLine).AsDetail(),
                          Field(11, "hasSecondLine", &DimensionStandardFields::hasSecondLine).AsDetail(),
                          Field(12, "flags", &DimensionStandardFields::flags).AsDetail());
    }
    bool operator==(const DimensionStandardFields&) const = default;
};

class DimensionStandard final : public Kind<DimensionStandard, DimensionStandardFields> {
public:
    static constexpr KindRecord Record{"Host::DimensionStandard",
                                       "DimensionStandard",
                                       "Dimension Standards",
                                       FourCharacters("DIMS"),
                                       "{D787BF29-074E-4DC7-BCED-38F1951AAFC0}",
                                       "{7DF8BC70-A7B5-4FBF-8D77-BF531A0FE0D9}"};
};

}   // namespace Host
