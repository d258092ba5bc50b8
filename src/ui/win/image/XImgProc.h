#pragma once

#include "cimage/PixelTypes.h"
#include "cimage/TImage.h"

namespace ui::win {

/// Makes one colour of an image transparent.
struct XColorKey {
    cimage::TRGB<unsigned char> key;
    float keyAlpha = 0;     ///< alpha of pixels that equal the key
    float otherAlpha = 255; ///< alpha of all others
};

/// Turns a grey image into one colour of varying opacity.
struct XOpacity {
    cimage::TRGB<unsigned char> colour;
    float alpha0 = 0;   ///< alpha at grey 0
    float alpha255 = 0; ///< alpha approached at grey 255
};

/// Declared hooks without processing: the output image stays as it was allocated.
struct XConversion {};
struct XFilter {};

} // namespace ui::win
