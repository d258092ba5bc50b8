#include "drivers/raster/detail/PathFill.h"

#include "drivers/raster/detail/Blend.h"

#include <algorithm>
#include <cstdlib>

namespace drivers::raster::detail {

namespace {

/// @param part from 0 to 1
int Fixed(double part) {
    return static_cast<int>(part * PathFill::Whole + 0.5);
}

} // namespace

void PathFill::Start(math::Rect2<int> const& clip) {
    m_clip = clip;
    m_edges.clear();
    m_firstRow = clip.bottom;
    m_endRow = clip.top;
    auto const rows = static_cast<std::size_t>(clip.Height());
    if (m_starts.size() < rows) {
        m_starts.resize(rows, -1);
    }
    auto const columns = static_cast<std::size_t>(clip.Width());
    if (m_sums.size() < columns + 2) {
        m_sums.resize(columns + 2, 0);
        m_shares.resize(columns);
        m_coverage.resize(columns);
    }
}

void PathFill::AddPolygon(Point const* points, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        AddEdge(points[i], points[i + 1 < count ? i + 1 : 0]);
    }
}

void PathFill::AddConvex(Point const* points, std::size_t count) {
    double area = 0;
    for (std::size_t i = 2; i < count; ++i) {
        Point const u = points[i - 1] - points[0];
        Point const v = points[i] - points[0];
        area += u.x * v.y - u.y * v.x;
    }
    for (std::size_t i = 0; i < count; ++i) {
        Point const& a = points[i];
        Point const& b = points[i + 1 < count ? i + 1 : 0];
        area < 0 ? AddEdge(b, a) : AddEdge(a, b);
    }
}

void PathFill::AddEdge(Point a, Point b) {
    bool const down = a.y < b.y;
    if (!down) {
        std::swap(a, b);
    }
    // What lies right of the clip changes no pixel; what lies left of it still winds.
    if (!(a.y < b.y) || b.y <= m_clip.top || a.y >= m_clip.bottom ||
        (a.x >= m_clip.right && b.x >= m_clip.right)) {
        return;
    }
    int const first = std::max(m_clip.top, FloorPixel(a.y));
    int const end = std::min(m_clip.bottom, FloorPixel(b.y) + 1);
    int& start = m_starts[static_cast<std::size_t>(first - m_clip.top)];
    m_edges.push_back({a.x, a.y, b.y, (b.x - a.x) / (b.y - a.y), down ? 1 : -1, start});
    start = static_cast<int>(m_edges.size()) - 1;
    m_firstRow = std::min(m_firstRow, first);
    m_endRow = std::max(m_endRow, end);
}

void PathFill::EnterRow(int y) {
    auto const ended = [&](int i) { return m_edges[static_cast<std::size_t>(i)].bottom <= y; };
    m_active.erase(std::remove_if(m_active.begin(), m_active.end(), ended), m_active.end());
    int& start = m_starts[static_cast<std::size_t>(y - m_clip.top)];
    for (int i = start; i >= 0; i = m_edges[static_cast<std::size_t>(i)].next) {
        m_active.push_back(i);
    }
    start = -1;
}

void PathFill::FindCrossings(int y) {
    m_crossings.clear();
    double const centre = y + 0.5;
    for (int const i : m_active) {
        Edge const& edge = m_edges[static_cast<std::size_t>(i)];
        if (edge.top <= centre && centre < edge.bottom) {
            m_crossings.push_back({edge.At(centre), edge.direction});
        }
    }
    std::sort(m_crossings.begin(), m_crossings.end(), [](Crossing const& p, Crossing const& q) {
        return p.x < q.x;
    });
    // Edges right of the clip were left out, so the last span may be open.
    int winding = 0;
    for (Crossing const& crossing : m_crossings) {
        winding += crossing.direction;
    }
    if (winding != 0) {
        m_crossings.push_back({double(m_clip.right), -winding});
    }
}

int PathFill::SumShares(int y, int& x0) {
    m_touchedFrom = m_clip.Width();
    m_touchedTo = 0;
    for (int const i : m_active) {
        Edge const& edge = m_edges[static_cast<std::size_t>(i)];
        double const top = std::max<double>(y, edge.top);
        double const bottom = std::min<double>(y + 1, edge.bottom);
        double const left = m_clip.left;
        int const height = Fixed(bottom - y) - Fixed(top - y);
        Accumulate(edge.At(top) - left, edge.At(bottom) - left, height * edge.direction);
    }
    int sum = 0;
    // After the last touched pixel the coverage is what is left, up to the edge of the clip.
    int count = 0;
    for (int i = m_touchedFrom; i < m_clip.Width(); ++i) {
        if (i > m_touchedTo && sum == 0) {
            break;
        }
        auto const at = static_cast<std::size_t>(i);
        sum += m_sums[at];
        m_sums[at] = 0;
        m_shares[static_cast<std::size_t>(count++)] = std::min(std::abs(sum), Whole);
    }
    m_sums[static_cast<std::size_t>(m_clip.Width())] = 0;
    m_sums[static_cast<std::size_t>(m_clip.Width()) + 1] = 0;
    x0 = m_clip.left + m_touchedFrom;
    return count;
}

/// Adds an edge within one row, x relative to the clip: `height` is covered right of it.
void PathFill::Accumulate(double x0, double x1, int height) {
    if (x0 > x1) {
        std::swap(x0, x1);
    }
    double const width = m_clip.Width();
    if (x0 >= width) {
        return;
    }
    double const perX = x1 > x0 ? height / (x1 - x0) : 0;
    if (x0 < 0) {
        int const outside = x1 <= 0 ? height : static_cast<int>(-x0 * perX);
        AccumulateInside(0, 0, outside);
        if (x1 <= 0) {
            return;
        }
        height -= outside;
        x0 = 0;
    }
    if (x1 > width) {
        height = static_cast<int>((width - x0) * perX);
        x1 = width;
    }
    AccumulateInside(x0, x1, height);
}

void PathFill::AccumulateInside(double x0, double x1, int height) {
    int const first = static_cast<int>(x0);
    int const last = static_cast<int>(x1);
    m_touchedFrom = std::min(m_touchedFrom, first);
    m_touchedTo = std::max(m_touchedTo, last + 1);
    // A part of the height that is passed at a mean distance from its pixel's left edge.
    auto const add = [this](int pixel, int part, double distance) {
        int const after = static_cast<int>(part * distance);
        m_sums[static_cast<std::size_t>(pixel)] += part - after;
        m_sums[static_cast<std::size_t>(pixel) + 1] += after;
    };
    if (first == last) {
        add(first, height, (x0 + x1) / 2 - first);
        return;
    }
    double const perX = height / (x1 - x0);
    int passed = 0;
    for (int i = first; i <= last; ++i) {
        double const from = std::max<double>(x0, i);
        double const to = std::min<double>(x1, i + 1);
        int const upToHere = i == last ? height : static_cast<int>((to - x0) * perX);
        add(i, upToHere - passed, (from + to) / 2 - i);
        passed = upToHere;
    }
}

} // namespace drivers::raster::detail
