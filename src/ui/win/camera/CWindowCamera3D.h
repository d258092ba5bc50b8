#pragma once

#include "dev/TCameraParams.h"
#include "math/Point2.h"
#include "math/Point3.h"
#include "ui/win/camera/CWindowCamera.h"
#include "ui/win/camera/ViewMatrices.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <cstdint>
#include <limits>
#include <vector>

namespace ui::win {

/// The perspective camera of a window that shows a 3D scene: one set-up in use, numbered ones to
/// go back to, and a mouse that walks, turns and orbits.
///
///     auto camera = boost::make_shared<CCamera3D>(0.0, 0.3, 0.0, -5.0, 0.0, 2.0, true);
///     camera->LookAt({0, 0, 0}); // dragging now orbits about the origin
///     window.SetCamera(camera);
///
/// World z is up. At yaw and pitch 0 the camera looks along x; a positive pitch looks down. Angles
/// are radians, focal lengths and principal points are in device units (the view spans -1 .. +1).
///
/// Left drag: pans over the ground z = 0; with Shift it turns so that what was grabbed stays under
/// the pointer; after LookAt() it orbits. The wheel walks, button 4 goes home. Zero focal lengths
/// and sizes may give infinite or NaN matrices, through which nothing is drawn. Any thread may call
/// anything here; nothing is reported.
class CCamera3D : public CCamera {
public:
    /// One camera set-up.
    struct Parameters {
        double ku = 0;    ///< focal length along x, 1 / tan(half the field of view)
        double ratio = 0; ///< focal length along y as a multiple of ku
        double pu = 0;    ///< principal point, device units
        double pv = 0;
        double yaw = 0; ///< radians, from x towards y
        double pitch = 0;
        double roll = 0;
        double x = 0; ///< position, world units
        double y = 0;
        double z = 0;
    };

    /// What the left button does.
    enum DragMode : std::int32_t {
        DragPan = 0,      ///< pans; with Shift grabs a direction and turns
        DragFreeLook = 1, ///< turns about the camera
        DragOrbit = 2     ///< turns about the look-at point
    };

    /// Set-ups that can be stored; higher numbers are not stored.
    static constexpr int kMaxCameras = 1 << 16;

    /// @param interactive false lets all events pass
    explicit CCamera3D(bool interactive);
    /// Camera 0 with a half field of view of 45 degrees.
    CCamera3D(
        double yaw, double pitch, double roll, double x, double y, double z, bool interactive);
    /// Camera 0 as the SetCamera() with the same arguments makes it.
    CCamera3D(
        double ax,
        double ay,
        double pu,
        double pv,
        double yaw,
        double pitch,
        double roll,
        double x,
        double y,
        double z,
        bool interactive);
    CCamera3D(dev::TCameraParams<double, unsigned int> const& calibration, bool interactive);

    /// @name Stored set-ups (storing beyond the last one fills the gap with zeros)
    /// @{

    /// Stores a set-up by its focal lengths in device units, and goes to it.
    void SetKCamera(
        int index,
        double ku,
        double kv,
        double pu,
        double pv,
        double yaw,
        double pitch,
        double roll,
        double x,
        double y,
        double z);
    /// Stores a set-up by half its fields of view (radians), and goes to it.
    void SetCamera(
        int index,
        double ax,
        double ay,
        double pu,
        double pv,
        double yaw,
        double pitch,
        double roll,
        double x,
        double y,
        double z);
    /// Stores a set-up without going to it.
    void SetCamera(Parameters const& parameters, int index);
    /// Stores a camera at (x, y, z) that looks straight down at the ground z = 0 and goes to it,
    /// ending a drag. A rectangle of the ground around (x, y) fills the view.
    /// @param width extent from left to right in the picture, world units
    /// @param depth extent from bottom to top in the picture, world units
    /// @param yaw   world direction that is up in the picture; pi/2 puts x right and y up
    void SetCamera(int index, double x, double y, double z, double width, double depth, double yaw);
    void SetCamera(
        int index, math::Point3<double> const& position, double width, double depth, double yaw);
    /// Stores a calibrated camera as camera 0 and goes to it: intrinsics in pixels of an image that
    /// fills the view, y of its principal point downwards; orientation as in Parameters.
    void SetCamera(dev::TCameraParams<double, unsigned int> const& calibration);
    /// Takes a stored set-up into use; one beyond the stored ones leaves the present one.
    void GoToCamera(int index);
    /// @}

    /// @name The set-up in use
    /// @{
    Parameters Params() const;
    void SetParams(Parameters const& parameters);
    void X(double x);
    void Y(double y);
    void Z(double z);
    /// The angle setters change camera 0 and go to it: what else was changed since is dropped.
    void Yaw(double yaw);
    void Pitch(double pitch);
    void Roll(double roll);
    /// Sets ku and the ratio, as they stand in Parameters. The name is spelled so for callers.
    void SetPixelFocalLenght(double ku, double ratio);

    /// Adds to the position, or to (yaw, pitch, roll).
    void Move_WC_Rel(math::Point3<double> const& displacement);
    void Rotate_WC_Rel(math::Point3<double> const& angles);
    /// Moves by a displacement in camera axes (right, up, forward), along those world axes only
    /// whose bit is set in the mask: 1 x, 2 y, 4 z.
    void Move_CC_Rel(math::Point3<double> const& displacement, int mask);
    /// Turns by (yaw, pitch, roll) about the camera's own axes. Angles whose bit is clear in the
    /// mask (1 yaw, 2 pitch, 4 roll) become 0.
    void Rotate_CC_Rel(math::Point3<double> const& angles, int mask);
    /// Steps along the viewing axis.
    void FWD(double distance);
    /// Turns by (yaw, pitch) about a point of the world, which keeps its place in the picture.
    void Orbit(math::Point3<double> const& centre, double yaw, double pitch);
    /// @}

    /// @name Interaction
    /// @{

    /// Makes dragging orbit about a point of the world.
    void LookAt(math::Point3<double> const& point);
    DragMode GetDragMode() const;
    void SetDragMode(DragMode mode);
    /// World units that a wheel step walks, and radians that a drag over half the view turns.
    void SetStep(float step);
    /// Whether handled events redraw the window; they do at first.
    void SetRefreshOnInteraction(bool refresh);
    /// @}

    /// The unit vector, in camera axes, towards a device position of the picture drawn last.
    math::Point3<float> NormalizedToCamera(math::Point2<float> const& device) const;
    /// A direction in camera axes, in those of the world.
    math::Point3<float> CameraToWorld(math::Point3<float> const& direction) const;

    void GetMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) override;
    void GetRestInverseUVWMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) override;
    bool Interact(CWindowCoreManager* manager, Event const& event) override;
    void Draw(CWindowCore* core) override;

    /// The projection of a set-up in a window of its own proportions.
    static void KCameraMatrix(math::TMatrix<double, 3u, 4u>& matrix, Parameters const& parameters);

private:
    using Lock = boost::lock_guard<boost::mutex>;
    enum class Outcome { Declined, Consumed, Changed };

    // These expect m_mutex to be held.
    void Store(int index, Parameters const& parameters);
    void Recall(int index);
    void Use(int index, Parameters const& parameters);
    void SetHomeAngle(double Parameters::*angle, double value);
    void CorrectAspect(double gx, double gy);
    void MoveInCameraAxes(math::Point3<double> const& displacement, int mask);
    void TurnAbout(math::Point3<double> const& centre, double yaw, double pitch);
    math::Point3<float> RayOf(math::Point2<float> const& device) const;
    math::Point3<float> WorldDirection(math::Point3<float> const& direction) const;
    Outcome Press(Event const& event);
    void Drag(Event const& event);
    void GrabAndTurn(math::Point2<float> const& pointer);
    void PanOverGround(math::Point2<float> const& pointer);

    mutable boost::mutex m_mutex; // guards everything below
    std::vector<Parameters> m_stored;
    double m_fx = 0;
    double m_fy = 0;
    Parameters m_current;
    std::int32_t m_dragging = 0;
    DragMode m_dragMode = DragPan;
    bool m_refreshOnInteraction = true;
    math::Point3<float> m_grabbedDirection;
    math::Point3<float> m_grabbedRay;
    math::Point2<float> m_lastPointer;
    float m_step = 1.0F;
    math::Point3<double> m_lookAt;
    bool m_interactive;
};

/// How far a camera with one angle replaced is from seeing a world direction along a camera ray:
/// the squared distance of the two. Replaces yaw (N = 0) or pitch (N = 1).
template <int N>
struct camera_rotation_root_finding {
    static_assert(N == 0 || N == 1, "yaw or pitch");

    double yaw = 0;
    double pitch = 0;
    double roll = 0;
    Eigen::Vector3d direction; ///< world
    Eigen::Vector3d ray;       ///< camera

    double operator()(double candidate) const {
        math::TMatrix<double, 3, 3> const r =
            RotationMatrix(N == 0 ? candidate : yaw, N == 1 ? candidate : pitch, roll);
        return (ray - r * direction).squaredNorm();
    }
};

/// Tries lo, lo + s, lo + 2 s, ... up to hi, with s = (hi - lo) / steps.
/// @return the first candidate with the smallest f; lo when there is none
template <class F>
double bruteforce(F const& f, double lo, double hi, int steps) {
    double const step = (hi - lo) / steps;
    double best = lo;
    double smallest = std::numeric_limits<double>::infinity();
    for (double candidate = lo; candidate <= hi;) {
        double const error = f(candidate);
        if (error < smallest) {
            smallest = error;
            best = candidate;
        }
        double const next = candidate + step;
        if (!(next > candidate)) {
            break; // bounds so large that a step is lost in them, or not numbers
        }
        candidate = next;
    }
    return best;
}

} // namespace ui::win
