#pragma once

#include "drivers/raster/DrawState.h"
#include "math/Point2.h"
#include "math/Point3.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>

namespace drivers::raster::detail {

using Point = math::Point2<double>;
using Pixel = math::Point2<int>;

/// A point in homogeneous pixel coordinates; w is 1 in views without perspective.
struct HPoint {
    double x;
    double y;
    double w;
};

inline bool IsFinite(double v) {
    return std::abs(v) <= std::numeric_limits<double>::max();
}
inline bool IsFinite(HPoint const& p) {
    return IsFinite(p.x) && IsFinite(p.y) && IsFinite(p.w);
}

/// What is nearer than this to the camera, or behind it, is not drawn.
constexpr double NearDistance = 1e-6;

/// The distances in front of the camera that are drawn, both limits included.
struct DepthRange {
    double nearest = NearDistance;
    double farthest = std::numeric_limits<double>::infinity();

    bool Has(double distance) const { return distance >= nearest && distance <= farthest; }
};

/// World to pixels.
struct View {
    double const* m = nullptr; ///< 3 x 4, row-major
    bool affine = false;       ///< the last row is 0 0 0 1
    DepthRange range;

    HPoint Map(double x, double y) const {
        return {
            m[0] * x + m[1] * y + m[3],
            m[4] * x + m[5] * y + m[7],
            affine ? 1 : m[8] * x + m[9] * y + m[11]};
    }
    /// World axes stay pixel axes, so that boxes stay boxes.
    bool KeepsAxes() const { return affine && m[1] == 0 && m[4] == 0; }
};

/// Reads vertices of one layout and takes them to pixels.
template <bool Spatial, bool Affine>
class VertexReader {
public:
    static constexpr bool IsAffine = Affine;

    VertexReader(View const& view, VertexArray const& vertices)
        : m_position(reinterpret_cast<unsigned char const*>(vertices.position)),
          m_stride(vertices.strideBytes) {
        std::copy(view.m, view.m + 12, m_m);
    }

    HPoint operator()(std::size_t index) const {
        auto const* p = reinterpret_cast<float const*>(m_position + index * m_stride);
        double const x = p[0];
        double const y = p[1];
        double const z = Spatial ? p[2] : 0;
        return {Row(0, x, y, z), Row(4, x, y, z), Affine ? 1 : Row(8, x, y, z)};
    }

private:
    double Row(int r, double x, double y, double z) const {
        double const plane = m_m[r] * x + m_m[r + 1] * y;
        return (Spatial ? plane + m_m[r + 2] * z : plane) + m_m[r + 3];
    }

    double m_m[12]; // a copy: pixels that are written could alias the view's
    unsigned char const* m_position;
    std::size_t m_stride;
};

/// Calls draw(reader) with the reader made for this view and vertex layout.
template <class Draw>
void WithReader(View const& view, VertexArray const& vertices, Draw&& draw) {
    if (vertices.dimension == 3) {
        if (view.affine) {
            draw(VertexReader<true, true>(view, vertices));
        } else {
            draw(VertexReader<true, false>(view, vertices));
        }
    } else if (view.affine) {
        draw(VertexReader<false, true>(view, vertices));
    } else {
        draw(VertexReader<false, false>(view, vertices));
    }
}

/// The colour of vertex `index`; the array must have colours.
inline Colour VertexColour(VertexArray const& vertices, std::size_t index) {
    unsigned char const* c = vertices.colour + index * vertices.strideBytes;
    return {c[0], c[1], c[2], c[3]};
}

/// The position of vertex `index`, z = 0 where it has none.
inline math::Point3<double> VertexPosition(VertexArray const& vertices, std::size_t index) {
    auto const* p = reinterpret_cast<float const*>(
        reinterpret_cast<unsigned char const*>(vertices.position) + index * vertices.strideBytes);
    return {p[0], p[1], vertices.dimension == 3 ? p[2] : 0};
}

/// The normal of vertex `index`; the array must have normals.
inline math::Point3<double> VertexNormal(VertexArray const& vertices, std::size_t index) {
    auto const* n = reinterpret_cast<float const*>(
        reinterpret_cast<unsigned char const*>(vertices.normal) + index * vertices.strideBytes);
    return {n[0], n[1], n[2]};
}

/// The texture coordinates of vertex `index`; the array must have them.
inline float const* VertexTexture(VertexArray const& vertices, std::size_t index) {
    return reinterpret_cast<float const*>(
        reinterpret_cast<unsigned char const*>(vertices.texture) + index * vertices.strideBytes);
}

} // namespace drivers::raster::detail
