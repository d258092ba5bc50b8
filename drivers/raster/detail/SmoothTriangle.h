#pragma once

#include "drivers/raster/detail/MeshRows.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/TriangleShares.h"

#include <algorithm>

namespace drivers::raster::detail {

/// Draws one triangle that has values into the rows of a mesh.
template <bool Perspective, class Shader>
class SmoothFill {
public:
    static constexpr int N = Shader::Values;
    using Corner = Vertex<N>;

    SmoothFill(
        MeshRows& rows,
        Shader const& shader,
        Corner const& a,
        Corner const& b,
        Corner const& c,
        double area)
        : m_rows(rows), m_shader(shader), m_values(a, b, c, area) {
        for (int i = 0; i < N; ++i) {
            auto const value = [i](Corner const& p) { return Perspective ? p.a[i] / p.w : p.a[i]; };
            m_least[i] = std::min({value(a), value(b), value(c)});
            m_most[i] = std::max({value(a), value(b), value(c)});
        }
    }

    // Not put into every kind of mesh: that takes long to compile and gains nothing.
    [[gnu::noinline]] void Draw(TriangleShares const& shares) {
        for (TriangleShares::Span const& span : shares.Inside()) {
            for (int x = span.from; x < span.to; x += RunLength) {
                int const count = std::min(RunLength, span.to - x);
                m_values.Along(span.y, x, count, m_run);
                FindColours(count, true);
                m_rows.AddWhole(x, span.y, m_colours, count);
            }
        }
        std::vector<TriangleShares::Pixel> const& rim = shares.Rim();
        for (std::size_t done = 0; done < rim.size(); done += RunLength) {
            DrawRim(&rim[done], std::min<int>(RunLength, static_cast<int>(rim.size() - done)));
        }
    }

private:
    void DrawRim(TriangleShares::Pixel const* rim, int count) {
        m_waiting.count = count;
        for (int k = 0; k < count; ++k) {
            m_waiting.dx[k] = rim[k].at.x - m_values.OriginX();
            m_waiting.dy[k] = rim[k].at.y - m_values.OriginY();
        }
        m_values.At(m_waiting, m_run);
        FindColours(count, false);
        for (int k = 0; k < count; ++k) {
            m_rows.Add(rim[k].x, rim[k].y, rim[k].share, m_colours[k]);
        }
    }

    void FindColours(int count, bool inRow) {
        // Of a thin triangle, slopes are inexact.
        for (int i = 0; i < N; ++i) {
            for (int k = 0; k < count; ++k) {
                double const value = m_run.values[i][k];
                double const above = value > m_least[i] ? value : m_least[i];
                m_run.values[i][k] = above < m_most[i] ? above : m_most[i];
            }
        }
        m_shader.Colours(m_values, m_run, count, inRow, m_colours);
        if (!m_shader.blend) {
            MakeOpaque(m_colours, static_cast<std::size_t>(count));
        }
    }

    MeshRows& m_rows;
    Shader const& m_shader;
    Interpolation<N, Perspective> m_values;
    double m_least[N];
    double m_most[N];
    WaitingPixels m_waiting;
    Run<N> m_run;
    Colour m_colours[RunLength];
};

} // namespace drivers::raster::detail
