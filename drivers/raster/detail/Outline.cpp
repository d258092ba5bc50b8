#include "drivers/raster/detail/Outline.h"

namespace drivers::raster::detail {

Outline::Outline(Target const& target, PathFill& path, DrawState const& state, bool onCurve)
    : m_target(target), m_path(path), m_pen(state), m_ink(state), m_onCurve(onCurve),
      m_stroker(path, m_pen.width, m_pen.Extension()) {
    m_path.Start(target.clip);
}

void Outline::Add(Segment const& segment, Ends const& ends) {
    if (m_pen.Thin()) {
        PixelLine const line{
            FloorPixel(segment.a.x),
            FloorPixel(segment.a.y),
            FloorPixel(segment.b.x),
            FloorPixel(segment.b.y),
            ends.joined,
            ends.closes};
        DrawPixelLine(m_target, line, m_ink);
        return;
    }
    Point const a = m_onCurve ? segment.a : m_pen.Place(segment.a);
    Point const b = m_onCurve ? segment.b : m_pen.Place(segment.b);
    m_stroker.Add(a, b, ends.joined, ends.opens);
    // What nothing shows through may be drawn in parts, which bounds the storage.
    constexpr std::size_t enough = 1 << 14;
    if (m_path.EdgeCount() > enough && m_ink.Solid() && !m_pen.smooth) {
        FillPath(m_target, m_path, m_ink, false);
        m_path.Start(m_target.clip);
    }
}

void Outline::Finish(bool closed) {
    m_stroker.Finish(closed);
    if (m_path.EdgeCount() > 0) {
        FillPath(m_target, m_path, m_ink, m_pen.smooth);
        m_path.Start(m_target.clip);
    }
}

} // namespace drivers::raster::detail
