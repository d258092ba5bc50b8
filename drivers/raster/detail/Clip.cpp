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

enum Outside { Left = 1, Right = 2, Above = 4, Below = 8 };

int OutCode(Point const& p) {
    return (p.x < -Guard  ? Left
            : p.x > Guard ? Right
                          : 0) |
           (p.y < -Guard  ? Above
            : p.y > Guard ? Below
                          : 0);
}

/// Moves an end of a segment, which `code` tells of, to where the whole one crosses that edge.
void MoveToEdge(Segment const& whole, int code, Point& end, double& t, double& near) {
    Point const& a = whole.a;
    Point const& b = whole.b;
    bool const sideways = code & (Left | Right);
    double const edge = code & (sideways ? Left : Above) ? -Guard : Guard;
    auto const there = [&](double atA, double atB) {
        return sideways ? YOnLine({a.x, atA}, {b.x, atB}, edge)
                        : YOnLine({a.y, atA}, {b.y, atB}, edge);
    };
    end = sideways ? Point(edge, there(a.y, b.y)) : Point(there(a.x, b.x), edge);
    near = there(whole.nearA, whole.nearB);
    t = there(whole.ta * whole.nearA, whole.tb * whole.nearB) / near;
}

} // namespace

double YOnLine(Point const& a, Point const& b, double at) {
    // Products of two stay finite, whatever the size.
    double const size = std::max({std::abs(a.x), std::abs(a.y), std::abs(b.x), std::abs(b.y)});
    double const scale = size > 1e150 ? 0x1p-530 : 1;
    Point const p = (a.x < b.x ? a : b) * scale;
    Point const q = (a.x < b.x ? b : a) * scale;
    double const dx = q.x - p.x;
    double const slope = (q.y - p.y) / dx;
    double const y = DifferenceOfProducts(p.y, q.x, p.x, q.y) / dx + at * scale * slope;
    return std::clamp(y, std::min(p.y, q.y), std::max(p.y, q.y)) / scale;
}

bool CutToGuard(Segment& segment) {
    Segment const whole = segment;
    Segment& cut = segment;
    // Each end meets at most two edges; a line that still is outside misses the square.
    for (int step = 0; step < 4; ++step) {
        int const codeA = OutCode(cut.a);
        int const codeB = OutCode(cut.b);
        if (codeA & codeB) {
            return false;
        }
        if (codeA) {
            MoveToEdge(whole, codeA, cut.a, cut.ta, cut.nearA);
        } else if (codeB) {
            MoveToEdge(whole, codeB, cut.b, cut.tb, cut.nearB);
        }
    }
    return InGuard(cut.a) && InGuard(cut.b);
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
    auto const there = [&, from = a.w, to = b.w](double atA, double atB) {
        return YOnLine({from, atA}, {to, atB}, distance);
    };
    HPoint const cut{there(a.x, b.x), there(a.y, b.y), distance};
    double const original = there(out.ta, out.tb);
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
