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

template <int N>
Vertex<N> Between(Vertex<N> const& p, Vertex<N> const& q, double t) {
    Vertex<N> v{};
    v.x = p.x + (q.x - p.x) * t;
    v.y = p.y + (q.y - p.y) * t;
    v.w = p.w + (q.w - p.w) * t;
    for (int i = 0; i < N; ++i) {
        v.a[i] = p.a[i] + (q.a[i] - p.a[i]) * t;
    }
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

/// Keeps the part of a polygon on one side (Sutherland and Hodgman): inside(v) tells the side,
/// cut(v, w) gives the point between a corner on that side and one that is not, so that polygons
/// that share a side are cut at the same point of it.
template <class Corners, class Inside, class Cut>
void CutPolygon(Corners& polygon, Inside&& inside, Cut&& cut) {
    using V = typename Corners::value_type;
    Corners kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        V const& from = polygon[i > 0 ? i - 1 : polygon.size() - 1];
        V const& to = polygon[i];
        if (inside(from) != inside(to)) {
            kept.push_back(inside(from) ? cut(from, to) : cut(to, from));
        }
        if (inside(to)) {
            kept.push_back(to);
        }
    }
    polygon = std::move(kept);
}

/// Cuts a projected polygon to one side of the guard band; X and Y name the coordinates.
template <class Corners, class V = typename Corners::value_type>
void CutAtGuard(Corners& polygon, double V::*x, double V::*y) {
    for (double const edge : {-Guard, Guard}) {
        CutPolygon(
            polygon,
            [=](V const& v) { return edge < 0 ? v.*x >= edge : v.*x <= edge; },
            [=](V const& p, V const& q) {
                V v = Between(p, q, (edge - p.*x) / (q.*x - p.*x));
                v.*y = YOnLine({p.*x, p.*y}, {q.*x, q.*y}, edge);
                v.*x = edge;
                return v;
            });
    }
}

/// Cuts a polygon to the side of a distance on which `inside` says that its points are seen.
template <class Corners, class Inside>
void CutAtDistance(Corners& polygon, double distance, Inside&& inside) {
    using V = typename Corners::value_type;
    CutPolygon(
        polygon,
        [&](V const& v) { return inside(v.w); },
        [=](V const& p, V const& q) {
            V v = Between(p, q, (distance - p.w) / (q.w - p.w));
            v.w = distance;
            return v;
        });
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
        double const nearest = range.nearest;
        CutAtDistance(polygon, nearest, [=](double w) { return w >= nearest; });
    }
    if (further) {
        double const farthest = range.farthest;
        CutAtDistance(polygon, farthest, [=](double w) { return w <= farthest; });
    }
    bool outside = false;
    for (V& v : polygon) {
        Project(v);
        outside = outside || !InGuard(v.x, v.y);
    }
    if (outside) {
        CutAtGuard(polygon, &V::x, &V::y);
        CutAtGuard(polygon, &V::y, &V::x);
    }
}

} // namespace drivers::raster::detail
