#pragma once

#include "math/TMatrix.h"

namespace ui::win {

/// The inverse of a 3 x 4 view matrix restricted to the plane at height z: the 3 x 3 inverse of
/// its columns 0, 1 and z * column 2 + column 3. Takes (device x, device y, 1) to homogeneous
/// (x, y, w) of that plane. A singular view gives infinite or NaN entries.
math::TMatrix<double, 3, 3> ViewPortInvertZ(math::TMatrix<double, 3, 4> const& view, double z);

/// The inverse of [A | b] in the sense of affine maps: [A^-1 | -A^-1 b]. A singular A gives
/// infinite or NaN entries.
math::TMatrix<double, 3, 4> ViewPortInvertUVW(math::TMatrix<double, 3, 4> const& view);

} // namespace ui::win
