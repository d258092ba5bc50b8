#pragma once

#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/PathFill.h"

#include <algorithm>
#include <cmath>

namespace drivers::raster::detail {

/// The share of a row's pixels that is covered, as the change from each pixel to the next.
struct ShareRow {
    int* changes; ///< at `left` and the pixels right of it, one more than there are up to `right`
    int left;
    int right;

    int& At(int x) const { return changes[x - left]; }
};

/// Pixels of a row, both included; none where first > last.
struct PassedPixels {
    int first;
    int last;
};

/// An edge of a shape within the guard band, with what it covers of the pixels that it passes.
///
/// Taken from its upper end and counted in the whole numbers of PathFill: shapes that share an edge
/// find the same numbers, which add up to what they cover as one, and so does each part of a clip.
class ShareEdge {
public:
    /// @param covers whether the shape lies right of an edge that runs downwards
    ShareEdge(Point const& from, Point const& to, bool covers)
        : ShareEdge(from.y < to.y ? from : to, from.y < to.y ? to : from, Upright()) {
        m_covers = (from.y < to.y) == covers;
    }

    /// Whether the shape lies right of it, not left.
    bool Covers() const { return m_covers; }
    /// The rows that it passes, both included; a level edge passes none, or one at no height.
    int FirstRow() const { return FloorPixel(m_top); }
    int LastRow() const { return -FloorPixel(-m_bottom) - 1; }

    /// Adds to one of these rows what the edge covers right of it.
    /// @return the pixels of the row that it passes
    PassedPixels AddTo(ShareRow const& row, int y) const {
        bool const begins = m_top > y;
        bool const ends = m_bottom < y + 1;
        int const height =
            (ends ? Fixed(m_bottom - y) : PathFill::Whole) - (begins ? Fixed(m_top - y) : 0);
        double const a = begins ? m_x : m_x + (y - m_top) * m_slope;
        double const b = ends ? m_endX : m_x + (y + 1 - m_top) * m_slope;
        return Add(row, std::min(a, b), std::max(a, b), height);
    }

private:
    struct Upright {};
    ShareEdge(Point const& upper, Point const& lower, Upright)
        : m_x(upper.x), m_top(upper.y), m_endX(lower.x), m_bottom(lower.y) {
        double const slope = (lower.x - upper.x) / (lower.y - upper.y);
        // No row begins between ends so close that this is not a number.
        m_slope = IsFinite(slope) ? slope : 0;
        m_perPixel = PathFill::Whole / std::abs(m_slope);
    }

    /// @param part from 0 to 1
    static int Fixed(double part) { return static_cast<int>(part * PathFill::Whole + 0.5); }

    PassedPixels Add(ShareRow const& row, double x0, double x1, int height) const {
        if (x0 >= row.right) {
            return {row.right, row.right - 1};
        }
        int const sign = m_covers ? 1 : -1;
        if (x1 <= row.left) {
            row.At(row.left) += sign * height;
            return {row.left, row.left - 1};
        }
        // Of a height that is passed `inside` of a pixel, on the mean, so much is right of it.
        auto const add = [&](int x, int part, double inside) {
            int const after = static_cast<int>(part * inside);
            row.At(x) += sign * (part - after);
            row.At(x + 1) += sign * after;
        };
        int const last = static_cast<int>(x1);
        int first = static_cast<int>(x0);
        if (x0 >= first && first == last) {
            add(first, height, (x0 + x1) / 2 - first);
            return {first, last};
        }
        auto const passedUpTo = [&](int x) {
            return static_cast<int>(std::min<double>((x - x0) * m_perPixel, height));
        };
        int passed = 0;
        if (x0 < row.left) {
            first = row.left;
            passed = passedUpTo(first);
            row.At(first) += sign * passed;
        }
        int const end = std::min(last, row.right - 1);
        for (int x = first; x <= end; ++x) {
            int const upToHere = x == last ? height : passedUpTo(x + 1);
            double const from = std::max<double>(x0, x);
            double const to = std::min<double>(x1, x + 1);
            add(x, upToHere - passed, (from + to) / 2 - x);
            passed = upToHere;
        }
        return {first, end};
    }

    double m_x;
    double m_top;
    double m_endX;
    double m_bottom;
    double m_slope;
    double m_perPixel; ///< height that is passed on the way across a pixel
    bool m_covers = false;
};

} // namespace drivers::raster::detail
