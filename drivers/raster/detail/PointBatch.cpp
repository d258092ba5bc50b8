#include "drivers/raster/detail/PointBatch.h"

#include "drivers/raster/detail/Clip.h"
#include "drivers/raster/detail/Clones.h"

#include <algorithm>

namespace drivers::raster::detail {

namespace {

/// Takes a coordinate to its pixel, and `seen` to 0 where that is outside, without a branch: none
/// could be foretold.
inline int PlaceAlong(double v, double from, double to, int& seen) {
    seen &= (v >= from ? 1 : 0) & (v < to ? 1 : 0); // neither is so of what is not a number
    double const above = v > from ? v : from;
    return FloorPixel(above < to ? above : to);
}

RASTER_CLONES void PlaceFlat(
    double const* __restrict m,
    math::Rect2<double> const& area,
    std::size_t count,
    PointBatch& __restrict batch) {
    for (std::size_t i = 0; i < count; ++i) {
        double const x = batch.x[i], y = batch.y[i], z = batch.z[i];
        int seen = 1;
        batch.column[i] =
            PlaceAlong(m[0] * x + m[1] * y + m[2] * z + m[3], area.left, area.right, seen);
        batch.row[i] =
            PlaceAlong(m[4] * x + m[5] * y + m[6] * z + m[7], area.top, area.bottom, seen);
        batch.nearness[i] = 1;
        batch.seen[i] = seen;
    }
}

RASTER_CLONES void PlaceInSpace(
    double const* __restrict m,
    DepthRange const& range,
    math::Rect2<double> const& area,
    std::size_t count,
    PointBatch& __restrict batch) {
    for (std::size_t i = 0; i < count; ++i) {
        double const x = batch.x[i], y = batch.y[i], z = batch.z[i];
        double const w = m[8] * x + m[9] * y + m[10] * z + m[11];
        double const near = 1 / w;
        int seen = (w >= range.nearest ? 1 : 0) & (w <= range.farthest ? 1 : 0);
        batch.column[i] =
            PlaceAlong((m[0] * x + m[1] * y + m[2] * z + m[3]) * near, area.left, area.right, seen);
        batch.row[i] =
            PlaceAlong((m[4] * x + m[5] * y + m[6] * z + m[7]) * near, area.top, area.bottom, seen);
        batch.nearness[i] = static_cast<float>(near);
        batch.seen[i] = seen;
    }
}

} // namespace

void LoadPoints(
    VertexArray const& vertices, std::size_t first, std::size_t count, PointBatch& batch) {
    bool const spatial = vertices.dimension == 3;
    auto const* at =
        reinterpret_cast<unsigned char const*>(vertices.position) + first * vertices.strideBytes;
    for (std::size_t i = 0; i < count; ++i, at += vertices.strideBytes) {
        auto const* const position = reinterpret_cast<float const*>(at);
        batch.x[i] = position[0];
        batch.y[i] = position[1];
        batch.z[i] = spatial ? position[2] : 0;
    }
}

std::size_t PlacePoints(
    View const& view, math::Rect2<double> const& area, std::size_t count, PointBatch& batch) {
    if (view.affine) {
        PlaceFlat(view.m, area, count, batch);
    } else {
        PlaceInSpace(view.m, view.range, area, count, batch);
    }
    std::size_t drawn = 0;
    for (std::size_t i = 0; i < count; ++i) {
        batch.drawn[drawn] = i;
        drawn += static_cast<std::size_t>(batch.seen[i]);
    }
    return drawn;
}

} // namespace drivers::raster::detail
