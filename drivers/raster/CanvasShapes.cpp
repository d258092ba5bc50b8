#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Curve.h"
#include "drivers/raster/detail/Outline.h"
#include "drivers/raster/detail/Polygon.h"
#include "drivers/raster/detail/View.h"

#include <cmath>
#include <vector>

namespace drivers::raster {

using namespace detail;

namespace {

constexpr double kPixelMatrix[12] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1};

/// Takes an outline on the world's plane z = 0 to pixels.
std::vector<Point> ProjectOutline(View const& view, std::vector<HPoint> const& outline) {
    std::vector<Vertex<0>> polygon;
    polygon.reserve(outline.size());
    for (HPoint const& p : outline) {
        polygon.push_back({p.x, p.y, p.w, {}});
    }
    ProjectPolygon(polygon, view.range);
    std::vector<Point> corners;
    corners.reserve(polygon.size());
    for (Vertex<0> const& v : polygon) {
        corners.emplace_back(v.x, v.y);
    }
    return corners;
}

/// Fills an outline of any shape as the state says.
void FillOutline(
    Target const& target,
    View const& view,
    OutlineScratch& scratch,
    std::vector<Point> const& corners,
    DrawState const& state) {
    scratch.path.Start(target.clip);
    scratch.path.AddPolygon(corners.data(), corners.size());
    Ink const ink(state);
    if (target.nearness != nullptr) {
        FillSeenPath(target, scratch, ink, state.lineSmooth, NearPlane::OfGround(view));
    } else {
        FillPath(target, scratch.path, ink, state.lineSmooth);
    }
}

/// Fills a box whose sides are rows and columns.
void FillUprightBox(Target const& target, HPoint const& a, HPoint const& b, Ink const& ink) {
    math::Rect2<int> const& clip = target.clip;
    int const left = FirstCentre(std::min(a.x, b.x), clip.left, clip.right);
    int const right = FirstCentre(std::max(a.x, b.x), clip.left, clip.right);
    int const top = FirstCentre(std::min(a.y, b.y), clip.top, clip.bottom);
    int const bottom = FirstCentre(std::max(a.y, b.y), clip.top, clip.bottom);
    for (int y = top; y < bottom && left < right; ++y) {
        FillSpan(target, y, left, right, ink);
    }
}

/// An ellipse with what its drawing needs.
struct EllipseShape {
    EllipseFrame frame;
    ArcRange range;
    bool IsFinite() const {
        HPoint const a = frame.At({1, 1});
        HPoint const b = frame.At({-1, -1});
        return detail::IsFinite(a) && detail::IsFinite(b) && detail::IsFinite(range.end);
    }
};

/// Floors the corners of the box to pixels, as those of an outlined box are.
/// @param place where in the pixel, 0 to 1
void AddressByPixel(EllipseShape& shape, double place) {
    HPoint const a = shape.frame.At({-1, -1});
    HPoint const b = shape.frame.At({1, 1});
    if (!InGuard(a.x, a.y) || !InGuard(b.x, b.y)) {
        return;
    }
    Point const p{FloorPixel(a.x) + place, FloorPixel(a.y) + place};
    Point const q{FloorPixel(b.x) + place, FloorPixel(b.y) + place};
    // Signed radii keep the angles when the view mirrors an axis.
    shape.frame = {{kPixelMatrix, true, {}}, (p + q) * 0.5, (q.x - p.x) / 2, (q.y - p.y) / 2};
}

void DrawThinLine(ThinPen& pen, DepthRange const& range, HPoint const& a, HPoint const& b) {
    Segment segment;
    if (ProjectSegment(a, b, range, segment)) {
        pen.Draw(PixelsOf(segment));
    }
}

void OutlineThin(
    Target const& target,
    EllipseShape const& shape,
    Ink const& ink,
    std::vector<PassedPixel>& pixels) {
    View const& view = shape.frame.view;
    std::vector<HPoint> points;
    FlattenArc(shape.frame, shape.range, target.clip, 2, points);
    ThinPen pen(target, ink, pixels);
    pen.StartShape();
    bool const seen = DrawThinCurve(pen, view, points, shape.range.whole);
    if (!shape.range.whole) {
        HPoint const centre = shape.frame.At({0, 0});
        DrawThinLine(pen, view.range, centre, points.front());
        DrawThinLine(pen, view.range, points.back(), centre);
    } else if (!seen) {
        // Too small to pass a pixel centre.
        DrawThinLine(pen, view.range, shape.frame.At({-1, -1}), shape.frame.At({1, -1}));
        DrawThinLine(pen, view.range, shape.frame.At({1, 1}), shape.frame.At({-1, 1}));
    }
    pen.Finish();
}

std::vector<HPoint>
FlattenShape(EllipseShape const& shape, math::Rect2<int> const& clip, double margin) {
    std::vector<HPoint> points;
    if (!shape.range.whole) {
        points.push_back(shape.frame.At({0, 0}));
    }
    FlattenArc(shape.frame, shape.range, clip, margin, points);
    return points;
}

} // namespace

void Canvas::FillShape(detail::View const& view, std::vector<HPoint> const& outline) {
    std::vector<Point> const corners = ProjectOutline(view, outline);
    InBands(
        PixelsWithin(corners.data(), corners.size()), [&](Target const& target, Scratch& scratch) {
            FillOutline(target, view, scratch.outline, corners, m_state);
        });
}

void Canvas::Box(double x0, double y0, double x1, double y1, bool filled) {
    if (m_clip.Empty()) {
        return;
    }
    View const view = MakeView();
    HPoint const corners[4] = {
        view.Map(x0, y0), view.Map(x1, y0), view.Map(x1, y1), view.Map(x0, y1)};
    if (!IsFinite(corners[0]) || !IsFinite(corners[2])) {
        return;
    }
    if (!filled) {
        Outline(MakeTarget(), view, m_scratch[0].outline, m_state)
            .Chain(4, true, [&](std::size_t i) { return corners[i]; });
    } else if (view.KeepsAxes() && !m_state.lineSmooth) {
        Point const points[3] = {
            {corners[0].x, corners[0].y},
            {corners[1].x, corners[1].y},
            {corners[2].x, corners[2].y}};
        InBands(PixelsWithin(points, 3), [&](Target const& target, Scratch&) {
            FillUprightBox(target, corners[0], corners[2], Ink(m_state));
        });
    } else {
        FillShape(view, {corners, corners + 4});
    }
}

void Canvas::Ellipse(
    double x0, double y0, double x1, double y1, double start, double end, bool filled) {
    Pen const pen(m_state);
    Point const centre{x0 / 2 + x1 / 2, y0 / 2 + y1 / 2};
    double const rx = std::abs(x1 / 2 - x0 / 2);
    double const ry = std::abs(y1 / 2 - y0 / 2);
    EllipseShape shape{{MakeView(), centre, rx, ry}, ArcRange::Between(start, end)};
    View const& view = shape.frame.view;
    if (m_clip.Empty() || !shape.IsFinite()) {
        return;
    }
    if (filled) {
        FillShape(view, FlattenShape(shape, m_clip, 0));
        return;
    }
    if (!pen.smooth && view.KeepsAxes()) {
        // An even width lies around a pixel's corner, so that no centre is on its edge.
        AddressByPixel(shape, std::fmod(pen.width, 2) == 0 ? 0 : 0.5);
    }
    if (pen.Thin()) {
        OutlineThin(MakeTarget(), shape, Ink(m_state), m_scratch[0].outline.pixels);
        return;
    }
    // A mitre may reach two widths from the curve.
    std::vector<HPoint> const points = FlattenShape(shape, m_clip, 2 * pen.width);
    Outline(MakeTarget(), view, m_scratch[0].outline, m_state, true)
        .Chain(points.size(), true, [&](std::size_t i) { return points[i]; });
}

} // namespace drivers::raster
