#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Lighting.h"
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
    void Fill(Colour* row, int count) const { FillPixels(row, count, ink); }
    void FillSeen(Colour* row, int count, float const* nearness, float* there) const {
        FillSeenPixels(row, count, nearness, there, ink);
    }
};

unsigned char Channel(double value) {
    return RoundChannel(std::clamp(value, 0.0, 255.0));
}

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
    void Put(Colour& pixel, Run<4> const& run, int k) const {
        auto const& v = run.values;
        detail::Put<Blend>(
            pixel, {Channel(v[0][k]), Channel(v[1][k]), Channel(v[2][k]), Channel(v[3][k])});
    }
};

/// Lights the vertices and runs what they shine into each other.
template <bool Blend>
struct LitShader {
    static constexpr int Values = 3;
    Lighting const& lighting;
    unsigned char alpha;

    void Load(VertexArray const& vertices, std::size_t index, double* values) const {
        lighting.At(VertexPosition(vertices, index), VertexNormal(vertices, index), values);
    }
    void Put(Colour& pixel, Run<3> const& run, int k) const {
        auto const& v = run.values;
        detail::Put<Blend>(pixel, {Channel(v[0][k]), Channel(v[1][k]), Channel(v[2][k]), alpha});
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
    void Put(Colour& pixel, Run<2> const& run, int k) const {
        detail::Put<Blend>(pixel, Modulate(sampler(run.values[0][k], run.values[1][k]), colour));
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
    bool const lit = vertices.normal &&
                     std::any_of(state.lights.begin(), state.lights.end(), [](Light const& light) {
                         return light.on;
                     });
    if (lit) {
        Lighting const lighting(view, state);
        if (state.blend) {
            read(LitShader<true>{lighting, state.colour.a});
        } else {
            read(LitShader<false>{lighting, state.colour.a});
        }
    } else if (vertices.texture && !state.texture.Empty()) {
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
    View const view = MakeView();
    WithShader(view, m_state, vertices, [&](auto const& shader, auto const& reader) {
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        InBands(PixelsOf(vertices, 3), [&](Target const& target, Scratch&) {
            for (std::size_t i = 0; i + 2 < vertices.count; i += 3) {
                DrawTriangle<affine>(
                    target,
                    shader,
                    view.range,
                    LoadVertex(shader, reader, vertices, i),
                    LoadVertex(shader, reader, vertices, i + 1),
                    LoadVertex(shader, reader, vertices, i + 2));
            }
        });
    });
}

void Canvas::Quads(VertexArray const& vertices) {
    if (m_clip.Empty()) {
        return;
    }
    View const view = MakeView();
    WithShader(view, m_state, vertices, [&](auto const& shader, auto const& reader) {
        using Shader = std::decay_t<decltype(shader)>;
        constexpr bool affine = std::decay_t<decltype(reader)>::IsAffine;
        InBands(PixelsOf(vertices, 4), [&](Target const& target, Scratch& scratch) {
            (void)scratch; // only textures on upright quads need it
            for (std::size_t i = 0; i + 3 < vertices.count; i += 4) {
                Vertex<Shader::Values> const corners[4] = {
                    LoadVertex(shader, reader, vertices, i),
                    LoadVertex(shader, reader, vertices, i + 1),
                    LoadVertex(shader, reader, vertices, i + 2),
                    LoadVertex(shader, reader, vertices, i + 3)};
                if constexpr (affine && Shader::Values == 2) {
                    if (DrawUprightImage(target, m_state, corners, scratch.image)) {
                        continue;
                    }
                }
                DrawTriangle<affine>(
                    target, shader, view.range, corners[0], corners[1], corners[2]);
                DrawTriangle<affine>(
                    target, shader, view.range, corners[0], corners[2], corners[3]);
            }
        });
    });
}

} // namespace drivers::raster
