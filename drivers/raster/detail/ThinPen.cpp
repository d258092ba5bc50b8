#include "drivers/raster/detail/ThinPen.h"

#include <algorithm>

namespace drivers::raster::detail {

namespace {

constexpr std::size_t kFewPixels = 1 << 20;

} // namespace

void ThinPen::StartShape() {
    m_pixels.clear();
    m_collects = !m_ink.Solid();
    m_enough = kFewPixels;
}

void ThinPen::Draw(PixelLine const& line) {
    Colour const colour = m_ink.colour;
    if (m_ink.Solid()) {
        WalkLine(m_target, line, [=](Colour& pixel, int, int) { pixel = colour; });
    } else if (!m_collects) {
        WalkLine(
            m_target, line, [=](Colour& pixel, int, int) { BlendPixel(pixel, colour, colour.a); });
    } else {
        WalkLine(m_target, line, [&](Colour& pixel, int, int) { m_pixels.push_back(&pixel); });
        if (m_pixels.size() > m_enough) {
            MakeUnique();
            m_enough = 2 * m_pixels.size() + kFewPixels;
        }
    }
}

void ThinPen::Finish() {
    if (m_collects) {
        MakeUnique();
        for (Colour* pixel : m_pixels) {
            BlendPixel(*pixel, m_ink.colour, m_ink.colour.a);
        }
        m_collects = false;
    }
}

void ThinPen::MakeUnique() {
    std::sort(m_pixels.begin(), m_pixels.end());
    m_pixels.erase(std::unique(m_pixels.begin(), m_pixels.end()), m_pixels.end());
}

} // namespace drivers::raster::detail
