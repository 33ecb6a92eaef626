#pragma once

#include "Number.hpp"

#include <cstddef>
#include <string>

namespace Host {

/// A text or a shape set into a dash of a complex line type. Lengths are in drawing units.
struct LineTypeSymbol {
    /// What the flags of a symbol say; they add up.
    enum Flag : int {
        AbsoluteRotation = 1,   ///< the rotation is measured from the x axis, not from the line
        IsText = 2,
        IsShape = 4,
        KeepsUpright = 8   ///< turned so that it can be read
    };

    std::size_t element = 0;   ///< index of the dash, in the pattern, that the symbol follows
    int flags = 0;
    std::u16string text;    ///< what a text symbol shows
    std::u16string shape;   ///< name of the shape; empty in drawings, which know its number only
    std::u16string style;   ///< text style or shape file; empty in drawings, which refer to it by handle
    int shapeNumber = 0;    ///< 0 in line-type files, which name the shape
    Number scale{1, "1"};
    Number rotation;   ///< degrees, counter-clockwise
    Number xOffset;
    Number yOffset;
};

}   // namespace Host
