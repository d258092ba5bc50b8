#pragma once

#include "drivers/raster/detail/Clip.h"

#include <cstddef>
#include <utility>

namespace drivers::raster::detail {

/// A corner of a polygon with N values that are linear in the plane of the polygon.
template <int N>
struct Vertex {
    double x;
    double y;
    double w; ///< before projection the distance, after it 1 / distance
    double a[N > 0 ? N : 1];
};

/// The point of the line from p to q where one of its coordinates has a value between theirs.
template <int N>
Vertex<N>
Between(Vertex<N> const& p, Vertex<N> const& q, double Vertex<N>::*coordinate, double value) {
    auto const there = [=, from = p.*coordinate, to = q.*coordinate](double atP, double atQ) {
        return YOnLine({from, atP}, {to, atQ}, value);
    };
    Vertex<N> v{there(p.x, q.x), there(p.y, q.y), there(p.w, q.w), {}};
    for (int i = 0; i < N; ++i) {
        v.a[i] = there(p.a[i], q.a[i]);
    }
    v.*coordinate = value;
    return v;
}

/// The corners of a cut triangle, without an allocation: each cut adds one at most.
template <class V>
class FewCorners {
public:
    using value_type = V;

    FewCorners() = default;
    FewCorners(V const& a, V const& b, V const& c) : m_corners{a, b, c}, m_size(3) {}

    void push_back(V const& v) { m_corners[m_size++] = v; }
    void clear() { m_size = 0; }
    std::size_t size() const { return m_size; }
    V& operator[](std::size_t i) { return m_corners[i]; }
    V const& operator[](std::size_t i) const { return m_corners[i]; }
    V* begin() { return m_corners; }
    V* end() { return m_corners + m_size; }

private:
    static constexpr std::size_t Most = 3 + 2 + 4; // two distances, four edges of the guard band

    V m_corners[Most];
    std::size_t m_size = 0;
};

/// Keeps the part of a polygon on the side of a value of one of its coordinates on which `inside`
/// says that corners are (Sutherland and Hodgman).
template <class Corners, class Inside, class V = typename Corners::value_type>
void CutPolygon(Corners& polygon, double V::*coordinate, double value, Inside&& inside) {
    Corners kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        V const& from = polygon[i > 0 ? i - 1 : polygon.size() - 1];
        V const& to = polygon[i];
        if (inside(from.*coordinate) != inside(to.*coordinate)) {
            kept.push_back(Between(from, to, coordinate, value));
        }
        if (inside(to.*coordinate)) {
            kept.push_back(to);
        }
    }
    polygon = std::move(kept);
}

/// Cuts a polygon to what is at least, or at most, so far along one of its coordinates.
template <class Corners, class V = typename Corners::value_type>
void CutBelow(Corners& polygon, double V::*coordinate, double least) {
    CutPolygon(polygon, coordinate, least, [=](double v) { return v >= least; });
}
template <class Corners, class V = typename Corners::value_type>
void CutAbove(Corners& polygon, double V::*coordinate, double most) {
    CutPolygon(polygon, coordinate, most, [=](double v) { return v <= most; });
}

/// Takes a corner from homogeneous pixel coordinates to pixels, its values divided by the distance.
template <int N>
void Project(Vertex<N>& v) {
    v.w = 1 / v.w;
    v.x *= v.w;
    v.y *= v.w;
    for (int i = 0; i < N; ++i) {
        v.a[i] *= v.w;
    }
}

/// Takes a polygon from homogeneous pixel coordinates to pixels within the guard band: cuts it to
/// the depth range, divides everything by w, and cuts again. Empty when a coordinate is not finite.
template <class Corners>
void ProjectPolygon(Corners& polygon, DepthRange const& range) {
    using V = typename Corners::value_type;
    bool nearer = false;
    bool further = false;
    for (V const& v : polygon) {
        if (!IsFinite(HPoint{v.x, v.y, v.w})) {
            return polygon.clear();
        }
        nearer = nearer || v.w < range.nearest;
        further = further || v.w > range.farthest;
    }
    if (nearer) {
        CutBelow(polygon, &V::w, range.nearest);
    }
    if (further) {
        CutAbove(polygon, &V::w, range.farthest);
    }
    bool outside = false;
    for (V& v : polygon) {
        Project(v);
        if (!InGuard(v.x, v.y)) {
            if (!IsFinite(v.x) || !IsFinite(v.y)) {
                return polygon.clear();
            }
            outside = true;
        }
    }
    if (outside) {
        for (auto const coordinate : {&V::x, &V::y}) {
            CutBelow(polygon, coordinate, -Guard);
            CutAbove(polygon, coordinate, Guard);
        }
    }
}

} // namespace drivers::raster::detail
