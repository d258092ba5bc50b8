#pragma once

#include "drivers/raster/Canvas.h"
#include "drivers/raster/detail/Blend.h"

#include <algorithm>
#include <atomic>

namespace drivers::raster {

template <class Draw>
void Canvas::InBands(double pixels, Draw const& draw) {
    detail::Target const whole = MakeTarget();
    int const rows = m_clip.Height();
    int const threads = m_workers ? static_cast<int>(m_workers->Threads()) : 1;
    int const bands = pixels >= m_worthSharing ? std::min(threads, rows) : 1;
    if (bands <= 1) {
        draw(whole, m_scratch[0]);
        return;
    }
    if (m_scratch.size() < static_cast<std::size_t>(bands)) {
        m_scratch.resize(static_cast<std::size_t>(bands));
    }
    m_workers->Run(bands, [&](int band) {
        detail::Target part = whole;
        part.clip.top = m_clip.top + rows * band / bands;
        part.clip.bottom = m_clip.top + rows * (band + 1) / bands;
        draw(part, m_scratch[static_cast<std::size_t>(band)]);
    });
}

template <class Work>
void Canvas::Share(int count, Work const& work) {
    if (m_workers && count > 1) {
        m_workers->Run(count, work);
        return;
    }
    for (int i = 0; i < count; ++i) {
        work(i);
    }
}

template <class Draw>
void Canvas::ShareBands(bool shared, Draw const& draw) {
    int const count = m_rowBands.Count();
    int const threads = shared && m_workers ? static_cast<int>(m_workers->Threads()) : 1;
    int const parts = std::min(threads, count);
    if (m_scratch.size() < static_cast<std::size_t>(parts)) {
        m_scratch.resize(static_cast<std::size_t>(parts));
    }
    std::atomic<int> next{0};
    Share(parts, [&](int part) {
        for (int band = next++; band < count; band = next++) {
            draw(band, m_scratch[static_cast<std::size_t>(part)]);
        }
    });
}

} // namespace drivers::raster
