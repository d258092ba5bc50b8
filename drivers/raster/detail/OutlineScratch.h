#pragma once

#include "drivers/raster/detail/PathFill.h"

#include <vector>

namespace drivers::raster::detail {

/// Working storage of lines and shapes, kept between uses.
struct OutlineScratch {
    PathFill path;
    std::vector<Colour*> pixels;
};

} // namespace drivers::raster::detail
