#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Bands.h"
#include "drivers/raster/detail/Lighting.h"
#include "drivers/raster/detail/Triangle.h"
#include "drivers/raster/detail/UprightImage.h"
#include "drivers/raster/detail/View.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <type_traits>

namespace drivers::raster {

using namespace detail;

namespace {

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

constexpr std::size_t worthBands = 4096; // triangles

/// Draws a run in the colours that its values are.
template <bool Blend, int N, class Pixels>
void PutColours(Run<N> const& run, int count, unsigned alpha, Pixels const& pixels) {
    Colour colours[RunLength];
    ColoursOf(N, count, run.values, alpha, colours);
    for (int k = 0; k < count; ++k) {
        Put<Blend>(pixels[k], colours[k]);
    }
}

/// Runs the vertices' colours into each other.
template <bool Blend>
struct ColourShader {
    static constexpr int Values = 4;

    void Load(VertexArray const& vertices, CornerBatch<4>& batch) const {
        LoadEach(batch, [&](std::size_t index, double* values) {
            Colour const colour = VertexColour(vertices, index);
            values[0] = colour.r;
            values[1] = colour.g;
            values[2] = colour.b;
            values[3] = colour.a;
        });
    }
    template <class Interpolated, class Pixels>
    void Put(Interpolated const&, Run<4> const& run, int count, Pixels const& pixels) const {
        PutColours<Blend>(run, count, 0, pixels);
    }
};

/// Lights the vertices and runs what they shine into each other.
template <bool Blend>
struct LitShader {
    static constexpr int Values = 3;
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
    template <class Interpolated, class Pixels>
    void Put(Interpolated const&, Run<3> const& run, int count, Pixels const& pixels) const {
        PutColours<Blend>(run, count, alpha, pixels);
    }
};

double SquaredLength(double x, double y) {
    return x * x + y * y;
}

/// Drawn at half size or less along either axis of the picture, as ImageAxis has it.
/// @param slack 0, or the part by which less counts too
bool IsReduced(Footprint const& footprint, double slack = 0) {
    double const least = 4 - 4 * slack;
    return SquaredLength(footprint.acrossX, footprint.acrossY) >= least ||
           SquaredLength(footprint.downX, footprint.downY) >= least;
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
    Sampler sampler;
    Colour colour;
    Texture const& texture;
    bool plain = colour == Colour(255, 255, 255, 255); ///< which changes nothing

    void Load(VertexArray const& vertices, CornerBatch<2>& batch) const {
        LoadEach(batch, [&](std::size_t index, double* values) {
            float const* st = VertexTexture(vertices, index);
            values[0] = double{st[0]} * texture.width;
            values[1] = double{st[1]} * texture.height;
        });
    }
    template <class Interpolated, class Pixels>
    void Put(Interpolated const& values, Run<2> const& run, int count, Pixels const& pixels) const {
        double const* const u = run.values[0];
        double const* const v = run.values[1];
        if (IsReduced(values.LargestFootprint(run, count, Pixels::InRow), 1e-9)) {
            for (int k = 0; k < count; ++k) {
                Footprint const footprint = values.FootprintAt(run, k);
                PutTexel(
                    pixels[k],
                    IsReduced(footprint) ? MeanTexel(sampler, u[k], v[k], footprint)
                                         : sampler(u[k], v[k]));
            }
        } else if constexpr (Sampler::IsLinear) {
            for (int k = 0; k < count; ++k) {
                PutTexel(pixels[k], sampler(u[k], v[k]));
            }
        } else {
            int column[RunLength];
            int row[RunLength];
            NearestTexels(count, u, v, texture.width, texture.height, column, row);
            for (int k = 0; k < count; ++k) {
                PutTexel(pixels[k], sampler.At(column[k], row[k]));
            }
        }
    }

private:
    void PutTexel(Colour& pixel, Colour texel) const {
        detail::Put<Blend>(pixel, plain ? texel : Modulate(texel, colour));
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
    if (m_clip.Empty() || DrawSmoothMesh(vertices, 3)) {
        return;
    }
    View const view = MakeView();
    WithShader(view, m_state, vertices, [&](auto const& shader, auto const& reader) {
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
    if (m_clip.Empty() || DrawSmoothMesh(vertices, 4)) {
        return;
    }
    View const view = MakeView();
    WithShader(view, m_state, vertices, [&](auto const& shader, auto const& reader) {
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
