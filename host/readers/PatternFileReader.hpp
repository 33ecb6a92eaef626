#pragma once

#include "Number.hpp"
#include "ReadError.hpp"

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// One family of parallel lines of a hatch pattern. Lengths are in drawing units.
struct PatternFamily {
    Number angle;   ///< degrees, counter-clockwise from the x axis
    Number x;       ///< a point on the first line
    Number y;
    Number dx;   ///< from each line to the next
    Number dy;
    std::vector<Number> dashes;   ///< dashes above 0, gaps below, dots 0; empty for a continuous line
};

/// A hatch pattern of a pattern file.
struct HatchPattern {
    std::size_t line = 0;   ///< where its head stands, counted from 1
    std::u16string name;    ///< never empty
    std::u16string description;
    std::vector<PatternFamily> families;   ///< never empty
};

/// What a pattern file holds, in file order. Names may repeat.
struct PatternFile {
    std::vector<HatchPattern> patterns;
    std::vector<ReadWarning> warnings;
};

/// Reads a hatch-pattern file (.pat): per pattern a head `*NAME, description` and one line
/// `angle, x, y, dx, dy [, dash ...]` per family; `;` begins a comment. The bytes are UTF-8 or, when they are not valid
/// UTF-8, Windows-1252.
/// \throws ReadError when this is no such file, when it defines nothing or when any part of it is damaged
PatternFile ReadPatternFile(std::string_view bytes);

}   // namespace Host
