#include "drivers/raster/detail/MeshRows.h"

#include "drivers/raster/detail/Clones.h"
#include "drivers/raster/detail/Cover.h"

#include <algorithm>
#include <cstring>

namespace drivers::raster::detail {

namespace {

constexpr int kWhole = PathFill::Whole;

/// The alphas of pixels that are covered by so much, the whole of one at most.
RASTER_CLONES void
AlphasOf(int const* __restrict sums, int count, int alpha, unsigned char* __restrict out) {
    for (int i = 0; i < count; ++i) {
        int const above = sums[i] > 0 ? sums[i] : 0;
        int const share = above < kWhole ? above : kWhole;
        out[i] = static_cast<unsigned char>((share * alpha + kWhole / 2) / kWhole);
    }
}

/// The alpha of a pixel that is covered more than once.
unsigned char AlphaOfLayers(int sum, int alpha) {
    double const layer = 1 - alpha / 255.0;
    double rest = 1 - (sum % kWhole) / double{kWhole} * (alpha / 255.0);
    double factor = layer;
    for (int layers = sum / kWhole; layers > 0; layers /= 2) {
        rest *= layers % 2 != 0 ? factor : 1;
        factor *= factor;
    }
    return RoundChannel(255 * (1 - rest));
}

} // namespace

void EvenRows::Start(math::Rect2<int> const& area) {
    m_area = area;
    m_count = 0;
    m_from = area.right;
    m_to = area.left;
    auto const width = static_cast<std::size_t>(area.Width());
    std::size_t const size = (width + 1) * static_cast<std::size_t>(area.Height());
    if (m_changes.size() < size) {
        m_changes.resize(size, 0);
    }
    if (m_sums.size() < width) {
        m_sums.resize(width);
        m_alphas.resize(width);
    }
}

ShareRow EvenRows::RowAt(int y) {
    std::ptrdiff_t const width = m_area.Width() + 1;
    return {m_changes.data() + (y - m_area.top) * width, m_area.left, m_area.right};
}

void EvenRows::Add(Point const (&corners)[3], double area) {
    if (m_count == MostAtOnce) {
        Settle();
    }
    ++m_count;
    auto const& [a, b, c] = corners;
    for (ShareEdge const& edge :
         {ShareEdge(a, b, area < 0), ShareEdge(b, c, area < 0), ShareEdge(c, a, area < 0)}) {
        int const end = std::min(edge.LastRow() + 1, m_area.bottom);
        for (int y = std::max(edge.FirstRow(), m_area.top); y < end; ++y) {
            edge.AddTo(RowAt(y), y);
        }
    }
    Touch(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}));
}

void EvenRows::Touch(double left, double right) {
    m_from = left < m_from ? std::max(m_area.left, FloorPixel(left)) : m_from;
    m_to = right >= m_to ? std::min(m_area.right, FloorPixel(right) + 1) : m_to;
}

/// Takes what is covered of a row's pixels out. @return the most
int EvenRows::TakeSums(int y) {
    ShareRow const row = RowAt(y);
    int sum = 0;
    int most = 0;
    for (int x = m_from; x < m_to; ++x) {
        sum += row.At(x);
        row.At(x) = 0;
        m_sums[static_cast<std::size_t>(x - m_from)] = sum;
        most = std::max(most, sum);
    }
    row.At(m_to) = 0;
    return most;
}

/// Makes sure that more fits in: what is covered so often looks no different.
void EvenRows::Settle() {
    m_count = 0;
    for (int y = m_area.top; y < m_area.bottom && m_from < m_to; ++y) {
        TakeSums(y);
        ShareRow const row = RowAt(y);
        int before = 0;
        for (int x = m_from; x < m_to; ++x) {
            int const sum = std::min(m_sums[static_cast<std::size_t>(x - m_from)], MostSettled);
            row.At(x) = sum - before;
            before = sum;
        }
    }
}

void EvenRows::Finish(Target const& target, Ink const& ink) {
    Ink solid = ink; // the alphas have its alpha in them
    solid.colour = Opaque(ink.colour);
    CoverPen const pen(solid);
    for (int y = m_area.top; y < m_area.bottom && m_from < m_to; ++y) {
        int const most = TakeSums(y);
        if (most == 0) {
            continue;
        }
        int const count = m_to - m_from;
        AlphasOf(m_sums.data(), count, ink.colour.a, m_alphas.data());
        for (std::size_t i = 0; most > kWhole && !ink.Solid() && i < m_alphas.size(); ++i) {
            if (m_sums[i] > kWhole) {
                m_alphas[i] = AlphaOfLayers(m_sums[i], ink.colour.a);
            }
        }
        int const room = static_cast<int>(target.stride) - m_from;
        CoverRow(target.At(m_from, y), m_alphas.data(), count, room, pen);
    }
}

void MeshRows::Start(Target const& part) {
    m_part = part;
    math::Rect2<int> const& area = part.clip;
    auto const height = static_cast<std::size_t>(area.Height());
    std::size_t const size = static_cast<std::size_t>(area.Width()) * height;
    if (m_shares.size() < size) {
        m_shares.resize(size, 0);
        m_colours.resize(4 * size, 0);
    }
    m_touched.assign(height, {area.right, area.left});
}

void MeshRows::Touch(int x, int y) {
    Touched& touched = m_touched[static_cast<std::size_t>(y - m_part.clip.top)];
    touched = {std::min(touched.from, x), std::max(touched.to, x + 1)};
}

void MeshRows::Add(int x, int y, int share, Colour colour) {
    std::size_t const at = At(x, y);
    if (share == kWhole) {
        Colour& pixel = *m_part.At(x, y);
        if (m_shares[at] != 0) {
            Settle(at, pixel);
        }
        return BlendPixel(pixel, colour, colour.a);
    }
    Touch(x, y);
    constexpr float unit = 1.0F / kWhole;
    // Both are whole numbers of units, so their sum is exact.
    float const part = static_cast<float>(share) * unit;
    float const old = m_shares[at];
    float const sum = old + part;
    float const overlap = std::max(sum - 1, 0.0F);
    float const alpha = static_cast<float>(colour.a) / 255;
    float const kept = 1 - overlap * alpha / std::max(old, unit);
    float const weight = part * alpha;
    m_shares[at] = std::min(sum, 1.0F);
    Channels const over{float(colour.r), float(colour.g), float(colour.b), 1};
    Channels channels;
    std::memcpy(&channels, &m_colours[4 * at], sizeof channels);
    channels = channels * kept + over * weight;
    std::memcpy(&m_colours[4 * at], &channels, sizeof channels);
}

void MeshRows::AddWhole(int x, int y, Colour const* colours, int count) {
    std::size_t const at = At(x, y);
    Colour* const pixels = m_part.At(x, y);
    for (int i = 0; i < count; ++i) {
        if (m_shares[at + static_cast<std::size_t>(i)] != 0) {
            Settle(at + static_cast<std::size_t>(i), pixels[i]);
        }
    }
    for (int i = 0; i < count; ++i) {
        BlendPixel(pixels[i], colours[i], colours[i].a);
    }
}

void MeshRows::Settle(std::size_t at, Colour& pixel) {
    Channels channels;
    std::memcpy(&channels, &m_colours[4 * at], sizeof channels);
    float const rest = 1 - channels[3];
    auto const mix = [rest](float colour, unsigned char under) {
        return static_cast<unsigned char>(colour + rest * static_cast<float>(under) + 0.5F);
    };
    pixel = {mix(channels[0], pixel.r), mix(channels[1], pixel.g), mix(channels[2], pixel.b), 255};
    m_shares[at] = 0;
    std::fill_n(&m_colours[4 * at], 4, 0.0F);
}

void MeshRows::Finish() {
    for (int y = m_part.clip.top; y < m_part.clip.bottom; ++y) {
        Touched& touched = m_touched[static_cast<std::size_t>(y - m_part.clip.top)];
        for (int x = touched.from; x < touched.to; ++x) {
            std::size_t const at = At(x, y);
            if (m_shares[at] != 0) {
                Settle(at, *m_part.At(x, y));
            }
        }
        touched = {m_part.clip.right, m_part.clip.left};
    }
}

} // namespace drivers::raster::detail
