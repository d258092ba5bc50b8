#pragma once

#include "math/Point3.h"
#include "math/TMatrix.h"

namespace ui::win {

/// The inverse of a 3 x 4 view matrix restricted to the plane at height z: the 3 x 3 inverse of
/// its columns 0, 1 and z * column 2 + column 3. Takes (device x, device y, 1) to homogeneous
/// (x, y, w) of that plane. A singular view gives infinite or NaN entries.
math::TMatrix<double, 3, 3> ViewPortInvertZ(math::TMatrix<double, 3, 4> const& view, double z);

/// The inverse of [A | b] in the sense of affine maps: [A^-1 | -A^-1 b]. A singular A gives
/// infinite or NaN entries.
math::TMatrix<double, 3, 4> ViewPortInvertUVW(math::TMatrix<double, 3, 4> const& view);

/// World directions to those of a camera: x to its right, y up, z along its viewing axis, which
/// points along (cos pitch cos yaw, cos pitch sin yaw, -sin pitch) of a world whose z is up. Such
/// axes are left-handed, so the determinant is -1. Angles in radians.
math::TMatrix<double, 3, 3> RotationMatrix(double yaw, double pitch, double roll);
/// Directions of a camera to those of the world: the transpose.
math::TMatrix<double, 3, 3> InverseRotationMatrix(double yaw, double pitch, double roll);
/// The angles (yaw, pitch, roll) of a rotation that has them, pitch within -pi/2 .. +pi/2.
math::Point3<double> RotationAngles(math::TMatrix<double, 3, 3> const& rotation);

/// The pinhole projection K [R | -R t] to homogeneous device coordinates, with focal lengths fx
/// and fy and the principal point (pu, pv) in device units, for a camera at t.
math::TMatrix<double, 3, 4> KCameraMatrix(
    double fx,
    double fy,
    double pu,
    double pv,
    math::TMatrix<double, 3, 3> const& rotation,
    math::Point3<double> const& position);

} // namespace ui::win
