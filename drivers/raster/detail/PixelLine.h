#pragma once

#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/Clip.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace drivers::raster::detail {

/// A line between two pixels within the guard band, one pixel thick.
struct PixelLine {
    int x0 = 0;
    int y0 = 0;
    int x1 = 0;
    int y1 = 0;
    double near0 = 1; ///< 1 / distance at (x0, y0)
    double near1 = 1;

    float NearnessAt(int step, int length) const {
        double const share = length > 0 ? double(step) / length : 0;
        return static_cast<float>(near0 + (near1 - near0) * share);
    }
};

/// The pixels that the ends of a segment fall into.
inline PixelLine PixelsOf(Segment const& segment) {
    return {
        FloorPixel(segment.a.x),
        FloorPixel(segment.a.y),
        FloorPixel(segment.b.x),
        FloorPixel(segment.b.y),
        segment.nearA,
        segment.nearB};
}

/// Bresenham's line as numbers: step k from 0 to length moves one pixel along the major axis, and
/// the minor axis has then moved by floor((2 * rise * k + length) / (2 * length)).
struct PixelSteps {
    std::int64_t length = 0;
    std::int64_t rise = 0;

    /// First step at which the minor axis has moved by m >= 0.
    std::int64_t FirstAt(std::int64_t m) const {
        if (m <= 0) {
            return 0;
        }
        if (m > rise) {
            return length + 1;
        }
        return ((2 * m - 1) * length + 2 * rise - 1) / (2 * rise);
    }
};

/// Steps [from, to] of a line that are to be drawn; empty where from > to.
struct StepRange {
    std::int64_t from = 0;
    std::int64_t to = 0;
};

/// The steps of a line inside the clip [majorLo, majorHi) x [minorLo, minorHi).
inline StepRange VisibleSteps(
    PixelSteps const& steps, int major, int minor, int minorSign, math::Rect2<int> const& clip) {
    std::int64_t from = std::max<std::int64_t>(0, std::int64_t{clip.left} - major);
    std::int64_t to = std::min<std::int64_t>(steps.length, std::int64_t{clip.right} - 1 - major);
    // The minor moves m at which the line is inside.
    std::int64_t const near =
        minorSign > 0 ? std::int64_t{clip.top} - minor : std::int64_t{minor} - (clip.bottom - 1);
    std::int64_t const far =
        minorSign > 0 ? std::int64_t{clip.bottom} - 1 - minor : std::int64_t{minor} - clip.top;
    if (far < 0) {
        return {1, 0};
    }
    from = std::max(from, steps.FirstAt(near));
    to = std::min(to, steps.FirstAt(far + 1) - 1);
    return {from, to};
}

/// Calls plot(pixel, k, length) along the line where it is inside the clip, k = 0 at (x0, y0).
/// The same pixels are drawn from either end.
template <class Plot>
void WalkLine(Target const& target, PixelLine line, Plot&& plot) {
    bool const steep = std::abs(line.y1 - line.y0) > std::abs(line.x1 - line.x0);
    math::Rect2<int> clip = target.clip;
    if (steep) {
        std::swap(line.x0, line.y0);
        std::swap(line.x1, line.y1);
        clip = {clip.top, clip.left, clip.bottom, clip.right};
    }
    // Ties are rounded by the direction, so the direction is made the same for both.
    bool const turned = line.x1 < line.x0;
    if (turned) {
        std::swap(line.x0, line.x1);
        std::swap(line.y0, line.y1);
    }
    int const sign = line.y1 < line.y0 ? -1 : 1;
    PixelSteps const steps{line.x1 - line.x0, std::abs(line.y1 - line.y0)};
    bool const inside = line.x0 >= clip.left && line.x1 < clip.right &&
                        std::min(line.y0, line.y1) >= clip.top &&
                        std::max(line.y0, line.y1) < clip.bottom;
    StepRange const range =
        inside ? StepRange{0, steps.length} : VisibleSteps(steps, line.x0, line.y0, sign, clip);
    if (range.from > range.to) {
        return;
    }
    int const length = static_cast<int>(steps.length);
    int const first = static_cast<int>(range.from);
    int const last = static_cast<int>(range.to);
    std::int64_t const start = 2 * steps.rise * first + length;
    std::int64_t const moved = first > 0 ? start / (2 * steps.length) : 0;
    int error = static_cast<int>(start - moved * 2 * steps.length);
    int const rise2 = static_cast<int>(2 * steps.rise);
    int const length2 = 2 * length;
    int const major = line.x0 + first;
    int const minor = line.y0 + sign * static_cast<int>(moved);
    std::ptrdiff_t const majorStep = steep ? target.stride : 1;
    std::ptrdiff_t const minorStep = (steep ? 1 : target.stride) * sign;
    Colour* pixel = steep ? target.At(minor, major) : target.At(major, minor);
    for (int k = first;; ++k) {
        plot(*pixel, turned ? length - k : k, length);
        if (k == last) {
            break;
        }
        pixel += majorStep;
        error += rise2;
        if (error >= length2) {
            error -= length2;
            pixel += minorStep;
        }
    }
}

/// Calls plot(pixel) along a line that lies inside the clip: the pixels of WalkLine(), found by
/// adding up a fraction and without a branch that depends on the direction.
template <class Plot>
void WalkLineInside(Target const& target, Pixel const& from, Pixel const& to, Plot&& plot) {
    int const dx = to.x - from.x;
    int const dy = to.y - from.y;
    bool const steep = std::abs(dy) > std::abs(dx);
    int const length = std::max(std::abs(dx), std::abs(dy));
    int const rise = std::min(std::abs(dx), std::abs(dy));
    bool const turned = (steep ? dy : dx) < 0;
    std::ptrdiff_t const alongX = dx < 0 ? -1 : 1;
    std::ptrdiff_t const alongY = dy < 0 ? -target.stride : target.stride;
    std::ptrdiff_t const major = steep ? alongY : alongX;
    std::ptrdiff_t const minor = steep ? alongX : alongY;
    // In units of 2^-32. Ties move on from one end and stay from the other, so the sum is kept a
    // little above its exact value or below it: by less than 2^-17, while sums that are no ties are
    // 1 / (2 * length) > 2^-16 away from the next whole number.
    static_assert(Canvas::MaxSize < 1 << 15);
    std::uint64_t const above = turned ? 0 : 1;
    double const slope = double(rise) / std::max(length, 1) * 4294967296.0;
    std::uint64_t const step = static_cast<std::uint64_t>(slope) + above;
    std::uint64_t moved = (std::uint64_t{1} << 31) - 1 + above;
    Colour* pixel = target.At(from.x, from.y);
    for (int left = length; left >= 0; --left) {
        plot(pixel[static_cast<std::ptrdiff_t>(moved >> 32) * minor]);
        pixel += major;
        moved += step;
    }
}

} // namespace drivers::raster::detail
