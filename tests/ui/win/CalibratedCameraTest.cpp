#include "CameraHelpers.h"
#include "cimage/ImageIO.h"
#include "cimage/PixelTypes.h"
#include "cimage/TImage.h"
#include "examples/calibration.h"

#include <boost/property_tree/ptree.hpp>

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

/// The corner of a chessboard's squares near a place of a photograph, found in its pixels: where
/// the edges around the place, each a line across its gradient, meet best.
Eigen::Vector2d PrintedCorner(cimage::TImage<unsigned char> const& photograph, Eigen::Vector2d at) {
    constexpr int radius = 5;
    for (int round = 0; round < 5; ++round) {
        Eigen::Matrix2d normal = Eigen::Matrix2d::Zero();
        Eigen::Vector2d sum = Eigen::Vector2d::Zero();
        for (int y = int(at.y()) - radius; y <= int(at.y()) + radius; ++y) {
            for (int x = int(at.x()) - radius; x <= int(at.x()) + radius; ++x) {
                auto const grey = [&](int i, int j) { return double(photograph[unsigned(j)][i]); };
                Eigen::Vector2d const gradient(
                    grey(x + 1, y) - grey(x - 1, y), grey(x, y + 1) - grey(x, y - 1));
                normal += gradient * gradient.transpose();
                sum += gradient * gradient.dot(Eigen::Vector2d(x + 0.5, y + 0.5));
            }
        }
        at = normal.inverse() * sum;
    }
    return at;
}

TEST(CalibratedCamera, PutsTheCornersOntoThePrintedOnes) {
    std::string const folder = QUARN_EXAMPLE_DATA "/calibration/";
    Calibration const c = ReadCalibration(folder + "left_intrinsics.yml");
    CountingManager core(c.width, c.height);
    for (std::size_t frame = 0; frame < 5; ++frame) {
        boost::property_tree::ptree metadata;
        cimage::TImage<unsigned char> photograph;
        cimage::Load(folder + "left0" + std::to_string(frame + 1) + ".jpg", photograph, metadata);
        core.SetViewPort(
            ViewPortCamera,
            nullptr,
            boost::make_shared<CCamera3D>(CameraOf(c, BoardToCamera(c, frame)), false));
        double sum = 0;
        int const corners = c.columns * c.rows;
        for (int i = 0; i < corners; ++i) {
            Vector3d const board = BoardPoint(c, i % c.columns, i / c.columns);
            math::Point2<double> const screen = core.WindowToScreen<double>(
                math::Point3<float>(float(board.x()), float(board.y()), 0));
            math::Point2<float> const drawn =
                ThroughTheLens(c, (screen.x - c.cx - 0.5) / c.fx, (screen.y - c.cy - 0.5) / c.fy);
            Eigen::Vector2d const place(drawn.x, drawn.y);
            sum += (PrintedCorner(photograph, place) - place).squaredNorm();
        }
        EXPECT_LT(std::sqrt(sum / corners), c.error[frame] + 0.1) << "frame " << frame;
    }
}

} // namespace
