#pragma once

#include "drivers/raster/detail/Blend.h"

#include <cstdint>
#include <cstring>

namespace drivers::raster::detail {

/// Pixels that are drawn together.
constexpr int kLanes = 4;
using Counts = std::int32_t __attribute__((vector_size(16)));

/// Four pixels, and two of them with a channel a lane.
using Words = std::uint32_t __attribute__((vector_size(16)));
using Bytes = std::uint8_t __attribute__((vector_size(16)));
using Channels = std::uint16_t __attribute__((vector_size(16)));

/// Mix() for two pixels; `alphas` holds each pixel's alpha twice in its two places of four.
inline Channels MixPixels(Channels over, Channels under, Counts alphas) {
    auto const alpha = reinterpret_cast<Channels>(alphas);
    Channels const sum = over * alpha + under * (255 - alpha) + 128; // below 65536
    return (sum + (sum >> 8)) >> 8;
}

/// Four pixels at equal distances.
inline Words LoadFour(Colour const* pixels, std::ptrdiff_t step) {
    Words words;
    if (step == 1) {
        std::memcpy(&words, pixels, sizeof words);
        return words;
    }
    std::uint32_t w[kLanes];
    for (int k = 0; k < kLanes; ++k) {
        std::memcpy(&w[k], pixels + k * step, sizeof w[k]);
    }
    return Words{w[0], w[1], w[2], w[3]};
}

inline void StoreFour(Words words, Colour* pixels, std::ptrdiff_t step) {
    if (step == 1) {
        std::memcpy(static_cast<void*>(pixels), &words, sizeof words);
        return;
    }
    for (int k = 0; k < kLanes; ++k) {
        std::uint32_t const word = words[k];
        std::memcpy(static_cast<void*>(pixels + k * step), &word, sizeof word);
    }
}

/// Draws pixels of one colour, each covered in part; those of BlendPixel().
class CoverPen {
public:
    explicit CoverPen(Ink const& ink) : m_ink(ink) {
        Colour const c = ink.colour;
        m_over = Channels{c.r, c.g, c.b, 255, c.r, c.g, c.b, 255};
    }

    void Put(Colour& pixel, unsigned coverage) const {
        BlendPixel(pixel, m_ink.colour, Scale(coverage, m_ink.colour.a));
    }
    /// Pixels at equal distances.
    void PutFour(Colour* pixels, std::ptrdiff_t step, Counts coverage) const {
        Counts alpha = coverage;
        if (!m_ink.Solid()) {
            Counts const v = coverage * static_cast<std::int32_t>(m_ink.colour.a) + 127;
            alpha = (v + 1 + (v >> 8)) >> 8;
        }
        alpha |= alpha << 16;
        constexpr Bytes zero = {};
        auto const bytes = reinterpret_cast<Bytes>(LoadFour(pixels, step));
        Bytes const first = __builtin_shufflevector(
            bytes, zero, 0, 16, 1, 17, 2, 18, 3, 19, 4, 20, 5, 21, 6, 22, 7, 23);
        Bytes const last = __builtin_shufflevector(
            bytes, zero, 8, 24, 9, 25, 10, 26, 11, 27, 12, 28, 13, 29, 14, 30, 15, 31);
        Channels const mixed0 = MixPixels(
            m_over,
            reinterpret_cast<Channels>(first),
            __builtin_shufflevector(alpha, alpha, 0, 0, 1, 1));
        Channels const mixed1 = MixPixels(
            m_over,
            reinterpret_cast<Channels>(last),
            __builtin_shufflevector(alpha, alpha, 2, 2, 3, 3));
        Bytes const packed = __builtin_shufflevector(
            reinterpret_cast<Bytes>(mixed0),
            reinterpret_cast<Bytes>(mixed1),
            0,
            2,
            4,
            6,
            8,
            10,
            12,
            14,
            16,
            18,
            20,
            22,
            24,
            26,
            28,
            30);
        StoreFour(reinterpret_cast<Words>(packed), pixels, step);
    }

private:
    Ink m_ink;
    Channels m_over;
};

/// Draws pixels side by side in one colour, each as far as it is covered (0 to 255).
/// @param room pixels up to the end of the row: those behind `count` are written as they are
inline void
CoverRow(Colour* row, unsigned char const* coverage, int count, int room, CoverPen const& pen) {
    using Coverages = std::uint8_t __attribute__((vector_size(kLanes)));
    int done = 0;
    for (; done + kLanes <= count; done += kLanes) {
        std::uint32_t word;
        std::memcpy(&word, coverage + done, sizeof word);
        if (word != 0) {
            auto const four = reinterpret_cast<Coverages>(word);
            pen.PutFour(row + done, 1, __builtin_convertvector(four, Counts));
        }
    }
    int const left = count - done;
    unsigned char const* const rest = coverage + done;
    if (room - done < kLanes) {
        for (int i = 0; i < left; ++i) {
            pen.Put(row[done + i], rest[i]);
        }
    } else if (left > 0) {
        // Not the last lanes once more: they would wait for what has just been stored.
        Counts const few = {rest[0], left > 1 ? rest[1] : 0, left > 2 ? rest[2] : 0, 0};
        pen.PutFour(row + done, 1, few);
    }
}

/// The same for a mask whose first pixel lies at (x, y), inside the clip as a whole.
void CoverRows(
    Target const& target,
    int x,
    int y,
    unsigned char const* coverage,
    std::ptrdiff_t stride,
    int width,
    int height,
    Ink const& ink);

} // namespace drivers::raster::detail
