#pragma once

#include "drivers/raster/detail/Nearness.h"
#include "drivers/raster/detail/PathFill.h"

#include <vector>

namespace drivers::raster::detail {

/// A pixel that a line passes, and how near the line is there.
struct PassedPixel {
    Colour* pixel;
    float nearness;
};

/// Working storage of lines and shapes, kept between uses.
struct OutlineScratch {
    PathFill path;
    std::vector<PassedPixel> pixels;
    NearMap nearMap;
    std::vector<float> nearRow;
};

} // namespace drivers::raster::detail
