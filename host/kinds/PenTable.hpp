#pragma once

#include "Kind.hpp"

#include <tuple>
#include <vector>

#include <Kest/UniString.hpp>

namespace Host {

/// One pen.
struct Pen {
    int color = 0;         ///< 0xRRGGBB
    double width = 0.25;   ///< millimetres
    Kest::UniString description;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "color", &Pen::color), Field(2, "width", &Pen::width),
                          Field(3, "description", &Pen::description));
    }
    bool operator==(const Pen&) const = default;
};

/// Pens by number: the first one is number 1.
struct PenTableFields {
    std::vector<Pen> pens;

    static constexpr auto Fields() { return std::tuple(Field(1, "pens", &PenTableFields::pens).AsDetail()); }
    bool operator==(const PenTableFields&) const = default;
};

class PenTable final : public Kind<PenTable, PenTableFields> {
public:
    static constexpr KindRecord Record{"Host::PenTable",
                                       "PenTable",
                                       "Pen Tables",
                                       FourCharacters("PENT"),
                                       "{043BFB73-90A7-4919-9B74-F92E91B52456}",
                                       "{87026B24-BA61-434B-A72F-76DE608F3EFF}"};
};

}   // namespace Host
