#pragma once

#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/ThinPen.h"
#include "drivers/raster/detail/View.h"

#include <vector>

namespace drivers::raster::detail {

/// An ellipse in a bounding box and the view it is seen through.
struct EllipseFrame {
    View view;
    Point centre;
    double rx = 0;
    double ry = 0;

    /// The point in the direction of a unit vector.
    HPoint At(Point const& unit) const {
        return view.Map(centre.x + rx * unit.x, centre.y + ry * unit.y);
    }
};

/// Angles of an arc: start in (-2 pi, 2 pi), end >= start.
struct ArcRange {
    double start = 0;
    double end = 0;
    bool whole = false;

    /// The arc between two angles of any size, in either order.
    static ArcRange Between(double from, double to);
};

/// Cuts an arc into chords that lie within a hundredth of a pixel of it; parts further than
/// `margin` pixels outside the clip are cut more coarsely. A whole ellipse comes as a closed chain,
/// its first point not repeated.
void FlattenArc(
    EllipseFrame const& frame,
    ArcRange const& range,
    math::Rect2<int> const& clip,
    double margin,
    std::vector<HPoint>& out);

/// Draws a curve given by short chords: one pixel a column where it runs flat, one a row where it
/// runs steep, all connected.
/// @param closed the curve goes back to its first point; otherwise the pixels of its ends are drawn
/// @return false when it passes no centre of a pixel, and nothing was drawn
bool DrawThinCurve(ThinPen& pen, View const& view, std::vector<HPoint> const& points, bool closed);

} // namespace drivers::raster::detail
