#include "drivers/raster/detail/Cover.h"

#include "drivers/raster/detail/Clones.h"

namespace drivers::raster::detail {

RASTER_CLONES void CoverRows(
    Target const& target,
    int x,
    int y,
    unsigned char const* coverage,
    std::ptrdiff_t stride,
    int width,
    int height,
    Ink const& ink) {
    CoverPen const pen(ink);
    int const room = static_cast<int>(target.stride) - x;
    for (int row = y; row < y + height; ++row, coverage += stride) {
        CoverRow(target.At(x, row), coverage, width, room, pen);
    }
}

} // namespace drivers::raster::detail
