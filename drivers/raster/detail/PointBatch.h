#pragma once

#include "drivers/raster/detail/View.h"
#include "math/Rect2.h"

#include <cstddef>

namespace drivers::raster::detail {

/// Points that are taken to pixels together. Working storage.
struct PointBatch {
    static constexpr std::size_t Most = 256;

    // In the world.
    float x[Most];
    float y[Most];
    float z[Most];
    // The pixel of each, how near it is (1 / distance), and 1 where it is to be drawn, else 0.
    int column[Most];
    int row[Most];
    float nearness[Most];
    int seen[Most];
    // The numbers of those that are to be drawn, in order.
    std::size_t drawn[Most];
};

/// Takes some vertices as the points of a batch.
void LoadPoints(
    VertexArray const& vertices, std::size_t first, std::size_t count, PointBatch& batch);

/// Places the first `count` points of a batch, those outside of the area or of the view's range of
/// distances at any pixel.
/// @return how many are to be drawn
std::size_t PlacePoints(
    View const& view, math::Rect2<double> const& area, std::size_t count, PointBatch& batch);

} // namespace drivers::raster::detail
