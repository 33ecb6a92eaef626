#pragma once

#include "ImportCounts.hpp"
#include "readers/DxfReader.hpp"
#include "readers/LineTypeFileReader.hpp"
#include "readers/PatternFileReader.hpp"

#include <ODB/Ref.hpp>

#include <AttributeManager/AttributeSet.hpp>

/// \file
/// Fills an empty attribute set with what a file holds, in file order, kinds in the order of their references. A name
/// that the file uses twice, in any letter case, is numbered the second time. Reading files with the same content into
/// two sets makes sets with the same content.
///
/// All throw ReadError when the set cannot hold all of it, and leave in the set what has been stored by then.
namespace Host {

/// Name of the pen table whose pens are the colours of drawings.
inline constexpr char16_t DrawingPensName[] = u"Drawing Colors";

/// Line types, the pens of the drawing's colours when it has layers, dimension standards, layers.
///
/// A line type that a layer names but the drawing does not define becomes a line type that is marked missing.
ImportCounts ImportDrawing(const DxfDrawing& drawing, const ODB::Ref<ADB::AttributeSet>& set);

ImportCounts ImportLineTypes(const LineTypeFile& file, const ODB::Ref<ADB::AttributeSet>& set);

/// Hatch patterns become fills.
ImportCounts ImportPatterns(const PatternFile& file, const ODB::Ref<ADB::AttributeSet>& set);

}   // namespace Host
