#pragma once

#include "drivers/raster/DrawState.h"
#include "drivers/raster/detail/Blend.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace drivers::raster::detail {

template <Texture::Format F>
struct Texel;

template <>
struct Texel<Texture::Format::Grey8> {
    static constexpr int Bytes = 1;
    static Colour Read(unsigned char const* p) { return {p[0], p[0], p[0], 255}; }
};
template <>
struct Texel<Texture::Format::RGB8> {
    static constexpr int Bytes = 3;
    static Colour Read(unsigned char const* p) { return {p[0], p[1], p[2], 255}; }
};
template <>
struct Texel<Texture::Format::RGBA8> {
    static constexpr int Bytes = 4;
    static Colour Read(unsigned char const* p) { return {p[0], p[1], p[2], p[3]}; }
};
template <>
struct Texel<Texture::Format::BGRA8> {
    static constexpr int Bytes = 4;
    static Colour Read(unsigned char const* p) { return {p[2], p[1], p[0], p[3]}; }
};

/// Calls draw(Texel<F>()) with the format of the texture.
template <class Draw>
void WithTexel(Texture const& texture, Draw&& draw) {
    switch (texture.format) {
    case Texture::Format::Grey8:
        return draw(Texel<Texture::Format::Grey8>());
    case Texture::Format::RGB8:
        return draw(Texel<Texture::Format::RGB8>());
    case Texture::Format::RGBA8:
        return draw(Texel<Texture::Format::RGBA8>());
    case Texture::Format::BGRA8:
        return draw(Texel<Texture::Format::BGRA8>());
    }
}

/// The part by which sizes in texels a pixel may miss a whole number and still count as it. Corners
/// are floats: those of a small image far from zero are a few parts in 100,000 off, ever other ones
/// as the view moves. The picture must not change its way of sampling with them.
constexpr double SizeSlack = 1e-4;

/// From so many texels a pixel on, an image is drawn at half size or less.
constexpr double ReducedFrom = 2 * (1 - SizeSlack);

/// Where a coordinate falls along one side of a texture that goes on beyond its edges.
struct TexelPair {
    int first;
    int second;
    unsigned weight; ///< of the second, in 256ths
};

/// @param u in texels; not a number counts as 0
inline int NearestTexel(double u, int size) {
    return !(u > 0) ? 0 : u >= size ? size - 1 : static_cast<int>(u);
}

inline TexelPair LinearTexels(double u, int size) {
    // 256ths of a texel from the first centre, rounded to nearest.
    double const steps = (u - 0.5) * 256 + 0.5;
    if (!(steps >= 0)) {
        return {0, 0, 0};
    }
    if (steps >= 256.0 * (size - 1)) {
        return {size - 1, size - 1, 0};
    }
    auto const fixed = static_cast<long long>(steps);
    int const first = static_cast<int>(fixed >> 8);
    return {first, std::min(first + 1, size - 1), static_cast<unsigned>(fixed & 255)};
}

/// (x * (256 - fu) + y * fu) by (256 - fv), fv of two rows: weights add up to 65536.
inline unsigned char
Bilinear(unsigned p00, unsigned p10, unsigned p01, unsigned p11, unsigned fu, unsigned fv) {
    unsigned const upper = p00 * (256 - fu) + p10 * fu;
    unsigned const lower = p01 * (256 - fu) + p11 * fu;
    return static_cast<unsigned char>((upper * (256 - fv) + lower * fv + 32768) >> 16);
}

inline Colour Bilinear(Colour a, Colour b, Colour c, Colour d, unsigned fu, unsigned fv) {
    return {
        Bilinear(a.r, b.r, c.r, d.r, fu, fv),
        Bilinear(a.g, b.g, c.g, d.g, fu, fv),
        Bilinear(a.b, b.b, c.b, d.b, fu, fv),
        Bilinear(a.a, b.a, c.a, d.a, fu, fv)};
}

/// Reads a texture of one format at (u, v) in texels.
template <class T, bool Linear>
class Sampler {
public:
    static constexpr bool IsLinear = Linear;

    explicit Sampler(Texture const& texture) : m_texture(texture) {}

    Colour operator()(double u, double v) const {
        if constexpr (Linear) {
            TexelPair const x = LinearTexels(u, m_texture.width);
            TexelPair const y = LinearTexels(v, m_texture.height);
            return Bilinear(
                At(x.first, y.first),
                At(x.second, y.first),
                At(x.first, y.second),
                At(x.second, y.second),
                x.weight,
                y.weight);
        } else {
            return Nearest(u, v);
        }
    }
    Colour Nearest(double u, double v) const {
        return At(NearestTexel(u, m_texture.width), NearestTexel(v, m_texture.height));
    }

    /// The texel of that column and row.
    Colour At(int x, int y) const {
        return T::Read(
            m_texture.pixels + static_cast<std::size_t>(y) * m_texture.stride +
            static_cast<std::size_t>(x) * T::Bytes);
    }

private:
    Texture m_texture;
};

/// Calls draw(sampler) with the sampler for the state's texture and filter.
template <class Draw>
void WithSampler(DrawState const& state, Draw&& draw) {
    WithTexel(state.texture, [&](auto texel) {
        using T = decltype(texel);
        if (state.bilinear) {
            draw(Sampler<T, true>(state.texture));
        } else {
            draw(Sampler<T, false>(state.texture));
        }
    });
}

} // namespace drivers::raster::detail
