#include "CameraHelpers.h"
#include "ui/win/camera/CWindowCamera3D.h"

#include <Eigen/Geometry>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using namespace tests;
using namespace ui::win;
using Eigen::Vector3d;
using Matrix = math::TMatrix<double, 3, 4>;
using Rotation = math::TMatrix<double, 3, 3>;
using Parameters = CCamera3D::Parameters;
using Point3 = math::Point3<double>;

constexpr double pi = 3.14159265358979323846;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

std::vector<double> Values(Parameters const& p) {
    return {p.ku, p.ratio, p.pu, p.pv, p.yaw, p.pitch, p.roll, p.x, p.y, p.z};
}

Rotation RotationOf(CCamera3D const& camera) {
    Parameters const p = camera.Params();
    return RotationMatrix(p.yaw, p.pitch, p.roll);
}

Vector3d Project(CCamera3D& camera, CWindowCore& core, Vector3d const& world) {
    Matrix m;
    camera.GetMatrix(&core, m);
    return m * world.homogeneous();
}

/// Device position of a world point, as the window shows it.
Vector3d ToDevice(CCamera3D& camera, CWindowCore& core, Vector3d const& world) {
    Vector3d const p = Project(camera, core, world);
    return p / p.z();
}

TEST(Camera3D, TurnsTheWorldIntoRightUpForward) {
    struct Case {
        double yaw, pitch, roll;
        Vector3d right, up, forward;
    };
    double const h = std::sqrt(0.5);
    for (Case const& c : {
             Case{0, 0, 0, {0, -1, 0}, {0, 0, 1}, {1, 0, 0}},
             Case{pi / 2, 0, 0, {1, 0, 0}, {0, 0, 1}, {0, 1, 0}},
             Case{0, pi / 4, 0, {0, -1, 0}, {h, 0, h}, {h, 0, -h}},
             Case{pi / 2, pi / 2, 0, {1, 0, 0}, {0, 1, 0}, {0, 0, -1}},
             Case{0, 0, pi / 2, {0, 0, -1}, {0, -1, 0}, {1, 0, 0}},
         }) {
        Rotation expected;
        expected << c.right.transpose(), c.up.transpose(), c.forward.transpose();
        EXPECT_TRUE(RotationMatrix(c.yaw, c.pitch, c.roll).isApprox(expected, 1e-12))
            << RotationMatrix(c.yaw, c.pitch, c.roll);
    }
    Rotation const r = RotationMatrix(0.4, -1.1, 2.5);
    EXPECT_TRUE((r * InverseRotationMatrix(0.4, -1.1, 2.5)).isIdentity(1e-12));
    Point3 const angles = RotationAngles(r);
    EXPECT_NEAR(angles.x, 0.4, 1e-12);
    EXPECT_NEAR(angles.y, -1.1, 1e-12);
    EXPECT_NEAR(angles.z, 2.5, 1e-12);
}

TEST(Camera3D, StoresSetUps) {
    CCamera3D camera(0.1, 0.2, 0.3, 4, 5, 6, false);
    EXPECT_EQ(Values(camera.Params()), (std::vector<double>{1, 1, 0, 0, 0.1, 0.2, 0.3, 4, 5, 6}));
    camera.SetKCamera(3, 2, 5, 0.1, 0.2, 1, 2, 3, 7, 8, 9);
    EXPECT_EQ(Values(camera.Params()), (std::vector<double>{2, 2.5, 0.1, 0.2, 1, 2, 3, 7, 8, 9}));
    camera.GoToCamera(2);
    EXPECT_EQ(Values(camera.Params()), std::vector<double>(10, 0)) << "filled with zeros";
    Parameters other;
    other.roll = 0.7;
    camera.SetCamera(other, 1);
    EXPECT_EQ(camera.Params().roll, 0) << "stored, not gone to";
    camera.GoToCamera(1);
    EXPECT_EQ(camera.Params().roll, 0.7);
    for (int const unknown : {4, -1, CCamera3D::kMaxCameras, std::numeric_limits<int>::max()}) {
        camera.GoToCamera(unknown);
        EXPECT_EQ(camera.Params().roll, 0.7) << unknown;
    }
    camera.SetCamera(other, -1);
    camera.SetCamera(other, std::numeric_limits<int>::max());
    camera.GoToCamera(0);
    EXPECT_EQ(camera.Params().z, 6);

    CCamera3D const wide(pi / 4, std::atan(0.5), 0.1, 0.2, 1, 2, 3, 4, 5, 6, false);
    EXPECT_NEAR(wide.Params().ku, 1, 1e-12);
    EXPECT_NEAR(wide.Params().ratio, 2, 1e-12);
    EXPECT_EQ(wide.Params().pv, 0.2);
    EXPECT_EQ(wide.Params().x, 4);
}

TEST(Camera3D, AnglesGoHomeAndPositionsStay) {
    CCamera3D camera(0, 0, 0, 1, 2, 3, false);
    camera.X(30);
    camera.Y(40);
    camera.Z(50);
    camera.SetPixelFocalLenght(3, 4);
    EXPECT_EQ(Values(camera.Params()), (std::vector<double>{3, 4, 0, 0, 0, 0, 0, 30, 40, 50}));
    camera.Yaw(0.5);
    EXPECT_EQ(Values(camera.Params()), (std::vector<double>{1, 1, 0, 0, 0.5, 0, 0, 1, 2, 3}));
    camera.Pitch(0.25);
    camera.Move_WC_Rel({1, 1, 1});
    camera.Rotate_WC_Rel({1, 2, 3});
    EXPECT_EQ(Values(camera.Params()), (std::vector<double>{1, 1, 0, 0, 1.5, 2.25, 3, 2, 3, 4}));
    camera.Roll(0.125);
    EXPECT_EQ(
        Values(camera.Params()), (std::vector<double>{1, 1, 0, 0, 0.5, 0.25, 0.125, 1, 2, 3}));
    CCamera3D empty(false);
    empty.X(3);
    empty.Yaw(0.5);
    EXPECT_EQ(empty.Params().x, 0);
    EXPECT_EQ(empty.Params().yaw, 0.5);
}

TEST(Camera3D, TopViewIsFilledByItsRectangle) {
    CountingManager core(400, 400);
    CCamera3D camera(true);
    camera.SetCamera(0, {10, 20, 5}, 8, 6, pi / 2);
    EXPECT_EQ(camera.Params().pitch, pi / 2);
    EXPECT_TRUE(ToDevice(camera, core, {14, 23, 0}).isApprox(Vector3d(1, 1, 1), 1e-9));
    EXPECT_TRUE(ToDevice(camera, core, {6, 17, 0}).isApprox(Vector3d(-1, -1, 1), 1e-9));
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0, 0, ButtonLeft)));
    camera.SetCamera(1, 10, 20, 5, 8, 6, 0); // up in the picture is x
    EXPECT_TRUE(ToDevice(camera, core, {13, 16, 0}).isApprox(Vector3d(1, 1, 1), 1e-9));
    EXPECT_FALSE(camera.Interact(&core, At(EventMotion, 0.5F, 0))) << "the drag has ended";
}

TEST(Camera3D, KeepsTheProportionsOfTheContent) {
    CountingManager core(640, 480);
    CCamera3D camera(0, 0, 0, 0, 0, 0, false);
    camera.SetKCamera(0, 2, 3, 0.25, -0.5, 0, 0, 0, 0, 0, 0);
    Vector3d const ahead(1, -1, 1); // one to the right and one up, one in front
    auto const expect = [&](double x, double y) {
        Vector3d const device = ToDevice(camera, core, ahead);
        EXPECT_NEAR(device.x(), x + 0.25, 1e-12);
        EXPECT_NEAR(device.y(), y - 0.5, 1e-12);
    };
    expect(2, 3);
    core.WindowSize(1280, 480);
    expect(1, 3);
    core.WindowSize(640, 960);
    expect(2, 1.5);
    math::Point3<float> const ray = camera.NormalizedToCamera({2.25F, 1.0F});
    EXPECT_NEAR(ray.x, std::sqrt(1 / 3.0), 1e-6);
    EXPECT_NEAR(ray.y, std::sqrt(1 / 3.0), 1e-6);
    EXPECT_NEAR(ray.z, std::sqrt(1 / 3.0), 1e-6);
    math::Point3<float> const world = camera.CameraToWorld(ray);
    EXPECT_NEAR(world.x, ray.z, 1e-6);
    EXPECT_NEAR(world.y, -ray.x, 1e-6);
    core.Flags(0x800);
    expect(2, 3);
}

TEST(Camera3D, RestInverseUndoesTheUncorrectedProjection) {
    CountingManager core(640, 480);
    core.WindowSize(1280, 480);
    CCamera3D camera(0.5, 1.0, 0.1, 0.2, 1, 0.3, -0.2, 4, 5, 6, false);
    Matrix forward;
    Matrix back;
    CCamera3D::KCameraMatrix(forward, camera.Params());
    camera.GetRestInverseUVWMatrix(&core, back);
    Vector3d const point(7, -3, 5);
    EXPECT_TRUE((back * (forward * point.homogeneous()).homogeneous()).isApprox(point, 1e-12));
}

TEST(Camera3D, TurnsAboutItsOwnAxes) {
    constexpr double s = 0.3;
    double const c = std::cos(s);
    double const n = std::sin(s);
    for (int axis = 0; axis < 3; ++axis) {
        CCamera3D camera(0.7, -0.4, 1.2, 1, 2, 3, false);
        Rotation const before = RotationOf(camera);
        auto const right = before.row(0);
        auto const up = before.row(1);
        auto const forward = before.row(2);
        Rotation expected;
        if (axis == 0) { // to the left
            expected << c * right + n * forward, up, c * forward - n * right;
        } else if (axis == 1) { // downwards
            expected << right, c * up + n * forward, c * forward - n * up;
        } else {
            expected << c * right - n * up, c * up + n * right, forward;
        }
        camera.Rotate_CC_Rel({axis == 0 ? s : 0, axis == 1 ? s : 0, axis == 2 ? s : 0}, 7);
        EXPECT_TRUE(RotationOf(camera).isApprox(expected, 1e-12)) << axis;
        EXPECT_EQ(camera.Params().x, 1);
    }
    CCamera3D camera(0.7, -0.4, 1.2, 0, 0, 0, false);
    camera.Rotate_CC_Rel({0, 0, 0}, 3);
    EXPECT_NEAR(camera.Params().yaw, 0.7, 1e-12);
    EXPECT_NEAR(camera.Params().pitch, -0.4, 1e-12);
    EXPECT_EQ(camera.Params().roll, 0) << "cleared by its missing bit";
    camera.Rotate_CC_Rel({0.1, 0, 0}, 1);
    EXPECT_NE(camera.Params().yaw, 0);
    EXPECT_EQ(camera.Params().pitch, 0);
}

TEST(Camera3D, MovesAlongItsOwnAxes) {
    CCamera3D camera(pi / 2, 0, 0, 0, 0, 0, false); // looks along y, x is right
    camera.Move_CC_Rel({1, 2, 3}, 7);
    EXPECT_NEAR(camera.Params().x, 1, 1e-12);
    EXPECT_NEAR(camera.Params().y, 3, 1e-12);
    EXPECT_NEAR(camera.Params().z, 2, 1e-12);
    camera.Move_CC_Rel({1, 1, 1}, 5); // world x and z only
    EXPECT_NEAR(camera.Params().x, 2, 1e-12);
    EXPECT_NEAR(camera.Params().y, 3, 1e-12);
    EXPECT_NEAR(camera.Params().z, 3, 1e-12);
    CCamera3D walker(0.3, 0.4, 0.5, 1, 2, 3, false);
    walker.FWD(2);
    EXPECT_GT(walker.Params().x, 2);
    EXPECT_LT(walker.Params().z, 3) << "downwards";
    walker.FWD(-2);
    EXPECT_NEAR(walker.Params().x, 1, 1e-12);
}

TEST(Camera3D, SearchTakesTheFirstBest) {
    std::vector<double> tried;
    auto const record = [&](double value) {
        tried.push_back(value);
        return std::abs(value - 0.05) < 0.5 ? 1.0 : 2.0;
    };
    EXPECT_EQ(bruteforce(record, -1, 1, 8), -0.25) << "a later one must be strictly better";
    EXPECT_EQ(tried.size(), 9U);
    tried.clear();
    bruteforce(record, -0.1, 0.1, 10);
    EXPECT_NEAR(static_cast<double>(tried.size()), 11, 1);
    auto const error = [](double value) { return value; };
    for (auto const& [lo, hi, steps] : {
             std::tuple(1e20 - 0.1, 1e20 + 0.1, 10),
             std::tuple(infinity, infinity, 10),
             std::tuple(2.0, 2.0, 0),
             std::tuple(2.0, 1.0, 5),
             std::tuple(0.0, 1.0, -5),
         }) {
        EXPECT_EQ(bruteforce(error, lo, hi, steps), lo);
    }
    EXPECT_TRUE(std::isnan(bruteforce(error, nan, nan, 10)));
}

/// Drags over a scripted way and calls after each motion with the pointer's device position.
template <class Check>
void DragAround(CCamera3D& camera, CountingManager& core, std::uint32_t state, Check const& check) {
    std::mt19937 random(7);
    math::Point2<float> pointer(0.2F, -0.4F);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, pointer.x, pointer.y, ButtonLeft)));
    EXPECT_EQ(core.queued, 0) << "grabbing does not redraw";
    for (int step = 1; step <= 25; ++step) {
        pointer.x += static_cast<float>(static_cast<int>(random() % 21) - 10) * 0.008F;
        pointer.y += static_cast<float>(static_cast<int>(random() % 21) - 10) * 0.008F;
        EXPECT_TRUE(camera.Interact(&core, At(EventMotion, pointer.x, pointer.y, 0, state)));
        EXPECT_EQ(core.queued, step);
        check(pointer);
    }
    EXPECT_FALSE(camera.Interact(&core, At(EventRelease, 0, 0, ButtonRight)));
    EXPECT_TRUE(camera.Interact(&core, At(EventRelease, 0, 0, ButtonMiddle)));
    EXPECT_FALSE(camera.Interact(&core, At(EventMotion, 0, 0)));
}

class Camera3DDrag : public testing::Test {
protected:
    Camera3DDrag() {
        core.WindowSize(1000, 480);
        camera.GetMatrix(&core, matrix);
    }
    CountingManager core{640, 480};
    CCamera3D camera{0.6, 0.8, 0.05, -0.03, 0.4, 0.6, 0.1, -3, -2, 4, true};
    Matrix matrix;
};

TEST_F(Camera3DDrag, PansWithTheGroundUnderThePointer) {
    Vector3d const grabbed = ViewPortInvertZ(matrix, 0) * Vector3d(0.2F, -0.4F, 1);
    Vector3d const ground(grabbed.x() / grabbed.z(), grabbed.y() / grabbed.z(), 0);
    DragAround(camera, core, 0, [&](math::Point2<float> pointer) {
        Vector3d const device = ToDevice(camera, core, ground);
        EXPECT_NEAR(device.x(), pointer.x, 1e-9);
        EXPECT_NEAR(device.y(), pointer.y, 1e-9);
        EXPECT_EQ(camera.Params().z, 4);
        EXPECT_EQ(camera.Params().yaw, 0.4);
    });
    // Also when the camera stepped and turned since the last picture.
    camera.Interact(&core, At(EventPress, 0.2F, -0.4F, ButtonLeft));
    camera.Interact(&core, At(EventPress, 0, 0, WheelForward));
    camera.Rotate_CC_Rel({0.1, 0.05, 0}, 7);
    CCamera3D turned(false);
    turned.SetParams(camera.Params());
    turned.GetMatrix(&core, matrix);
    Vector3d const under = ViewPortInvertZ(matrix, 0) * Vector3d(0.2F, -0.4F, 1);
    camera.Interact(&core, At(EventMotion, 0.3F, -0.5F));
    Vector3d const device =
        ToDevice(camera, core, {under.x() / under.z(), under.y() / under.z(), 0});
    EXPECT_NEAR(device.x(), 0.3F, 1e-9);
    EXPECT_NEAR(device.y(), -0.5F, 1e-9);
}

TEST_F(Camera3DDrag, TurnsWithTheGrabbedDirectionUnderThePointer) {
    auto const grabbed = camera.CameraToWorld(camera.NormalizedToCamera({0.2F, -0.4F}));
    DragAround(camera, core, StateShift, [&](math::Point2<float> pointer) {
        auto const ray = camera.NormalizedToCamera(pointer);
        Vector3d const seen = RotationOf(camera) * Vector3d(grabbed.x, grabbed.y, grabbed.z);
        EXPECT_LT((seen - Vector3d(ray.x, ray.y, ray.z)).norm(), 0.005) << "the finest step";
        EXPECT_EQ(camera.Params().x, -3);
        EXPECT_EQ(camera.Params().roll, 0.1);
    });
}

TEST_F(Camera3DDrag, OrbitsWithTheLookAtPointInItsPlace) {
    Vector3d const target(1, 1.5, 0.5);
    camera.LookAt({1, 1.5, 0.5});
    camera.SetStep(0.5F);
    Vector3d const before = Project(camera, core, target);
    DragAround(camera, core, 0, [&](math::Point2<float> pointer) {
        EXPECT_TRUE(Project(camera, core, target).isApprox(before, 1e-12)) << "distance too";
        EXPECT_NEAR(camera.Params().yaw, 0.4 - (pointer.x - 0.2) * 0.5, 1e-5);
        EXPECT_NEAR(camera.Params().pitch, 0.6 + (pointer.y + 0.4) * 0.5, 1e-5);
    });
    Parameters const reached = camera.Params();
    core.queued = 0;
    DragAround(camera, core, StateShift, [&](math::Point2<float>) {
        EXPECT_EQ(Values(camera.Params()), Values(reached)) << "nothing orbits with Shift";
    });
}

TEST_F(Camera3DDrag, LooksFreelyWithOrWithoutShift) {
    camera.SetDragMode(CCamera3D::DragFreeLook);
    for (std::uint32_t const state : {0U, unsigned{StateShift}}) {
        Parameters const before = camera.Params();
        core.queued = 0;
        DragAround(camera, core, state, [&](math::Point2<float> pointer) {
            EXPECT_NEAR(camera.Params().yaw, before.yaw - (pointer.x - 0.2), 1e-5);
            EXPECT_NEAR(camera.Params().pitch, before.pitch + (pointer.y + 0.4), 1e-5);
            EXPECT_EQ(camera.Params().x, -3);
        });
    }
}

TEST_F(Camera3DDrag, WheelWalksAndTheMiddleButtonGoesHome) {
    camera.SetStep(2);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0, 0, WheelForward)));
    Parameters const p = camera.Params();
    EXPECT_NEAR((Vector3d(p.x, p.y, p.z) - Vector3d(-3, -2, 4)).norm(), 2, 1e-12);
    EXPECT_LT(p.z, 4);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0, 0, WheelBack)));
    EXPECT_NEAR(camera.Params().z, 4, 1e-12);
    camera.X(100);
    camera.SetRefreshOnInteraction(false);
    EXPECT_TRUE(camera.Interact(&core, At(EventPress, 0, 0, ButtonMiddle)));
    EXPECT_EQ(camera.Params().x, -3);
    EXPECT_EQ(core.queued, 2) << "and none for the last";
}

TEST_F(Camera3DDrag, LeavesOthersWhatIsTheirs) {
    Event disabled = At(EventPress, 0, 0, ButtonLeft);
    disabled.enabled = 0;
    for (Event const& event :
         {disabled,
          At(EventKey, 0, 0),
          At(EventPress, 0, 0, ButtonRight),
          At(EventMotion, 0, 0, 0, 1),
          At(EventRelease, 0, 0, ButtonLeft),
          At(EventPositionless, 0, 0)}) {
        EXPECT_FALSE(camera.Interact(&core, event)) << event.type << ' ' << event.button;
    }
    CCamera3D still(0, 0, 0, 0, 0, 0, false);
    EXPECT_FALSE(still.Interact(&core, At(EventPress, 0, 0, WheelForward)));
    EXPECT_EQ(core.queued, 0);
}

TEST_F(Camera3DDrag, SurvivesWhatMakesNoSense) {
    Parameters zero;
    Parameters endless = camera.Params();
    endless.yaw = infinity;
    endless.x = nan;
    Parameters lost = camera.Params();
    lost.yaw = lost.pitch = 1e300;
    Parameters horizon = camera.Params(); // the plane z = 0 is seen edge on
    horizon.pitch = horizon.roll = horizon.z = 0;
    for (Parameters const& p : {zero, endless, lost, horizon}) {
        for (auto const& [width, height] : {std::pair(640U, 480U), std::pair(0U, 0U)}) {
            core.WindowSize(width, height);
            camera.SetParams(p);
            camera.GetMatrix(&core, matrix);
            camera.GetRestInverseUVWMatrix(&core, matrix);
            for (auto const mode :
                 {CCamera3D::DragPan, CCamera3D::DragFreeLook, CCamera3D::DragOrbit}) {
                camera.SetDragMode(mode);
                for (std::uint32_t const state : {0U, unsigned{StateShift}}) {
                    camera.Interact(&core, At(EventPress, 0.1F, 0.1F, ButtonLeft));
                    EXPECT_TRUE(camera.Interact(&core, At(EventMotion, 0.3F, 0.2F, 0, state)));
                }
            }
            camera.Rotate_CC_Rel({nan, infinity, 1}, 7);
            EXPECT_TRUE(std::isnan(camera.Params().yaw));
        }
    }
    camera.SetParams(horizon);
    camera.GetMatrix(&core, matrix);
    camera.SetDragMode(CCamera3D::DragPan);
    camera.Interact(&core, At(EventPress, 0.1F, 0.1F, ButtonLeft));
    camera.Interact(&core, At(EventMotion, 0.2F, 0.2F));
    EXPECT_EQ(camera.Params().x, -3) << "no ground, no pan";
    camera.SetParams(Parameters());
    camera.GetMatrix(&core, matrix);
    camera.Interact(&core, At(EventMotion, 0.3F, 0.2F, 0, StateShift));
    EXPECT_EQ(camera.Params().yaw, 0) << "no direction, no turn";
}

} // namespace
