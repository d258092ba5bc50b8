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

/// Many things to draw in bands of rows that they reach into, in their order. Drawn band by band,
/// they find the pixels and depths around them in the processor's cache.
class RowBands {
public:
    /// Rows of a band that, of a wide picture, fit into a processor's own cache with their depths.
    static constexpr int FewRows = 32;

    /// @param rows    of a band, rounded down to a power of two
    /// @param share   share(count, work) calls work(0) ... work(count - 1), on whatever threads
    /// @param reachOf reachOf(i) answers the bands of thing i, as one of the functions below
    template <class Share, class ReachOf>
    void Sort(
        Share const& share,
        math::Rect2<int> const& clip,
        int rows,
        std::size_t count,
        ReachOf const& reachOf) {
        m_clip = clip;
        for (m_shift = 0; 2 << m_shift <= rows; ++m_shift) {
        }
        m_parts.resize((count + PartSize - 1) / PartSize);
        share(static_cast<int>(m_parts.size()), [&](int number) {
            std::size_t const from = static_cast<std::size_t>(number) * PartSize;
            std::size_t const to = std::min(count, from + PartSize);
            Sort(m_parts[static_cast<std::size_t>(number)], from, to, reachOf);
        });
    }

    /// Bands, both included; none where first > last.
    struct Reach {
        std::int16_t first;
        std::int16_t last;
    };
    Reach Everywhere() const { return {0, static_cast<std::int16_t>(Count() - 1)}; }
    static Reach Nowhere() { return {1, 0}; }
    /// The bands of some rows of pixels, both included.
    Reach OfRows(int top, int bottom) const {
        return top < m_clip.bottom && bottom >= m_clip.top
                   ? Reach{OfRow(std::max(top, m_clip.top)), OfRow(std::min(bottom, m_clip.bottom - 1))}
                   : Nowhere();
    }
    /// The bands of what lies between two heights. Rounding does no harm: a pixel's centre lies
    /// half a pixel inside of its band.
    Reach Between(double top, double bottom) const {
        return bottom >= m_clip.top && top <= m_clip.bottom
                   ? OfRows(
                         static_cast<int>(std::max<double>(top, m_clip.top)),
                         static_cast<int>(std::min<double>(bottom, m_clip.bottom - 1)))
                   : Nowhere();
    }

    int Count() const { return ((m_clip.Height() - 1) >> m_shift) + 1; }
    /// The part of the clip that a band is.
    math::Rect2<int> Clip(int band) const {
        int const top = m_clip.top + (band << m_shift);
        int const bottom = m_clip.top + ((band + 1) << m_shift);
        return {m_clip.left, top, m_clip.right, std::min(bottom, m_clip.bottom)};
    }
    /// Calls use(numbers, count) with the numbers of a band's things, a part at a time.
    template <class Use>
    void ForParts(int band, Use const& use) const {
        auto const place = static_cast<std::size_t>(band);
        for (Part const& part : m_parts) {
            std::size_t const start = part.starts[place];
            use(part.order.data() + start, part.starts[place + 1] - start);
        }
    }

private:
    static constexpr std::size_t PartSize = 4096;

    /// A number of things that one thread sorts.
    struct Part {
        std::vector<Reach> reach;
        std::vector<std::uint32_t> starts; // of each band, in order; then the end
        std::vector<std::uint32_t> order;
    };

    template <class ReachOf>
    void Sort(Part& part, std::size_t from, std::size_t to, ReachOf const& reachOf) const {
        part.reach.resize(to - from);
        part.starts.assign(static_cast<std::size_t>(Count()) + 1, 0);
        for (std::size_t i = from; i < to; ++i) {
            Reach const reach = reachOf(i);
            part.reach[i - from] = reach;
            for (int band = reach.first; band <= reach.last; ++band) {
                ++part.starts[static_cast<std::size_t>(band)];
            }
        }
        std::uint32_t sum = 0; // behind the end of each band; its things are put in from there
        for (std::uint32_t& start : part.starts) {
            start = sum += start;
        }
        part.order.resize(sum);
        for (std::size_t i = to; i-- > from;) {
            Reach const reach = part.reach[i - from];
            for (int band = reach.first; band <= reach.last; ++band) {
                part.order[--part.starts[static_cast<std::size_t>(band)]] =
                    static_cast<std::uint32_t>(i);
            }
        }
    }

    std::int16_t OfRow(int y) const {
        return static_cast<std::int16_t>((y - m_clip.top) >> m_shift);
    }

    math::Rect2<int> m_clip;
    int m_shift = 0; // a band has 1 << m_shift rows
    std::vector<Part> m_parts;
};

/// The bands of a shape of some vertices.
template <class Reader>
RowBands::Reach
ReachOfShape(RowBands const& bands, Reader const& reader, std::size_t first, std::size_t corners) {
    double top = std::numeric_limits<double>::infinity();
    double bottom = -top;
    for (std::size_t i = first; i < first + corners; ++i) {
        HPoint const p = reader(i);
        if (!(p.w >= NearDistance)) {
            return bands.Everywhere(); // may be cut to anything
        }
        double const y = p.y / p.w;
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    return bands.Between(top, bottom);
}

} // namespace drivers::raster::detail
