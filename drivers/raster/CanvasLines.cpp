#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Outline.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>

namespace drivers::raster {

using namespace detail;

namespace {

unsigned char Between(unsigned char from, unsigned char to, double t) {
    return RoundChannel(from + (to - from) * t);
}

/// Colours that run along a line from t = 0 to t = 1.
struct Gradient {
    Colour from;
    Colour to;

    Colour At(double t) const {
        t = !(t > 0) ? 0 : std::min(t, 1.0);
        return {
            Between(from.r, to.r, t),
            Between(from.g, to.g, t),
            Between(from.b, to.b, t),
            Between(from.a, to.a, t)};
    }
};

void DrawThinGradient(
    Target const& target, Segment const& segment, Gradient const& gradient, bool blend) {
    WalkLine(target, PixelsOf(segment), [&](Colour& pixel, int k, int length) {
        double const s = length > 0 ? double(k) / length : 0;
        if (target.nearness == nullptr ||
            IsSeen(*target.NearnessOf(&pixel), static_cast<float>(segment.NearAt(s)))) {
            Colour const colour = gradient.At(segment.OriginalAt(s));
            blend ? Put<true>(pixel, colour) : Put<false>(pixel, colour);
        }
    });
}

bool Inside(math::Rect2<double> const& clip, HPoint const& p) {
    return p.x >= clip.left && p.x < clip.right && p.y >= clip.top && p.y < clip.bottom;
}

/// The pixel of a point inside the clip.
Pixel PixelAt(HPoint const& p) {
    return {static_cast<int>(p.x), static_cast<int>(p.y)};
}

/// Whether the line lies on one side of the clip.
bool Misses(math::Rect2<double> const& clip, HPoint const& a, HPoint const& b) {
    return (a.x < clip.left && b.x < clip.left) || (a.x >= clip.right && b.x >= clip.right) ||
           (a.y < clip.top && b.y < clip.top) || (a.y >= clip.bottom && b.y >= clip.bottom);
}

/// The ends of one line in a view without perspective, as a reader has them.
struct FlatEnds {
    static constexpr bool IsAffine = true;
    HPoint const* ends;
    HPoint operator()(std::size_t index) const { return ends[index]; }
};

/// Separate lines one pixel thick: each is a shape of its own, and passes no pixel twice.
template <class Reader>
void DrawThinLines(
    Target const& target,
    DepthRange const& range,
    std::size_t count,
    Reader const& reader,
    Ink const& ink,
    ThinPen pen) {
    math::Rect2<double> const clip(
        target.clip.left, target.clip.top, target.clip.right, target.clip.bottom);
    Colour const colour = ink.colour;
    auto const store = [=](Colour& pixel) { pixel = colour; };
    auto const blend = [=](Colour& pixel) { BlendPixel(pixel, colour, colour.a); };
    for (std::size_t i = 0; i + 1 < count; i += 2) {
        HPoint const a = reader(i);
        HPoint const b = reader(i + 1);
        if (Reader::IsAffine && target.nearness == nullptr) {
            if (Inside(clip, a) && Inside(clip, b)) {
                ink.Solid() ? WalkLineInside(target, PixelAt(a), PixelAt(b), store)
                            : WalkLineInside(target, PixelAt(a), PixelAt(b), blend);
                continue;
            }
            if (Misses(clip, a, b)) {
                continue;
            }
        }
        Segment segment;
        if (ProjectSegment(a, b, range, segment)) {
            pen.Draw(PixelsOf(segment));
        }
    }
}

/// The colour of a pixel beside a wide line: that of the nearest point of the line.
class WideGradient {
public:
    WideGradient(Pen const& pen, Segment const& segment, Gradient const& gradient)
        : m_segment(segment), m_gradient(gradient), m_start(pen.Place(segment.a)) {
        Point const d = pen.Place(segment.b) - m_start;
        double const square = d.x * d.x + d.y * d.y;
        m_perPixel = square > 0 ? d * (1 / square) : Point();
    }
    Colour At(int x, int y) const {
        Point const d = Point(x + 0.5, y + 0.5) - m_start;
        double const t = std::clamp(d.x * m_perPixel.x + d.y * m_perPixel.y, 0.0, 1.0);
        return m_gradient.At(m_segment.OriginalAt(t));
    }

private:
    Segment m_segment;
    Gradient m_gradient;
    Point m_start;
    Point m_perPixel;
};

void DrawWideGradient(
    Target const& target,
    PathFill& path,
    Pen const& pen,
    Segment const& segment,
    Gradient const& gradient,
    bool blend) {
    path.Start(target.clip);
    Stroker stroker(path, pen.width, pen.Extension(), false);
    stroker.Add(pen.Place(segment.a), pen.Place(segment.b), false);
    stroker.Finish();
    WideGradient const colours(pen, segment, gradient);
    NearPlane const plane = NearPlane::Along(segment);
    auto const cover = [&](int y, int x, unsigned coverage) {
        if (target.nearness != nullptr && coverage > 0) {
            float& there = *target.NearnessAt(x, y);
            float const nearness = plane.At(x, y);
            if (!(nearness >= there)) {
                return;
            }
            there = coverage >= 128 ? nearness : there;
        }
        Colour const colour = colours.At(x, y);
        BlendPixel(*target.At(x, y), colour, blend ? Scale(coverage, colour.a) : coverage);
    };
    if (pen.smooth) {
        path.Coverage([&](int y, int x, int count, unsigned char const* coverage) {
            for (int i = 0; i < count; ++i) {
                cover(y, x + i, coverage[i]);
            }
        });
    } else {
        path.Spans([&](int y, int x0, int x1) {
            for (int x = x0; x < x1; ++x) {
                cover(y, x, 255);
            }
        });
    }
}

} // namespace

void Canvas::Lines(VertexArray const& vertices) {
    if (m_clip.Empty()) {
        return;
    }
    View const view = MakeView();
    Pen const pen(m_state);
    Ink const ink(m_state);
    auto const draw = [&](Target const& target, Scratch& scratch, auto const& reader) {
        if (!vertices.colour && pen.Thin()) {
            ThinPen const thin(target, ink, scratch.outline.pixels);
            DrawThinLines(target, view.range, vertices.count, reader, ink, thin);
            return;
        }
        Outline outline(target, view, scratch.outline, m_state);
        for (std::size_t i = 0; i + 1 < vertices.count; i += 2) {
            if (!vertices.colour) {
                outline.Chain(2, false, [&](std::size_t k) { return reader(i + k); });
                continue;
            }
            Segment segment;
            if (ProjectSegment(reader(i), reader(i + 1), view.range, segment)) {
                Gradient const gradient{VertexColour(vertices, i), VertexColour(vertices, i + 1)};
                if (pen.Thin()) {
                    DrawThinGradient(target, segment, gradient, m_state.blend);
                } else {
                    DrawWideGradient(
                        target, scratch.outline.path, pen, segment, gradient, m_state.blend);
                }
            }
        }
    };
    InBands(PixelsOf(vertices, 2), [&](Target const& target, Scratch& scratch) {
        WithReader(view, vertices, [&](auto reader) { draw(target, scratch, reader); });
    });
}

void Canvas::Line(double x0, double y0, double x1, double y1) {
    if (m_clip.Empty()) {
        return;
    }
    View const view = MakeView();
    HPoint const ends[2] = {view.Map(x0, y0), view.Map(x1, y1)};
    if (view.affine && Pen(m_state).Thin()) {
        Target const target = MakeTarget();
        Ink const ink(m_state);
        ThinPen const thin(target, ink, m_scratch[0].outline.pixels);
        return DrawThinLines(target, view.range, 2, FlatEnds{ends}, ink, thin);
    }
    Outline(MakeTarget(), view, m_scratch[0].outline, m_state).Chain(2, false, [&](std::size_t k) {
        return ends[k];
    });
}

void Canvas::Polyline(VertexArray const& vertices, bool closed) {
    if (m_clip.Empty() || vertices.count == 0) {
        return;
    }
    if (vertices.count == 2) {
        VertexArray line = vertices;
        line.colour = nullptr;
        return Lines(line);
    }
    View const view = MakeView();
    InBands(PixelsOf(vertices, 2), [&](Target const& target, Scratch& scratch) {
        Outline outline(target, view, scratch.outline, m_state);
        WithReader(
            view, vertices, [&](auto reader) { outline.Chain(vertices.count, closed, reader); });
    });
}

} // namespace drivers::raster
