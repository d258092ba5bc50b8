#pragma once

#include "drivers/raster/detail/ShareEdge.h"
#include "math/Rect2.h"

#include <vector>

namespace drivers::raster::detail {

/// What a triangle covers of some pixels. Keeps its storage between uses.
class TriangleShares {
public:
    /// A pixel that is covered in part, or now and then as a whole.
    struct Pixel {
        int x;
        int y;
        int share; ///< 1 to PathFill::Whole
        Point at;  ///< of the triangle, the point that is nearest to the pixel's centre
    };
    /// Pixels from <= x < to that are covered as a whole.
    struct Span {
        int y;
        int from;
        int to;
    };

    /// Finds it for a triangle within the guard band.
    /// @param area TwiceArea() of the corners, not 0
    void Find(math::Rect2<int> const& clip, Point const (&corners)[3], double area);

    std::vector<Pixel> const& Rim() const { return m_rim; }
    std::vector<Span> const& Inside() const { return m_inside; }

private:
    class Nearest;

    void FindIn(int y, ShareEdge const (&edges)[3], Nearest const& nearest);

    math::Rect2<int> m_clip;
    std::vector<int> m_changes; ///< of one row, all 0 between uses
    std::vector<Pixel> m_rim;
    std::vector<Span> m_inside;
};

} // namespace drivers::raster::detail
