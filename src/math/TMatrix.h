#pragma once

#include <Eigen/Core>

namespace math {

/// A dense R x C matrix, row-major in memory (Eigen stores single columns column-major, which is
/// the same order). Elements are not initialised by the default constructor.
template <class T, unsigned R, unsigned C>
using TMatrix = Eigen::Matrix<
    T,
    static_cast<int>(R),
    static_cast<int>(C),
    (C == 1 && R != 1) ? Eigen::ColMajor : Eigen::RowMajor>;

} // namespace math
