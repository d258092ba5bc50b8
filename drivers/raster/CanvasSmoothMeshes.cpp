#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/MeshRows.h"
#include "drivers/raster/detail/Shaders.h"
#include "drivers/raster/detail/SmoothTriangle.h"
#include "drivers/raster/detail/UprightImage.h"
#include "drivers/raster/detail/View.h"

#include <cstdint>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

/// Draws triangles of one colour into some rows.
class EvenTriangles {
public:
    EvenTriangles(Target const& part, FlatShader const& shader, MeshScratch& scratch)
        : m_part(part), m_ink(shader.ink), m_rows(scratch.even) {
        m_rows.Start(part.clip);
    }
    template <bool>
    void
    Add(Vertex<0> const&,
        Vertex<0> const&,
        Vertex<0> const&,
        Point const (&corners)[3],
        double area) {
        m_rows.Add(corners, area);
    }
    void Finish() { m_rows.Finish(m_part, m_ink); }

private:
    Target const& m_part;
    Ink const& m_ink;
    EvenRows& m_rows;
};

/// Draws triangles whose colours a shader tells.
template <class Shader>
class MixedTriangles {
public:
    using Corner = Vertex<Shader::Values>;

    MixedTriangles(Target const& part, Shader const& shader, MeshScratch& scratch)
        : m_part(part), m_shader(shader), m_rows(scratch.mixed), m_shares(scratch.shares) {
        m_rows.Start(part);
    }
    template <bool Perspective>
    void
    Add(Corner const& a, Corner const& b, Corner const& c, Point const (&corners)[3], double area) {
        m_shares.Find(m_part.clip, corners, area);
        SmoothFill<Perspective, Shader>(m_rows, m_shader, a, b, c, area).Draw(m_shares);
    }
    void Finish() { m_rows.Finish(); }

private:
    Target const& m_part;
    Shader const& m_shader;
    MeshRows& m_rows;
    TriangleShares& m_shares;
};

template <class Shader>
using SmoothTriangles =
    std::conditional_t<Shader::Values == 0, EvenTriangles, MixedTriangles<Shader>>;

/// Whether all quads are images that stand upright.
template <class Shader, class Reader>
bool AreUpright(Shader const& shader, Reader const& reader, VertexArray const& vertices) {
    bool upright = true;
    ForShapes<4>(
        shader,
        reader,
        vertices,
        vertices.count / 4,
        [](std::size_t i) { return i; },
        [&](auto const* corner) { upright = upright && IsUprightImage(corner); });
    return upright;
}

} // namespace

/// Draws triangles or quads with smooth edges.
/// @return false, with nothing drawn, where they are to have hard ones
template <int Corners>
bool Canvas::DrawSmoothMesh(VertexArray const& vertices) {
    if (!m_state.lineSmooth || TestsDepth()) {
        return false;
    }
    View const view = MakeView();
    bool drawn = true;
    WithShader(view, m_state, m_levels, vertices, [&](auto const& shader, auto const& reader) {
        using Shader = std::decay_t<decltype(shader)>;
        using Corner = Vertex<Shader::Values>;
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        constexpr bool images = affine && Shader::Values == 2 && Corners == 4;
        if constexpr (images) {
            if (AreUpright(shader, reader, vertices)) {
                drawn = false;
                return;
            }
        }
        bool const many = PixelsOf(vertices, Corners) >= m_worthSharing;
        Target const whole = MakeTarget();
        m_rowBands.Sort(
            [&](int count, auto const& work) { Share(count, work); },
            m_clip,
            RowBands::FewRows,
            vertices.count / Corners,
            [&](std::size_t i) { return ReachOfShape(m_rowBands, reader, Corners * i, Corners); });
        ShareBands(many, [&](int band, Scratch& scratch) {
            Target part = whole;
            part.clip = m_rowBands.Clip(band);
            SmoothTriangles<Shader> triangles(part, shader, scratch.mesh);
            auto const add = [&](Corner const& a, Corner const& b, Corner const& c) {
                double const area = TwiceArea(a, b, c);
                if (area != 0) {
                    Point const corners[3] = {{a.x, a.y}, {b.x, b.y}, {c.x, c.y}};
                    triangles.template Add<!affine>(a, b, c, corners, area);
                }
            };
            auto const draw = [&](Corner const* corner) {
                if constexpr (images) {
                    if (IsUprightImage(corner)) {
                        triangles.Finish();
                        DrawUprightImage(part, m_state, corner, scratch.image);
                        return;
                    }
                }
                for (int i = 2; i < Corners; ++i) {
                    ForProjected<affine>(view.range, corner[0], corner[i - 1], corner[i], add);
                }
            };
            m_rowBands.ForParts(band, [&](std::uint32_t const* numbers, std::size_t count) {
                ForShapes<Corners>(
                    shader,
                    reader,
                    vertices,
                    count,
                    [=](std::size_t i) { return std::size_t{numbers[i]}; },
                    draw);
            });
            triangles.Finish();
        });
    });
    return drawn;
}

template bool Canvas::DrawSmoothMesh<3>(VertexArray const& vertices);
template bool Canvas::DrawSmoothMesh<4>(VertexArray const& vertices);

} // namespace drivers::raster
