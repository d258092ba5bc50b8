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

constexpr float kFlat = 1.0F / 256; ///< less slope is lost in the differences below

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

    Colour* At(int column, int row) const { return origin + column * columnStep + row * rowStep; }

    /// @param counts coverage, 0 to 255
    void Put(int column, int row, Counts counts) const {
        Colour* const pixels = At(column, row);
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

Counts ToCounts(Lanes share) {
    return __builtin_convertvector(share * 255.0F + 0.5F, Counts);
}

struct Edge {
    Point left;
    Point right;
    double slope;
    float perRise; ///< 0.5 / slope
    float sign;    ///< 1 where what is above it counts, -1 where it is taken away

    /// From p to q, in the direction of the outline.
    Edge(Point const& p, Point const& q, double rise, double inverse)
        : left(p.x < q.x ? p : q), right(p.x < q.x ? q : p), slope(rise),
          perRise(static_cast<float>(inverse * 0.5)), sign(p.x < q.x ? 1.0F : -1.0F) {}
    double At(double x) const { return left.y + (x - left.x) * slope; }
};

/// Any column, with the edges that pass it.
void DrawColumn(TurnedTarget const& target, Edge const (&edges)[4], int column) {
    struct Part {
        double y0, y1;
        float weight; ///< of the integrals; of the mean height where it is flat
        bool flat;
    };
    Part parts[4];
    int count = 0;
    double top = 2 * Guard;
    double bottom = -2 * Guard;
    for (Edge const& edge : edges) {
        double const x0 = std::max<double>(edge.left.x, column);
        double const x1 = std::min<double>(edge.right.x, column + 1);
        if (x0 < x1) {
            bool const flat = std::abs(edge.slope) < kFlat;
            float const weight = flat ? static_cast<float>(x1 - x0) : edge.perRise;
            Part const part{edge.At(x0), edge.At(x1), weight * edge.sign, flat};
            parts[count++] = part;
            top = std::min({top, part.y0, part.y1});
            bottom = std::max({bottom, part.y0, part.y1});
        }
    }
    int const first = count > 0 ? FloorPixel(top) : 0;
    for (int row = first; row < bottom && count > 0; row += kLanes) {
        Lanes share = {0, 0, 0, 0};
        for (int i = 0; i < count; ++i) {
            Lanes const y0 = static_cast<float>(parts[i].y0 - row) - kRows;
            Lanes const y1 = static_cast<float>(parts[i].y1 - row) - kRows;
            Lanes const above =
                parts[i].flat ? ToUnit((y0 + y1) * 0.5F) : TwiceIntegral(y1) - TwiceIntegral(y0);
            share += above * parts[i].weight;
        }
        target.Put(column, row, ToCounts(ToUnit(share)));
    }
}

/// Heights in units of 2^-32 of a pixel.
constexpr double kFixed = 4294967296.0;

/// Columns that only the two long edges pass, from side to side.
template <bool Flat>
void DrawMiddle(TurnedTarget target, Edge const& upper, Edge const& lower, int from, int to) {
    if (from >= to) {
        return;
    }
    auto const step = static_cast<std::int64_t>(upper.slope * kFixed);
    double const slope = double(step) / kFixed;
    double const drop = std::min(slope, 0.0);
    // The highest point of the edge in a column, the same wherever the columns begin.
    auto const base =
        static_cast<std::int64_t>((upper.left.y + drop - upper.left.x * slope) * kFixed);
    std::int64_t top = base + step * from;
    // The same as well; both ends of the edge would do.
    auto const height = static_cast<float>(lower.At(upper.left.x) - upper.left.y);
    float const extent = height + static_cast<float>(std::abs(slope));
    Lanes const start = static_cast<float>(-drop) - kRows;
    float const rise = static_cast<float>(slope);
    Lanes const perRise = upper.perRise * 255.0F - Lanes{};
    // Other rows lie in other pages: their pixels are asked for before they are needed.
    constexpr int ahead = 8;
    auto const fetch = [&](int column, std::int64_t at) {
        auto const row = static_cast<int>(at >> 32);
        __builtin_prefetch(target.At(column, row), 1);
        __builtin_prefetch(target.At(column, row + kLanes - 1), 1);
    };
    for (int column = from; column < std::min(to, from + ahead); ++column) {
        fetch(column, base + step * column);
    }
    for (int column = from; column < to; ++column, top += step) {
        if (column + ahead < to) {
            fetch(column + ahead, top + step * ahead);
        }
        auto row = static_cast<int>(top >> 32);
        auto below = static_cast<float>(static_cast<std::int32_t>((top & 0xffffffff) >> 8)) *
                     (1.0F / 16777216);
        float left = extent + below;
        do {
            Lanes const u0 = start + below;
            Lanes const u1 = u0 + rise;
            Lanes const l0 = u0 + height;
            Lanes const l1 = u1 + height;
            if (Flat) {
                target.Put(
                    column, row, ToCounts(ToUnit((l0 + l1) * 0.5F) - ToUnit((u0 + u1) * 0.5F)));
            } else {
                Lanes const lowerRise = TwiceIntegral(l1) - TwiceIntegral(l0);
                Lanes const upperRise = TwiceIntegral(u1) - TwiceIntegral(u0);
                Lanes const share = (lowerRise - upperRise) * perRise;
                target.Put(column, row, __builtin_convertvector(share + 0.5F, Counts));
            }
            row += kLanes;
            below -= kLanes;
            left -= kLanes;
        } while (left > 0);
    }
}

int CeilPixel(double v) {
    return -FloorPixel(-v);
}

/// Columns, the last not included.
struct Columns {
    int from;
    int end;
};

/// Those in which a line may reach into the clip, and a few more.
Columns
ColumnsInside(math::Rect2<int> const& clip, Point const& a, Point const& b, double halfWidth) {
    double from = a.x - halfWidth;
    double end = b.x + halfWidth;
    // A line across is at most sqrt(2) of its width high in a column, where it rises by one more.
    double const margin = 1.5 * halfWidth + 2;
    double const top = clip.top - margin;
    double const bottom = clip.bottom + margin;
    if (std::max(a.y, b.y) < top || std::min(a.y, b.y) > bottom) {
        return {0, 0};
    }
    if (std::abs(b.y - a.y) > 1) {
        double const perRow = (b.x - a.x) / (b.y - a.y);
        double const atTop = a.x + (top - a.y) * perRow;
        double const atBottom = a.x + (bottom - a.y) * perRow;
        from = std::max(from, std::min(atTop, atBottom));
        end = std::min(end, std::max(atTop, atBottom));
    }
    from = std::max<double>(from, clip.left);
    end = std::min<double>(end, clip.right);
    return from < end ? Columns{FloorPixel(from), CeilPixel(end)} : Columns{0, 0};
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
    TurnedTarget const turned(target, steep, ink);
    Columns const inside = ColumnsInside(turned.clip, a, b, width / 2);
    if (inside.from >= inside.end) {
        return;
    }
    Point const d = b - a;
    double const length = std::sqrt(d.x * d.x + d.y * d.y);
    if (!(length > 0)) {
        return;
    }
    Point const down = Point(-d.y, d.x) * (width / 2 / length); // d.x > 0: to larger rows
    double const along = d.y / d.x;
    double const across = d.x / d.y;
    Edge const edges[4] = {
        {a + down, b + down, along, across},
        {b + down, b - down, -across, -along},
        {b - down, a - down, along, across},
        {a - down, a + down, -across, -along}};
    double const reach = std::abs(down.x);
    int const from = std::max(inside.from, FloorPixel(a.x - reach));
    int const end = std::min(inside.end, CeilPixel(b.x + reach));
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
