#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/Polygon.h"
#include "drivers/raster/detail/RunLoops.h"
#include "drivers/raster/detail/TriangleWalk.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace drivers::raster::detail {

/// N values at some pixels of a triangle.
template <int N>
struct Run {
    double values[N > 0 ? N : 1][RunLength];
    double scale[RunLength]; ///< with perspective, what the values were multiplied by: the distance
};

/// Scattered pixels of a triangle that wait for being drawn together.
struct WaitingPixels {
    int count = 0;
    double dx[RunLength];
    double dy[RunLength];
    Colour* pixels[RunLength];
};

/// How much a texture's coordinates grow from pixel to pixel.
struct Footprint {
    double acrossX;
    double acrossY;
    double downX;
    double downY;
};

/// The N values of a triangle, and 1 / distance when Perspective, in which case the values have
/// been multiplied by it. Always computed from the origin, so that no pixel depends on where the
/// clip begins.
template <int N, bool Perspective>
class Interpolation {
public:
    Interpolation(Vertex<N> const& a, Vertex<N> const& b, Vertex<N> const& c, double area)
        : m_x(a.x), m_y(a.y) {
        for (int i = 0; i < N; ++i) {
            m_slopes[i] = Through(a, b, c, area, a.a[i], b.a[i], c.a[i]);
        }
        if constexpr (Perspective) {
            m_slopes[N] = Through(a, b, c, area, a.w, b.w, c.w);
        }
    }

    double OriginX() const { return m_x; }
    double OriginY() const { return m_y; }
    double DX(int x) const { return x + 0.5 - m_x; }
    double DY(int y) const { return y + 0.5 - m_y; }
    /// How near the pixels of a row are, but for what grows along it.
    double NearnessOfRow(int y) const {
        static_assert(Perspective);
        return m_slopes[N].atOrigin + DY(y) * m_slopes[N].perY;
    }
    /// The depth test of pixels side by side; tells as detail::TakeOver() does what is seen.
    int TakeOver(double row, int x, int count, float* there, std::uint32_t* seen) const {
        return detail::TakeOver(x, count, m_x, row, m_slopes[N].perX, there, seen);
    }
    /// How near a pixel is, at its centre.
    float Nearness(double row, int x) const {
        return static_cast<float>(row + DX(x) * m_slopes[N].perX);
    }
    /// How near the pixels x, x + 1, ... are; fills up `out`.
    void Nearness(double row, int x, int count, float* out) const {
        NearnessAlong(x, count, m_x, row, m_slopes[N].perX, out);
    }
    /// The values at pixels side by side.
    void Along(int y, int x, int count, Run<N>& run) const {
        double rows[Count > 0 ? Count : 1];
        for (int i = 0; i < Count; ++i) {
            rows[i] = m_slopes[i].atOrigin + DY(y) * m_slopes[i].perY;
        }
        ValuesAlong(N, x, count, m_x, rows, m_slopes, ScaleOf(run), run.values);
    }
    void At(WaitingPixels& waiting, Run<N>& run) const {
        ValuesAt(N, waiting.count, waiting.dx, waiting.dy, m_slopes, ScaleOf(run), run.values);
    }

    /// How the first two of the values grow at pixel k of the run.
    Footprint FootprintAt(Run<N> const& run, int k) const {
        if constexpr (Perspective) {
            return Grown({run.values[0][k], run.values[1][k]}, run.scale[k]);
        } else {
            return {m_slopes[0].perX, m_slopes[1].perX, m_slopes[0].perY, m_slopes[1].perY};
        }
    }
    /// At least how much they grow anywhere in the run, either way.
    /// @param inRow the pixels lie side by side, where all of this only rises or only falls
    Footprint LargestFootprint(Run<N> const& run, int count, bool inRow) const {
        Footprint most = FootprintAt(run, 0);
        if constexpr (Perspective) {
            // Linear in the values: the largest is at one of their ends.
            int const last = count - 1;
            math::Point2<double> from{run.values[0][0], run.values[1][0]};
            math::Point2<double> to{run.values[0][last], run.values[1][last]};
            double scale = std::max(run.scale[0], run.scale[last]);
            for (int k = 0; !inRow && k < count; ++k) {
                from.x = std::min(from.x, run.values[0][k]);
                to.x = std::max(to.x, run.values[0][k]);
                from.y = std::min(from.y, run.values[1][k]);
                to.y = std::max(to.y, run.values[1][k]);
                scale = std::max(scale, run.scale[k]);
            }
            Footprint const low = Grown(from, scale);
            Footprint const high = Grown(to, scale);
            auto const larger = [](double p, double q) {
                return std::max(std::abs(p), std::abs(q));
            };
            most = {
                larger(low.acrossX, high.acrossX),
                larger(low.acrossY, high.acrossY),
                larger(low.downX, high.downX),
                larger(low.downY, high.downY)};
        }
        return most;
    }

private:
    static constexpr int Count = N + (Perspective ? 1 : 0);

    static double* ScaleOf(Run<N>& run) { return Perspective ? run.scale : nullptr; }

    // Of values * (1 / distance) divided by (1 / distance), by the quotient rule.
    Footprint Grown(math::Point2<double> const& at, double scale) const {
        Slope const& near = m_slopes[N];
        return {
            (m_slopes[0].perX - at.x * near.perX) * scale,
            (m_slopes[1].perX - at.y * near.perX) * scale,
            (m_slopes[0].perY - at.x * near.perY) * scale,
            (m_slopes[1].perY - at.y * near.perY) * scale};
    }

    static Slope Through(
        Vertex<N> const& a,
        Vertex<N> const& b,
        Vertex<N> const& c,
        double area,
        double va,
        double vb,
        double vc) {
        double const u = vb - va;
        double const v = vc - va;
        return {
            va,
            (u * (c.y - a.y) - v * (b.y - a.y)) / area,
            (v * (b.x - a.x) - u * (c.x - a.x)) / area};
    }

    double m_x;
    double m_y;
    Slope m_slopes[Count > 0 ? Count : 1];
};

/// Draws the pixels of one triangle that has values, in runs: those side by side when there are
/// many, else those of several rows.
template <bool Perspective, bool Depth, class Shader>
class TriangleFill {
public:
    static constexpr int N = Shader::Values;
    using Values = Interpolation<N, Perspective>;

    TriangleFill(Target const& target, Shader const& shader, Values const& values)
        : m_target(target), m_shader(shader), m_values(values) {}

    void Span(int y, int x0, int x1) {
        if constexpr (Depth) {
            m_nearRow = m_values.NearnessOfRow(y);
        }
        for (int x = x0; x < x1; x += RunLength) {
            int const count = std::min(RunLength, x1 - x);
            if (count < WorthLoops) {
                Few(y, x, count);
            } else {
                Many(y, x, count);
            }
        }
    }
    /// Draws what waits.
    void Finish() {
        if (m_waiting.count > 0) {
            m_values.At(m_waiting, m_run);
            auto const pixelAt = [this](int k) -> Colour& { return *m_waiting.pixels[k]; };
            PutColours(m_waiting.count, false, pixelAt, [](int) { return true; });
            m_waiting.count = 0;
        }
    }

private:
    static constexpr int WorthLoops = 16; // pixels; fewer are sooner looked at one by one

    void Few(int y, int x, int count) {
        Reserve(count);
        float* const there = Depth ? m_target.NearnessAt(x, y) : nullptr;
        for (int k = 0; k < count; ++k) {
            bool seen = true;
            if constexpr (Depth) {
                seen = IsSeen(there[k], m_values.Nearness(m_nearRow, x + k));
            }
            Wait(y, x + k, seen);
        }
    }

    void Many(int y, int x, int count) {
        std::uint32_t seen[RunLength];
        int visible = count;
        if constexpr (Depth) {
            visible = m_values.TakeOver(m_nearRow, x, count, m_target.NearnessAt(x, y), seen);
            if (visible == 0) {
                return;
            }
        }
        m_values.Along(y, x, count, m_run);
        Colour* const pixels = m_target.At(x, y);
        auto const pixelAt = [=](int k) -> Colour& { return pixels[k]; };
        if (visible == count) {
            PutColours(count, true, pixelAt, [](int) { return true; });
        } else {
            PutColours(count, true, pixelAt, [&](int k) { return seen[k] != 0; });
        }
    }

    /// Draws a run. @param pixelAt pixelAt(k) is where its pixel k belongs
    /// @param isSeen isSeen(k) tells whether pixel k is to be drawn
    template <class PixelAt, class IsSeen>
    void PutColours(int count, bool inRow, PixelAt const& pixelAt, IsSeen const& isSeen) {
        Colour colours[RunLength];
        m_shader.Colours(m_values, m_run, count, inRow, colours);
        if (m_shader.blend) {
            for (int k = 0; k < count; ++k) {
                PutIf<true>(isSeen(k), pixelAt(k), colours[k]);
            }
        } else {
            for (int k = 0; k < count; ++k) {
                PutIf<false>(isSeen(k), pixelAt(k), colours[k]);
            }
        }
    }

    void Reserve(int count) {
        if (m_waiting.count + count > RunLength) {
            Finish();
        }
    }

    /// Without a branch: whether a pixel is seen is hard to foretell.
    void Wait(int y, int x, bool seen) {
        int const last = m_waiting.count;
        m_waiting.dx[last] = m_values.DX(x);
        m_waiting.dy[last] = m_values.DY(y);
        m_waiting.pixels[last] = m_target.At(x, y);
        m_waiting.count = last + (seen ? 1 : 0);
    }

    Target const& m_target;
    Shader const& m_shader;
    Values const& m_values;
    double m_nearRow = 0;
    WaitingPixels m_waiting;
    Run<N> m_run;
};

/// Fills one projected triangle. The shader says how many values a vertex has (Values), and draws
/// neighbouring pixels with Fill() when there are none, else tells the Colours() of a run.
template <bool Perspective, bool Depth, class Shader>
void FillTriangle(
    Target const& target,
    Shader const& shader,
    Vertex<Shader::Values> const& a,
    Vertex<Shader::Values> const& b,
    Vertex<Shader::Values> const& c) {
    constexpr int N = Shader::Values;
    double const area = TwiceArea(a, b, c);
    if (area == 0) {
        return;
    }
    if constexpr (N == 0 && !Depth) {
        WalkTriangle(target.clip, a, b, c, area, [&](int y, int x0, int x1) {
            shader.Fill(target.At(x0, y), x1 - x0);
        });
    } else if constexpr (N == 0) {
        Interpolation<N, Perspective> const values(a, b, c, area);
        WalkTriangle(target.clip, a, b, c, area, [&](int y, int x0, int x1) {
            float nearness[RunLength];
            for (int x = x0; x < x1; x += RunLength) {
                int const count = std::min(RunLength, x1 - x);
                values.Nearness(values.NearnessOfRow(y), x, count, nearness);
                shader.FillSeen(target.At(x, y), count, nearness, target.NearnessAt(x, y));
            }
        });
    } else {
        Interpolation<N, Perspective> const values(a, b, c, area);
        TriangleFill<Perspective, Depth, Shader> fill(target, shader, values);
        WalkTriangle(
            target.clip, a, b, c, area, [&](int y, int x0, int x1) { fill.Span(y, x0, x1); });
        fill.Finish();
    }
}

/// Takes a triangle from homogeneous pixel coordinates to pixels within the guard band, and calls
/// use(a, b, c) with the triangles that this makes of it.
template <bool Affine, int N, class Use>
void ForProjected(
    DepthRange const& range,
    Vertex<N> const& a,
    Vertex<N> const& b,
    Vertex<N> const& c,
    Use const& use) {
    // Every comparison is false for what is not a number.
    if (Affine || (range.Has(a.w) && range.Has(b.w) && range.Has(c.w))) {
        Vertex<N> p[3] = {a, b, c};
        if constexpr (!Affine) {
            std::for_each(p, p + 3, Project<N>);
        }
        if (InGuard(p[0].x, p[0].y) && InGuard(p[1].x, p[1].y) && InGuard(p[2].x, p[2].y)) {
            use(p[0], p[1], p[2]);
            return;
        }
    }
    FewCorners<Vertex<N>> polygon(a, b, c);
    ProjectPolygon(polygon, range);
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        use(polygon[0], polygon[i - 1], polygon[i]);
    }
}

/// Fills one triangle given in homogeneous pixel coordinates.
template <bool Affine, class Shader>
void DrawTriangle(
    Target const& target,
    Shader const& shader,
    DepthRange const& range,
    Vertex<Shader::Values> const& a,
    Vertex<Shader::Values> const& b,
    Vertex<Shader::Values> const& c) {
    using Corner = Vertex<Shader::Values>;
    ForProjected<Affine>(range, a, b, c, [&](Corner const& p, Corner const& q, Corner const& r) {
        if constexpr (Affine) {
            FillTriangle<false, false>(target, shader, p, q, r);
        } else if (target.nearness != nullptr) {
            FillTriangle<true, true>(target, shader, p, q, r);
        } else {
            FillTriangle<true, false>(target, shader, p, q, r);
        }
    });
}

} // namespace drivers::raster::detail
