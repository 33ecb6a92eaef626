#pragma once

namespace Host {

/// Number of the last colour of a drawing's palette; the first is 1.
constexpr int LastPaletteColor = 255;

/// The colour \p number, 1 to LastPaletteColor, of the palette that all drawings share, as 0xRRGGBB.
int GetPaletteColor(int number);

}   // namespace Host
