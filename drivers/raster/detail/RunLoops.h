#pragma once

#include "drivers/raster/DrawState.h"

#include <cstdint>

namespace drivers::raster::detail {

/// Pixels that are computed together.
constexpr int RunLength = 64;

/// A value over a triangle, linear on the screen.
struct Slope {
    double atOrigin;
    double perX;
    double perY;
};

// The loops over the pixels of a run, in versions for newer vector units. They may fill up the
// arrays, which hold RunLength numbers each, beyond `count`.

/// Row values r at pixels x, x + 1, ...: r + (pixel's centre - origin) * perX.
void NearnessAlong(int x, int count, double origin, double row, double perX, float* out);

/// The depth test of pixels that are as near as NearnessAlong() has it: takes over how near those
/// are that are seen, and sets all bits of `seen` for them, none for others.
/// @return how many are seen
int TakeOver(
    int x, int count, double origin, double row, double perX, float* there, std::uint32_t* seen);

/// Some values along a row of pixels, as NearnessAlong(). With `scale`, the last of the rows is
/// 1 / distance: its inverse goes to `scale`, and multiplies the values before it.
void ValuesAlong(
    int values,
    int x,
    int count,
    double origin,
    double const* rows,
    Slope const* slopes,
    double* scale,
    double (*out)[RunLength]);

/// The same at scattered pixels, whose centres lie dx, dy from the origin of the slopes; both are
/// filled up.
void ValuesAt(
    int values,
    int count,
    double* dx,
    double* dy,
    Slope const* slopes,
    double* scale,
    double (*out)[RunLength]);

/// Rounds three or four channels, cut to 0 ... 255, to colours; alpha where there are three.
void ColoursOf(
    int channels, int count, double const (*values)[RunLength], unsigned alpha, Colour* out);

/// As NearestTexel(), for both coordinates.
void NearestTexels(
    int count, double const* u, double const* v, int width, int height, int* column, int* row);

} // namespace drivers::raster::detail
