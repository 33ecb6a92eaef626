#pragma once

#include "BuildingMaterial.hpp"
#include "Kind.hpp"

#include <tuple>
#include <vector>

namespace Host {

/// An area of one material in a profile.
struct ProfilePart {
    short material = 0;
    std::vector<double> contour;   ///< x and y of each corner by turns, metres

    static constexpr auto Fields() {
        return std::tuple(Field(1, "material", &ProfilePart::material, BuildingMaterial::Record.refId),
                          Field(2, "contour", &ProfilePart::contour));
    }
    bool operator==(const ProfilePart&) const = default;
};

/// A cross section that is pulled along a line.
struct ProfileFields {
    std::vector<ProfilePart> parts;   ///< those in front come later
    bool forBeams = true;
    bool forColumns = true;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "parts", &ProfileFields::parts), Field(2, "forBeams", &ProfileFields::forBeams),
                          Field(3, "forColumns", &ProfileFields::forColumns));
    }
    bool operator==(const ProfileFields&) const = default;
};

class Profile final : public Kind<Profile, ProfileFields> {
public:
    static constexpr KindRecord Record{"Host::Profile",
                                       "Profile",
                                       "Profiles",
                                       FourCharacters("PROF"),
                                       "{81E6227D-B845-46C0-A239-0AA105389A4D}",
                                       "{E2FDE3EF-574E-42F1-BF31-533D76993226}"};
};

}   // namespace Host
