#include "drivers/raster/detail/Clip.h"

namespace drivers::raster::detail {

namespace {

/// x * y - z * w without cancellation (Kahan's algorithm: the products' rounding errors are taken
/// back with fused operations).
double DifferenceOfProducts(double x, double y, double z, double w) {
    double const second = z * w;
    double const error = std::fma(-z, w, second);
    return std::fma(x, y, -second) + error;
}

/// Pulls a point towards the origin until products of two coordinates are finite. The direction
/// to anything near is kept.
Point PullIn(Point const& p) {
    constexpr double limit = 1e100;
    double const size = std::max(std::abs(p.x), std::abs(p.y));
    return size > limit ? p * (limit / size) : p;
}

Point Swapped(Point const& p) {
    return {p.y, p.x};
}

enum Outside { Left = 1, Right = 2, Above = 4, Below = 8 };

int OutCode(Point const& p) {
    return (p.x < -Guard  ? Left
            : p.x > Guard ? Right
                          : 0) |
           (p.y < -Guard  ? Above
            : p.y > Guard ? Below
                          : 0);
}

/// The point of the line where it crosses the edge that `code` tells of.
Point OnEdge(Point const& a, Point const& b, int code) {
    if (code & (Left | Right)) {
        double const x = code & Left ? -Guard : Guard;
        return {x, YOnLine(a, b, x)};
    }
    double const y = code & Above ? -Guard : Guard;
    return {YOnLine(Swapped(a), Swapped(b), y), y};
}

/// How far along from a to b the point lies.
double Along(Point const& a, Point const& b, Point const& p) {
    Point const d = b - a;
    return std::abs(d.x) > std::abs(d.y) ? (p.x - a.x) / d.x : (p.y - a.y) / d.y;
}

} // namespace

double YOnLine(Point const& a, Point const& b, double at) {
    double const dx = b.x - a.x;
    return (DifferenceOfProducts(a.y, b.x, a.x, b.y) + at * (b.y - a.y)) / dx;
}

bool CutToGuard(Segment& segment) {
    Point const a = PullIn(segment.a);
    Point const b = PullIn(segment.b);
    Point p = a;
    Point q = b;
    // Each end meets at most two edges; a line that still is outside misses the square.
    for (int step = 0; step < 4; ++step) {
        int const codeP = OutCode(p);
        int const codeQ = OutCode(q);
        if (codeP & codeQ) {
            return false;
        }
        if ((codeP | codeQ) == 0) {
            break;
        }
        (codeP ? p : q) = OnEdge(a, b, codeP ? codeP : codeQ);
    }
    if (!InGuard(p) || !InGuard(q)) {
        return false;
    }
    Segment const whole = segment;
    if (!(p == segment.a)) {
        double const s = Along(a, b, p);
        segment.ta = whole.OriginalAt(s);
        segment.nearA = whole.NearAt(s);
    }
    if (!(q == segment.b)) {
        double const s = Along(a, b, q);
        segment.tb = whole.OriginalAt(s);
        segment.nearB = whole.NearAt(s);
    }
    segment.a = p;
    segment.b = q;
    return true;
}

namespace {

/// Cuts a line to the side of a distance on which `inside` says that its points are seen.
template <class Inside>
bool CutAtDistance(HPoint& a, HPoint& b, double distance, Segment& out, Inside&& inside) {
    if (inside(a.w) && inside(b.w)) {
        return true;
    }
    if (!inside(a.w) && !inside(b.w)) {
        return false;
    }
    double const t = (distance - a.w) / (b.w - a.w);
    HPoint const cut{a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t, distance};
    double const original = out.ta + (out.tb - out.ta) * t;
    if (inside(b.w)) {
        a = cut;
        out.ta = original;
    } else {
        b = cut;
        out.tb = original;
    }
    return true;
}

} // namespace

bool ProjectSegment(HPoint a, HPoint b, DepthRange const& range, Segment& out) {
    out.ta = 0;
    out.tb = 1;
    if (!IsFinite(a) || !IsFinite(b) ||
        !CutAtDistance(a, b, range.nearest, out, [&](double w) { return w >= range.nearest; }) ||
        !CutAtDistance(a, b, range.farthest, out, [&](double w) { return w <= range.farthest; })) {
        return false;
    }
    out.nearA = 1 / a.w;
    out.nearB = 1 / b.w;
    out.a = {a.x / a.w, a.y / a.w};
    out.b = {b.x / b.w, b.y / b.w};
    if (InGuard(out.a) && InGuard(out.b)) {
        return true;
    }
    return IsFinite(out.a.x) && IsFinite(out.a.y) && IsFinite(out.b.x) && IsFinite(out.b.y) &&
           CutToGuard(out);
}

} // namespace drivers::raster::detail
