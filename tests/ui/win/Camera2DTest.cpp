#include "CameraHelpers.h"
#include "ui/win/camera/CWindowCamera2D.h"
#include "ui/win/camera/ViewMatrices.h"

#include <boost/make_shared.hpp>

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace tests;
using namespace ui::win;
using Matrix = math::TMatrix<double, 3, 4>;

constexpr double pi = 3.14159265358979323846;

math::Point2<double> ToDevice(CCamera2D& camera, CWindowCore& core, double x, double y) {
    Matrix m;
    camera.GetMatrix(&core, m);
    Eigen::Vector3d const p = m * Eigen::Vector4d(x, y, 123, 1);
    EXPECT_EQ(p.z(), 1);
    return {p.x(), p.y()};
}

#define EXPECT_POINT(p, px, py)                                                                    \
    do {                                                                                           \
        auto const point = (p);                                                                    \
        EXPECT_NEAR(point.x, px, 1e-9);                                                            \
        EXPECT_NEAR(point.y, py, 1e-9);                                                            \
    } while (false)

TEST(Camera2D, MapsTheViewOntoTheWindow) {
    CountingManager core(640, 480);
    CCamera2D camera(0, 0, 640, 480, 0);
    EXPECT_POINT(ToDevice(camera, core, 0, 0), -1, 1);
    EXPECT_POINT(ToDevice(camera, core, 640, 480), 1, -1);

    core.WindowSize(640, 960); // r = 2: full width, upper half
    EXPECT_POINT(ToDevice(camera, core, 640, 480), 1, 0);
    core.WindowSize(1280, 480); // r = 0.5: full height, left half
    EXPECT_POINT(ToDevice(camera, core, 640, 480), 0, -1);

    core.WindowSize(640, 480);
    CCamera2D shifted(100, 100, 200, 150, 0);
    EXPECT_POINT(ToDevice(shifted, core, 0, 0), -1, 1); // the origin of the view does not count
    EXPECT_POINT(ToDevice(shifted, core, 100, 50), 1, -1);
}

TEST(Camera2D, ZoomsAndTurnsAboutTheCentre) {
    CountingManager core(200, 100);
    CCamera2D camera(0, 0, 200, 100, pi / 2);
    EXPECT_POINT(ToDevice(camera, core, 100, 50), 0, 0);
    camera.SetZoom(2);
    // c = 0, s = zoom: (110, 50) lies 10 right of the centre and lands 20 above it.
    EXPECT_POINT(ToDevice(camera, core, 110, 50), 0, 0.4);
    camera.SetTranslation({-10, 0});
    EXPECT_POINT(ToDevice(camera, core, 110, 50), 0, 0);
    camera.Reset();
    camera.Prepare();
    EXPECT_EQ(camera.Angle(), pi / 2);
    EXPECT_POINT(ToDevice(camera, core, 110, 50), 0, 0.2);
}

TEST(Camera2D, RestInverseKeepsItsThirdRowZero) {
    CountingManager core(640, 480);
    CCamera2D camera(10, 20, 110, 220, 0.5);
    camera.SetZoom(3);
    Matrix m;
    camera.GetRestInverseUVWMatrix(&core, m);
    EXPECT_TRUE((m * Eigen::Vector4d(-1, 1, 0, 1)).isApprox(Eigen::Vector3d(10, 20, 0), 1e-12));
    EXPECT_TRUE((m * Eigen::Vector4d(1, -1, 0, 1)).isApprox(Eigen::Vector3d(110, 220, 0), 1e-12));
    EXPECT_TRUE(m.row(2).isZero(0));
}

TEST(Camera2D, DragKeepsTheGrabbedPointUnderThePointer) {
    CountingManager core(640, 480);
    CCamera2D camera(0, 0, 640, 480, 0.3);
    camera.SetZoom(1.7);
    ToDevice(camera, core, 0, 0);
    Matrix m;
    camera.GetMatrix(&core, m);
    Eigen::Matrix3d const inverse = ViewPortInvertZ(m, 0);
    Eigen::Vector3d const grabbed = inverse * Eigen::Vector3d(0.25, -0.5, 1);

    EXPECT_FALSE(camera.Interact(&core, At(EventMotion, 0, 0)));
    EXPECT_FALSE(camera.Interact(&core, At(EventRelease, 0, 0, ButtonLeft)));
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0.25F, -0.5F, ButtonLeft)));
    EXPECT_EQ(core.queued, 0) << "grabbing does not redraw";
    EXPECT_TRUE(camera.Interact(&core, At(EventMotion, -0.75F, 0.5F)));
    EXPECT_EQ(core.queued, 1);
    EXPECT_POINT(ToDevice(camera, core, grabbed.x(), grabbed.y()), -0.75, 0.5);
    EXPECT_TRUE(camera.Interact(&core, At(EventRelease, 0, 0, ButtonRight)))
        << "any button ends it";
    EXPECT_FALSE(camera.Interact(&core, At(EventMotion, 0, 0)));
}

TEST(Camera2D, LeavesOthersWhatIsTheirs) {
    CountingManager core(640, 480);
    CCamera2D camera(0, 0, 640, 480, 0);
    Event disabled = At(EventPress, 0, 0, ButtonLeft);
    disabled.enabled = 0;
    for (Event const& event :
         {disabled,
          At(EventKey, 0, 0),
          At(EventPress, 0, 0, ButtonLeft, StateShift),
          At(EventPress, 0, 0, ButtonMiddle, StateShift | 1U),
          At(EventPress, 0, 0, ButtonRight),
          At(EventPositionless, 0, 0)}) {
        EXPECT_FALSE(camera.Interact(&core, event)) << event.type << ' ' << event.button;
    }
    camera.SetZoom(2);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0, 0, ButtonMiddle)));
    EXPECT_EQ(camera.Zoom(), 1.0);
    EXPECT_EQ(core.queued, 1);
}

TEST(Camera2D, WheelZoomsThereAndBackAboutThePointer) {
    CountingManager core(640, 480);
    CCamera2D camera(0, 0, 640, 480, 0);
    ToDevice(camera, core, 0, 0);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0.5F, 0.5F, WheelForward)));
    EXPECT_EQ(camera.Zoom(), 1.25);
    EXPECT_GT(core.waited, 0) << "animated";
    EXPECT_EQ(core.queued, 1);
    EXPECT_POINT(ToDevice(camera, core, 480, 120), 0.5, 0.5);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0.5F, 0.5F, WheelBack)));
    EXPECT_EQ(camera.Zoom(), static_cast<double>(static_cast<float>(1.25 * 0.8)));
    EXPECT_POINT(ToDevice(camera, core, 480, 120), 0.5, 0.5);
}

TEST(Camera2D, ViewPortIsFormedInSinglePrecision) {
    CountingManager core(333, 77);
    CCamera2D camera;
    camera.SetViewPort(0.1F, 0.3F, 0.7F, 0.9F, true);
    double const* part = camera.GetViewPort(&core);
    EXPECT_EQ(part[0], static_cast<double>(333.0F * 0.1F));
    EXPECT_EQ(part[1], static_cast<double>(77.0F * 0.3F));
    EXPECT_EQ(part[2], static_cast<double>(333.0F * 0.7F));
    camera.SetViewPort(0.5F, 1, 2, 3, false);
    EXPECT_EQ(camera.GetViewPort(&core)[0], 0.5);
}

TEST(ViewMatrices, InvertPlanesAndAffineMaps) {
    Matrix view;
    view << 2, 0.5, 0.3, 1, -0.25, 3, 0.1, -2, 0.01, 0.02, 0.5, 4;
    for (double const z : {0.0, 2.5}) {
        Eigen::Vector3d const device = view * Eigen::Vector4d(7, -3, z, 1);
        Eigen::Vector3d const plane = ViewPortInvertZ(view, z) * (device / device.z());
        EXPECT_NEAR(plane.x() / plane.z(), 7, 1e-12);
        EXPECT_NEAR(plane.y() / plane.z(), -3, 1e-12);
    }
    Eigen::Vector3d const back =
        ViewPortInvertUVW(view) * (view * Eigen::Vector4d(7, -3, 5, 1)).homogeneous();
    EXPECT_TRUE(back.isApprox(Eigen::Vector3d(7, -3, 5), 1e-12));
    view.row(1) = 2 * view.row(0);
    EXPECT_FALSE(ViewPortInvertZ(view, 0).allFinite()) << "singular";
    EXPECT_FALSE(ViewPortInvertUVW(view).allFinite());
}

} // namespace
