#pragma once

#include "Kind.hpp"

#include <tuple>
#include <vector>

#include <Kest/UniString.hpp>

namespace Host {

/// When and how rooms are used, hour by hour.
struct OperationProfileFields {
    Kest::UniString occupancy;       ///< what kind of use: "office"
    double internalGain = 0;         ///< heat of people and devices, watts per square metre
    std::vector<double> heatingTo;   ///< degrees Celsius for each hour of a day
    std::vector<double> coolingTo;   ///< degrees Celsius for each hour of a day

    static constexpr auto Fields() {
        return std::tuple(Field(1, "occupancy", &OperationProfileFields::occupancy),
                          Field(2, "internalGain", &OperationProfileFields::internalGain),
                          Field(3, "heatingTo", &OperationProfileFields::heatingTo),
                          Field(4, "coolingTo", &OperationProfileFields::coolingTo));
    }
    bool operator==(const OperationProfileFields&) const = default;
};

class OperationProfile final : public Kind<OperationProfile, OperationProfileFields> {
public:
    static constexpr KindRecord Record{"Host::OperationProfile",
                                       "OperationProfile",
                                       "Operation Profiles",
                                       FourCharacters("EDOP"),
                                       "{4B00962E-5D95-4413-8A19-6188CEC9B445}",
                                       "{B76F81EF-F4AA-427C-B01D-A33AABABAB32}"};
};

}   // namespace Host
