#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Curve.h"
#include "drivers/raster/detail/Outline.h"
#include "drivers/raster/detail/Polygon.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
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
        return detail::IsFinite(frame.Corner(frame.low)) &&
               detail::IsFinite(frame.Corner(frame.high));
    }
    bool IsLine() const {
        return range.whole && (frame.low.x == frame.high.x || frame.low.y == frame.high.y);
    }
    /// Less than a pixel or so, so that it may pass no centre of one.
    bool IsTiny() const {
        HPoint const p = frame.Corner(frame.low);
        HPoint const q = frame.Corner(frame.high);
        auto const near = [](double a, double b) { return std::abs(a - b) <= 2; };
        return p.w >= NearDistance && q.w >= NearDistance && near(p.x / p.w, q.x / q.w) &&
               near(p.y / p.w, q.y / q.w);
    }
};

/// Floors the corners of the box to pixels, as those of an outlined box are.
/// @param place where in the pixel, 0 to 1
void AddressByPixel(EllipseShape& shape, double place) {
    HPoint const low = shape.frame.Corner(shape.frame.low);
    HPoint const high = shape.frame.Corner(shape.frame.high);
    // Corners that changed places keep the angles when the view mirrors an axis.
    shape.frame = {
        {kPixelMatrix, true, {}},
        {std::floor(low.x) + place, std::floor(low.y) + place},
        {std::floor(high.x) + place, std::floor(high.y) + place}};
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
    ThinPen pen(target, ink, pixels);
    pen.StartShape();
    if (shape.IsLine()) {
        HPoint const low = shape.frame.Corner(shape.frame.low);
        DrawThinLine(pen, view.range, low, shape.frame.Corner(shape.frame.high));
        return pen.Finish();
    }
    std::vector<HPoint> points;
    FlattenArc(shape.frame, shape.range, target.clip, 2, points);
    bool const seen = DrawThinCurve(pen, view, points, shape.range.whole);
    if (!shape.range.whole) {
        HPoint const centre = shape.frame.Centre();
        DrawThinLine(pen, view.range, centre, points.front());
        DrawThinLine(pen, view.range, points.back(), centre);
    } else if (!seen && shape.IsTiny()) {
        Point const& p = shape.frame.low;
        Point const& q = shape.frame.high;
        DrawThinLine(pen, view.range, view.Map(p.x, p.y), view.Map(q.x, p.y));
        DrawThinLine(pen, view.range, view.Map(q.x, q.y), view.Map(p.x, q.y));
    }
    pen.Finish();
}

std::vector<HPoint>
FlattenShape(EllipseShape const& shape, math::Rect2<int> const& clip, double margin) {
    std::vector<HPoint> points;
    if (!shape.range.whole) {
        points.push_back(shape.frame.Centre());
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
    auto const finite = [](double v) { return IsFinite(v); };
    auto const numbers = {x0, y0, x1, y1, start, end};
    if (m_clip.Empty() || !std::all_of(numbers.begin(), numbers.end(), finite)) {
        return;
    }
    Pen const pen(m_state);
    EllipseShape shape{
        {MakeView(), {std::min(x0, x1), std::min(y0, y1)}, {std::max(x0, x1), std::max(y0, y1)}},
        ArcRange::Between(start, end)};
    View const& view = shape.frame.view;
    if (!shape.IsFinite()) {
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
