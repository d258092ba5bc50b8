#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"

namespace drivers::raster::detail {

/// Up to this width a single smooth line is drawn pixel by pixel, without a path.
constexpr double WidestSmoothLine = 9;

/// Draws the rectangle of a width around a segment, butt ends, each pixel by the area inside: what
/// a path of the rectangle covers, several times as fast.
/// @param width pixels, at most WidestSmoothLine
void DrawSmoothLine(Target const& target, Segment const& segment, double width, Ink const& ink);

} // namespace drivers::raster::detail
