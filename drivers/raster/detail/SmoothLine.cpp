#include "drivers/raster/detail/SmoothLine.h"

#include "drivers/raster/detail/Cover.h"

#ifdef __SSE__
#include <xmmintrin.h>
#endif

#include <algorithm>
#include <cmath>
#include <utility>

namespace drivers::raster::detail {

namespace {

// A line is looked at with its longer axis across: columns run along it, rows across it. The area
// of a polygon in a pixel is the sum over its edges of what lies between the pixel's upper side and
// the edge, from edges that run to the right, less that from edges that run to the left.

/// Four pixels of a column.
using Lanes = float __attribute__((vector_size(16)));

constexpr Lanes kRows = {0, 1, 2, 3};

Lanes ToUnit(Lanes v) {
    constexpr Lanes zero = {0, 0, 0, 0};
    constexpr Lanes one = {1, 1, 1, 1};
#ifdef __SSE__ // compilers make three or four instructions of the lines below
    return _mm_min_ps(_mm_max_ps(v, zero), one);
#else
    v = v > zero ? v : zero;
    return v < one ? v : one;
#endif
}

/// Twice the integral of v cut to [0, 1].
Lanes TwiceIntegral(Lanes v) {
    Lanes const unit = ToUnit(v);
    return unit * (v + v - unit);
}

constexpr float kFlat = 1.0F / 256; ///< less rise is lost in the differences below

/// How much of the rows lies above a line that runs from height y0 to y1, on average.
Lanes ShareAbove(float y0, float y1, Lanes rows) {
    float const rise = y1 - y0;
    if (std::abs(rise) < kFlat) {
        return ToUnit((y0 + y1) * 0.5F - rows);
    }
    return (TwiceIntegral(y1 - rows) - TwiceIntegral(y0 - rows)) * (0.5F / rise);
}

/// The picture as the line's axes see it.
struct TurnedTarget {
    Colour* origin;
    std::ptrdiff_t columnStep;
    std::ptrdiff_t rowStep;
    math::Rect2<int> clip;
    CoverPen pen;

    TurnedTarget(Target const& target, bool steep, Ink const& ink)
        : origin(target.pixels), columnStep(steep ? target.stride : 1),
          rowStep(steep ? 1 : target.stride), clip(target.clip), pen(ink) {
        if (steep) {
            clip = {clip.top, clip.left, clip.bottom, clip.right};
        }
    }

    void Put(int column, int row, Lanes share) const {
        Counts const counts = __builtin_convertvector(share * 255.0F + 0.5F, Counts);
        Colour* const pixels = origin + column * columnStep + row * rowStep;
        if (row >= clip.top && row + kLanes <= clip.bottom) {
            if (rowStep == 1) {
                pen.PutFour(pixels, 1, counts);
            } else {
                pen.PutFour(pixels, rowStep, counts);
            }
            return;
        }
        for (int k = std::max(0, clip.top - row); k < std::min(kLanes, clip.bottom - row); ++k) {
            pen.Put(pixels[k * rowStep], static_cast<unsigned>(counts[k]));
        }
    }
};

struct Edge {
    Point left;
    Point right;
    double slope;
    float sign; ///< 1 where what is above it counts, -1 where it is taken away

    /// From p to q, in the direction of the outline.
    Edge(Point const& p, Point const& q)
        : left(p.x < q.x ? p : q), right(p.x < q.x ? q : p),
          slope((right.y - left.y) / (right.x - left.x)), sign(p.x < q.x ? 1.0F : -1.0F) {}
    double At(double x) const { return left.y + (x - left.x) * slope; }
};

/// Any column, with the edges that pass it.
void DrawColumn(TurnedTarget const& target, Edge const (&edges)[4], int column) {
    struct Part {
        double y0, y1;
        float weight;
    };
    Part parts[4];
    int count = 0;
    double top = 2 * Guard;
    double bottom = -2 * Guard;
    for (Edge const& edge : edges) {
        double const x0 = std::max<double>(edge.left.x, column);
        double const x1 = std::min<double>(edge.right.x, column + 1);
        if (x0 < x1) {
            Part const part{edge.At(x0), edge.At(x1), static_cast<float>(x1 - x0) * edge.sign};
            parts[count++] = part;
            top = std::min({top, part.y0, part.y1});
            bottom = std::max({bottom, part.y0, part.y1});
        }
    }
    int const first = count > 0 ? FloorPixel(top) : 0;
    for (int row = first; row < bottom && count > 0; row += kLanes) {
        Lanes share = {0, 0, 0, 0};
        for (int i = 0; i < count; ++i) {
            auto const y0 = static_cast<float>(parts[i].y0 - row);
            auto const y1 = static_cast<float>(parts[i].y1 - row);
            share += ShareAbove(y0, y1, kRows) * parts[i].weight;
        }
        target.Put(column, row, ToUnit(share));
    }
}

/// Columns that only the two long edges pass, from side to side.
template <bool Flat>
void DrawMiddle(TurnedTarget target, Edge const& upper, Edge const& lower, int from, int to) {
    auto const rise = static_cast<float>(upper.slope);
    Lanes const slope = {rise, rise, rise, rise};
    Lanes const perRise = 0.5F / slope;
    double const highest = upper.left.y + std::min(upper.slope, 0.0); // of a column
    double const height = lower.At(from) - upper.At(from);
    double const extent = height + std::abs(upper.slope);
    Lanes const thickness = static_cast<float>(height) - Lanes{};
    auto const start = static_cast<float>(-std::min(upper.slope, 0.0));
    for (int column = from; column < to; ++column) {
        double const top = highest + (column - upper.left.x) * upper.slope;
        double const bottom = top + extent;
        int row = FloorPixel(top);
        do {
            Lanes const u0 = start + static_cast<float>(top - row) - kRows;
            Lanes const u1 = u0 + slope;
            Lanes const l0 = u0 + thickness;
            Lanes const l1 = u1 + thickness;
            if (Flat) {
                target.Put(column, row, ToUnit((l0 + l1) * 0.5F) - ToUnit((u0 + u1) * 0.5F));
            } else {
                Lanes const lowerRise = TwiceIntegral(l1) - TwiceIntegral(l0);
                Lanes const upperRise = TwiceIntegral(u1) - TwiceIntegral(u0);
                target.Put(column, row, (lowerRise - upperRise) * perRise);
            }
            row += kLanes;
        } while (row < bottom);
    }
}

int CeilPixel(double v) {
    return -FloorPixel(-v);
}

} // namespace

void DrawSmoothLine(Target const& target, Segment const& segment, double width, Ink const& ink) {
    Point a = segment.a;
    Point b = segment.b;
    bool const steep = std::abs(b.y - a.y) > std::abs(b.x - a.x);
    if (steep) {
        a = {a.y, a.x};
        b = {b.y, b.x};
    }
    if (b.x < a.x) {
        std::swap(a, b);
    }
    Point const d = b - a;
    double const length = std::sqrt(d.x * d.x + d.y * d.y);
    if (!(length > 0)) {
        return;
    }
    Point const down = Point(-d.y, d.x) * (width / 2 / length); // d.x > 0: to larger rows
    Edge const edges[4] = {
        {a + down, b + down}, {b + down, b - down}, {b - down, a - down}, {a - down, a + down}};
    TurnedTarget const turned(target, steep, ink);
    double const reach = std::abs(down.x);
    int const from = std::max(turned.clip.left, FloorPixel(a.x - reach));
    int const end = std::min(turned.clip.right, CeilPixel(b.x + reach));
    int const middle = std::clamp(CeilPixel(a.x + reach), from, std::max(from, end));
    int const middleEnd = std::clamp(FloorPixel(b.x - reach), middle, std::max(middle, end));
    for (int column = from; column < middle; ++column) {
        DrawColumn(turned, edges, column);
    }
    if (std::abs(edges[2].slope) < kFlat) {
        DrawMiddle<true>(turned, edges[2], edges[0], middle, middleEnd);
    } else {
        DrawMiddle<false>(turned, edges[2], edges[0], middle, middleEnd);
    }
    for (int column = middleEnd; column < end; ++column) {
        DrawColumn(turned, edges, column);
    }
}

} // namespace drivers::raster::detail
