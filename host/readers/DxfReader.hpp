#pragma once

#include "LineTypeElements.hpp"
#include "Number.hpp"
#include "ReadError.hpp"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Host {

/// A record of the LAYER table. Numbers are the drawing's own, as they stand there.
struct DxfLayer {
    std::size_t line = 0;            ///< of the word that begins the record, counted from 1
    std::u16string name;             ///< never empty
    int color = 7;                   ///< group 62; negative when the layer is off
    std::u16string lineType;         ///< group 6, a name in any letter case; empty when there is none
    int flags = 0;                   ///< group 70: 1 frozen, 4 locked
    std::optional<int> lineWeight;   ///< group 370: hundredths of a millimetre, below 0 a default
    std::optional<int> trueColor;    ///< group 420: 0xRRGGBB
    bool plot = true;                ///< group 290
};

/// A record of the LTYPE table.
struct DxfLineType {
    std::size_t line = 0;
    std::u16string name;   ///< never empty
    std::u16string description;
    int flags = 0;
    int itemCount = 0;              ///< group 73, what the drawing says; elements is what it has
    Number length;                  ///< of the whole pattern, in drawing units
    std::vector<Number> elements;   ///< group 49: dashes above 0, gaps below, dots 0
    std::vector<LineTypeSymbol> symbols;
};

/// A record of the DIMSTYLE table. A value that the drawing leaves out is left to whoever uses the style.
struct DxfDimStyle {
    std::size_t line = 0;
    std::u16string name;   ///< never empty
    int flags = 0;
    std::size_t variableCount = 0;           ///< dimension variables that the style sets, kept here or not
    std::optional<Number> scale;             ///< group 40: factor on all sizes
    std::optional<Number> arrowSize;         ///< group 41, drawing units like all that follow
    std::optional<Number> extensionOffset;   ///< group 42: from the object to the extension line
    std::optional<Number> extensionBeyond;   ///< group 44: beyond the dimension line
    std::optional<Number> textHeight;        ///< group 140
    std::optional<Number> textOffset;        ///< group 147: between dimension line and text
    std::optional<int> decimalPlaces;        ///< group 271
    bool suppressFirstExtension = false;     ///< group 75
    bool suppressSecondExtension = false;    ///< group 76
    bool suppressFirstDimension = false;     ///< group 281
    bool suppressSecondDimension = false;    ///< group 282
};

/// What the reader keeps of a drawing, everything in file order. Names may repeat, in any letter case.
struct DxfDrawing {
    std::string version;    ///< "AC1015"; empty when the drawing does not say
    std::string codePage;   ///< as declared; empty when the drawing does not say
    std::vector<DxfLayer> layers;
    std::vector<DxfLineType> lineTypes;
    std::vector<DxfDimStyle> dimStyles;
    std::vector<ReadWarning> warnings;

    /// How many groups of the records above were not kept: by table, then by group code. Handles, owners and class
    /// marks are not counted: they tie the records of one file together and mean nothing outside.
    std::map<std::string, std::map<int, std::size_t>> groupsNotKept;

    /// How many records were not read at all: by the name of their table or, outside of TABLES, section.
    std::map<std::string, std::size_t> recordsNotRead;
};

/// Whether \p bytes begin like the binary form of DXF.
bool IsBinaryDxf(std::string_view bytes) noexcept;

/// Reads the tables LAYER, LTYPE and DIMSTYLE of a drawing in the text form of DXF.
///
/// Texts are UTF-8 from version AC1021 on, whatever the drawing declares, and behind a byte order mark; older ones are
/// in the declared code page, or in Windows-1252 when none is declared or it is unknown. Then escapes are resolved.
/// Reading takes time and memory in proportion to the input.
///
/// A drawing that only lacks its end mark, or is damaged behind its tables, is read with a warning.
/// \throws ReadError when this is the binary form or no DXF, or when the drawing is damaged or ends within or ahead of
///         its tables
DxfDrawing ReadDxf(std::string_view bytes);

}   // namespace Host
