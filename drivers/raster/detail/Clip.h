#pragma once

#include "drivers/raster/detail/View.h"

namespace drivers::raster::detail {

/// Projected points are cut to this many pixels around the origin, far outside every picture. What
/// is within can be converted to int, and products of two fit 64 bits.
constexpr double Guard = 1 << 22;

inline bool InGuard(double x, double y) {
    return std::abs(x) <= Guard && std::abs(y) <= Guard;
}
inline bool InGuard(Point const& p) {
    return InGuard(p.x, p.y);
}

/// The first pixel whose centre is at or right of x, cut to [lo, hi]; x must not be NaN.
inline int FirstCentre(double x, int lo, int hi) {
    double const v = x - 0.5;
    if (v <= lo) {
        return lo;
    }
    if (v >= hi) {
        return hi;
    }
    int const whole = static_cast<int>(v); // lo >= 0 is so for every clip, so this rounds down
    return whole + (whole < v ? 1 : 0);
}

/// The pixel that a coordinate within the guard band falls into.
inline int FloorPixel(double v) {
    int const whole = static_cast<int>(v);
    return whole - (v < whole ? 1 : 0);
}

/// A cut segment: its ends in pixels, where they lie on the original one (0 start, 1 end), and how
/// near they are (1 / distance, which runs linearly along the segment on the screen).
struct Segment {
    Point a;
    Point b;
    double ta = 0;
    double tb = 1;
    double nearA = 1;
    double nearB = 1;

    bool StartsWhole() const { return ta == 0; }
    bool EndsWhole() const { return tb == 1; }
    double NearAt(double s) const { return nearA + (nearB - nearA) * s; }
    /// Where on the original segment the point lies that is seen at s, from 0 at a to 1 at b.
    double OriginalAt(double s) const { return ta + (tb - ta) * (s * nearB / NearAt(s)); }
};

/// Cuts a line to the depth range, projects it and cuts it to the guard band.
/// @return false when nothing is left or a coordinate is not finite
bool ProjectSegment(HPoint a, HPoint b, DepthRange const& range, Segment& out);

/// Cuts a line to the guard band; its coordinates must be finite.
bool CutToGuard(Segment& segment);

/// Where the line through a and b has the coordinate `at`: y for a given x, between theirs. Exact
/// to rounding even when both ends are so far away that a step from either would lose the visible
/// part; the same for both orders of the ends.
double YOnLine(Point const& a, Point const& b, double at);

} // namespace drivers::raster::detail
