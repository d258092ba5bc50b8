#pragma once

#include "drivers/raster/detail/Blend.h"
#include "drivers/raster/detail/OutlineScratch.h"
#include "drivers/raster/detail/PixelLine.h"

#include <vector>

namespace drivers::raster::detail {

/// Draws lines one pixel thick in one colour.
///
/// As one shape, what a pixel shows through is blended once however often lines cross it: the
/// pixels are collected, and drawn by Finish(). Nothing needs to be collected for a solid colour.
class ThinPen {
public:
    /// @param pixels working storage
    ThinPen(Target const& target, Ink const& ink, std::vector<PassedPixel>& pixels)
        : m_target(target), m_ink(ink), m_pixels(pixels) {}

    math::Rect2<int> const& Clip() const { return m_target.clip; }
    void StartShape();
    void Draw(PixelLine const& line);
    void Finish();

private:
    void Blend(PassedPixel const& at);
    void MakeUnique();

    Target m_target;
    Ink m_ink;
    std::vector<PassedPixel>& m_pixels;
    std::size_t m_enough = 0; ///< collected pixels at which doubles are taken out
    bool m_collects = false;
};

} // namespace drivers::raster::detail
