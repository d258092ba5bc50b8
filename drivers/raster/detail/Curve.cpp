#include "drivers/raster/detail/Curve.h"

#include "drivers/raster/detail/PixelLine.h"

#include <algorithm>
#include <utility>

namespace drivers::raster::detail {

namespace {

constexpr double kPi = 3.14159265358979323846;

/// Halves arcs until they are flat. Directions are unit vectors, halved by addition and one square
/// root, so that every machine finds the same points.
class Flattener {
public:
    Flattener(
        EllipseFrame const& frame,
        math::Rect2<int> const& clip,
        double margin,
        std::vector<HPoint>& out)
        : m_frame(frame), m_clip(clip), m_margin(margin), m_out(out) {}

    /// Adds the points after u up to and with v, at most a quarter turn on.
    void Arc(Point const& u, Point const& v) { Halve(u, v, m_frame.At(u), m_frame.At(v), 0); }

private:
    void Halve(Point const& u, Point const& v, HPoint const& pu, HPoint const& pv, int depth) {
        Point const sum = u + v;
        Point const half = sum * (1 / std::sqrt(sum.x * sum.x + sum.y * sum.y));
        HPoint const middle = m_frame.At(half);
        constexpr int deepest = 64; // where an arc crosses the plane of the camera
        if (depth == deepest || Done(pu, middle, pv)) {
            m_out.push_back(pv);
            return;
        }
        Halve(u, half, pu, middle, depth + 1);
        Halve(half, v, middle, pv, depth + 1);
    }

    bool Done(HPoint const& pu, HPoint const& middle, HPoint const& pv) const {
        constexpr double tolerance = 1.0 / 128;
        // The arc lies in the triangle of its ends and of where their tangents meet: that is at
        // most sqrt(2) as far from the middle as the middle is from the chord.
        HPoint const tip{
            Beyond(pu.x, middle.x, pv.x),
            Beyond(pu.y, middle.y, pv.y),
            Beyond(pu.w, middle.w, pv.w)};
        if (!(std::min({pu.w, tip.w, pv.w}) >= NearDistance)) {
            return !(std::max({pu.w, tip.w, pv.w}) >= NearDistance);
        }
        Point const a{pu.x / pu.w, pu.y / pu.w};
        Point const b{pv.x / pv.w, pv.y / pv.w};
        Point const m{middle.x / middle.w, middle.y / middle.w};
        double const offX = std::abs(m.x - (a.x + b.x) / 2);
        double const offY = std::abs(m.y - (a.y + b.y) / 2);
        return (offX <= tolerance && offY <= tolerance) ||
               Misses(a.x, tip.x / tip.w, b.x, m_clip.left, m_clip.right) ||
               Misses(a.y, tip.y / tip.w, b.y, m_clip.top, m_clip.bottom);
    }
    static double Beyond(double from, double middle, double to) {
        return middle + (middle - (from / 2 + to / 2)) * 1.5;
    }
    bool Misses(double a, double tip, double b, int lo, int hi) const {
        return std::max({a, tip, b}) + m_margin < lo || std::min({a, tip, b}) - m_margin > hi;
    }

    EllipseFrame const& m_frame;
    math::Rect2<int> m_clip;
    double m_margin;
    std::vector<HPoint>& m_out;
};

/// The axis directions at 0, 1, 2, ... quarter turns; exact, unlike cos and sin of them.
Point Quarter(int quarters) {
    constexpr double x[4] = {1, 0, -1, 0};
    int const i = quarters & 3;
    return {x[i], x[(i + 3) & 3]};
}

/// Follows a curve pixel by pixel.
class CurveWalker {
public:
    CurveWalker(ThinPen& pen, View const& view)
        : m_pen(pen), m_nearness(NearPlane::OfGround(view)) {}

    void Chord(Point const& a, Point const& b) {
        bool const steep = std::abs(b.y - a.y) > std::abs(b.x - a.x);
        math::Rect2<int> const& clip = m_pen.Clip();
        steep ? Walk({a.y, a.x}, {b.y, b.x}, clip.top, clip.bottom, true)
              : Walk(a, b, clip.left, clip.right, false);
    }
    /// The curve is not seen up to the next pixel.
    void Break() { m_connected = false; }
    /// Draws a pixel, and what lies between it and the last one.
    void Light(Pixel const& pixel) {
        Pixel const from = m_connected ? m_last : pixel;
        double const near0 = m_nearness.At(from.x, from.y);
        double const near1 = m_nearness.At(pixel.x, pixel.y);
        m_pen.Draw({from.x, from.y, pixel.x, pixel.y, near0, near1});
        m_last = pixel;
        m_connected = true;
        if (!m_begun) {
            m_first = pixel;
            m_begun = true;
        }
    }
    void Close() {
        if (m_begun && m_connected) {
            Light(m_first);
        }
    }
    bool HasBegun() const { return m_begun; }

private:
    /// x is the major axis; lights a pixel for each centre that the chord passes.
    void Walk(Point const& a, Point const& b, int lo, int hi, bool steep) {
        // One column further on both sides, so that the curve stays connected up to the edge.
        int const guardLo = lo - 1;
        int const count = hi - lo + 2;
        int const from = guardLo + FirstCentre(a.x - guardLo, 0, count);
        int const to = guardLo + FirstCentre(b.x - guardLo, 0, count);
        int const step = from <= to ? 1 : -1;
        bool const cut = a.x < guardLo || a.x > hi + 1;
        if (cut) {
            Break();
        }
        double const slope = (b.y - a.y) / (b.x - a.x);
        for (int i = step > 0 ? from : from - 1; step > 0 ? i < to : i >= to; i += step) {
            int const j = FloorPixel(a.y + (i + 0.5 - a.x) * slope);
            Light(steep ? Pixel{j, i} : Pixel{i, j});
        }
        if (b.x < guardLo || b.x > hi + 1) {
            Break();
        }
    }

    ThinPen& m_pen;
    NearPlane m_nearness;
    Pixel m_first;
    Pixel m_last;
    bool m_begun = false;
    bool m_connected = false;
};

Pixel PixelAt(Point const& p) {
    return {FloorPixel(p.x), FloorPixel(p.y)};
}

} // namespace

ArcRange ArcRange::Between(double from, double to) {
    if (to < from) {
        std::swap(from, to);
    }
    double const span = to - from;
    double const start = std::fmod(from, 2 * kPi);
    bool const whole = span >= 2 * kPi * (1 - 1e-7); // callers compute 2 pi in float
    return {start, start + std::min(span, 2 * kPi), whole};
}

void FlattenArc(
    EllipseFrame const& frame,
    ArcRange const& range,
    math::Rect2<int> const& clip,
    double margin,
    std::vector<HPoint>& out) {
    Flattener flattener(frame, clip, margin, out);
    if (range.whole) {
        for (int quarter = 0; quarter < 4; ++quarter) {
            flattener.Arc(Quarter(quarter), Quarter(quarter + 1));
        }
        return;
    }
    Point from{std::cos(range.start), std::sin(range.start)};
    Point const last{std::cos(range.end), std::sin(range.end)};
    out.push_back(frame.At(from));
    int quarter = static_cast<int>(std::floor(range.start / (kPi / 2))) + 1;
    for (; quarter * (kPi / 2) < range.end; ++quarter) {
        flattener.Arc(from, Quarter(quarter));
        from = Quarter(quarter);
    }
    flattener.Arc(from, last);
}

bool DrawThinCurve(ThinPen& pen, View const& view, std::vector<HPoint> const& points, bool closed) {
    CurveWalker walker(pen, view);
    std::size_t const chords = closed ? points.size() : points.size() - 1;
    Segment chord;
    if (!closed && ProjectSegment(points.front(), points.front(), view.range, chord)) {
        walker.Light(PixelAt(chord.a));
    }
    for (std::size_t i = 0; i < chords; ++i) {
        HPoint const& next = points[i + 1 < points.size() ? i + 1 : 0];
        if (!ProjectSegment(points[i], next, view.range, chord)) {
            walker.Break();
            continue;
        }
        if (!chord.StartsWhole()) {
            walker.Break();
        }
        walker.Chord(chord.a, chord.b);
        if (!chord.EndsWhole()) {
            walker.Break();
        }
    }
    if (closed) {
        walker.Close();
    } else if (ProjectSegment(points.back(), points.back(), view.range, chord)) {
        walker.Light(PixelAt(chord.a));
    }
    return walker.HasBegun();
}

} // namespace drivers::raster::detail
