#include "CameraHelpers.h"
#include "examples/calibration.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;
using namespace ui::win;
using Eigen::Vector3d;

/// The pinhole projection to window pixels, with Rodrigues' formula for the rotation: nothing of it
/// is shared with the camera.
Vector3d Pinhole(Calibration const& c, std::size_t frame, Vector3d const& p) {
    double const* e = c.extrinsics.data() + 6 * frame;
    Vector3d const rotation(e[0], e[1], e[2]);
    double const angle = rotation.norm();
    Vector3d const axis = rotation / angle;
    Vector3d const turned = p * std::cos(angle) + axis.cross(p) * std::sin(angle) +
                            axis * axis.dot(p) * (1 - std::cos(angle));
    Vector3d const seen = turned + Vector3d(e[3], e[4], e[5]);
    return {
        c.fx * seen.x() / seen.z() + c.cx + 0.5, c.fy * seen.y() / seen.z() + c.cy + 0.5, seen.z()};
}

TEST(CalibratedCamera, SeesTheBoardAsThePinholeModelDoes) {
    Calibration const c = ReadCalibration(QUARN_EXAMPLE_DATA "/calibration/left_intrinsics.yml");
    ASSERT_EQ(c.Frames(), 13U);
    CountingManager core(c.width, c.height);
    for (std::size_t frame = 0; frame < c.Frames(); ++frame) {
        auto const camera =
            boost::make_shared<CCamera3D>(CameraOf(c, BoardToCamera(c, frame)), false);
        core.SetViewPort(ViewPortCamera, nullptr, camera);
        math::TMatrix<double, 3, 4> toPixels;
        core.GetWorldToPixelMatrix(toPixels);
        for (int i = 0; i < c.columns * c.rows; ++i) {
            Vector3d const corner = BoardPoint(c, i % c.columns, i / c.columns);
            Vector3d const expected = Pinhole(c, frame, corner);
            Vector3d const p = toPixels * corner.homogeneous();
            EXPECT_NEAR(p.x() / p.z(), expected.x(), 1e-9 * std::abs(expected.x()));
            EXPECT_NEAR(p.y() / p.z(), expected.y(), 1e-9 * std::abs(expected.y()));
            EXPECT_NEAR(p.z(), expected.z(), 1e-9 * expected.z()) << "distance";

            math::Point3<float> const single(math::Point3<double>(corner.x(), corner.y(), 0));
            Vector3d const stored = Pinhole(c, frame, Vector3d(single.x, single.y, 0));
            math::Point2<double> const screen = core.WindowToScreen<double>(single);
            EXPECT_NEAR(screen.x, stored.x(), 1e-9 * std::abs(stored.x()));
            EXPECT_NEAR(screen.y, stored.y(), 1e-9 * std::abs(stored.y()));
        }
    }
}

} // namespace
