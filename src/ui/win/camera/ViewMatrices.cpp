#include "ui/win/camera/ViewMatrices.h"

#include <Eigen/LU>

#include <cmath>

namespace ui::win {

math::TMatrix<double, 3, 3> ViewPortInvertZ(math::TMatrix<double, 3, 4> const& view, double z) {
    math::TMatrix<double, 3, 3> plane;
    plane.col(0) = view.col(0);
    plane.col(1) = view.col(1);
    plane.col(2) = z * view.col(2) + view.col(3);
    return plane.inverse();
}

math::TMatrix<double, 3, 4> ViewPortInvertUVW(math::TMatrix<double, 3, 4> const& view) {
    math::TMatrix<double, 3, 3> const linear = view.leftCols<3>();
    math::TMatrix<double, 3, 4> result;
    result.leftCols<3>() = linear.inverse();
    result.col(3) = -(result.leftCols<3>() * view.col(3));
    return result;
}

math::TMatrix<double, 3, 3> RotationMatrix(double yaw, double pitch, double roll) {
    double const sa = std::sin(yaw);
    double const ca = std::cos(yaw);
    double const sb = std::sin(pitch);
    double const cb = std::cos(pitch);
    double const sc = std::sin(roll);
    double const cc = std::cos(roll);
    math::TMatrix<double, 3, 3> r;
    // clang-format off
    r << sa * cc - ca * sb * sc, -(sa * sb * sc + ca * cc), -cb * sc,
         ca * sb * cc + sa * sc,   sa * sb * cc - ca * sc,   cb * cc,
         cb * ca,                  cb * sa,                 -sb;
    // clang-format on
    return r;
}

math::TMatrix<double, 3, 3> InverseRotationMatrix(double yaw, double pitch, double roll) {
    return RotationMatrix(yaw, pitch, roll).transpose();
}

math::Point3<double> RotationAngles(math::TMatrix<double, 3, 3> const& rotation) {
    double const p = rotation(0, 2);
    double const q = rotation(1, 2);
    return {
        std::atan2(rotation(2, 1), rotation(2, 0)),
        std::atan2(-rotation(2, 2), std::sqrt(p * p + q * q)),
        std::atan2(-p, q)};
}

math::TMatrix<double, 3, 4> KCameraMatrix(
    double fx,
    double fy,
    double pu,
    double pv,
    math::TMatrix<double, 3, 3> const& rotation,
    math::Point3<double> const& position) {
    math::TMatrix<double, 3, 4> pose;
    pose.leftCols<3>() = rotation;
    pose.col(3) = -(rotation * Eigen::Vector3d(position.x, position.y, position.z));
    math::TMatrix<double, 3, 4> projection;
    projection.row(0) = fx * pose.row(0) + pu * pose.row(2);
    projection.row(1) = fy * pose.row(1) + pv * pose.row(2);
    projection.row(2) = pose.row(2);
    return projection;
}

} // namespace ui::win
