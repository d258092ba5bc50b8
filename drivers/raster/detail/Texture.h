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
    static constexpr bool HasAlpha = false;
    static Colour Read(unsigned char const* p) { return {p[0], p[0], p[0], 255}; }
};
template <>
struct Texel<Texture::Format::RGB8> {
    static constexpr int Bytes = 3;
    static constexpr bool HasAlpha = false;
    static Colour Read(unsigned char const* p) { return {p[0], p[1], p[2], 255}; }
};
template <>
struct Texel<Texture::Format::RGBA8> {
    static constexpr int Bytes = 4;
    static constexpr bool HasAlpha = true;
    static Colour Read(unsigned char const* p) { return {p[0], p[1], p[2], p[3]}; }
};
template <>
struct Texel<Texture::Format::BGRA8> {
    static constexpr int Bytes = 4;
    static constexpr bool HasAlpha = true;
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

inline std::size_t BytesOfTexel(Texture::Format format) {
    return format == Texture::Format::Grey8 ? 1 : format == Texture::Format::RGB8 ? 3 : 4;
}
inline bool HasAlpha(Texture::Format format) {
    return BytesOfTexel(format) == 4;
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

/// The same of colours with alpha: each counts by its own, so that what cannot be seen does not
/// colour what is beside it.
inline Colour BilinearByAlpha(Colour a, Colour b, Colour c, Colour d, unsigned fu, unsigned fv) {
    unsigned const wa = (256 - fu) * (256 - fv) * a.a;
    unsigned const wb = fu * (256 - fv) * b.a;
    unsigned const wc = (256 - fu) * fv * c.a;
    unsigned const wd = fu * fv * d.a;
    unsigned const whole = wa + wb + wc + wd; // times 255 there is still room for a half of it
    Colour mean = Bilinear(a, b, c, d, fu, fv);
    if (whole != 0 && !(a.a == b.a && a.a == c.a && a.a == d.a)) {
        auto const by = [=](unsigned p, unsigned q, unsigned r, unsigned s) {
            unsigned const total = p * wa + q * wb + r * wc + s * wd;
            return static_cast<unsigned char>((total + whole / 2) / whole);
        };
        mean.r = by(a.r, b.r, c.r, d.r);
        mean.g = by(a.g, b.g, c.g, d.g);
        mean.b = by(a.b, b.b, c.b, d.b);
    }
    return mean;
}

/// The mean of some colours, rounded to nearest; where they have alpha, each counts by its own.
/// With no alpha at all it is the plain one.
template <bool ByAlpha>
class ColourMean {
public:
    void Add(Colour c) {
        ++m_count;
        m_plain[0] += c.r;
        m_plain[1] += c.g;
        m_plain[2] += c.b;
        if constexpr (ByAlpha) {
            unsigned const alpha = c.a;
            m_alpha += alpha;
            m_weighted[0] += c.r * alpha;
            m_weighted[1] += c.g * alpha;
            m_weighted[2] += c.b * alpha;
        }
    }
    bool Empty() const { return m_count == 0; }
    Colour Mean() const {
        bool const weighs = ByAlpha && m_alpha != 0;
        unsigned const* const from = weighs ? m_weighted : m_plain;
        unsigned const whole = weighs ? m_alpha : m_count;
        return {
            Divide(from[0], whole),
            Divide(from[1], whole),
            Divide(from[2], whole),
            ByAlpha ? Divide(m_alpha, m_count) : static_cast<unsigned char>(255)};
    }

private:
    static unsigned char Divide(unsigned total, unsigned by) {
        return static_cast<unsigned char>((total + by / 2) / by);
    }

    unsigned m_count = 0;
    unsigned m_alpha = 0;
    unsigned m_plain[3] = {};
    unsigned m_weighted[3] = {};
};

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
            Colour const a = At(x.first, y.first);
            Colour const b = At(x.second, y.first);
            Colour const c = At(x.first, y.second);
            Colour const d = At(x.second, y.second);
            return T::HasAlpha ? BilinearByAlpha(a, b, c, d, x.weight, y.weight)
                               : Bilinear(a, b, c, d, x.weight, y.weight);
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
