#pragma once

#include "drivers/raster/DrawState.h"
#include "math/Rect2.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace drivers::raster::detail {

/// Where the operations draw: the pixels of a canvas and the part that may be changed.
struct Target {
    Colour* pixels = nullptr;
    std::ptrdiff_t stride = 0; ///< in pixels
    math::Rect2<int> clip;
    float* nearness = nullptr; ///< 1 / distance of each pixel, 0 for none; null: no depth test

    Colour* At(int x, int y) const { return pixels + y * stride + x; }
    float* NearnessAt(int x, int y) const { return nearness + y * stride + x; }
    float* NearnessOf(Colour const* pixel) const { return nearness + (pixel - pixels); }
};

/// The depth test: what is as near as what is there is drawn over it. Takes the nearness over.
inline bool IsSeen(float& there, float nearness) {
    bool const seen = nearness >= there;
    there = seen ? nearness : there;
    return seen;
}

/// v / 255, rounded down; exact for v < 65535.
inline unsigned Div255(unsigned v) {
    return (v + 1 + (v >> 8)) >> 8;
}

/// a * b / 255, rounded to nearest.
inline unsigned char Scale(unsigned a, unsigned b) {
    return static_cast<unsigned char>(Div255(a * b + 127));
}

/// One channel of source over destination.
inline unsigned char Mix(unsigned source, unsigned destination, unsigned alpha) {
    return static_cast<unsigned char>(Div255(source * alpha + destination * (255 - alpha) + 127));
}

inline Colour Modulate(Colour x, Colour y) {
    return {Scale(x.r, y.r), Scale(x.g, y.g), Scale(x.b, y.b), Scale(x.a, y.a)};
}

/// The nearest whole number; value from 0 to 255.
inline unsigned char RoundChannel(double value) {
    double const up = value + 0.5; // lround() is a call, and per pixel that shows
    return static_cast<unsigned char>(up);
}

/// A colour with full alpha. In whole words, which compilers keep in one register.
inline Colour Opaque(Colour c) {
    constexpr unsigned char full[4] = {0, 0, 0, 255};
    std::uint32_t word;
    std::uint32_t mask;
    static_assert(sizeof word == sizeof c);
    std::memcpy(&word, &c, sizeof word);
    std::memcpy(&mask, full, sizeof mask);
    word |= mask;
    std::memcpy(static_cast<void*>(&c), &word, sizeof word);
    return c;
}

inline void MakeOpaque(Colour* row, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        row[i] = Opaque(row[i]);
    }
}

inline void BlendPixel(Colour& d, Colour s, unsigned alpha) {
    d = {Mix(s.r, d.r, alpha), Mix(s.g, d.g, alpha), Mix(s.b, d.b, alpha), 255};
}

/// Writes a colour as the blend setting wants it.
template <bool Blend>
inline void Put(Colour& d, Colour s) {
    if constexpr (Blend) {
        BlendPixel(d, s, s.a);
    } else {
        d = Opaque(s);
    }
}

/// The same if the pixel is seen; without a branch where possible: that is hard to foretell.
template <bool Blend>
inline void PutIf(bool seen, Colour& d, Colour s) {
    if constexpr (Blend) {
        if (seen) {
            BlendPixel(d, s, s.a);
        }
    } else {
        // As FillRow: whole words become wide stores.
        Colour const opaque = Opaque(s);
        std::uint32_t word;
        std::uint32_t old;
        std::memcpy(&word, &opaque, sizeof word);
        std::memcpy(&old, &d, sizeof old);
        word = seen ? word : old;
        std::memcpy(static_cast<void*>(&d), &word, sizeof word);
    }
}

/// The current colour with the blend setting worked in: alpha is 255 unless pixels show through.
struct Ink {
    Colour colour;

    explicit Ink(DrawState const& state)
        : colour(state.blend ? state.colour : Opaque(state.colour)) {}
    bool Solid() const { return colour.a == 255; }
    bool Invisible() const { return colour.a == 0; }
};

inline void FillRow(Colour* row, std::ptrdiff_t count, Colour colour) {
    // Whole words: compilers turn this, not a loop of four-byte structs, into wide stores.
    std::uint32_t word;
    std::memcpy(&word, &colour, sizeof word);
    auto* bytes = reinterpret_cast<unsigned char*>(row);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::memcpy(bytes + i * 4, &word, sizeof word);
    }
}

inline void BlendRow(Colour* row, std::ptrdiff_t count, Colour colour) {
    unsigned const rest = 255u - colour.a;
    unsigned const r = colour.r * unsigned{colour.a} + 127;
    unsigned const g = colour.g * unsigned{colour.a} + 127;
    unsigned const b = colour.b * unsigned{colour.a} + 127;
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        row[i].r = static_cast<unsigned char>(Div255(r + row[i].r * rest));
        row[i].g = static_cast<unsigned char>(Div255(g + row[i].g * rest));
        row[i].b = static_cast<unsigned char>(Div255(b + row[i].b * rest));
        row[i].a = 255;
    }
}

/// Pixels side by side, inside the clip.
inline void FillPixels(Colour* row, std::ptrdiff_t count, Ink const& ink) {
    if (ink.Solid()) {
        FillRow(row, count, ink.colour);
    } else {
        BlendRow(row, count, ink.colour);
    }
}

/// Pixels x0 <= x < x1 of row y, inside the clip.
inline void FillSpan(Target const& target, int y, int x0, int x1, Ink const& ink) {
    FillPixels(target.At(x0, y), x1 - x0, ink);
}

/// Those of the pixels that pass the depth test.
inline void FillSeenPixels(
    Colour* row, std::ptrdiff_t count, float const* nearness, float* there, Ink const& ink) {
    if (!ink.Solid()) {
        for (std::ptrdiff_t i = 0; i < count; ++i) {
            if (IsSeen(there[i], nearness[i])) {
                BlendPixel(row[i], ink.colour, ink.colour.a);
            }
        }
        return;
    }
    // As FillRow: whole words become wide stores.
    std::uint32_t word;
    std::memcpy(&word, &ink.colour, sizeof word);
    auto* bytes = reinterpret_cast<unsigned char*>(row);
    for (std::ptrdiff_t i = 0; i < count; ++i) {
        std::uint32_t old;
        std::memcpy(&old, bytes + i * 4, sizeof old);
        bool const seen = nearness[i] >= there[i];
        old = seen ? word : old;
        there[i] = seen ? nearness[i] : there[i];
        std::memcpy(bytes + i * 4, &old, sizeof old);
    }
}

/// Those of the pixels, each as far as it is covered, that pass the depth test. What is covered by
/// half at least is as near as what covers it.
inline void CoverSeenRow(
    Colour* row,
    unsigned char const* coverage,
    int count,
    float const* nearness,
    float* there,
    Ink const& ink) {
    for (int i = 0; i < count; ++i) {
        unsigned const alpha = Scale(coverage[i], ink.colour.a);
        if (alpha != 0 && nearness[i] >= there[i]) {
            BlendPixel(row[i], ink.colour, alpha);
            there[i] = coverage[i] >= 128 ? nearness[i] : there[i];
        }
    }
}

} // namespace drivers::raster::detail
