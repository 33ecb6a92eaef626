#pragma once

#include "Kind.hpp"

#include <tuple>
#include <vector>

#include <Kest/UniString.hpp>

namespace Host {

/// A text or a shape set into a dash of a line type.
struct LineSymbol {
    int element = 0;   ///< index, in the pattern, of the dash before it
    int flags = 0;     ///< 1 turned with the page, 2 a text, 4 a shape, 8 kept upright
    Kest::UniString text;
    Kest::UniString shape;   ///< name of the shape, empty when only its number is known
    Kest::UniString style;   ///< text style or shape file
    int shapeNumber = 0;
    double scale = 1;
    double rotation = 0;   ///< degrees, counter-clockwise
    double xOffset = 0;
    double yOffset = 0;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "element", &LineSymbol::element), Field(2, "flags", &LineSymbol::flags),
                          Field(3, "text", &LineSymbol::text), Field(4, "shape", &LineSymbol::shape),
                          Field(5, "style", &LineSymbol::style), Field(6, "shapeNumber", &LineSymbol::shapeNumber),
                          Field(7, "scale", &LineSymbol::scale), Field(8, "rotation", &LineSymbol::rotation),
                          Field(9, "xOffset", &LineSymbol::xOffset), Field(10, "yOffset", &LineSymbol::yOffset));
    }
    bool operator==(const LineSymbol&) const = default;
};

/// A pattern of dashes, gaps, dots and symbols along a line. Lengths are in drawing units.
struct LineTypeFields {
    Kest::UniString description;
    std::vector<double> pattern;   ///< dashes above 0, gaps below, dots 0; none for a solid line
    double length = 0;             ///< of the whole pattern
    int flags = 0;                 ///< as in the drawing
    bool isMissing = false;        ///< it is known by name only, because others refer to it
    std::vector<LineSymbol> symbols;

    static constexpr auto Fields() {
        return std::tuple(Field(1, "description", &LineTypeFields::description),
                          Field(2, "pattern", &LineTypeFields::pattern),
                          Field(3, "length", &LineTypeFields::length).AsDetail(),
                          Field(4, "flags", &LineTypeFields::flags).AsDetail(),
                          Field(5, "isMissing", &LineTypeFields::isMissing).AsDetail(),
                          Field(6, "symbols", &LineTypeFields::symbols).AsDetail());
    }
    bool operator==(const LineTypeFields&) const = default;
};

class LineType final : public Kind<LineType, LineTypeFields> {
public:
    static constexpr KindRecord Record{"Host::LineType",
                                       "LineType",
                                       "Line Types",
                                       FourCharacters("LTYP"),
                                       "{9F294789-DE84-4D7B-89A0-99D89ADE9225}",
                                       "{891F4CC3-FF37-4E60-B94C-66CDF7BAF538}"};

    /// Whether more than the name is known.
    bool CheckAttribute() const override { return !Get().isMissing; }
};

}   // namespace Host
