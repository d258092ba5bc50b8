#pragma once

#include "math/Point2.h"
#include "math/Point3.h"
#include "math/Rect2.h"

#include <cmath>
#include <type_traits>

namespace math {

/// Cuts the infinite line a*x + b*y + c = 0 to an area.
///
/// @param line  the coefficients (a, b, c) as x, y, z; (a, b) need not have unit length
/// @param area  the area, edges included; left <= right and top <= bottom
/// @param p0,p1 the segment inside the area, unchanged when there is none
/// @return false when the line misses the area, or when a and b are both zero or not numbers
///
/// A line that only touches a corner gives a segment of no length.
template <class T>
bool clip_line3(Point3<T> const& line, Rect2<T> const& area, Point2<T>& p0, Point2<T>& p1) {
    static_assert(std::is_floating_point<T>::value, "the cut needs fractions");
    T const a = line.x;
    T const b = line.y;
    T const c = line.z;
    T const absA = a < T(0) ? -a : a;
    T const absB = b < T(0) ? -b : b;
    if (!(absA > T(0) || absB > T(0))) {
        return false;
    }
    // Walk along the axis in which the line advances faster, so that the division is well
    // conditioned, then cut the other coordinate to the area.
    bool const steep = absA > absB;
    T const lo = steep ? area.top : area.left;
    T const hi = steep ? area.bottom : area.right;
    T const otherLo = steep ? area.left : area.top;
    T const otherHi = steep ? area.right : area.bottom;
    T const along = steep ? b : a; // other = -(along * u + c) / across
    T const across = steep ? a : b;
    T u[2] = {lo, hi};
    T v[2] = {-(along * lo + c) / across, -(along * hi + c) / across};
    if (std::isnan(v[0]) || std::isnan(v[1])) {
        return false;
    }
    if ((v[0] < otherLo && v[1] < otherLo) || (v[0] > otherHi && v[1] > otherHi)) {
        return false;
    }
    for (int i = 0; i < 2; ++i) {
        if (v[i] >= otherLo && v[i] <= otherHi) {
            continue;
        }
        // The other end lies on the other side of this bound, so the line meets it between lo and
        // hi; only rounding can carry the quotient past them.
        T const bound = v[i] < otherLo ? otherLo : otherHi;
        T const at = -(across * bound + c) / along;
        u[i] = at < lo ? lo : hi < at ? hi : at;
        v[i] = bound;
    }
    p0 = steep ? Point2<T>(v[0], u[0]) : Point2<T>(u[0], v[0]);
    p1 = steep ? Point2<T>(v[1], u[1]) : Point2<T>(u[1], v[1]);
    return true;
}

} // namespace math
