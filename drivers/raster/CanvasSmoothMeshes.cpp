#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/MeshRows.h"
#include "drivers/raster/detail/Polygon.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

/// A corner with its colour: red, green, blue and alpha, 0 to 255.
using Corner = Vertex<4>;

/// The colours of a triangle at the centres of pixels. Beside it those of its corners are not
/// exceeded, however thin it is.
class CornerColours {
public:
    CornerColours(Corner const (&corners)[3], double area)
        : m_values(corners[0], corners[1], corners[2], area) {
        for (int c = 0; c < 4; ++c) {
            for (Corner const& p : corners) {
                m_least[c] = std::min(m_least[c], p.a[c] / p.w);
                m_most[c] = std::max(m_most[c], p.a[c] / p.w);
            }
        }
    }
    void Along(int y, int x, int count, ColourRun& colours) const {
        Run<4> run;
        m_values.Along(y, x, count, run);
        for (int c = 0; c < 4; ++c) {
            for (int i = 0; i < count; ++i) {
                double const value = run.values[c][i];
                double const inside =
                    !(value > m_least[c]) ? m_least[c] : std::min(value, m_most[c]);
                colours.channels[c][i] = RoundChannel(inside);
            }
        }
        for (int i = 0; i < count; ++i) {
            colours.channels[3][i] /= 255;
        }
    }

private:
    Interpolation<4, true> m_values;
    double m_least[4] = {255, 255, 255, 255};
    double m_most[4] = {};
};

/// Draws triangles into the rows of a mesh.
class SmoothTriangles {
public:
    /// @param even the colours where all are the same, else null
    SmoothTriangles(
        MeshRows& rows, PathFill& path, math::Rect2<int> const& area, ColourRun const* even)
        : m_rows(rows), m_path(path), m_area(area), m_even(even) {
        m_rows.Start(area);
    }

    void Draw(Corner const (&corners)[3]) {
        double const area = TwiceArea(corners[0], corners[1], corners[2]);
        if (area == 0) {
            return;
        }
        Point const points[3] = {
            {corners[0].x, corners[0].y},
            {corners[1].x, corners[1].y},
            {corners[2].x, corners[2].y}};
        m_path.Start(m_area);
        m_path.AddConvex(points, 3);
        if (m_even != nullptr) {
            Add([this](int, int, int) -> ColourRun const& { return *m_even; });
            return;
        }
        CornerColours const colours(corners, area);
        ColourRun run;
        Add([&](int y, int x, int count) -> ColourRun const& {
            colours.Along(y, x, count, run);
            return run;
        });
    }

private:
    template <class ColoursAt>
    void Add(ColoursAt const& coloursAt) {
        m_path.Shares([&](int y, int x, int count, int const* shares) {
            for (int done = 0; done < count; done += RunLength) {
                int const some = std::min(RunLength, count - done);
                m_rows.Add(y, x + done, some, shares + done, coloursAt(y, x + done, some));
            }
        });
    }

    MeshRows& m_rows;
    PathFill& m_path;
    math::Rect2<int> m_area;
    ColourRun const* m_even;
};

/// The triangles of a mesh, quads as two of them.
template <class Reader>
class MeshTriangles {
public:
    MeshTriangles(
        Reader const& reader,
        VertexArray const& vertices,
        std::size_t corners,
        DrawState const& state)
        : m_reader(reader), m_vertices(vertices), m_quads(corners == 4), m_blend(state.blend),
          m_colour(Ink(state).colour) {}

    std::uint32_t Count() const {
        std::size_t const corners = m_quads ? 4 : 3;
        return static_cast<std::uint32_t>(m_vertices.count / corners * (corners - 2));
    }
    MeshReach ReachOf(std::uint32_t number) const {
        double top = std::numeric_limits<double>::infinity();
        double bottom = -top;
        constexpr std::int16_t most = Canvas::MaxSize;
        for (std::size_t k = 0; k < 3; ++k) {
            HPoint const p = m_reader(Index(number, k));
            double const y = p.y / p.w;
            if (!(p.w >= NearDistance) || !IsFinite(y)) {
                return {number, 0, most}; // may be cut to anything
            }
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
        auto const row = [](double y) {
            return static_cast<std::int16_t>(std::clamp<double>(y, -1, most));
        };
        return {number, row(top), row(bottom)};
    }
    FewCorners<Corner> Load(std::uint32_t number) const {
        Corner corners[3];
        for (std::size_t k = 0; k < 3; ++k) {
            std::size_t const index = Index(number, k);
            HPoint const p = m_reader(index);
            Colour c = m_colour;
            if (m_vertices.colour != nullptr) {
                c = VertexColour(m_vertices, index);
                c = m_blend ? c : Opaque(c);
            }
            corners[k] = {p.x, p.y, p.w, {double(c.r), double(c.g), double(c.b), double(c.a)}};
        }
        return {corners[0], corners[1], corners[2]};
    }

private:
    std::size_t Index(std::uint32_t number, std::size_t k) const {
        if (!m_quads) {
            return std::size_t{number} * 3 + k;
        }
        bool const second = number % 2 != 0;
        return std::size_t{number} / 2 * 4 + (second && k > 0 ? k + 1 : k);
    }

    Reader const& m_reader;
    VertexArray const& m_vertices;
    bool m_quads;
    bool m_blend;
    Colour m_colour;
};

} // namespace

/// Draws triangles or quads with smooth edges.
/// @return false, with nothing drawn, where the state or the vertices ask for something else
bool Canvas::DrawSmoothMesh(VertexArray const& vertices, std::size_t corners) {
    bool const textured = vertices.texture != nullptr && !m_state.texture.Empty();
    if (!m_state.lineSmooth || TestsDepth() || vertices.normal != nullptr || textured) {
        return false;
    }
    View const view = MakeView();
    ColourRun even;
    Colour const ink = Ink(m_state).colour;
    std::fill_n(even.channels[0], RunLength, ink.r);
    std::fill_n(even.channels[1], RunLength, ink.g);
    std::fill_n(even.channels[2], RunLength, ink.b);
    std::fill_n(even.channels[3], RunLength, static_cast<float>(ink.a) / 255);
    auto const draw =
        [&](Target const& target, MeshScratch& scratch, PathFill& path, auto triangles) {
            math::Rect2<int> const& clip = target.clip;
            scratch.reach.clear();
            for (std::uint32_t i = 0; i < triangles.Count(); ++i) {
                MeshReach const reach = triangles.ReachOf(i);
                if (reach.Meets(clip.top, clip.bottom)) {
                    scratch.reach.push_back(reach);
                }
            }
            for (int top = clip.top; top < clip.bottom; top += MeshRows::Most) {
                int const bottom = std::min(top + MeshRows::Most, clip.bottom);
                SmoothTriangles part(
                    scratch.rows,
                    path,
                    {clip.left, top, clip.right, bottom},
                    vertices.colour ? nullptr : &even);
                for (MeshReach const& reach : scratch.reach) {
                    if (reach.Meets(top, bottom)) {
                        FewCorners<Corner> polygon = triangles.Load(reach.number);
                        ProjectPolygon(polygon, view.range);
                        for (std::size_t i = 2; i < polygon.size(); ++i) {
                            part.Draw({polygon[0], polygon[i - 1], polygon[i]});
                        }
                    }
                }
                scratch.rows.Finish(target);
            }
        };
    InBands(PixelsOf(vertices, corners), [&](Target const& target, Scratch& scratch) {
        WithReader(view, vertices, [&](auto const& reader) {
            draw(
                target,
                scratch.mesh,
                scratch.outline.path,
                MeshTriangles<std::decay_t<decltype(reader)>>(reader, vertices, corners, m_state));
        });
    });
    return true;
}

} // namespace drivers::raster
