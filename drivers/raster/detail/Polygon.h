#pragma once

#include "drivers/raster/detail/Clip.h"

#include <vector>

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

/// Keeps the part of a polygon on one side (Sutherland and Hodgman): inside(v) tells the side,
/// cut(v, w) gives the point between two corners on different sides.
template <class V, class Inside, class Cut>
void CutPolygon(std::vector<V>& polygon, Inside&& inside, Cut&& cut) {
    std::vector<V> kept;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        V const& from = polygon[i > 0 ? i - 1 : polygon.size() - 1];
        V const& to = polygon[i];
        if (inside(from) != inside(to)) {
            kept.push_back(cut(from, to));
        }
        if (inside(to)) {
            kept.push_back(to);
        }
    }
    polygon.swap(kept);
}

/// Cuts a projected polygon to one side of the guard band; X and Y name the coordinates.
template <int N>
void CutAtGuard(std::vector<Vertex<N>>& polygon, double Vertex<N>::*x, double Vertex<N>::*y) {
    for (double const edge : {-Guard, Guard}) {
        CutPolygon(
            polygon,
            [=](Vertex<N> const& v) { return edge < 0 ? v.*x >= edge : v.*x <= edge; },
            [=](Vertex<N> const& p, Vertex<N> const& q) {
                Vertex<N> v = Between(p, q, (edge - p.*x) / (q.*x - p.*x));
                v.*y = YOnLine({p.*x, p.*y}, {q.*x, q.*y}, edge);
                v.*x = edge;
                return v;
            });
    }
}

/// Takes a polygon from homogeneous pixel coordinates to pixels within the guard band: cuts it at
/// the near plane, divides everything by w, and cuts again. Empty when a coordinate is not finite.
template <int N>
void ProjectPolygon(std::vector<Vertex<N>>& polygon) {
    bool behind = false;
    for (Vertex<N> const& v : polygon) {
        if (!IsFinite(HPoint{v.x, v.y, v.w})) {
            return polygon.clear();
        }
        behind = behind || v.w < NearDistance;
    }
    if (behind) {
        CutPolygon(
            polygon,
            [=](Vertex<N> const& v) { return v.w >= NearDistance; },
            [=](Vertex<N> const& p, Vertex<N> const& q) {
                Vertex<N> v = Between(p, q, (NearDistance - p.w) / (q.w - p.w));
                v.w = NearDistance;
                return v;
            });
    }
    bool far = false;
    for (Vertex<N>& v : polygon) {
        v.w = 1 / v.w;
        v.x *= v.w;
        v.y *= v.w;
        for (int i = 0; i < N; ++i) {
            v.a[i] *= v.w;
        }
        far = far || !InGuard(v.x, v.y);
    }
    if (far) {
        CutAtGuard<N>(polygon, &Vertex<N>::x, &Vertex<N>::y);
        CutAtGuard<N>(polygon, &Vertex<N>::y, &Vertex<N>::x);
    }
}

} // namespace drivers::raster::detail
