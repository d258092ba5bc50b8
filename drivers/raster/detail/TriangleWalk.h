#pragma once

#include "drivers/raster/detail/Clip.h"
#include "math/Rect2.h"

#include <utility>

namespace drivers::raster::detail {

/// Twice the area; above 0 where the corners turn right on the screen.
template <class V>
double TwiceArea(V const& a, V const& b, V const& c) {
    return (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
}

/// One side of a triangle. Always taken from its upper end, so that two triangles that share it
/// find the same crossing, leave no gap and share no pixel.
struct Side {
    double x;
    double y;
    double slope;

    template <class V>
    Side(V const& upper, V const& lower)
        : x(upper.x), y(upper.y), slope((lower.x - upper.x) / (lower.y - upper.y)) {}
    double At(double row) const { return x + (row - y) * slope; }
};

/// Calls span(y, x0, x1) for the pixels whose centre is inside, corners within the guard band.
/// @param area TwiceArea() of the corners, not 0
template <class V, class Span>
void WalkTriangle(
    math::Rect2<int> const& clip, V const& a, V const& b, V const& c, double area, Span&& span) {
    V const* corner[3] = {&a, &b, &c};
    bool turned = false; // an odd number of swaps mirrors the triangle
    auto const order = [&](int i, int j) {
        if (corner[j]->y < corner[i]->y) {
            std::swap(corner[i], corner[j]);
            turned = !turned;
        }
    };
    order(0, 1);
    order(1, 2);
    order(0, 1);
    int const top = FirstCentre(corner[0]->y, clip.top, clip.bottom);
    int const middle = FirstCentre(corner[1]->y, clip.top, clip.bottom);
    int const bottom = FirstCentre(corner[2]->y, clip.top, clip.bottom);
    if (top >= bottom) {
        return;
    }
    bool const shortIsRight = (area > 0) != turned;
    Side const whole(*corner[0], *corner[2]);
    auto const rows = [&](Side const& side, int from, int to) {
        Side const& left = shortIsRight ? whole : side;
        Side const& right = shortIsRight ? side : whole;
        for (int y = from; y < to; ++y) {
            int const x0 = FirstCentre(left.At(y + 0.5), clip.left, clip.right);
            int const x1 = FirstCentre(right.At(y + 0.5), clip.left, clip.right);
            if (x0 < x1) {
                span(y, x0, x1);
            }
        }
    };
    if (top < middle) {
        rows(Side(*corner[0], *corner[1]), top, middle);
    }
    if (middle < bottom) {
        rows(Side(*corner[1], *corner[2]), middle, bottom);
    }
}

} // namespace drivers::raster::detail
