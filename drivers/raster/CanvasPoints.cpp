#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/Texture.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cmath>

namespace drivers::raster {

using namespace detail;

namespace {

constexpr float kMaxPointSize = 1 << 20; // far more than covers the largest picture

int PointSize(float size) {
    return size >= 1 ? static_cast<int>(std::lround(std::min(size, kMaxPointSize))) : 1;
}

/// The pixels of some vertices, in two passes: transforming without a branch, then drawing.
struct PointBatch {
    static constexpr std::size_t Size = 256;

    std::size_t count = 0; ///< of those that may be seen
    int x[Size];
    int y[Size];
    std::size_t vertex[Size];
    float nearness[Size];
};

/// Finds the pixels of vertices [from, to), those in `area` only.
template <class Reader>
void FindPixels(
    Reader const& reader,
    DepthRange const& range,
    math::Rect2<double> const& area,
    std::size_t from,
    std::size_t to,
    PointBatch& batch) {
    std::size_t count = 0;
    for (std::size_t i = from; i < to; ++i) {
        HPoint const p = reader(i);
        double const near = Reader::IsAffine ? 1 : 1 / p.w;
        double const x = Reader::IsAffine ? p.x : p.x * near;
        double const y = Reader::IsAffine ? p.y : p.y * near;
        // Every comparison is false for what is not a number.
        bool const seen = (Reader::IsAffine || range.Has(p.w)) && x >= area.left &&
                          x < area.right && y >= area.top && y < area.bottom;
        batch.x[count] = FloorPixel(seen ? x : 0);
        batch.y[count] = FloorPixel(seen ? y : 0);
        batch.vertex[count] = i;
        batch.nearness[count] = static_cast<float>(near);
        count += seen ? 1 : 0;
    }
    batch.count = count;
}

template <bool Blend>
void PutSeen(Target const& target, int x, int y, float nearness, Colour colour) {
    if (target.nearness == nullptr || IsSeen(*target.NearnessAt(x, y), nearness)) {
        Put<Blend>(*target.At(x, y), colour);
    }
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

template <bool Blend, class ColourOf>
void DrawBatch(Target const& target, PointBatch const& batch, int size, ColourOf const& colourOf) {
    if (size == 1 && target.nearness == nullptr) {
        for (std::size_t i = 0; i < batch.count; ++i) {
            Put<Blend>(*target.At(batch.x[i], batch.y[i]), colourOf(batch.vertex[i]));
        }
        return;
    }
    for (std::size_t i = 0; i < batch.count; ++i) {
        Square<Blend>(
            target, batch.x[i], batch.y[i], size, batch.nearness[i], colourOf(batch.vertex[i]));
    }
}

/// Where a point may lie to be seen.
math::Rect2<double> VisibleArea(math::Rect2<int> const& clip, int size) {
    int const margin = size > 1 ? size : 0;
    return {
        double(clip.left - margin),
        double(clip.top - margin),
        double(clip.right + margin),
        double(clip.bottom + margin)};
}

template <class ColourOf>
void DrawPoints(
    Target const& target,
    View const& view,
    DrawState const& state,
    VertexArray const& vertices,
    ColourOf colourOf) {
    int const size = PointSize(state.pointSize);
    math::Rect2<double> const area = VisibleArea(target.clip, size);
    PointBatch batch;
    for (std::size_t from = 0; from < vertices.count; from += PointBatch::Size) {
        std::size_t const to = std::min(vertices.count, from + PointBatch::Size);
        WithReader(view, vertices, [&](auto const& reader) {
            FindPixels(reader, view.range, area, from, to, batch);
        });
        state.blend ? DrawBatch<true>(target, batch, size, colourOf)
                    : DrawBatch<false>(target, batch, size, colourOf);
    }
}

} // namespace

void Canvas::Points(VertexArray const& vertices) {
    View const view = MakeView();
    Colour const colour = m_state.colour;
    auto const draw = [&](auto const& colourOf) {
        InBands(double(vertices.count), [&](Target const& target, Scratch&) {
            DrawPoints(target, view, m_state, vertices, colourOf);
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
