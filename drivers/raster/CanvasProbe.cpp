#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>

namespace drivers::raster {

using namespace detail;

namespace {

/// Remembers the texture coordinates of the pixel that it is asked for, and leaves that as it is.
struct ProbeShader {
    static constexpr int Values = 2;
    static constexpr bool blend = true;
    math::Point2<double>& texture;
    bool& found;

    template <class Values>
    void Colours(Values const&, Run<2> const& run, int /*count: one*/, bool, Colour* out) const {
        texture = {run.values[0][0], run.values[1][0]};
        found = true;
        out[0] = Colour(0, 0, 0, 0);
    }
};

template <class Reader>
Vertex<2> LoadVertex(Reader const& reader, VertexArray const& vertices, std::size_t index) {
    HPoint const p = reader(index);
    float const* const st = VertexTexture(vertices, index);
    return {p.x, p.y, p.w, {st[0], st[1]}};
}

} // namespace

bool Canvas::FindTexture(
    VertexArray const& vertices, std::size_t corners, int x, int y, math::Point2<double>& texture) {
    Target target = MakeTarget();
    target.clip = Intersect(m_clip, {x, y, x + 1, y + 1});
    if (target.clip.Empty()) {
        return false;
    }
    View const view = MakeView();
    bool found = false;
    WithReader(view, vertices, [&](auto const& reader) {
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        ProbeShader const probe{texture, found};
        std::size_t const shapes = vertices.count / corners;
        for (std::size_t shape = shapes; shape-- > 0 && !found;) {
            std::size_t const first = shape * corners;
            for (std::size_t i = first + 2; i < first + corners; ++i) {
                DrawTriangle<affine>(
                    target,
                    probe,
                    view.range,
                    LoadVertex(reader, vertices, first),
                    LoadVertex(reader, vertices, i - 1),
                    LoadVertex(reader, vertices, i));
            }
        }
    });
    return found;
}

} // namespace drivers::raster
