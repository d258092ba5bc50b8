#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Lighting.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/UprightImage.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cmath>
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

constexpr std::size_t worthBands = 4096; // triangles

unsigned char Channel(double value) {
    return RoundChannel(std::clamp(value, 0.0, 255.0));
}

/// Runs the vertices' colours into each other.
template <bool Blend>
struct ColourShader {
    static constexpr int Values = 4;
    static constexpr bool HasFootprint = false;

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
    static constexpr bool HasFootprint = false;
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

double SquaredLength(double x, double y) {
    return x * x + y * y;
}

/// Drawn at half size or less along either axis of the picture, as ImageAxis has it.
bool IsReduced(Footprint const& footprint) {
    return SquaredLength(footprint.acrossX, footprint.acrossY) >= 4 ||
           SquaredLength(footprint.downX, footprint.downY) >= 4;
}

/// The mean of the texels under a pixel, taken a texel apart; farther when there are very many.
template <class Sampler>
Colour MeanTexel(Sampler const& sampler, double u, double v, Footprint const& footprint) {
    auto const steps = [](double x, double y) {
        constexpr double most = 16;
        // The nearest smaller float: lengths that should be whole numbers are not quite.
        double const length = std::sqrt(SquaredLength(x, y)) * (1 - 1e-7);
        return length < most ? static_cast<int>(length) + 1 : static_cast<int>(most);
    };
    int const columns = steps(footprint.acrossX, footprint.acrossY);
    int const rows = steps(footprint.downX, footprint.downY);
    unsigned sum[4] = {};
    for (int row = 0; row < rows; ++row) {
        double const down = (row + 0.5) / rows - 0.5;
        for (int column = 0; column < columns; ++column) {
            double const across = (column + 0.5) / columns - 0.5;
            Colour const texel = sampler.Nearest(
                u + across * footprint.acrossX + down * footprint.downX,
                v + across * footprint.acrossY + down * footprint.downY);
            sum[0] += texel.r;
            sum[1] += texel.g;
            sum[2] += texel.b;
            sum[3] += texel.a;
        }
    }
    unsigned const count = static_cast<unsigned>(columns * rows);
    auto const mean = [count](unsigned total) {
        return static_cast<unsigned char>((total + count / 2) / count);
    };
    return {mean(sum[0]), mean(sum[1]), mean(sum[2]), mean(sum[3])};
}

/// Multiplies the texture by the current colour.
template <class Sampler, bool Blend>
struct TextureShader {
    static constexpr int Values = 2;
    static constexpr bool HasFootprint = true;
    Sampler sampler;
    Colour colour;
    Texture const& texture;
    bool plain = colour == Colour(255, 255, 255, 255); ///< which changes nothing

    void Load(VertexArray const& vertices, std::size_t index, double* values) const {
        float const* st = VertexTexture(vertices, index);
        values[0] = double{st[0]} * texture.width;
        values[1] = double{st[1]} * texture.height;
    }
    void Put(Colour& pixel, Run<2> const& run, int k, Footprint const& footprint) const {
        double const u = run.values[0][k];
        double const v = run.values[1][k];
        Colour const texel =
            IsReduced(footprint) ? MeanTexel(sampler, u, v, footprint) : sampler(u, v);
        detail::Put<Blend>(pixel, plain ? texel : Modulate(texel, colour));
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
        auto const draw = [&](Target const& target, std::size_t triangle) {
            std::size_t const i = 3 * triangle;
            DrawTriangle<affine>(
                target,
                shader,
                view.range,
                LoadVertex(shader, reader, vertices, i),
                LoadVertex(shader, reader, vertices, i + 1),
                LoadVertex(shader, reader, vertices, i + 2));
        };
        std::size_t const triangles = vertices.count / 3;
        if (triangles >= worthBands) {
            m_rowBands.Sort(reader, triangles, m_clip);
            Target const whole = MakeTarget();
            auto const drawBand = [&](int band) {
                Target part = whole;
                part.clip = m_rowBands.Clip(band);
                m_rowBands.ForEach(band, [&](std::size_t i) { draw(part, i); });
            };
            if (m_workers) {
                m_workers->Run(m_rowBands.Count(), drawBand);
            } else {
                for (int band = 0; band < m_rowBands.Count(); ++band) {
                    drawBand(band);
                }
            }
            return;
        }
        InBands(PixelsOf(vertices, 3), [&](Target const& target, Scratch&) {
            for (std::size_t i = 0; i < triangles; ++i) {
                draw(target, i);
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
        using Corners = Vertex<Shader::Values>[4];
        auto const load = [&](std::size_t first, Corners& corners) {
            for (std::size_t i = 0; i < 4; ++i) {
                corners[i] = LoadVertex(shader, reader, vertices, first + i);
            }
        };
        if constexpr (affine && Shader::Values == 2) {
            if (!m_state.blend && vertices.count >= 4) {
                Corners first;
                load(0, first);
                ClearExcept(UprightArea(m_clip, first));
            }
        }
        InBands(PixelsOf(vertices, 4), [&](Target const& target, Scratch& scratch) {
            (void)scratch; // only textures on upright quads need it
            Corners corners;
            for (std::size_t i = 0; i + 3 < vertices.count; i += 4) {
                load(i, corners);
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
