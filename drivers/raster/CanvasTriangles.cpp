#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Shaders.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/UprightImage.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cstdint>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

constexpr std::size_t worthBands = 4096; // triangles

} // namespace

void Canvas::Triangles(VertexArray const& vertices) {
    if (m_clip.Empty() || DrawSmoothMesh<3>(vertices)) {
        return;
    }
    View const view = MakeView();
    WithShader(view, m_state, m_levels, vertices, [&](auto const& shader, auto const& reader) {
        using Shader = std::decay_t<decltype(shader)>;
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        std::size_t const triangles = vertices.count / 3;
        auto const draw = [&](Target const& target, std::size_t count, auto const& numberOf) {
            auto const drawOne = [&](Vertex<Shader::Values> const* corner) {
                DrawTriangle<affine>(target, shader, view.range, corner[0], corner[1], corner[2]);
            };
            ForShapes<3>(shader, reader, vertices, count, numberOf, drawOne);
        };
        // Plain ones are drawn sooner than sorted: they are shared among the threads, no more.
        bool const plain = Shader::Values == 0 && !TestsDepth();
        int const threads = m_workers ? static_cast<int>(m_workers->Threads()) : 1;
        if (triangles < worthBands || (plain && threads == 1)) {
            InBands(PixelsOf(vertices, 3), [&](Target const& target, Scratch&) {
                draw(target, triangles, [](std::size_t i) { return i; });
            });
            return;
        }
        Target const whole = MakeTarget();
        auto const share = [&](int count, auto const& work) { Share(count, work); };
        int const rows = plain ? m_clip.Height() / (4 * threads) : 0;
        m_rowBands.Sort(
            share, m_clip, std::max(rows, RowBands::FewRows), triangles, [&](std::size_t i) {
                return ReachOfShape(m_rowBands, reader, 3 * i, 3);
            });
        Share(m_rowBands.Count(), [&](int band) {
            Target part = whole;
            part.clip = m_rowBands.Clip(band);
            m_rowBands.ForParts(band, [&](std::uint32_t const* numbers, std::size_t count) {
                draw(part, count, [=](std::size_t i) { return std::size_t{numbers[i]}; });
            });
        });
    });
}

void Canvas::Quads(VertexArray const& vertices) {
    if (m_clip.Empty() || DrawSmoothMesh<4>(vertices)) {
        return;
    }
    View const view = MakeView();
    WithShader(view, m_state, m_levels, vertices, [&](auto const& shader, auto const& reader) {
        using Shader = std::decay_t<decltype(shader)>;
        using Corner = Vertex<Shader::Values>;
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        std::size_t const quads = vertices.count / 4;
        auto const forQuads = [&](std::size_t count, auto const& draw) {
            ForShapes<4>(
                shader, reader, vertices, count, [](std::size_t i) { return i; }, draw);
        };
        if constexpr (affine && Shader::Values == 2) {
            if (!m_state.blend) {
                forQuads(std::min<std::size_t>(quads, 1), [&](Corner const* corner) {
                    ClearExcept(UprightArea(m_clip, corner));
                });
            }
        }
        InBands(PixelsOf(vertices, 4), [&](Target const& target, Scratch& scratch) {
            (void)scratch; // only textures on upright quads need it
            forQuads(quads, [&](Corner const* corner) {
                if constexpr (affine && Shader::Values == 2) {
                    if (DrawUprightImage(target, m_state, corner, scratch.image)) {
                        return;
                    }
                }
                DrawTriangle<affine>(target, shader, view.range, corner[0], corner[1], corner[2]);
                DrawTriangle<affine>(target, shader, view.range, corner[0], corner[2], corner[3]);
            });
        });
    });
}

} // namespace drivers::raster
