#pragma once

#include "drivers/raster/DrawState.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Cover.h"
#include "drivers/raster/detail/OutlineScratch.h"
#include "drivers/raster/detail/SmoothLine.h"
#include "drivers/raster/detail/Stroke.h"
#include "drivers/raster/detail/ThinPen.h"

#include <algorithm>

namespace drivers::raster::detail {

/// How the state wants lines drawn.
struct Pen {
    double width;
    bool smooth;

    explicit Pen(DrawState const& state) : width(1), smooth(state.lineSmooth) {
        constexpr float widest = 1 << 20; // far more than covers the largest picture
        if (state.lineWidth > 0) {
            width = std::min(state.lineWidth, widest);
        }
        if (!smooth) {
            width = std::max(1.0, std::floor(width + 0.5));
        }
    }
    /// One pixel per step: drawn without an outline.
    bool Thin() const { return !smooth && width == 1; }
    /// Aliased ends lie on pixel centres and reach to the edge of their pixel.
    double Extension() const { return smooth ? 0 : 0.5; }
    Point Place(Point const& p) const {
        return smooth ? p : Point(FloorPixel(p.x) + 0.5, FloorPixel(p.y) + 0.5);
    }
};

/// Draws what a path encloses.
inline void FillPath(Target const& target, PathFill& path, Ink const& ink, bool smooth) {
    if (smooth) {
        CoverPen const pen(ink);
        path.Coverage([&](int y, int x, int count, unsigned char const* coverage) {
            int const room = static_cast<int>(target.stride) - x;
            CoverRow(target.At(x, y), coverage, count, room, pen);
        });
    } else {
        path.Spans([&](int y, int x0, int x1) { FillSpan(target, y, x0, x1, ink); });
    }
}

/// Draws what of it passes the depth test.
/// @param nearness tells by Row(y, x, count, out) how near pixels are
template <class Nearness>
void FillSeenPath(
    Target const& target,
    OutlineScratch& scratch,
    Ink const& ink,
    bool smooth,
    Nearness const& nearness) {
    scratch.nearRow.resize(static_cast<std::size_t>(target.clip.Width()));
    float* row = scratch.nearRow.data();
    if (smooth) {
        scratch.path.Coverage([&](int y, int x, int count, unsigned char const* coverage) {
            nearness.Row(y, x, count, row);
            CoverSeenRow(target.At(x, y), coverage, count, row, target.NearnessAt(x, y), ink);
        });
    } else {
        scratch.path.Spans([&](int y, int x0, int x1) {
            nearness.Row(y, x0, x1 - x0, row);
            FillSeenPixels(target.At(x0, y), x1 - x0, row, target.NearnessAt(x0, y), ink);
        });
    }
}

/// Draws pieces at once: where nothing shows through, they may overlap.
class SolidPieces : public ConvexSink {
public:
    SolidPieces(Target const& target, Colour colour) : m_target(target), m_colour(colour) {}
    void AddConvex(Point const* points, std::size_t count) override;

private:
    Target m_target;
    Colour m_colour;
};

/// Draws chains of segments in one colour with any pen, each chain as one shape.
class Outline {
public:
    /// @param onCurve points are taken as they are, also by an aliased pen
    Outline(
        Target const& target,
        View const& view,
        OutlineScratch& scratch,
        DrawState const& state,
        bool onCurve = false);

    /// Draws through count points; closed adds the way back. pointAt(index) is in homogeneous
    /// pixel coordinates.
    template <class PointAt>
    void Chain(std::size_t count, bool closed, PointAt&& pointAt) {
        closed = closed && count > 2;
        std::size_t const segments = count == 1 || closed ? count : count - 1;
        if (segments > 1) {
            m_thinPen.StartShape();
        } else if (DrawsAlone()) {
            Segment segment;
            if (ProjectSegment(pointAt(0), pointAt(count - 1), m_range, segment)) {
                DrawSmoothLine(m_target, segment, m_pen.width, m_ink);
            }
            return;
        }
        HPoint const first = pointAt(0);
        HPoint from = first;
        bool joined = false;
        bool opened = false;
        for (std::size_t i = 0; i < segments; ++i) {
            HPoint const to = i + 1 < count ? pointAt(i + 1) : first;
            Segment segment;
            bool const visible = ProjectSegment(from, to, m_range, segment);
            if (visible) {
                bool const opens = closed && i == 0 && segment.StartsWhole();
                Add(segment, joined && segment.StartsWhole(), opens);
                opened = opened || opens;
            }
            joined = visible && segment.EndsWhole();
            from = to;
        }
        Finish(joined && opened);
    }

private:
    /// A single segment needs no path.
    bool DrawsAlone() const {
        return m_pen.smooth && m_pen.width <= WidestSmoothLine && m_target.nearness == nullptr;
    }
    void Add(Segment const& segment, bool joined, bool opens);
    void Finish(bool closed);
    ConvexSink& Pieces() {
        bool const solid = m_ink.Solid() && !m_pen.smooth && m_target.nearness == nullptr;
        return solid ? static_cast<ConvexSink&>(m_solidPieces) : m_path;
    }

    Target m_target;
    DepthRange m_range;
    OutlineScratch& m_scratch;
    PathFill& m_path;
    Pen m_pen;
    Ink m_ink;
    bool m_onCurve;
    SolidPieces m_solidPieces;
    Stroker m_stroker;
    ThinPen m_thinPen;
};

} // namespace drivers::raster::detail
