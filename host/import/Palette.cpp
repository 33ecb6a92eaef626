#include "Palette.hpp"

#include <algorithm>
#include <cmath>

namespace Host {

namespace {

constexpr int FirstHue = 10;   // 24 hues of ten colours each begin here
constexpr int FirstGray = 250;

constexpr int Basics[FirstHue] = {0x000000, 0xFF0000, 0xFFFF00, 0x00FF00, 0x00FFFF,
                                  0x0000FF, 0xFF00FF, 0xFFFFFF, 0x808080, 0xC0C0C0};
constexpr int Grays[] = {0x000000, 0x333333, 0x666666, 0x999999, 0xCCCCCC, 0xFFFFFF};

// How much of a channel the hue, in steps of 15 degrees from its full strength, has: a trapezium over the circle.
double ShareOf(int hue, int peak) {
    const int away = std::abs(hue - peak) % 24;
    return std::clamp(2.0 - std::min(away, 24 - away) / 4.0, 0.0, 1.0);
}

int MakeHue(int number) {
    constexpr int Brightness[] = {255, 165, 127, 76, 38};
    const int hue = number / 10 - 1;
    const int full = Brightness[number % 10 / 2];
    const double paleness = number % 2 == 1 ? 0.5 : 0.0;
    int color = 0;
    for (const int peak : {0, 8, 16}) {
        const double share = paleness + (1 - paleness) * ShareOf(hue, peak);
        color = color << 8 | static_cast<int>(full * share);
    }
    return color;
}

}   // namespace

int GetPaletteColor(int number) {
    if (number < FirstHue)
        return Basics[number];
    return number < FirstGray ? MakeHue(number) : Grays[number - FirstGray];
}

}   // namespace Host
