#include "drivers/raster/detail/MeshRows.h"

#include "drivers/raster/detail/Clones.h"
#include "drivers/raster/detail/PathFill.h"

#include <algorithm>

namespace drivers::raster::detail {

namespace {

/// Adds parts to shares: tells how much is left of the colour there, and how much the new counts.
RASTER_CLONES void AddShares(
    float* __restrict shares,
    float* __restrict alphas,
    int const* __restrict parts,
    float const* __restrict alpha,
    float* __restrict kept,
    float* __restrict weight,
    int count) {
    constexpr float unit = 1.0F / PathFill::Whole;
    for (int i = 0; i < count; ++i) {
        // Both are whole numbers of units, so their sum is exact.
        float const part = static_cast<float>(parts[i]) * unit;
        float const old = shares[i];
        float const sum = old + part;
        float const overlap = sum > 1 ? sum - 1 : 0;
        kept[i] = 1 - overlap * alpha[i] / (old > unit ? old : unit);
        weight[i] = part * alpha[i];
        alphas[i] = alphas[i] * kept[i] + weight[i];
        shares[i] = sum > 1 ? 1 : sum;
    }
}

RASTER_CLONES void AddColours(
    float* __restrict sums,
    float const* __restrict kept,
    float const* __restrict weight,
    float const* __restrict colours,
    int count) {
    for (int i = 0; i < count; ++i) {
        sums[i] = sums[i] * kept[i] + weight[i] * colours[i];
    }
}

unsigned char MixRest(float colour, float rest, unsigned char under) {
    return static_cast<unsigned char>(colour + rest * under + 0.5F);
}

} // namespace

void MeshRows::Start(math::Rect2<int> const& area) {
    m_area = area;
    auto const size =
        static_cast<std::size_t>(area.Width()) * static_cast<std::size_t>(area.Height());
    for (std::vector<float>& plane : m_planes) {
        if (plane.size() < size) {
            plane.resize(size, 0);
        }
    }
    m_touched.assign(static_cast<std::size_t>(area.Height()), {area.right, area.left});
}

float* MeshRows::At(Plane plane, int y, int x) {
    return m_planes[plane].data() + (y - m_area.top) * std::ptrdiff_t{m_area.Width()} +
           (x - m_area.left);
}

void MeshRows::Add(int y, int x, int count, int const* shares, ColourRun const& colours) {
    float kept[RunLength];
    float weight[RunLength];
    float const* const alpha = colours.channels[3];
    AddShares(At(Share, y, x), At(Alpha, y, x), shares, alpha, kept, weight, count);
    AddColours(At(Red, y, x), kept, weight, colours.channels[0], count);
    AddColours(At(Green, y, x), kept, weight, colours.channels[1], count);
    AddColours(At(Blue, y, x), kept, weight, colours.channels[2], count);
    Touched& touched = m_touched[static_cast<std::size_t>(y - m_area.top)];
    touched = {std::min(touched.from, x), std::max(touched.to, x + count)};
}

void MeshRows::Finish(Target const& target) {
    for (int y = m_area.top; y < m_area.bottom; ++y) {
        Touched const& touched = m_touched[static_cast<std::size_t>(y - m_area.top)];
        if (touched.from >= touched.to) {
            continue;
        }
        int const count = touched.to - touched.from;
        Colour* const pixels = target.At(touched.from, y);
        float* planes[Planes];
        for (int plane = 0; plane < Planes; ++plane) {
            planes[plane] = At(static_cast<Plane>(plane), y, touched.from);
        }
        for (int i = 0; i < count; ++i) {
            float const rest = 1 - planes[Alpha][i];
            Colour& pixel = pixels[i];
            pixel = {
                MixRest(planes[Red][i], rest, pixel.r),
                MixRest(planes[Green][i], rest, pixel.g),
                MixRest(planes[Blue][i], rest, pixel.b),
                255};
        }
        for (float* plane : planes) {
            std::fill_n(plane, count, 0.0F);
        }
    }
}

} // namespace drivers::raster::detail
