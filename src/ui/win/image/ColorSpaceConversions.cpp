#include "ui/win/image/ColorSpaceConversions.h"

#include <algorithm>

namespace ui::win {

namespace {

constexpr float maxCount = 255;
constexpr float degreesPerSextant = 60;

/// What both models are made of, in counts.
struct Extent {
    explicit Extent(cimage::TRGB<unsigned char> const& c)
        : largest(std::max({c.r, c.g, c.b})), smallest(std::min({c.r, c.g, c.b})) {}

    int Chroma() const { return largest - smallest; }

    int largest;
    int smallest;
};

float Ratio(int part, int whole) {
    return static_cast<float>(part) / static_cast<float>(whole);
}

float Hue(cimage::TRGB<unsigned char> const& c, Extent const& extent) {
    int const chroma = extent.Chroma();
    if (chroma == 0) {
        return 0;
    }
    if (extent.largest == c.r) {
        float const sextant = Ratio(c.g - c.b, chroma);
        return degreesPerSextant * (sextant < 0 ? sextant + 6 : sextant);
    }
    return degreesPerSextant *
           (extent.largest == c.g ? 2 + Ratio(c.b - c.r, chroma) : 4 + Ratio(c.r - c.g, chroma));
}

} // namespace

HLS pix_rgb_to_hls(cimage::TRGB<unsigned char> const& rgb) {
    Extent const extent(rgb);
    int const sum = extent.largest + extent.smallest;
    // Saturation is relative to the greatest chroma that a colour of this lightness can have.
    int const greatest = std::min(sum, 2 * static_cast<int>(maxCount) - sum);
    return {
        Hue(rgb, extent),
        static_cast<float>(sum) / (2 * maxCount),
        greatest == 0 ? 0 : Ratio(extent.Chroma(), greatest)};
}

HSV pix_rgb_to_hsv(cimage::TRGB<unsigned char> const& rgb) {
    Extent const extent(rgb);
    return {
        Hue(rgb, extent),
        extent.largest == 0 ? 0 : Ratio(extent.Chroma(), extent.largest),
        static_cast<float>(extent.largest) / maxCount};
}

} // namespace ui::win
