#pragma once

#include "drivers/raster/detail/Clip.h"
#include "math/Rect2.h"

#include <vector>

namespace drivers::raster::detail {

/// 1 / distance over the screen, which is linear for everything flat and straight.
struct NearPlane {
    double atOrigin = 0;
    double perX = 0;
    double perY = 0;
    double least = 0;
    double most = std::numeric_limits<double>::infinity();

    /// Of the world's plane z = 0. What is seen edge-on gives NaN, which no depth test passes.
    static NearPlane OfGround(View const& view);
    /// Along a segment; beyond its ends it goes on as there.
    static NearPlane Along(Segment const& segment);

    /// At the centre of a pixel.
    float At(int x, int y) const {
        double const near = atOrigin + (x + 0.5) * perX + (y + 0.5) * perY;
        return static_cast<float>(near < least ? least : near > most ? most : near);
    }
    void Row(int y, int x, int count, float* out) const {
        for (int i = 0; i < count; ++i) {
            out[i] = At(x + i, y);
        }
    }
};

/// How near each pixel of a chain of segments is; where segments overlap, the nearest counts.
class NearMap {
public:
    void Start(math::Rect2<int> const& clip);
    /// Adds a segment of a width, with a rim of a pixel for those that are covered in part.
    void Add(Segment const& segment, double width);
    /// Pixels that no segment is on, as the tips of joins, are as near as the one before them.
    void Row(int y, int x, int count, float* out) const;
    /// Forgets all segments.
    void Clear();

private:
    float* At(int x, int y) {
        return m_map.data() + (y - m_clip.top) * std::ptrdiff_t{m_clip.Width()} + (x - m_clip.left);
    }

    math::Rect2<int> m_clip;
    math::Rect2<int> m_touched;
    std::vector<float> m_map; ///< all 0 outside m_touched
};

} // namespace drivers::raster::detail
