#include "drivers/raster/detail/UprightImage.h"

#include <algorithm>
#include <cstring>

namespace drivers::raster::detail {

namespace {

/// How one axis of the picture runs over one axis of the texture.
struct Axis {
    double pixelFrom;
    double pixelTo;
    double texelFrom;
    double texelTo;

    /// The texel coordinate at the centre of a pixel.
    double TexelAt(int pixel) const {
        double const scale = (texelTo - texelFrom) / (pixelTo - pixelFrom);
        return texelFrom + (pixel + 0.5 - pixelFrom) * scale;
    }
    TexelPair PairAt(int pixel, int size, bool linear) const {
        double const u = TexelAt(pixel);
        if (linear) {
            return LinearTexels(u, size);
        }
        int const texel = NearestTexel(u, size);
        return {texel, texel, 0};
    }
    int First(int lo, int hi) const { return FirstCentre(std::min(pixelFrom, pixelTo), lo, hi); }
    int End(int lo, int hi) const { return FirstCentre(std::max(pixelFrom, pixelTo), lo, hi); }
};

/// Corners in order, the first side along a row.
bool IsUpright(Vertex<2> const& a, Vertex<2> const& b, Vertex<2> const& c, Vertex<2> const& d) {
    return a.y == b.y && c.y == d.y && b.x == c.x && d.x == a.x && a.a[1] == b.a[1] &&
           c.a[1] == d.a[1] && b.a[0] == c.a[0] && d.a[0] == a.a[0];
}

bool operator==(TexelPair const& x, TexelPair const& y) {
    return x.first == y.first && x.second == y.second && x.weight == y.weight;
}

/// Makes rows of colours from rows of texels of one format.
template <class T>
class RowMaker {
public:
    RowMaker(Texture const& texture, std::vector<TexelPair> const& columns)
        : m_texture(texture), m_columns(columns) {
        for (std::size_t i = 0; i < columns.size(); ++i) {
            m_blended = m_blended || columns[i].weight != 0;
            m_consecutive =
                m_consecutive && columns[i].first == columns[0].first + static_cast<int>(i);
        }
    }

    void Make(TexelPair const& rows, Colour* out) const {
        unsigned char const* upper = TexelRow(rows.first);
        std::size_t const count = m_columns.size();
        if (m_blended || rows.weight != 0) {
            unsigned char const* lower = TexelRow(rows.second);
            for (std::size_t i = 0; i < count; ++i) {
                out[i] = Blended(upper, lower, m_columns[i], rows.weight);
            }
        } else if (m_consecutive) {
            unsigned char const* from = upper + Offset(m_columns[0].first);
            for (std::size_t i = 0; i < count; ++i) {
                out[i] = T::Read(from + i * T::Bytes);
            }
        } else {
            for (std::size_t i = 0; i < count; ++i) {
                out[i] = T::Read(upper + Offset(m_columns[i].first));
            }
        }
    }

private:
    static std::size_t Offset(int texel) { return static_cast<std::size_t>(texel) * T::Bytes; }
    unsigned char const* TexelRow(int y) const {
        return m_texture.pixels + static_cast<std::size_t>(y) * m_texture.stride;
    }
    static Colour Blended(
        unsigned char const* upper,
        unsigned char const* lower,
        TexelPair const& column,
        unsigned rowWeight) {
        std::size_t const first = Offset(column.first);
        std::size_t const second = Offset(column.second);
        return Bilinear(
            T::Read(upper + first),
            T::Read(upper + second),
            T::Read(lower + first),
            T::Read(lower + second),
            column.weight,
            rowWeight);
    }

    Texture m_texture;
    std::vector<TexelPair> const& m_columns;
    bool m_blended = false;
    bool m_consecutive = true;
};

/// Multiplies by the current colour and blends, or stores, a row of texel colours.
template <bool Blend>
void WriteRow(Colour* out, Colour const* from, std::size_t count, Colour colour) {
    for (std::size_t i = 0; i < count; ++i) {
        Put<Blend>(out[i], Modulate(from[i], colour));
    }
}

bool LeavesTexelsAsTheyAre(DrawState const& state) {
    return !state.blend && Opaque(state.colour) == Colour(255, 255, 255, 255);
}

template <class T>
void DrawRows(
    Target const& target,
    DrawState const& state,
    Axis const& across,
    Axis const& down,
    ImageScratch& scratch) {
    math::Rect2<int> const& clip = target.clip;
    int const left = across.First(clip.left, clip.right);
    int const right = across.End(clip.left, clip.right);
    int const top = down.First(clip.top, clip.bottom);
    int const bottom = down.End(clip.top, clip.bottom);
    if (left >= right) {
        return;
    }
    Texture const& texture = state.texture;
    auto const count = static_cast<std::size_t>(right - left);
    scratch.columns.clear();
    for (int x = left; x < right; ++x) {
        scratch.columns.push_back(across.PairAt(x, texture.width, state.bilinear));
    }
    scratch.row.resize(std::max(scratch.row.size(), count));
    RowMaker<T> const maker(texture, scratch.columns);
    TexelPair made{-1, -1, 0};
    bool const asTheyAre = LeavesTexelsAsTheyAre(state);
    for (int y = top; y < bottom; ++y) {
        TexelPair const rows = down.PairAt(y, texture.height, state.bilinear);
        Colour* out = target.At(left, y);
        if (asTheyAre) {
            if (rows == made) {
                std::copy_n(target.At(left, y - 1), count, out);
            } else {
                maker.Make(rows, out);
                MakeOpaque(out, count);
                made = rows;
            }
            continue;
        }
        if (!(rows == made)) {
            maker.Make(rows, scratch.row.data());
            made = rows;
        }
        state.blend ? WriteRow<true>(out, scratch.row.data(), count, state.colour)
                    : WriteRow<false>(out, scratch.row.data(), count, state.colour);
    }
}

} // namespace

bool DrawUprightImage(
    Target const& target,
    DrawState const& state,
    Vertex<2> const (&corners)[4],
    ImageScratch& scratch) {
    int first = 0;
    if (!IsUpright(corners[0], corners[1], corners[2], corners[3])) {
        if (!IsUpright(corners[1], corners[2], corners[3], corners[0])) {
            return false;
        }
        first = 1;
    }
    Vertex<2> const& a = corners[first];
    Vertex<2> const& b = corners[first + 1];
    Vertex<2> const& c = corners[first + 2];
    for (double const v : {a.x, b.x, b.y, c.y, a.a[0], b.a[0], b.a[1], c.a[1]}) {
        if (!IsFinite(v)) {
            return false;
        }
    }
    Axis const across{a.x, b.x, a.a[0], b.a[0]};
    Axis const down{b.y, c.y, b.a[1], c.a[1]};
    WithTexel(state.texture, [&](auto texel) {
        DrawRows<decltype(texel)>(target, state, across, down, scratch);
    });
    return true;
}

} // namespace drivers::raster::detail
