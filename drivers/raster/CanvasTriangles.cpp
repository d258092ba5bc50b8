#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/UprightImage.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

/// Fills in one colour.
struct FlatShader {
    static constexpr int Values = 0;
    Ink ink;

    void Load(VertexArray const&, std::size_t, double*) const {}
    void Fill(Target const& target, int y, int x0, int x1) const {
        FillSpan(target, y, x0, x1, ink);
    }
};

/// Runs the vertices' colours into each other.
template <bool Blend>
struct ColourShader {
    static constexpr int Values = 4;

    void Load(VertexArray const& vertices, std::size_t index, double* values) const {
        Colour const colour = VertexColour(vertices, index);
        values[0] = colour.r;
        values[1] = colour.g;
        values[2] = colour.b;
        values[3] = colour.a;
    }
    void Put(Colour& pixel, double const* values) const {
        detail::Put<Blend>(
            pixel,
            {Channel(values[0]), Channel(values[1]), Channel(values[2]), Channel(values[3])});
    }
    static unsigned char Channel(double value) {
        return RoundChannel(std::clamp(value, 0.0, 255.0));
    }
};

/// Multiplies the texture by the current colour.
template <class Sampler, bool Blend>
struct TextureShader {
    static constexpr int Values = 2;
    Sampler sampler;
    Colour colour;
    Texture const& texture;

    void Load(VertexArray const& vertices, std::size_t index, double* values) const {
        float const* st = VertexTexture(vertices, index);
        values[0] = double{st[0]} * texture.width;
        values[1] = double{st[1]} * texture.height;
    }
    void Put(Colour& pixel, double const* values) const {
        detail::Put<Blend>(pixel, Modulate(sampler(values[0], values[1]), colour));
    }
};

/// Vertex `index` in homogeneous pixel coordinates with the values of a shader.
template <class Shader, class Reader>
Vertex<Shader::Values> LoadVertex(
    Shader const& shader, Reader const& reader, VertexArray const& vertices, std::size_t index) {
    HPoint const p = reader(index);
    Vertex<Shader::Values> v{};
    v.x = p.x;
    v.y = p.y;
    v.w = p.w;
    shader.Load(vertices, index, v.a);
    return v;
}

/// Calls draw(shader, reader) with what the vertices, the view and the state ask for.
template <class Draw>
void WithShader(
    View const& view, DrawState const& state, VertexArray const& vertices, Draw&& draw) {
    auto const read = [&](auto const& shader) {
        WithReader(view, vertices, [&](auto const& reader) { draw(shader, reader); });
    };
    if (vertices.texture && !state.texture.Empty()) {
        WithSampler(state, [&](auto sampler) {
            using S = decltype(sampler);
            if (state.blend) {
                read(TextureShader<S, true>{sampler, state.colour, state.texture});
            } else {
                read(TextureShader<S, false>{sampler, state.colour, state.texture});
            }
        });
    } else if (!vertices.colour) {
        read(FlatShader{Ink(state)});
    } else if (state.blend) {
        read(ColourShader<true>());
    } else {
        read(ColourShader<false>());
    }
}

} // namespace

void Canvas::Triangles(VertexArray const& vertices) {
    if (m_clip.Empty()) {
        return;
    }
    Target const target = MakeTarget();
    WithShader(MakeView(), m_state, vertices, [&](auto const& shader, auto const& reader) {
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        for (std::size_t i = 0; i + 2 < vertices.count; i += 3) {
            DrawTriangle<affine>(
                target,
                shader,
                LoadVertex(shader, reader, vertices, i),
                LoadVertex(shader, reader, vertices, i + 1),
                LoadVertex(shader, reader, vertices, i + 2));
        }
    });
}

void Canvas::Quads(VertexArray const& vertices) {
    if (m_clip.Empty()) {
        return;
    }
    Target const target = MakeTarget();
    WithShader(MakeView(), m_state, vertices, [&](auto const& shader, auto const& reader) {
        using Shader = std::decay_t<decltype(shader)>;
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        for (std::size_t i = 0; i + 3 < vertices.count; i += 4) {
            Vertex<Shader::Values> const corners[4] = {
                LoadVertex(shader, reader, vertices, i),
                LoadVertex(shader, reader, vertices, i + 1),
                LoadVertex(shader, reader, vertices, i + 2),
                LoadVertex(shader, reader, vertices, i + 3)};
            if constexpr (affine && Shader::Values == 2) {
                if (DrawUprightImage(target, m_state, corners, m_imageScratch)) {
                    continue;
                }
            }
            DrawTriangle<affine>(target, shader, corners[0], corners[1], corners[2]);
            DrawTriangle<affine>(target, shader, corners[0], corners[2], corners[3]);
        }
    });
}

} // namespace drivers::raster
