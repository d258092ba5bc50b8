#include "drivers/raster/detail/Outline.h"

namespace drivers::raster::detail {

Outline::Outline(
    Target const& target, OutlineScratch& scratch, DrawState const& state, bool onCurve)
    : m_target(target), m_path(scratch.path), m_pen(state), m_ink(state), m_onCurve(onCurve),
      m_stroker(m_path, m_pen.width, m_pen.Extension()), m_thinPen(target, m_ink, scratch.pixels) {
    m_path.Start(target.clip);
}

void Outline::Add(Segment const& segment, bool joined, bool opens) {
    if (m_pen.Thin()) {
        m_thinPen.Draw(PixelsOf(segment));
        return;
    }
    Point const a = m_onCurve ? segment.a : m_pen.Place(segment.a);
    Point const b = m_onCurve ? segment.b : m_pen.Place(segment.b);
    m_stroker.Add(a, b, joined, opens);
    // What nothing shows through may be drawn in parts, which bounds the storage.
    constexpr std::size_t enough = 1 << 14;
    if (m_path.EdgeCount() > enough && m_ink.Solid() && !m_pen.smooth) {
        FillPath(m_target, m_path, m_ink, false);
        m_path.Start(m_target.clip);
    }
}

void Outline::Finish(bool closed) {
    m_thinPen.Finish();
    m_stroker.Finish(closed);
    if (m_path.EdgeCount() > 0) {
        FillPath(m_target, m_path, m_ink, m_pen.smooth);
        m_path.Start(m_target.clip);
    }
}

} // namespace drivers::raster::detail
