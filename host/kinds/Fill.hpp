#pragma once

#include "Kind.hpp"

#include <tuple>
#include <vector>

#include <Kest/UniString.hpp>

namespace Host {

/// Parallel lines of a hatch pattern. Lengths are in drawing units.
struct HatchFamily {
    double angle = 0;   ///< degrees, counter-clockwise from the x axis
    double x = 0;       ///< a point on the first line
    double y = 0;
    double dx = 0;   ///< from each line to the next
    double dy = 0;
    std::vector<double> dashes;   ///< dashes above 0, gaps below, dots 0; none for a continuous line

    static constexpr auto Fields() {
        return std::tuple(Field(1, "angle", &HatchFamily::angle), Field(2, "x", &HatchFamily::x),
                          Field(3, "y", &HatchFamily::y), Field(4, "dx", &HatchFamily::dx),
                          Field(5, "dy", &HatchFamily::dy), Field(6, "dashes", &HatchFamily::dashes));
    }
    bool operator==(const HatchFamily&) const = default;
};

/// A hatch pattern: families of parallel lines.
struct FillFields {
    Kest::UniString description;
    std::vector<HatchFamily> families;   ///< none for a solid fill

    static constexpr auto Fields() {
        return std::tuple(Field(1, "description", &FillFields::description),
                          Field(2, "families", &FillFields::families));
    }
    bool operator==(const FillFields&) const = default;
};

class Fill final : public Kind<Fill, FillFields> {
public:
    static constexpr KindRecord Record{"Host::Fill",
                                       "Fill",
                                       "Fills",
                                       FourCharacters("FILL"),
                                       "{3084C623-B760-4A88-BD06-44D06D8C8BE5}",
                                       "{BEE730C7-0343-46C2-9BCF-2ADCB267DC88}"};
};

}   // namespace Host
