#include "ui/win/camera/ViewMatrices.h"

#include <Eigen/LU>

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

} // namespace ui::win
