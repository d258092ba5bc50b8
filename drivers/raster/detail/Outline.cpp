#include "drivers/raster/detail/Outline.h"

#include "drivers/raster/detail/TriangleWalk.h"

namespace drivers::raster::detail {

void SolidPieces::AddConvex(Point const* points, std::size_t count) {
    for (std::size_t i = 2; i < count; ++i) {
        double const area = TwiceArea(points[0], points[i - 1], points[i]);
        if (area != 0) {
            auto const fill = [this](int y, int x0, int x1) {
                FillRow(m_target.At(x0, y), x1 - x0, m_colour);
            };
            WalkTriangle(m_target.clip, points[0], points[i - 1], points[i], area, fill);
        }
    }
}

Outline::Outline(
    Target const& target,
    View const& view,
    OutlineScratch& scratch,
    DrawState const& state,
    bool onCurve)
    : m_target(target), m_range(view.range), m_scratch(scratch), m_path(scratch.path), m_pen(state),
      m_ink(state), m_onCurve(onCurve), m_solidPieces(target, m_ink.colour),
      m_stroker(Pieces(), m_pen.width, m_pen.Extension(), m_pen.smooth),
      m_thinPen(target, m_ink, scratch.pixels) {
    m_path.Start(target.clip);
    if (target.nearness != nullptr && !m_pen.Thin()) {
        m_scratch.nearMap.Start(target.clip);
    }
}

void Outline::Add(Segment const& segment, bool joined, bool opens) {
    if (m_pen.Thin()) {
        m_thinPen.Draw(PixelsOf(segment));
        return;
    }
    if (m_target.nearness != nullptr) {
        m_scratch.nearMap.Add(segment, m_pen.width);
    }
    Point const a = m_onCurve ? segment.a : m_pen.Place(segment.a);
    Point const b = m_onCurve ? segment.b : m_pen.Place(segment.b);
    m_stroker.Add(a, b, joined, opens);
}

void Outline::Finish(bool closed) {
    m_thinPen.Finish();
    m_stroker.Finish(closed);
    if (m_path.EdgeCount() > 0) {
        if (m_target.nearness != nullptr) {
            FillSeenPath(m_target, m_scratch, m_ink, m_pen.smooth, m_scratch.nearMap);
        } else {
            FillPath(m_target, m_path, m_ink, m_pen.smooth);
        }
        m_path.Start(m_target.clip);
    }
    if (m_target.nearness != nullptr && !m_pen.Thin()) {
        m_scratch.nearMap.Clear();
    }
}

} // namespace drivers::raster::detail
