#pragma once

#include "Kind.hpp"

#include <tuple>

#include <Kest/UniString.hpp>

namespace Host {

/// A place on the earth, for sun and climate.
struct CityFields {
    double latitude = 0;        ///< degrees, north above 0
    double longitude = 0;       ///< degrees, east above 0
    double elevation = 0;       ///< metres above sea level
    Kest::UniString timeZone;   ///< a name of the time-zone database: "Europe/Rome"

    static constexpr auto Fields() {
        return std::tuple(Field(1, "latitude", &CityFields::latitude), Field(2, "longitude", &CityFields::longitude),
                          Field(3, "elevation", &CityFields::elevation), Field(4, "timeZone", &CityFields::timeZone));
    }
    bool operator==(const CityFields&) const = default;
};

class City final : public Kind<City, CityFields> {
public:
    static constexpr KindRecord Record{"Host::City",
                                       "City",
                                       "Cities",
                                       FourCharacters("CITY"),
                                       "{24785927-1B8D-47B0-ABF5-CB92AC82FE31}",
                                       "{2152F677-E780-4582-9503-3B0EB98503B0}"};
};

}   // namespace Host
