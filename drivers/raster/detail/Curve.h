#pragma once

#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/ThinPen.h"
#include "drivers/raster/detail/View.h"

#include <vector>

namespace drivers::raster::detail {

/// An ellipse in a bounding box and the view it is seen through.
struct EllipseFrame {
    View view;
    Point low;  ///< the corner in the direction (-1, -1)
    Point high; ///< the one in the direction (1, 1)

    HPoint Centre() const { return view.Map(low.x / 2 + high.x / 2, low.y / 2 + high.y / 2); }
    HPoint Corner(Point const& p) const { return view.Map(p.x, p.y); }
    /// The point in the direction of a unit vector.
    HPoint At(Point const& unit) const {
        return view.Map(Along(low.x, high.x, unit.x, unit.y), Along(low.y, high.y, unit.y, unit.x));
    }

private:
    /// A coordinate on the ellipse; near a side of the box from there, so that nothing is lost
    /// there however far the other side is.
    static double Along(double lowest, double highest, double cosine, double sine) {
        if (std::abs(cosine) <= std::abs(sine)) {
            return (lowest / 2 + highest / 2) + (highest / 2 - lowest / 2) * cosine;
        }
        double const from = cosine > 0 ? highest : lowest;
        double const to = cosine > 0 ? lowest : highest;
        return from + (to / 2 - from / 2) * (sine * sine / (1 + std::abs(cosine)));
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
