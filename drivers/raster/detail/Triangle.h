#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/Polygon.h"
#include "drivers/raster/detail/TriangleWalk.h"

#include <algorithm>

namespace drivers::raster::detail {

/// A value over a triangle, linear on the screen.
struct Slope {
    double atOrigin;
    double perX;
    double perY;
};

/// Pixels that are interpolated together.
constexpr int RunLength = 64;

/// N values at some neighbouring pixels, and how near those are.
template <int N>
struct Run {
    double values[N > 0 ? N : 1][RunLength];
    double
        scale[RunLength]; ///< what the values were multiplied by: distance in front of the camera
    float nearness[RunLength];
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

    /// Prepares a row of pixels.
    void Row(int y) {
        for (int i = 0; i < Count; ++i) {
            m_row[i] = m_slopes[i].atOrigin + (y + 0.5 - m_y) * m_slopes[i].perY;
        }
    }
    /// How near the pixels x, x + 1, ... of that row are, at their centres.
    void Nearness(int x, int count, float* out) const {
        static_assert(Perspective);
        for (int k = 0; k < count; ++k) {
            out[k] = static_cast<float>(m_row[N] + (x + k + 0.5 - m_x) * m_slopes[N].perX);
        }
    }
    /// The values at those pixels.
    void Values(int x, int count, Run<N>& run) const {
        for (int k = 0; k < count; ++k) {
            run.scale[k] = 1;
            if constexpr (Perspective) {
                run.scale[k] = 1 / (m_row[N] + (x + k + 0.5 - m_x) * m_slopes[N].perX);
            }
        }
        for (int i = 0; i < N; ++i) {
            for (int k = 0; k < count; ++k) {
                double const value = m_row[i] + (x + k + 0.5 - m_x) * m_slopes[i].perX;
                run.values[i][k] = Perspective ? value * run.scale[k] : value;
            }
        }
    }

    /// How the first two of the values grow at pixel k of the run.
    Footprint FootprintAt(Run<N> const& run, int k) const {
        if constexpr (Perspective) {
            // Of values * (1 / distance) divided by (1 / distance), by the quotient rule.
            auto const grow = [&](int i, double Slope::*per) {
                double const own = m_slopes[i].*per - run.values[i][k] * m_slopes[N].*per;
                return own * run.scale[k];
            };
            return {
                grow(0, &Slope::perX),
                grow(1, &Slope::perX),
                grow(0, &Slope::perY),
                grow(1, &Slope::perY)};
        } else {
            return {m_slopes[0].perX, m_slopes[1].perX, m_slopes[0].perY, m_slopes[1].perY};
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
    Slope m_slopes[Count > 0 ? Count : 1];
    double m_row[Count > 0 ? Count : 1];
};

/// Draws pixel k of a run.
template <int N, bool Perspective, class Shader>
void PutPixel(
    Interpolation<N, Perspective> const& values,
    Shader const& shader,
    Run<N> const& run,
    int k,
    Colour& pixel) {
    if constexpr (Shader::HasFootprint) {
        shader.Put(pixel, run, k, values.FootprintAt(run, k));
    } else {
        shader.Put(pixel, run, k);
    }
}

/// Draws those of some neighbouring pixels that pass the depth test.
template <int N, class Shader>
void PutSeen(
    Interpolation<N, true> const& values,
    Shader const& shader,
    int x,
    int count,
    Run<N>& run,
    Colour* pixels,
    float* there) {
    constexpr int worthLoops = 16; // fewer pixels are sooner done one by one, most are hidden
    if (count < worthLoops) {
        for (int k = 0; k < count; ++k) {
            values.Nearness(x + k, 1, run.nearness);
            if (IsSeen(there[k], run.nearness[0])) {
                values.Values(x + k, 1, run);
                PutPixel(values, shader, run, 0, pixels[k]);
            }
        }
        return;
    }
    values.Nearness(x, count, run.nearness);
    values.Values(x, count, run);
    for (int k = 0; k < count; ++k) {
        if (IsSeen(there[k], run.nearness[k])) {
            PutPixel(values, shader, run, k, pixels[k]);
        }
    }
}

/// Fills one projected triangle. The shader says how many values a vertex has (Values), and draws
/// neighbouring pixels with Fill() when there are none, one pixel with Put() otherwise, which may
/// ask for a footprint in the first two of them (HasFootprint).
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
    } else {
        Interpolation<N, Perspective> values(a, b, c, area);
        WalkTriangle(target.clip, a, b, c, area, [&](int y, int x0, int x1) {
            values.Row(y);
            Run<N> run;
            for (int x = x0; x < x1; x += RunLength) {
                int const count = std::min(RunLength, x1 - x);
                Colour* pixels = target.At(x, y);
                if constexpr (Depth && N > 0) {
                    PutSeen(values, shader, x, count, run, pixels, target.NearnessAt(x, y));
                } else if constexpr (Depth) {
                    values.Nearness(x, count, run.nearness);
                    shader.FillSeen(pixels, count, run.nearness, target.NearnessAt(x, y));
                } else {
                    values.Values(x, count, run);
                    for (int k = 0; k < count; ++k) {
                        PutPixel(values, shader, run, k, pixels[k]);
                    }
                }
            }
        });
    }
}

/// Fills one triangle given in homogeneous pixel coordinates.
template <bool Affine, class Shader>
void DrawTriangle(
    Target const& target,
    Shader const& shader,
    DepthRange const& range,
    Vertex<Shader::Values> a,
    Vertex<Shader::Values> b,
    Vertex<Shader::Values> c) {
    auto const fill = [&](auto const& p, auto const& q, auto const& r) {
        if constexpr (Affine) {
            FillTriangle<false, false>(target, shader, p, q, r);
        } else if (target.nearness != nullptr) {
            FillTriangle<true, true>(target, shader, p, q, r);
        } else {
            FillTriangle<true, false>(target, shader, p, q, r);
        }
    };
    // Every comparison is false for what is not a number.
    if (Affine || (range.Has(a.w) && range.Has(b.w) && range.Has(c.w))) {
        Vertex<Shader::Values> p[3] = {a, b, c};
        if constexpr (!Affine) {
            std::for_each(p, p + 3, Project<Shader::Values>);
        }
        if (InGuard(p[0].x, p[0].y) && InGuard(p[1].x, p[1].y) && InGuard(p[2].x, p[2].y)) {
            fill(p[0], p[1], p[2]);
            return;
        }
    }
    FewCorners<Vertex<Shader::Values>> polygon(a, b, c);
    ProjectPolygon(polygon, range);
    for (std::size_t i = 2; i < polygon.size(); ++i) {
        fill(polygon[0], polygon[i - 1], polygon[i]);
    }
}

} // namespace drivers::raster::detail
