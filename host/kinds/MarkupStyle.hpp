#pragma once

#include "Kind.hpp"
#include "LineType.hpp"

#include <tuple>

#include <Kest/UniString.hpp>

namespace Host {

/// How corrections are marked.
struct MarkupStyleFields {
    Kest::UniString prefix;   ///< of the marks' names
    int color = 0xFF0000;     ///< 0xRRGGBB
    short lineType = 0;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "prefix", &MarkupStyleFields::prefix), Field(2, "color", &MarkupStyleFields::color),
                          Field(3, "lineType", &MarkupStyleFields::lineType, LineType::Record.refId));
    }
    bool operator==(const MarkupStyleFields&) const = default;
};

class MarkupStyle final : public Kind<MarkupStyle, MarkupStyleFields> {
public:
    static constexpr KindRecord Record{"Host::MarkupStyle",
                                       "MarkupStyle",
                                       "Markup Styles",
                                       FourCharacters("MRKP"),
                                       "{A184E93F-C336-4B8A-8299-BCBF3F070340}",
                                       "{29E6E0D4-C588-4B3E-92C9-AB080E571DAB}"};
};

}   // namespace Host
