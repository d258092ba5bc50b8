#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/PointBatch.h"
#include "drivers/raster/detail/Texture.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

constexpr float kMaxPointSize = 1 << 20; // far more than covers the largest picture

int PointSize(float size) {
    return size >= 1 ? static_cast<int>(std::lround(std::min(size, kMaxPointSize))) : 1;
}

template <bool Blend>
void PutSeen(Target const& target, int x, int y, float nearness, Colour colour) {
    bool const seen = target.nearness == nullptr || IsSeen(*target.NearnessAt(x, y), nearness);
    PutIf<Blend>(seen, *target.At(x, y), colour);
}

template <bool Blend>
void Square(Target const& target, int x, int y, int size, float nearness, Colour colour) {
    int const left = x - size / 2;
    int const top = y - size / 2;
    math::Rect2<int> const box{left, top, left + size, top + size};
    math::Rect2<int> const visible = Intersect(target.clip, box);
    for (int row = visible.top; row < visible.bottom; ++row) {
        for (int column = visible.left; column < visible.right; ++column) {
            PutSeen<Blend>(target, column, row, nearness, colour);
        }
    }
}

/// Draws points of one size in the colours that the vertices have.
template <class ColourOf>
class PointPen {
public:
    PointPen(DrawState const& state, ColourOf colourOf)
        : m_size(PointSize(state.pointSize)), m_blend(state.blend), m_colourOf(colourOf) {}

    int Size() const { return m_size; }

    /// Calls use(draw) with what draws point k of a batch, vertex i: draw(batch, k, i).
    template <class Use>
    void Select(Target const& target, Use const& use) const {
        auto const with = [&](auto blend) {
            constexpr bool isBlended = decltype(blend)::value;
            if (m_size > 1) {
                use([this, target](PointBatch const& points, std::size_t k, std::size_t i) {
                    Square<isBlended>(
                        target,
                        points.column[k],
                        points.row[k],
                        m_size,
                        points.nearness[k],
                        m_colourOf(i));
                });
            } else if (target.nearness != nullptr) {
                use([this, target](PointBatch const& points, std::size_t k, std::size_t i) {
                    int const x = points.column[k];
                    int const y = points.row[k];
                    bool const seen = IsSeen(*target.NearnessAt(x, y), points.nearness[k]);
                    PutIf<isBlended>(seen, *target.At(x, y), m_colourOf(i));
                });
            } else {
                use([this, target](PointBatch const& points, std::size_t k, std::size_t i) {
                    Put<isBlended>(*target.At(points.column[k], points.row[k]), m_colourOf(i));
                });
            }
        };
        m_blend ? with(std::true_type()) : with(std::false_type());
    }

private:
    int m_size;
    bool m_blend;
    ColourOf m_colourOf;
};

/// Where a point may lie to be seen.
math::Rect2<double> VisibleArea(math::Rect2<int> const& clip, int size) {
    int const margin = size > 1 ? size : 0;
    return {
        double(clip.left - margin),
        double(clip.top - margin),
        double(clip.right + margin),
        double(clip.bottom + margin)};
}

/// Draws points in their order, in two passes: placing some without a branch, then drawing those
/// that are seen.
template <class Pen>
void DrawPoints(
    Target const& target,
    View const& view,
    PointBatch& batch,
    VertexArray const& vertices,
    Pen const& pen) {
    math::Rect2<double> const area = VisibleArea(target.clip, pen.Size());
    pen.Select(target, [&](auto const& draw) {
        for (std::size_t from = 0; from < vertices.count; from += PointBatch::Most) {
            std::size_t const count = std::min(vertices.count - from, PointBatch::Most);
            LoadPoints(vertices, from, count, batch);
            std::size_t const drawn = PlacePoints(view, area, count, batch);
            for (std::size_t k = 0; k < drawn; ++k) {
                draw(batch, batch.drawn[k], from + batch.drawn[k]);
            }
        }
    });
}

} // namespace

void Canvas::Points(VertexArray const& vertices) {
    if (m_clip.Empty()) {
        return;
    }
    View const view = MakeView();
    Colour const colour = m_state.colour;
    auto const draw = [&](auto const& colourOf) {
        PointPen const pen(m_state, colourOf);
        // Placing a point costs less than sorting it would: every thread places them all.
        InBands(double(vertices.count), [&](Target const& target, Scratch& scratch) {
            DrawPoints(target, view, scratch.points, vertices, pen);
        });
    };
    if (vertices.texture && !m_state.texture.Empty()) {
        WithSampler(m_state, [&](auto sampler) {
            Texture const& texture = m_state.texture;
            draw([=](std::size_t i) {
                float const* st = VertexTexture(vertices, i);
                double const u = double{st[0]} * texture.width;
                double const v = double{st[1]} * texture.height;
                return Modulate(sampler(u, v), colour);
            });
        });
    } else if (vertices.colour) {
        draw([=](std::size_t i) { return VertexColour(vertices, i); });
    } else {
        draw([=](std::size_t) { return colour; });
    }
}

} // namespace drivers::raster
