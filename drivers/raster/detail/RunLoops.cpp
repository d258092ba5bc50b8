#include "drivers/raster/detail/RunLoops.h"

#include "drivers/raster/detail/Clones.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace drivers::raster::detail {

namespace {

/// Whole vectors, which need no loop for the rest.
constexpr int Whole(int count) {
    return (count + 3) & ~3;
}
static_assert(Whole(RunLength) == RunLength);

/// A pixel's word with 1 in one of its bytes.
std::uint32_t One(int byte) {
    unsigned char bytes[4] = {};
    bytes[byte] = 1;
    std::uint32_t word;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline double Texel(double at, double last) {
    double const cut = at > 0 ? at : 0; // not a number counts as 0
    return cut < last ? cut : last;
}

} // namespace

RASTER_CLONES void
NearnessAlong(int x, int count, double origin, double row, double perX, float* out) {
    for (int k = 0; k < Whole(count); ++k) {
        out[k] = static_cast<float>(row + (x + k + 0.5 - origin) * perX);
    }
}

RASTER_CLONES int TakeOver(
    int x,
    int count,
    double origin,
    double row,
    double perX,
    float* __restrict there,
    std::uint32_t* __restrict seen) {
    float nearness[RunLength];
    for (int k = 0; k < Whole(count); ++k) {
        nearness[k] = static_cast<float>(row + (x + k + 0.5 - origin) * perX);
    }
    std::uint32_t visible = 0;
    for (int k = 0; k < count; ++k) {
        seen[k] = nearness[k] >= there[k] ? ~0U : 0;
        visible -= seen[k];
    }
    if (visible != 0) {
        for (int k = 0; k < count; ++k) {
            there[k] = seen[k] != 0 ? nearness[k] : there[k];
        }
    }
    return static_cast<int>(visible);
}

RASTER_CLONES void ValuesAlong(
    int values,
    int x,
    int count,
    double origin,
    double const* rows,
    Slope const* slopes,
    double* __restrict scale,
    double (*__restrict out)[RunLength]) {
    count = Whole(count);
    if (scale != nullptr) {
        double const row = rows[values];
        double const perX = slopes[values].perX;
        for (int k = 0; k < count; ++k) {
            scale[k] = 1 / (row + (x + k + 0.5 - origin) * perX);
        }
    }
    for (int i = 0; i < values; ++i) {
        double const row = rows[i];
        double const perX = slopes[i].perX;
        double* __restrict const to = out[i];
        if (scale != nullptr) {
            for (int k = 0; k < count; ++k) {
                to[k] = (row + (x + k + 0.5 - origin) * perX) * scale[k];
            }
        } else {
            for (int k = 0; k < count; ++k) {
                to[k] = row + (x + k + 0.5 - origin) * perX;
            }
        }
    }
}

RASTER_CLONES void ValuesAt(
    int values,
    int count,
    double* __restrict dx,
    double* __restrict dy,
    Slope const* slopes,
    double* __restrict scale,
    double (*__restrict out)[RunLength]) {
    int const whole = Whole(count);
    for (int k = count; k < whole; ++k) {
        dx[k] = dx[count - 1];
        dy[k] = dy[count - 1];
    }
    if (scale != nullptr) {
        Slope const slope = slopes[values];
        for (int k = 0; k < whole; ++k) {
            scale[k] = 1 / (slope.atOrigin + dy[k] * slope.perY + dx[k] * slope.perX);
        }
    }
    for (int i = 0; i < values; ++i) {
        Slope const slope = slopes[i];
        double* __restrict const to = out[i];
        if (scale != nullptr) {
            for (int k = 0; k < whole; ++k) {
                to[k] = (slope.atOrigin + dy[k] * slope.perY + dx[k] * slope.perX) * scale[k];
            }
        } else {
            for (int k = 0; k < whole; ++k) {
                to[k] = slope.atOrigin + dy[k] * slope.perY + dx[k] * slope.perX;
            }
        }
    }
}

RASTER_CLONES void ColoursOf(
    int channels,
    int count,
    double const (*__restrict values)[RunLength],
    unsigned alpha,
    Colour* __restrict out) {
    std::uint32_t words[RunLength];
    count = Whole(count);
    for (int k = 0; k < count; ++k) {
        words[k] = channels < 4 ? alpha * One(3) : 0;
    }
    for (int i = 0; i < channels; ++i) {
        std::uint32_t const one = One(i);
        double const* __restrict const from = values[i];
        for (int k = 0; k < count; ++k) {
            double const above = from[k] > 0 ? from[k] : 0;
            double const cut = above < 255 ? above : 255;
            words[k] += static_cast<std::uint32_t>(static_cast<int>(cut + 0.5)) * one;
        }
    }
    std::memcpy(static_cast<void*>(out), words, static_cast<std::size_t>(count) * sizeof *out);
}

RASTER_CLONES void NearestTexels(
    int count,
    double const* __restrict u,
    double const* __restrict v,
    int width,
    int height,
    int* __restrict column,
    int* __restrict row) {
    double const right = width - 1;
    double const bottom = height - 1;
    for (int k = 0; k < Whole(count); ++k) {
        column[k] = static_cast<int>(Texel(u[k], right));
        row[k] = static_cast<int>(Texel(v[k], bottom));
    }
}

} // namespace drivers::raster::detail
