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
    if (m_collects) {
        WalkLine(m_target, line, [&](Colour& pixel, int k, int length) {
            m_pixels.push_back({&pixel, line.NearnessAt(k, length)});
        });
        if (m_pixels.size() > m_enough) {
            MakeUnique();
            m_enough = 2 * m_pixels.size() + kFewPixels;
        }
    } else if (m_target.nearness != nullptr) {
        WalkLine(m_target, line, [&](Colour& pixel, int k, int length) {
            Blend({&pixel, line.NearnessAt(k, length)});
        });
    } else if (m_ink.Solid()) {
        WalkLine(m_target, line, [=](Colour& pixel, int, int) { pixel = colour; });
    } else {
        WalkLine(
            m_target, line, [=](Colour& pixel, int, int) { BlendPixel(pixel, colour, colour.a); });
    }
}

void ThinPen::Blend(PassedPixel const& at) {
    if (m_target.nearness == nullptr || IsSeen(*m_target.NearnessOf(at.pixel), at.nearness)) {
        BlendPixel(*at.pixel, m_ink.colour, m_ink.colour.a);
    }
}

void ThinPen::Finish() {
    if (m_collects) {
        MakeUnique();
        for (PassedPixel const& at : m_pixels) {
            Blend(at);
        }
        m_collects = false;
    }
}

/// Keeps each pixel once, as near as it was passed.
void ThinPen::MakeUnique() {
    std::sort(m_pixels.begin(), m_pixels.end(), [](PassedPixel const& p, PassedPixel const& q) {
        return p.pixel != q.pixel ? p.pixel < q.pixel : p.nearness > q.nearness;
    });
    auto const same = [](PassedPixel const& p, PassedPixel const& q) { return p.pixel == q.pixel; };
    m_pixels.erase(std::unique(m_pixels.begin(), m_pixels.end(), same), m_pixels.end());
}

} // namespace drivers::raster::detail
