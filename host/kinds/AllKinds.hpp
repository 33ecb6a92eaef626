#pragma once

#include "BuildingMaterial.hpp"
#include "City.hpp"
#include "CompositeWall.hpp"
#include "DimensionStandard.hpp"
#include "Fill.hpp"
#include "GraphicOverride.hpp"
#include "Layer.hpp"
#include "LayerCombination.hpp"
#include "LineType.hpp"
#include "MarkupStyle.hpp"
#include "MepSystem.hpp"
#include "OperationProfile.hpp"
#include "PenTable.hpp"
#include "Profile.hpp"
#include "SurfaceMaterial.hpp"
#include "ZoneCategory.hpp"

#include <tuple>

namespace Host {

/// The kinds of this host, in the order in which documents hold them: it gives them their type ids.
using AllKinds = std::tuple<City, CompositeWall, DimensionStandard, Fill, Layer, LayerCombination, LineType,
                            SurfaceMaterial, PenTable, ZoneCategory, MarkupStyle, Profile, MepSystem, OperationProfile,
                            GraphicOverride, BuildingMaterial>;

}   // namespace Host
