#pragma once

#include "drivers/raster/detail/View.h"
#include "math/Rect2.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace drivers::raster::detail {

/// Many triangles in bands of rows that they reach into, in their order. Drawn band by band, they
/// find the pixels and depths around them in the processor's cache.
class RowBands {
public:
    /// @param reader as VertexReader
    template <class Reader>
    void Sort(Reader const& reader, std::size_t triangles, math::Rect2<int> const& clip) {
        m_clip = clip;
        m_reach.clear();
        m_starts.assign(static_cast<std::size_t>(Count()) + 1, 0);
        for (std::size_t i = 0; i < triangles; ++i) {
            Reach const reach = ReachOf(reader, 3 * i);
            m_reach.push_back(reach);
            for (int band = reach.first; band <= reach.last; ++band) {
                ++m_starts[static_cast<std::size_t>(band)];
            }
        }
        std::size_t sum = 0; // behind the end of each band; its triangles are put in from there
        for (std::size_t& start : m_starts) {
            start = sum += start;
        }
        m_order.resize(sum);
        for (std::size_t i = triangles; i-- > 0;) {
            for (int band = m_reach[i].first; band <= m_reach[i].last; ++band) {
                m_order[--m_starts[static_cast<std::size_t>(band)]] = static_cast<std::uint32_t>(i);
            }
        }
    }

    int Count() const { return (m_clip.Height() + Rows - 1) / Rows; }
    /// The part of the clip that a band is.
    math::Rect2<int> Clip(int band) const {
        int const top = m_clip.top + band * Rows;
        return {m_clip.left, top, m_clip.right, std::min(top + Rows, m_clip.bottom)};
    }
    /// Calls use(i) with the number of each of a band's triangles.
    template <class Use>
    void ForEach(int band, Use&& use) const {
        auto const place = static_cast<std::size_t>(band);
        for (std::size_t k = m_starts[place]; k < m_starts[place + 1]; ++k) {
            use(std::size_t{m_order[k]});
        }
    }

private:
    static constexpr int Rows = 32; // of a wide picture they fit into a processor's own cache

    /// Bands, both included; none where first > last.
    struct Reach {
        std::int16_t first;
        std::int16_t last;
    };

    // Rounding does no harm: a pixel's centre lies half a pixel inside of its band.
    template <class Reader>
    Reach ReachOf(Reader const& reader, std::size_t vertex) const {
        double top = std::numeric_limits<double>::infinity();
        double bottom = -top;
        double const last = Count() - 1;
        for (std::size_t k = 0; k < 3; ++k) {
            HPoint const p = reader(vertex + k);
            if (!(p.w >= NearDistance)) {
                return {0, static_cast<std::int16_t>(last)}; // may be cut to anything
            }
            double const y = p.y / p.w - m_clip.top;
            top = std::min(top, y);
            bottom = std::max(bottom, y);
        }
        if (!(bottom >= 0 && top <= m_clip.Height())) {
            return {1, 0};
        }
        return {
            static_cast<std::int16_t>(std::clamp(std::floor(top / Rows), 0.0, last)),
            static_cast<std::int16_t>(std::clamp(std::floor(bottom / Rows), 0.0, last))};
    }

    math::Rect2<int> m_clip;
    std::vector<Reach> m_reach;        // of each triangle
    std::vector<std::size_t> m_starts; // of each band, in m_order; then the end
    std::vector<std::uint32_t> m_order;
};

} // namespace drivers::raster::detail
