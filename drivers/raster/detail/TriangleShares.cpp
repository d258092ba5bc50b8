#include "drivers/raster/detail/TriangleShares.h"

#include <limits>

namespace drivers::raster::detail {

namespace {

constexpr int kWorthSpan = 16; // pixels; fewer are sooner drawn with those of other rows

} // namespace

/// Finds the point of a triangle that is nearest to another one.
class TriangleShares::Nearest {
public:
    /// @param area TwiceArea() of the corners
    Nearest(Point const (&corners)[3], double area) : m_turn(area < 0 ? -1 : 1) {
        for (int i = 0; i < 3; ++i) {
            Point const side = corners[i < 2 ? i + 1 : 0] - corners[i];
            m_sides[i] = {corners[i], side, 1 / (side.x * side.x + side.y * side.y)};
        }
    }

    Point To(Point const& p) const {
        Point nearest = p;
        double least = std::numeric_limits<double>::infinity();
        for (Side const& side : m_sides) {
            Point const way = p - side.from;
            if (m_turn * (side.along.x * way.y - side.along.y * way.x) < 0) {
                double const part = (side.along.x * way.x + side.along.y * way.y) * side.scale;
                // A side without a length is passed at its beginning.
                Point const q = side.from + side.along * (part > 0 ? std::min(part, 1.0) : 0);
                Point const off = q - p;
                double const distance = off.x * off.x + off.y * off.y;
                if (distance < least) {
                    least = distance;
                    nearest = q;
                }
            }
        }
        return nearest;
    }

private:
    struct Side {
        Point from;
        Point along;
        double scale; ///< 1 / its squared length
    };

    Side m_sides[3];
    double m_turn;
};

void TriangleShares::Find(math::Rect2<int> const& clip, Point const (&corners)[3], double area) {
    m_clip = clip;
    m_rim.clear();
    m_inside.clear();
    auto const size = static_cast<std::size_t>(clip.Width()) + 1;
    if (m_changes.size() < size) {
        m_changes.resize(size, 0);
    }
    auto const& [a, b, c] = corners;
    ShareEdge const edges[3] = {{a, b, area < 0}, {b, c, area < 0}, {c, a, area < 0}};
    Nearest const nearest(corners, area);
    int const top = FloorPixel(std::min({a.y, b.y, c.y}));
    int const end = std::min(clip.bottom, FloorPixel(std::max({a.y, b.y, c.y})) + 1);
    for (int y = std::max(top, clip.top); y < end; ++y) {
        FindIn(y, edges, nearest);
    }
}

void TriangleShares::FindIn(int y, ShareEdge const (&edges)[3], Nearest const& nearest) {
    ShareRow const row{m_changes.data(), m_clip.left, m_clip.right};
    PassedPixels left{m_clip.right, m_clip.left - 1};
    PassedPixels right = left;
    for (ShareEdge const& edge : edges) {
        if (edge.FirstRow() <= y && y <= edge.LastRow()) {
            PassedPixels const passed = edge.AddTo(row, y);
            PassedPixels& side = edge.Covers() ? left : right;
            side = {std::min(side.first, passed.first), std::max(side.last, passed.last)};
        }
    }
    int sum = 0;
    auto const addRim = [&](int from, int to) {
        for (int x = from; x < to; ++x) {
            sum += row.At(x);
            row.At(x) = 0;
            if (sum > 0) {
                Point const centre{x + 0.5, y + 0.5};
                bool const whole = sum >= PathFill::Whole;
                m_rim.push_back(
                    {x, y, whole ? PathFill::Whole : sum, whole ? centre : nearest.To(centre)});
            }
        }
    };
    // Behind the last pixel that the left side passes, all is covered up to the right side.
    int const from = left.last + 1;
    addRim(std::min(left.first, right.first), from);
    if (from < right.first) {
        sum += row.At(from);
        row.At(from) = 0;
        if (sum == PathFill::Whole && right.first - from >= kWorthSpan) {
            m_inside.push_back({y, from, right.first});
        } else {
            addRim(from, right.first);
        }
    }
    addRim(
        std::max(from, right.first), std::min(std::max(left.last, right.last) + 2, m_clip.right));
    row.At(m_clip.right) = 0;
}

} // namespace drivers::raster::detail
