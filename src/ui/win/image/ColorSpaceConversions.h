#pragma once

#include "cimage/PixelTypes.h"

namespace ui::win {

/// A colour by hue, lightness and saturation: hue in degrees, 0 <= h < 360 (0 red, 120 green, 240
/// blue, and 0 where there is none), the others 0 .. 1.
struct HLS {
    float h;
    float l;
    float s;
};

/// A colour by hue, saturation and value: ranges as those of HLS.
struct HSV {
    float h;
    float s;
    float v;
};

/// The double-hexcone and hexcone models of Foley, van Dam, Feiner, Hughes, "Computer Graphics:
/// Principles and Practice", 2nd edition, section 13.3.
HLS pix_rgb_to_hls(cimage::TRGB<unsigned char> const& rgb);
HSV pix_rgb_to_hsv(cimage::TRGB<unsigned char> const& rgb);

} // namespace ui::win
