#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/Polygon.h"
#include "drivers/raster/detail/TriangleWalk.h"

namespace drivers::raster::detail {

/// A value over a triangle, linear on the screen.
struct Slope {
    double atOrigin;
    double perX;
    double perY;
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

    /// Prepares a row of pixels.
    void Row(int y) {
        for (int i = 0; i < Count; ++i) {
            m_row[i] = m_slopes[i].atOrigin + (y + 0.5 - m_y) * m_slopes[i].perY;
        }
    }
    /// The values at the centre of pixel x of that row.
    void At(int x, double* values) const {
        double const d = x + 0.5 - m_x;
        double scale = 1;
        if constexpr (Perspective) {
            scale = 1 / (m_row[N] + d * m_slopes[N].perX);
        }
        for (int i = 0; i < N; ++i) {
            double const value = m_row[i] + d * m_slopes[i].perX;
            values[i] = Perspective ? value * scale : value;
        }
    }

private:
    static constexpr int Count = N + (Perspective ? 1 : 0);

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
    Slope m_slopes[Count];
    double m_row[Count];
};

/// Fills one projected triangle. The shader says how many values a vertex has (Values), and draws
/// a span with Fill() when there are none, a pixel with Put() otherwise.
template <bool Perspective, class Shader>
void FillTriangle(
    Target const& target,
    Shader const& shader,
    Vertex<Shader::Values> const& a,
    Vertex<Shader::Values> const& b,
    Vertex<Shader::Values> const& c) {
    double const area = TwiceArea(a, b, c);
    if (area == 0) {
        return;
    }
    if constexpr (Shader::Values == 0) {
        WalkTriangle(target.clip, a, b, c, area, [&](int y, int x0, int x1) {
            shader.Fill(target, y, x0, x1);
        });
    } else {
        Interpolation<Shader::Values, Perspective> values(a, b, c, area);
        WalkTriangle(target.clip, a, b, c, area, [&](int y, int x0, int x1) {
            values.Row(y);
            Colour* pixel = target.At(x0, y);
            for (int x = x0; x < x1; ++x, ++pixel) {
                double at[Shader::Values];
                values.At(x, at);
                shader.Put(*pixel, at);
            }
        });
    }
}

/// Fills one triangle given in homogeneous pixel coordinates.
template <bool Affine, class Shader>
void DrawTriangle(
    Target const& target,
    Shader const& shader,
    Vertex<Shader::Values> const& a,
    Vertex<Shader::Values> const& b,
    Vertex<Shader::Values> const& c) {
    if (Affine && InGuard(a.x, a.y) && InGuard(b.x, b.y) && InGuard(c.x, c.y)) {
        FillTriangle<false>(target, shader, a, b, c);
        return;
    }
    std::vector<Vertex<Shader::Values>> polygon{a, b, c};
    ProjectPolygon(polygon);
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        FillTriangle<!Affine>(target, shader, polygon[0], polygon[i - 1], polygon[i]);
    }
}

} // namespace drivers::raster::detail
