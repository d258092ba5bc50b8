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
    /// @param share   share(count, work) calls work(0) ... work(count - 1), on whatever threads
    /// @param reachOf reachOf(i, top, bottom) sets the pixels between which thing i lies, for sure;
    ///                false when that cannot be told
    template <class Share, class ReachOf>
    void Sort(
        Share const& share,
        math::Rect2<int> const& clip,
        std::size_t count,
        ReachOf const& reachOf) {
        m_clip = clip;
        m_parts.resize((count + PartSize - 1) / PartSize);
        share(static_cast<int>(m_parts.size()), [&](int number) {
            std::size_t const from = static_cast<std::size_t>(number) * PartSize;
            std::size_t const to = std::min(count, from + PartSize);
            Sort(m_parts[static_cast<std::size_t>(number)], from, to, reachOf);
        });
    }

    int Count() const { return (m_clip.Height() + Rows - 1) / Rows; }
    /// The part of the clip that a band is.
    math::Rect2<int> Clip(int band) const {
        int const top = m_clip.top + band * Rows;
        return {m_clip.left, top, m_clip.right, std::min(top + Rows, m_clip.bottom)};
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
    static constexpr int Rows = 32; // of a wide picture they fit into a processor's own cache
    static constexpr std::size_t PartSize = 8192;

    /// Bands, both included; none where first > last.
    struct Reach {
        std::int16_t first;
        std::int16_t last;
    };
    /// A number of things that one thread sorts.
    struct Part {
        std::vector<Reach> reach;
        std::vector<std::uint32_t> starts; // of each band, in order; then the end
        std::vector<std::uint32_t> order;
    };

    template <class ReachOf>
    void Sort(Part& part, std::size_t from, std::size_t to, ReachOf const& reachOf) const {
        part.reach.clear();
        part.starts.assign(static_cast<std::size_t>(Count()) + 1, 0);
        for (std::size_t i = from; i < to; ++i) {
            double top = 0;
            double bottom = m_clip.Height();
            Reach const reach = reachOf(i, top, bottom)
                                    ? BandsBetween(top - m_clip.top, bottom - m_clip.top)
                                    : Reach{0, static_cast<std::int16_t>(Count() - 1)};
            part.reach.push_back(reach);
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

    // Rounding does no harm: a pixel's centre lies half a pixel inside of its band.
    Reach BandsBetween(double top, double bottom) const {
        if (!(bottom >= 0 && top <= m_clip.Height())) {
            return {1, 0};
        }
        double const last = Count() - 1;
        auto const band = [=](double row) {
            return static_cast<std::int16_t>(std::clamp(row / Rows, 0.0, last));
        };
        return {band(top), band(bottom)};
    }

    math::Rect2<int> m_clip;
    std::vector<Part> m_parts;
};

/// The rows between which a shape of some vertices lies, for RowBands.
/// @return false where a corner may be behind the camera: the shape may be cut to anything
template <class Reader>
bool ReachOfShape(
    Reader const& reader, std::size_t first, std::size_t corners, double& top, double& bottom) {
    top = std::numeric_limits<double>::infinity();
    bottom = -top;
    for (std::size_t i = first; i < first + corners; ++i) {
        HPoint const p = reader(i);
        if (!(p.w >= NearDistance)) {
            return false;
        }
        double const y = p.y / p.w;
        top = std::min(top, y);
        bottom = std::max(bottom, y);
    }
    return true;
}

} // namespace drivers::raster::detail
