#pragma once

#include "drivers/raster/DrawState.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Lighting.h"
#include "drivers/raster/detail/TexelMean.h"
#include "drivers/raster/detail/Texture.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cstddef>

namespace drivers::raster::detail {

// A shader gives the vertices of a mesh values (Load), and tells the colours of pixels from what
// these are there (Colours). One without values has one colour.

/// Corners of some triangles or quads with the values of a shader, loaded together.
template <int N>
struct CornerBatch {
    static constexpr std::size_t Most = LitPoints::Most; // divides by 3 and 4

    std::size_t count = 0;
    std::size_t index[Most]; ///< of the vertex
    Vertex<N> corner[Most];
};

/// Calls load(index, values) for each corner.
template <int N, class Load>
void LoadEach(CornerBatch<N>& batch, Load const& load) {
    for (std::size_t i = 0; i < batch.count; ++i) {
        load(batch.index[i], batch.corner[i].a);
    }
}

/// Fills in one colour.
struct FlatShader {
    static constexpr int Values = 0;
    Ink ink;

    void Load(VertexArray const&, CornerBatch<0>&) const {}
    void Fill(Colour* row, int count) const { FillPixels(row, count, ink); }
    void FillSeen(Colour* row, int count, float const* nearness, float* there) const {
        FillSeenPixels(row, count, nearness, there, ink);
    }
};

/// Runs the vertices' colours into each other.
struct ColourShader {
    static constexpr int Values = 4;
    bool blend;

    void Load(VertexArray const& vertices, CornerBatch<4>& batch) const {
        LoadEach(batch, [&](std::size_t index, double* values) {
            Colour const colour = VertexColour(vertices, index);
            values[0] = colour.r;
            values[1] = colour.g;
            values[2] = colour.b;
            values[3] = colour.a;
        });
    }
    template <class Interpolated>
    void Colours(Interpolated const&, Run<4> const& run, int count, bool, Colour* out) const {
        ColoursOf(4, count, run.values, 0, out);
    }
};

/// Lights the vertices and runs what they shine into each other.
struct LitShader {
    static constexpr int Values = 3;
    bool blend;
    Lighting const& lighting;
    unsigned char alpha;

    void Load(VertexArray const& vertices, CornerBatch<3>& batch) const {
        LitPoints points;
        points.count = batch.count;
        for (std::size_t i = 0; i < batch.count; ++i) {
            points.SetPosition(i, VertexPosition(vertices, batch.index[i]));
            points.SetNormal(i, VertexNormal(vertices, batch.index[i]));
        }
        lighting.LightUp(points);
        for (std::size_t i = 0; i < batch.count; ++i) {
            for (int channel = 0; channel < 3; ++channel) {
                batch.corner[i].a[channel] = points.colour[channel][i];
            }
        }
    }
    template <class Interpolated>
    void Colours(Interpolated const&, Run<3> const& run, int count, bool, Colour* out) const {
        ColoursOf(3, count, run.values, alpha, out);
    }
};

/// Multiplies the texture by the current colour.
template <class Sampler>
struct TextureShader {
    static constexpr int Values = 2;
    bool blend;
    Sampler sampler;
    Colour colour;
    Texture const& texture;
    TextureLevels& levels;
    bool plain = colour == Colour(255, 255, 255, 255); ///< which changes nothing

    void Load(VertexArray const& vertices, CornerBatch<2>& batch) const {
        LoadEach(batch, [&](std::size_t index, double* values) {
            float const* st = VertexTexture(vertices, index);
            values[0] = double{st[0]} * texture.width;
            values[1] = double{st[1]} * texture.height;
        });
    }
    template <class Interpolated>
    void Colours(
        Interpolated const& values, Run<2> const& run, int count, bool inRow, Colour* out) const {
        double const* const u = run.values[0];
        double const* const v = run.values[1];
        if (IsReduced(values.LargestFootprint(run, count, inRow), 1e-9)) {
            for (int k = 0; k < count; ++k) {
                Footprint const footprint = values.FootprintAt(run, k);
                out[k] = IsReduced(footprint)
                             ? MeanTexel(sampler, texture, levels, {u[k], v[k]}, footprint)
                             : sampler(u[k], v[k]);
            }
        } else if constexpr (Sampler::IsLinear) {
            for (int k = 0; k < count; ++k) {
                out[k] = sampler(u[k], v[k]);
            }
        } else {
            int column[RunLength];
            int row[RunLength];
            NearestTexels(count, u, v, texture.width, texture.height, column, row);
            for (int k = 0; k < count; ++k) {
                out[k] = sampler.At(column[k], row[k]);
            }
        }
        for (int k = 0; k < count && !plain; ++k) {
            out[k] = Modulate(out[k], colour);
        }
    }
};

/// Takes the corners to homogeneous pixel coordinates, with the values of a shader.
template <class Shader, class Reader>
void LoadCorners(
    Shader const& shader,
    Reader const& reader,
    VertexArray const& vertices,
    CornerBatch<Shader::Values>& batch) {
    for (std::size_t i = 0; i < batch.count; ++i) {
        HPoint const p = reader(batch.index[i]);
        batch.corner[i].x = p.x;
        batch.corner[i].y = p.y;
        batch.corner[i].w = p.w;
    }
    shader.Load(vertices, batch);
}

/// Asks for the vertices of a shape before they are needed: those of sorted ones lie anywhere.
inline void FetchShape(VertexArray const& vertices, std::size_t first, std::size_t corners) {
    auto const* const from =
        reinterpret_cast<unsigned char const*>(vertices.position) + first * vertices.strideBytes;
    __builtin_prefetch(from);
    __builtin_prefetch(from + corners * vertices.strideBytes - 1);
}

/// Calls draw(corner) with the first corner of each of some shapes, in order.
/// @param numberOf the number of the first, second, ... of them among the vertices
template <std::size_t Corners, class Shader, class Reader, class NumberOf, class Draw>
void ForShapes(
    Shader const& shader,
    Reader const& reader,
    VertexArray const& vertices,
    std::size_t count,
    NumberOf const& numberOf,
    Draw const& draw) {
    using Batch = CornerBatch<Shader::Values>;
    static_assert(Batch::Most % Corners == 0);
    Batch batch;
    for (std::size_t next = 0; next < count;) {
        for (batch.count = 0; batch.count < Batch::Most && next < count; ++next) {
            constexpr std::size_t ahead = Batch::Most / Corners;
            if (next + ahead < count) {
                FetchShape(vertices, Corners * numberOf(next + ahead), Corners);
            }
            std::size_t const first = Corners * numberOf(next);
            for (std::size_t i = first; i < first + Corners; ++i) {
                batch.index[batch.count++] = i;
            }
        }
        LoadCorners(shader, reader, vertices, batch);
        for (std::size_t i = 0; i < batch.count; i += Corners) {
            draw(batch.corner + i);
        }
    }
}

/// Calls draw(shader, reader) with what the vertices, the view and the state ask for.
template <class Draw>
void WithShader(
    View const& view,
    DrawState const& state,
    LevelsInUse& inUse,
    VertexArray const& vertices,
    Draw&& draw) {
    auto const read = [&](auto const& shader) {
        WithReader(view, vertices, [&](auto const& reader) { draw(shader, reader); });
    };
    bool const lit = vertices.normal &&
                     std::any_of(state.lights.begin(), state.lights.end(), [](Light const& light) {
                         return light.on;
                     });
    if (lit) {
        Lighting const lighting(view, state);
        read(LitShader{state.blend, lighting, state.colour.a});
    } else if (vertices.texture && !state.texture.Empty()) {
        WithSampler(state, [&](auto sampler) {
            using S = decltype(sampler);
            read(TextureShader<S>{
                state.blend, sampler, state.colour, state.texture, inUse.Of(state.texture)});
        });
    } else if (!vertices.colour) {
        read(FlatShader{Ink(state)});
    } else {
        read(ColourShader{state.blend});
    }
}

} // namespace drivers::raster::detail
