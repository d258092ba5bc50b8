#pragma once

#include "drivers/raster/DrawState.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/ImageRows.h"
#include "drivers/raster/detail/Polygon.h"

#include <vector>

namespace drivers::raster::detail {

/// Working storage of image drawing, kept between uses.
struct ImageScratch {
    ImageRows image;
    ImageRows::Scratch rows;
    std::vector<Colour> row;
};

/// Whether DrawUprightImage() draws a quad.
bool IsUprightImage(Vertex<2> const* corners);

/// The pixels that DrawUprightImage() would draw; empty also when the quad is not of that kind.
math::Rect2<int> UprightArea(math::Rect2<int> const& clip, Vertex<2> const* corners);

/// Draws a textured quad without perspective whose sides are rows and columns, row by row; one to
/// one it is a copy. The corners' values are texture coordinates in texels.
/// @return false, with nothing drawn, when the quad is not of that kind
bool DrawUprightImage(
    Target const& target, DrawState const& state, Vertex<2> const* corners, ImageScratch& scratch);

} // namespace drivers::raster::detail
