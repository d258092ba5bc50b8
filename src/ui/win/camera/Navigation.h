#pragma once

#include "math/Point3.h"
#include "ui/win/CWidget.h"
#include "ui/win/camera/Button.h"
#include "ui/win/camera/CWindowCamera3D.h"
#include "ui/win/camera/Spline.h"

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace ui::win {

/// (1 - t) a + t b
inline double param_lin_interp(double a, double b, double t) {
    return (1 - t) * a + t * b;
}

/// A path of a 3D camera through a scene: segments with an XML file, and a widget to edit views.
///
///     auto path = boost::make_shared<Navigation>(camera, "tour.xml");
///     path->Load();
///     window.InsertPlugin(path); // shows the pad of buttons that turn the camera
///     NavigationPlayer(path).RenderFiles(window, 0.04, "tour.png");
///
/// With the right button held, a drag moves the camera sideways and up, with Shift it turns it,
/// with Ctrl it orbits about the look-at point. The buttons work on threads of their own; this
/// class guards itself and may be called from any thread. A NavigationPlayer walks the path.
class Navigation : public CWidget {
public:
    /// From one camera set-up to another in a given time.
    struct Segment {
        /// How values change from begin to end.
        enum SmoothingType : std::int32_t {
            LINEAR = 0,
            CUBIC_SPLINE = 1 ///< runs smoothly into the segments before and after
        };

        CCamera3D::Parameters begin;
        CCamera3D::Parameters end;
        math::Point3<double> lookAtBegin;
        math::Point3<double> lookAtEnd;
        SmoothingType smoothingPosition = LINEAR;
        SmoothingType smoothingOrientation = LINEAR;
        SmoothingType smoothingFocal = LINEAR; ///< of ku and ratio
        double duration = 0;                   ///< seconds

        /// The word that files have for it.
        static char const* SmoothingTypeEncode(SmoothingType type);
        /// LINEAR for any other word.
        static SmoothingType SmoothingTypeDecode(std::string const& word);
    };

    /// An empty path.
    /// @param camera   the camera that the pad and the mouse move; never null
    /// @param fileName what Load() and Save() use
    explicit Navigation(
        boost::shared_ptr<CCamera3D> camera = boost::make_shared<CCamera3D>(true),
        std::string fileName = "navigation.xml");
    /// Stops the buttons.
    ~Navigation() override;
    Navigation(Navigation const&) = delete;
    Navigation& operator=(Navigation const&) = delete;

    char const* getName() const override { return "3DNavigation"; }
    int Draw(CWindowCore* core) override;
    bool Interact(CWindowCoreManager* manager, Event const& event) override;

    /// @name The path
    /// @{

    /// Appends a segment; the begin of the first one becomes the camera's home.
    void AddSegment(Segment const& segment);
    std::vector<Segment> Segments() const;
    /// Durations in seconds; those that are no time (negative, infinite, not numbers) count as 0.
    std::vector<double> Durations() const;
    /// Writes the segments to the file. What goes wrong is said in one line.
    void Save() const;
    /// Replaces the segments by those of the file, or leaves them when it cannot be read whole,
    /// which is said in one line.
    void Load();
    std::string FileName() const;
    void SetFileName(std::string const& name);
    /// @}

    /// @name The place on the path (each leaves its argument when the place is not on the path)
    /// @{

    /// @param t 0 at the begin of the segment, 1 at its end
    void SetCurrent(unsigned segment, double t);
    /// Position, angles and focal length, each by its own smoothing of the segment. The principal
    /// point stays.
    void GetPath(CCamera3D::Parameters& parameters);
    /// All but the principal point, linearly. Needs a path of three segments.
    void GetPath_LinearInterpolation(CCamera3D::Parameters& parameters) const;
    /// The position on the spline, the rest linearly. The roll stays.
    void GetPath_CubicSpline3D(CCamera3D::Parameters& parameters);
    /// Moves the current look-at point to its place; the parameters stay as they are.
    void GetPath_LinearInterpolation_Look_At(CCamera3D::Parameters& parameters);
    /// Rebuilds the splines from the segments; done on demand after the path has changed.
    void RegeneratePath_CubicSpline();
    /// @}

    /// @name Moving the camera
    /// @{
    boost::shared_ptr<CCamera3D> const& Camera() const { return m_camera; }
    math::Point3<double> LookAtPoint() const;
    void SetLookAtPoint(math::Point3<double> const& point);
    /// Turns a set-up towards a point; the roll stays.
    static void Look_At(math::Point3<double> const& point, CCamera3D::Parameters& parameters);
    /// Shifts the look-at point together with the camera, then turns the camera about it by angles
    /// in radians, so that the point keeps its place in the picture.
    void Move_Looking_At_Rel(double pitch, double yaw, math::Point3<double> const& shift);
    void YawInc();
    void YawDec();
    void PitchInc();
    void PitchDec();
    void RollInc();
    void RollDec();
    void RollZero();
    /// Radians that the actions above turn; 0.01 at first.
    double RotationStep() const;
    void SetRotationStep(double radians);
    std::vector<boost::shared_ptr<Button>> const& Buttons() const { return m_buttons; }
    /// @}

private:
    void
    AddButton(math::Rect2<int> const& rectangle, char const* label, void (Navigation::*action)());
    void Turn(double yaw, double pitch, double roll);
    void Drag(std::int64_t dx, std::int64_t dy, std::uint32_t state);
    // These expect m_mutex to be held.
    Segment const* CurrentSegment() const;
    void Regenerate();
    void RegenerateIfStale();

    boost::shared_ptr<CCamera3D> const m_camera;
    std::vector<boost::shared_ptr<Button>> m_buttons; // never changed once built

    mutable boost::mutex m_mutex; // guards everything below
    std::string m_fileName;
    std::vector<Segment> m_segments;
    std::int32_t m_lastX = 0;
    std::int32_t m_lastY = 0;
    std::uint32_t m_current = 0;
    double m_t = 0;
    Spline m_positionSpline;
    Spline m_angleSpline; // yaw, pitch, roll
    Spline m_focalSpline; // ku, ratio
    bool m_splinesStale = false;
    math::Point3<double> m_lookAt;
    double m_rotationStep = 0.01;
};

} // namespace ui::win
