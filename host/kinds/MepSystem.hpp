#pragma once

#include "BuildingMaterial.hpp"
#include "Kind.hpp"
#include "LineType.hpp"

#include <tuple>

#include <Kest/UniString.hpp>

namespace Host {

/// A network of ducts, pipes or cables.
struct MepSystemFields {
    Kest::UniString medium;   ///< what flows: "supply air"
    int color = 0;            ///< 0xRRGGBB
    short centerLine = 0;
    short insulation = 0;
    double insulationThickness = 0;   ///< metres

    static constexpr auto Fields() {
        return std::tuple(Field(1, "medium", &MepSystemFields::medium), Field(2, "color", &MepSystemFields::color),
                          Field(3, "centerLine", &MepSystemFields::centerLine, LineType::Record.refId),
                          Field(4, "insulation", &MepSystemFields::insulation, BuildingMaterial::Record.refId),
                          Field(5, "insulationThickness", &MepSystemFields::insulationThickness));
    }
    bool operator==(const MepSystemFields&) const = default;
};

class MepSystem final : public Kind<MepSystem, MepSystemFields> {
public:
    static constexpr KindRecord Record{"Host::MepSystem",
                                       "MepSystem",
                                       "MEP Systems",
                                       FourCharacters("MEPS"),
                                       "{FFF2EB10-B5FB-4CDB-8D43-3A8C0E0478D3}",
                                       "{7731ADBA-138A-4FEB-A4B2-18F7AF5F749D}"};
};

}   // namespace Host
