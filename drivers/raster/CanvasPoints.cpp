#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/Texture.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>

namespace drivers::raster {

using namespace detail;

namespace {

constexpr float kMaxPointSize = 1 << 20; // far more than covers the largest picture

int PointSize(float size) {
    return size >= 1 ? static_cast<int>(std::min(size, kMaxPointSize) + 0.5F) : 1;
}

template <bool Blend>
void Square(Target const& target, int x, int y, int size, Colour colour) {
    math::Rect2<int> const box{
        x - size / 2, y - size / 2, x - size / 2 + size, y - size / 2 + size};
    math::Rect2<int> const visible = Intersect(target.clip, box);
    for (int row = visible.top; row < visible.bottom; ++row) {
        for (int column = visible.left; column < visible.right; ++column) {
            Put<Blend>(*target.At(column, row), colour);
        }
    }
}

/// The pixel position of a vertex; false when it lies behind the camera.
template <class Reader>
bool PixelOf(Reader const& reader, std::size_t index, double& x, double& y) {
    HPoint const p = reader(index);
    x = p.x;
    y = p.y;
    if constexpr (!Reader::IsAffine) {
        if (!(p.w > Canvas::NearDistance)) {
            return false;
        }
        x /= p.w;
        y /= p.w;
    }
    return true;
}

template <bool Blend, class Reader, class ColourOf>
void SinglePixels(Target target, Reader reader, std::size_t count, ColourOf colourOf) {
    // Compared as doubles, so that what is converted to int fits and is not negative.
    double const left = target.clip.left;
    double const top = target.clip.top;
    double const right = target.clip.right;
    double const bottom = target.clip.bottom;
    for (std::size_t i = 0; i < count; ++i) {
        double x;
        double y;
        if (PixelOf(reader, i, x, y) && x >= left && x < right && y >= top && y < bottom) {
            Put<Blend>(*target.At(static_cast<int>(x), static_cast<int>(y)), colourOf(i));
        }
    }
}

template <bool Blend, class Reader, class ColourOf>
void Squares(Target target, Reader reader, std::size_t count, int size, ColourOf colourOf) {
    for (std::size_t i = 0; i < count; ++i) {
        double x;
        double y;
        if (PixelOf(reader, i, x, y) && InGuard(x, y)) {
            Square<Blend>(target, FloorPixel(x), FloorPixel(y), size, colourOf(i));
        }
    }
}

template <class ColourOf>
void DrawPoints(
    Target const& target,
    View const& view,
    DrawState const& state,
    VertexArray const& vertices,
    ColourOf colourOf) {
    int const size = PointSize(state.pointSize);
    WithReader(view, vertices, [&](auto reader) {
        if (size > 1 && state.blend) {
            Squares<true>(target, reader, vertices.count, size, colourOf);
        } else if (size > 1) {
            Squares<false>(target, reader, vertices.count, size, colourOf);
        } else if (state.blend) {
            SinglePixels<true>(target, reader, vertices.count, colourOf);
        } else {
            SinglePixels<false>(target, reader, vertices.count, colourOf);
        }
    });
}

} // namespace

void Canvas::Points(VertexArray const& vertices) {
    Target const target = MakeTarget();
    View const view = MakeView();
    Colour const colour = m_state.colour;
    if (vertices.texture && !m_state.texture.Empty()) {
        WithSampler(m_state, [&](auto sampler) {
            Texture const& texture = m_state.texture;
            DrawPoints(target, view, m_state, vertices, [=](std::size_t i) {
                float const* st = VertexTexture(vertices, i);
                double const u = double{st[0]} * texture.width;
                double const v = double{st[1]} * texture.height;
                return Modulate(sampler(u, v), colour);
            });
        });
    } else if (vertices.colour) {
        DrawPoints(target, view, m_state, vertices, [=](std::size_t i) {
            return VertexColour(vertices, i);
        });
    } else {
        DrawPoints(target, view, m_state, vertices, [=](std::size_t) { return colour; });
    }
}

} // namespace drivers::raster
