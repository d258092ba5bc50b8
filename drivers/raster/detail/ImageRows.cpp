#include "drivers/raster/detail/ImageRows.h"

#include "cimage/PixelTypes.h"
#include "drivers/raster/detail/Clones.h"

#include <algorithm>
#include <cmath>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace drivers::raster::detail {

namespace {

constexpr std::uint32_t kWhole = 65536; // weights of means add up to it
constexpr std::size_t kChannels = sizeof(Colour);

/// The channels of a texel, as a vector unit has them.
using Bytes = unsigned char __attribute__((vector_size(4)));
using Sums = std::uint32_t __attribute__((vector_size(16)));

unsigned char* BytesOf(Colour* colours) {
    return reinterpret_cast<unsigned char*>(colours);
}

unsigned PixelType(Texture::Format format) {
    switch (format) {
    case Texture::Format::Grey8:
        return cimage::PixelTypeNumber<unsigned char>::value;
    case Texture::Format::RGB8:
        return cimage::PixelTypeNumber<cimage::TRGB<unsigned char>>::value;
    case Texture::Format::RGBA8:
        return cimage::PixelTypeNumber<cimage::TRGBA<unsigned char>>::value;
    default:
        return cimage::PixelTypeNumber<cimage::TBGRA<unsigned char>>::value;
    }
}

void Gather(
    Colour const* __restrict texels,
    std::uint32_t const* __restrict columns,
    std::size_t count,
    Colour* __restrict out) {
    for (std::size_t i = 0; i < count; ++i) {
        out[i] = texels[columns[i]];
    }
}

/// Between neighbouring texels of a row, in 256ths of a count.
RASTER_CLONES void BlendColumns(
    unsigned char const* __restrict texels,
    std::uint32_t const* __restrict columns,
    std::uint16_t const* __restrict weights,
    std::size_t count,
    std::uint16_t* __restrict out) {
    using TwoTexels = unsigned char __attribute__((vector_size(8)));
    using Words = std::uint16_t __attribute__((vector_size(16)));
    using HalfWords = std::uint16_t __attribute__((vector_size(8)));
    for (std::size_t i = 0; i < count; ++i) {
        TwoTexels two;
        std::memcpy(&two, texels + columns[i] * kChannels, sizeof two);
        std::uint16_t const b = weights[i];
        auto const a = static_cast<std::uint16_t>(256 - b);
        Words const weighted = __builtin_convertvector(two, Words) * Words{a, a, a, a, b, b, b, b};
        HalfWords const sum = __builtin_shufflevector(weighted, weighted, 0, 1, 2, 3) +
                              __builtin_shufflevector(weighted, weighted, 4, 5, 6, 7);
        std::memcpy(out + i * kChannels, &sum, sizeof sum);
    }
}

/// The alpha of all the texels, or -1 where it varies.
RASTER_CLONES int EvenAlpha(Colour const* texels, std::size_t count) {
    unsigned char const first = texels[0].a;
    unsigned differs = 0;
    for (std::size_t i = 1; i < count; ++i) {
        differs |= static_cast<unsigned>(texels[i].a ^ first);
    }
    return differs == 0 ? first : -1;
}

#ifdef __SSE2__
/// The pixels of BlendRows() sixteen channels at a time: this vector unit multiplies pairs of
/// signed 16-bit numbers and adds the products, which compilers do not find. @return the channels
/// done
std::size_t BlendRowsInPairs(
    std::uint16_t const* __restrict upper,
    std::uint16_t const* __restrict lower,
    std::uint32_t weight,
    std::size_t count,
    unsigned char* __restrict out) {
    auto const load = [](std::uint16_t const* from) {
        // Below zero by half the range, to be signed.
        __m128i const bytes = _mm_loadu_si128(reinterpret_cast<__m128i const*>(from));
        return _mm_xor_si128(bytes, _mm_set1_epi16(-32768));
    };
    __m128i const weights = _mm_set1_epi32(static_cast<int>((256 - weight) | weight << 16));
    __m128i const half = _mm_set1_epi32(32768 * 256 + 32768);
    auto const blend = [&](__m128i pairs) {
        return _mm_srli_epi32(_mm_add_epi32(_mm_madd_epi16(pairs, weights), half), 16);
    };
    auto const eight = [&](std::size_t i) {
        __m128i const a = load(upper + i);
        __m128i const b = load(lower + i);
        return _mm_packs_epi32(blend(_mm_unpacklo_epi16(a, b)), blend(_mm_unpackhi_epi16(a, b)));
    };
    std::size_t i = 0;
    for (; i + 16 <= count; i += 16) {
        __m128i const bytes = _mm_packus_epi16(eight(i), eight(i + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), bytes);
    }
    return i;
}
#else
std::size_t BlendRowsInPairs(
    std::uint16_t const*, std::uint16_t const*, std::uint32_t, std::size_t, unsigned char*) {
    return 0;
}
#endif

/// Between two such rows, rounded to whole counts; weight of the lower one in 256ths.
void BlendRows(
    std::uint16_t const* __restrict upper,
    std::uint16_t const* __restrict lower,
    std::uint32_t weight,
    std::size_t count,
    unsigned char* __restrict out) {
    for (std::size_t i = BlendRowsInPairs(upper, lower, weight, count, out); i < count; ++i) {
        out[i] = static_cast<unsigned char>(
            (upper[i] * (256 - weight) + lower[i] * weight + 32768) >> 16);
    }
}

RASTER_CLONES void StartSums(
    unsigned char const* __restrict from,
    std::uint32_t weight,
    std::size_t count,
    std::uint32_t* __restrict sums) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] = from[i] * weight;
    }
}

RASTER_CLONES void AddToSums(
    unsigned char const* __restrict first,
    std::uint32_t firstWeight,
    unsigned char const* __restrict second,
    std::uint32_t secondWeight,
    std::size_t count,
    std::uint32_t* __restrict sums) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] += first[i] * firstWeight + second[i] * secondWeight;
    }
}

/// From 65536ths of a count to 256ths, so that weighted once more they fit.
RASTER_CLONES void NarrowSums(std::size_t count, std::uint32_t* sums) {
    for (std::size_t i = 0; i < count; ++i) {
        sums[i] = (sums[i] + 128) >> 8;
    }
}

RASTER_CLONES void MeanColumns(
    std::uint32_t const* __restrict sums,
    std::size_t channels,
    TexelRun const* __restrict runs,
    std::uint32_t const* __restrict weights,
    std::size_t count,
    unsigned char* __restrict out) {
    for (std::size_t i = 0; i < count; ++i) {
        TexelRun const run = runs[i];
        std::uint32_t const* from = sums + static_cast<std::size_t>(run.first) * channels;
        std::uint32_t const* weight = weights + run.weights;
        // Four at a time, whatever they are: those beyond the texel's channels are not used.
        Sums total = {1u << 23, 1u << 23, 1u << 23, 1u << 23};
        for (std::size_t k = 0; k < run.count; ++k, from += channels) {
            Sums four;
            std::memcpy(&four, from, sizeof four);
            total += four * weight[k];
        }
        Bytes const mean = __builtin_convertvector(total >> 24, Bytes);
        std::memcpy(out + i * kChannels, &mean, sizeof mean);
    }
}

/// Some rows of texels and their weights.
struct WeightedRows {
    unsigned char const* first;
    std::size_t stride;
    std::uint32_t const* weights;
    std::size_t count;
};

/// Where a mean of texels is neither opaque nor invisible, lets each of them count by its alpha.
RASTER_CLONES void MeanByAlpha(
    WeightedRows const& rows,
    TexelRun const* __restrict runs,
    std::uint32_t const* __restrict weights,
    std::size_t count,
    unsigned char* __restrict out) {
    for (std::size_t i = 0; i < count; ++i, out += kChannels) {
        if (out[3] == 0 || out[3] == 255) {
            continue;
        }
        TexelRun const run = runs[i];
        std::uint32_t const* const weight = weights + run.weights;
        Sums totals = {}; // of channels times alpha; of 255 times alpha in the last place
        for (std::size_t row = 0; row < rows.count; ++row) {
            unsigned char const* from =
                rows.first + row * rows.stride + static_cast<std::size_t>(run.first) * kChannels;
            Sums along = {};
            for (std::size_t k = 0; k < run.count; ++k, from += kChannels) {
                Bytes texel;
                std::memcpy(&texel, from, sizeof texel);
                Sums const channels = __builtin_convertvector(texel, Sums);
                std::uint32_t const alpha = channels[3];
                along += channels * Sums{alpha, alpha, alpha, 255} * weight[k];
            }
            totals += ((along + kWhole / 2) >> 16) * rows.weights[row];
        }
        std::uint32_t const whole = std::max(totals[3] / 255, 1U);
        for (int c = 0; c < 3; ++c) {
            out[c] = static_cast<unsigned char>(std::min((totals[c] + whole / 2) / whole, 255U));
        }
    }
}

/// Puts the channels of texels without alpha into their places.
void SpreadChannels(Texture::Format format, Colour* row, std::size_t count) {
    switch (format) {
    case Texture::Format::Grey8:
        for (std::size_t i = 0; i < count; ++i) {
            row[i] = {row[i].r, row[i].r, row[i].r, 255};
        }
        break;
    case Texture::Format::RGB8:
        MakeOpaque(row, count);
        break;
    case Texture::Format::BGRA8:
        for (std::size_t i = 0; i < count; ++i) {
            row[i] = {row[i].b, row[i].g, row[i].r, row[i].a};
        }
        break;
    case Texture::Format::RGBA8:
        break;
    }
}

} // namespace

bool ImageAxis::IsReduced() const {
    double const scale = std::abs(Scale());
    return scale >= ReducedFrom && std::isfinite(scale);
}

TexelPair ImageAxis::PairAt(int pixel, int size, bool linear) const {
    double const u = texelFrom + (pixel + 0.5 - pixelFrom) * Scale();
    if (linear) {
        return LinearTexels(u, size);
    }
    int const texel = NearestTexel(u, size);
    return {texel, texel, 0};
}

/// The texels under a pixel by how much of each it covers; where that is none of them, and along
/// an axis that is not reduced, those that a single sample takes.
TexelRun ImageRows::AreaRun(
    ImageAxis const& axis, int pixel, int size, std::vector<std::uint32_t>& weights) const {
    TexelRun run;
    run.weights = weights.size();
    double const scale = axis.Scale();
    double const u0 = axis.texelFrom + (pixel - axis.pixelFrom) * scale;
    double const from = std::clamp(std::min(u0, u0 + scale), 0.0, double(size));
    double const to = std::clamp(std::max(u0, u0 + scale), 0.0, double(size));
    if (!axis.IsReduced() || !(to > from)) {
        TexelPair const pair = axis.PairAt(pixel, size, m_linear);
        run.first = pair.first;
        weights.push_back(kWhole - pair.weight * 256);
        if (pair.weight != 0) {
            weights.push_back(pair.weight * 256);
        }
        run.count = weights.size() - run.weights;
        return run;
    }
    run.first = std::min(static_cast<int>(from), size - 1);
    std::uint32_t before = 0;
    for (int texel = run.first; texel < size && texel < to; ++texel) {
        double const covered = std::min(texel + 1.0, to) - from;
        auto const upToHere = static_cast<std::uint32_t>(covered / (to - from) * kWhole + 0.5);
        weights.push_back(upToHere - before);
        before = upToHere;
    }
    run.count = weights.size() - run.weights;
    return run;
}

void ImageRows::Prepare(
    Texture const& texture,
    bool linear,
    ImageAxis const& across,
    ImageAxis const& down,
    int left,
    int right) {
    m_texture = texture;
    unsigned const type = PixelType(texture.format);
    m_convert = cimage::FindRowConverter(type, cimage::PixelTypeNumber<Colour>::value);
    m_texelBytes = BytesOfTexel(texture.format);
    m_linear = linear;
    m_across = across;
    m_down = down;
    m_means = across.IsReduced() || down.IsReduced();
    m_count = static_cast<std::size_t>(right - left);
    m_columns.clear();
    m_columnWeights.clear();
    m_runs.clear();
    m_runWeights.clear();
    int first = texture.width;
    int end = 0;
    if (m_means) {
        for (int x = left; x < right; ++x) {
            TexelRun const run = AreaRun(across, x, texture.width, m_runWeights);
            first = std::min(first, run.first);
            end = std::max(end, run.first + static_cast<int>(run.count));
            m_runs.push_back(run);
        }
        for (TexelRun& run : m_runs) {
            run.first -= first;
        }
    } else {
        m_blended = false;
        m_consecutive = true;
        for (int x = left; x < right; ++x) {
            TexelPair const pair = across.PairAt(x, texture.width, linear);
            first = std::min(first, pair.first);
            end = std::max(end, pair.second + 1);
            m_blended = m_blended || pair.weight != 0;
            m_columns.push_back(static_cast<std::uint32_t>(pair.first));
            m_columnWeights.push_back(static_cast<std::uint16_t>(pair.weight));
            m_consecutive =
                m_consecutive && m_columns.back() == m_columns[0] + m_columns.size() - 1;
        }
        for (std::uint32_t& column : m_columns) {
            column -= static_cast<std::uint32_t>(first);
        }
    }
    m_firstTexel = first;
    m_texelCount = end - first;
}

bool ImageRows::Repeats(int y) const {
    if (m_down.IsReduced()) {
        return false;
    }
    TexelPair const here = RowsAt(y);
    TexelPair const above = RowsAt(y - 1);
    return here.first == above.first && here.second == above.second && here.weight == above.weight;
}

/// All texels of a row that the pixels need, and one more that weighs nothing.
void ImageRows::ReadTexels(int row, Colour* out) const {
    unsigned char const* from = Row(row) + static_cast<std::size_t>(m_firstTexel) * m_texelBytes;
    m_convert(from, out, static_cast<unsigned>(m_texelCount));
    out[m_texelCount] = Colour(0, 0, 0, 0);
}

/// A row of texels blended along the row, made unless it is at hand; `keep` is still needed.
ImageRows::Scratch::WideRow& ImageRows::Wide(int row, int keep, Scratch& scratch) const {
    for (Scratch::WideRow& wide : scratch.wide) {
        if (wide.row == row) {
            return wide;
        }
    }
    Scratch::WideRow& wide = scratch.wide[scratch.wide[0].row == keep ? 1 : 0];
    wide.texels.resize(static_cast<std::size_t>(m_texelCount) + 1);
    wide.channels.resize(m_count * kChannels);
    ReadTexels(row, wide.texels.data());
    BlendColumns(
        BytesOf(wide.texels.data()),
        m_columns.data(),
        m_columnWeights.data(),
        m_count,
        wide.channels.data());
    wide.row = row;
    wide.alpha = HasAlpha(m_texture.format)
                     ? EvenAlpha(wide.texels.data(), static_cast<std::size_t>(m_texelCount))
                     : 255;
    return wide;
}

void ImageRows::MakeBlended(TexelPair const& rows, Colour* out, Scratch& scratch) const {
    Scratch::WideRow const& upper = Wide(rows.first, rows.second, scratch);
    Scratch::WideRow const& lower =
        rows.weight == 0 ? upper : Wide(rows.second, rows.first, scratch);
    BlendRows(
        upper.channels.data(),
        lower.channels.data(),
        rows.weight,
        m_count * kChannels,
        BytesOf(out));
    if (upper.alpha >= 0 && upper.alpha == lower.alpha) {
        return;
    }
    for (std::size_t i = 0; i < m_count; ++i) {
        if (out[i].a != 0 && out[i].a != 255) {
            Colour const* const a = upper.texels.data() + m_columns[i];
            Colour const* const b = lower.texels.data() + m_columns[i];
            out[i] = BilinearByAlpha(a[0], a[1], b[0], b[1], m_columnWeights[i], rows.weight);
        }
    }
}

void ImageRows::MakeMeans(int y, Colour* out, Scratch& scratch) const {
    scratch.weights.clear();
    TexelRun const run = AreaRun(m_down, y, m_texture.height, scratch.weights);
    std::size_t const values = static_cast<std::size_t>(m_texelCount) * m_texelBytes;
    scratch.sums.resize(values + kChannels);
    std::uint32_t* const sums = scratch.sums.data();
    auto const row = [&](std::size_t i) {
        return Row(run.first + static_cast<int>(i)) +
               static_cast<std::size_t>(m_firstTexel) * m_texelBytes;
    };
    std::uint32_t const* const weights = scratch.weights.data();
    StartSums(row(0), weights[0], values, sums);
    for (std::size_t i = 1; i < run.count; i += 2) {
        bool const single = i + 1 == run.count;
        AddToSums(
            row(i),
            weights[i],
            single ? row(i) : row(i + 1),
            single ? 0 : weights[i + 1],
            values,
            sums);
    }
    NarrowSums(values, sums);
    MeanColumns(sums, m_texelBytes, m_runs.data(), m_runWeights.data(), m_count, BytesOf(out));
    if (HasAlpha(m_texture.format)) {
        WeightedRows const rows{row(0), m_texture.stride, weights, run.count};
        MeanByAlpha(rows, m_runs.data(), m_runWeights.data(), m_count, BytesOf(out));
    }
    SpreadChannels(m_texture.format, out, m_count);
}

void ImageRows::Make(int y, Colour* out, Scratch& scratch) const {
    if (m_means) {
        return MakeMeans(y, out, scratch);
    }
    TexelPair const rows = RowsAt(y);
    if (m_blended || rows.weight != 0) {
        MakeBlended(rows, out, scratch);
    } else if (m_consecutive) {
        std::size_t const first = static_cast<std::size_t>(m_firstTexel) * m_texelBytes;
        m_convert(Row(rows.first) + first, out, static_cast<unsigned>(m_count));
    } else {
        scratch.texels.resize(static_cast<std::size_t>(m_texelCount) + 1);
        ReadTexels(rows.first, scratch.texels.data());
        Gather(scratch.texels.data(), m_columns.data(), m_count, out);
    }
}

} // namespace drivers::raster::detail
