#include "ui/win/camera/CWindowCamera3D.h"

#include "ui/win/CWindowCoreManager.h"

#include <cmath>

namespace ui::win {

namespace {

constexpr double straightDown = 1.5707963267948966;
constexpr int allAxes = 7;
constexpr double searchWindows[] = {0.1, 0.05, 0.025};
constexpr int searchSteps = 10;

using Vector = Eigen::Vector3d;

template <class T>
Vector ToVector(math::Point3<T> const& p) {
    return {p.x, p.y, p.z};
}

math::TMatrix<double, 3, 3> RotationOf(CCamera3D::Parameters const& p) {
    return RotationMatrix(p.yaw, p.pitch, p.roll);
}

math::TMatrix<double, 3, 4> ProjectionOf(CCamera3D::Parameters const& p, double fx, double fy) {
    return KCameraMatrix(fx, fy, p.pu, p.pv, RotationOf(p), {p.x, p.y, p.z});
}

void Advance(CCamera3D::Parameters& p, Vector const& displacement) {
    p.x += displacement.x();
    p.y += displacement.y();
    p.z += displacement.z();
}

} // namespace

CCamera3D::CCamera3D(bool interactive) : m_interactive(interactive) {}

CCamera3D::CCamera3D(
    double yaw, double pitch, double roll, double x, double y, double z, bool interactive)
    : CCamera3D(interactive) {
    SetKCamera(0, 1, 1, 0, 0, yaw, pitch, roll, x, y, z);
    CorrectAspect(1, 1);
}

CCamera3D::CCamera3D(
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
    bool interactive)
    : CCamera3D(interactive) {
    SetCamera(0, ax, ay, pu, pv, yaw, pitch, roll, x, y, z);
    CorrectAspect(1, 1);
}

CCamera3D::CCamera3D(dev::TCameraParams<double, unsigned int> const& calibration, bool interactive)
    : CCamera3D(interactive) {
    SetCamera(calibration);
    CorrectAspect(1, 1);
}

void CCamera3D::Store(int index, Parameters const& parameters) {
    if (index < 0 || index >= kMaxCameras) {
        return;
    }
    auto const place = static_cast<std::size_t>(index);
    if (place >= m_stored.size()) {
        m_stored.resize(place + 1);
    }
    m_stored[place] = parameters;
}

void CCamera3D::Recall(int index) {
    if (index >= 0 && static_cast<std::size_t>(index) < m_stored.size()) {
        m_current = m_stored[static_cast<std::size_t>(index)];
    }
}

void CCamera3D::Use(int index, Parameters const& parameters) {
    Store(index, parameters);
    Recall(index);
}

void CCamera3D::SetKCamera(
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
    double z) {
    Lock const lock(m_mutex);
    Use(index, {ku, kv / ku, pu, pv, yaw, pitch, roll, x, y, z});
}

void CCamera3D::SetCamera(
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
    double z) {
    SetKCamera(index, 1 / std::tan(ax), 1 / std::tan(ay), pu, pv, yaw, pitch, roll, x, y, z);
}

void CCamera3D::SetCamera(Parameters const& parameters, int index) {
    Lock const lock(m_mutex);
    Store(index, parameters);
}

void CCamera3D::SetCamera(
    int index, double x, double y, double z, double width, double depth, double yaw) {
    double const ku = z / (width / 2);
    double const kv = z / (depth / 2);
    Lock const lock(m_mutex);
    Use(index, {ku, kv / ku, 0, 0, yaw, straightDown, 0, x, y, z});
    m_dragging = 0;
}

void CCamera3D::SetCamera(
    int index, math::Point3<double> const& position, double width, double depth, double yaw) {
    SetCamera(index, position.x, position.y, position.z, width, depth, yaw);
}

void CCamera3D::SetCamera(dev::TCameraParams<double, unsigned int> const& c) {
    // Pixels of the image to device units, whose y points the other way.
    SetKCamera(
        0,
        2 * c.ku / c.width,
        2 * c.kv / c.height,
        2 * c.u0 / c.width - 1,
        1 - 2 * c.v0 / c.height,
        c.yaw,
        c.pitch,
        c.roll,
        c.x,
        c.y,
        c.z);
}

void CCamera3D::GoToCamera(int index) {
    Lock const lock(m_mutex);
    Recall(index);
}

CCamera3D::Parameters CCamera3D::Params() const {
    Lock const lock(m_mutex);
    return m_current;
}

void CCamera3D::SetParams(Parameters const& parameters) {
    Lock const lock(m_mutex);
    m_current = parameters;
}

void CCamera3D::X(double x) {
    Lock const lock(m_mutex);
    m_current.x = x;
}

void CCamera3D::Y(double y) {
    Lock const lock(m_mutex);
    m_current.y = y;
}

void CCamera3D::Z(double z) {
    Lock const lock(m_mutex);
    m_current.z = z;
}

void CCamera3D::SetHomeAngle(double Parameters::*angle, double value) {
    // Callers rely on an angle setter going home: it drops whatever was not stored.
    Parameters home = m_stored.empty() ? Parameters() : m_stored.front();
    home.*angle = value;
    Store(0, home);
    Recall(0);
}

void CCamera3D::Yaw(double yaw) {
    Lock const lock(m_mutex);
    SetHomeAngle(&Parameters::yaw, yaw);
}

void CCamera3D::Pitch(double pitch) {
    Lock const lock(m_mutex);
    SetHomeAngle(&Parameters::pitch, pitch);
}

void CCamera3D::Roll(double roll) {
    Lock const lock(m_mutex);
    SetHomeAngle(&Parameters::roll, roll);
}

void CCamera3D::SetPixelFocalLenght(double ku, double ratio) {
    Lock const lock(m_mutex);
    m_current.ku = ku;
    m_current.ratio = ratio;
}

void CCamera3D::Move_WC_Rel(math::Point3<double> const& displacement) {
    Lock const lock(m_mutex);
    Advance(m_current, ToVector(displacement));
}

void CCamera3D::Rotate_WC_Rel(math::Point3<double> const& angles) {
    Lock const lock(m_mutex);
    m_current.yaw += angles.x;
    m_current.pitch += angles.y;
    m_current.roll += angles.z;
}

void CCamera3D::MoveInCameraAxes(math::Point3<double> const& displacement, int mask) {
    Vector world = RotationOf(m_current).transpose() * ToVector(displacement);
    for (int axis = 0; axis < 3; ++axis) {
        if ((mask & (1 << axis)) == 0) {
            world[axis] = 0;
        }
    }
    Advance(m_current, world);
}

void CCamera3D::Move_CC_Rel(math::Point3<double> const& displacement, int mask) {
    Lock const lock(m_mutex);
    MoveInCameraAxes(displacement, mask);
}

void CCamera3D::FWD(double distance) {
    Move_CC_Rel({0, 0, distance}, allAxes);
}

void CCamera3D::Rotate_CC_Rel(math::Point3<double> const& angles, int mask) {
    // A rotation of no angle at all turns the world's axes into those of a camera; undone between
    // the two, the delta acts on the axes that the camera has.
    static math::TMatrix<double, 3, 3> const worldAxes = InverseRotationMatrix(0, 0, 0);
    Lock const lock(m_mutex);
    math::Point3<double> const turned = RotationAngles(
        RotationMatrix(angles.x, angles.y, angles.z) * worldAxes * RotationOf(m_current));
    // An angle that is masked out becomes 0: that is how callers level the camera.
    m_current.yaw = (mask & 1) != 0 ? turned.x : 0;
    m_current.pitch = (mask & 2) != 0 ? turned.y : 0;
    m_current.roll = (mask & 4) != 0 ? turned.z : 0;
}

void CCamera3D::TurnAbout(math::Point3<double> const& centre, double yaw, double pitch) {
    Vector const target = ToVector(centre);
    Vector const offset =
        RotationOf(m_current) * (target - Vector(m_current.x, m_current.y, m_current.z));
    m_current.yaw += yaw;
    m_current.pitch += pitch;
    Vector const position = target - RotationOf(m_current).transpose() * offset;
    m_current.x = position.x();
    m_current.y = position.y();
    m_current.z = position.z();
}

void CCamera3D::Orbit(math::Point3<double> const& centre, double yaw, double pitch) {
    Lock const lock(m_mutex);
    TurnAbout(centre, yaw, pitch);
}

void CCamera3D::LookAt(math::Point3<double> const& point) {
    Lock const lock(m_mutex);
    m_lookAt = point;
    m_dragMode = DragOrbit;
}

CCamera3D::DragMode CCamera3D::GetDragMode() const {
    Lock const lock(m_mutex);
    return m_dragMode;
}

void CCamera3D::SetDragMode(DragMode mode) {
    Lock const lock(m_mutex);
    m_dragMode = mode;
}

void CCamera3D::SetStep(float step) {
    Lock const lock(m_mutex);
    m_step = step;
}

void CCamera3D::SetRefreshOnInteraction(bool refresh) {
    Lock const lock(m_mutex);
    m_refreshOnInteraction = refresh;
}

math::Point3<float> CCamera3D::RayOf(math::Point2<float> const& device) const {
    auto const x = static_cast<float>((device.x - m_current.pu) / m_fx);
    auto const y = static_cast<float>((device.y - m_current.pv) / m_fy);
    float const length = std::sqrt(x * x + y * y + 1.0F);
    return {x / length, y / length, 1.0F / length};
}

math::Point3<float> CCamera3D::NormalizedToCamera(math::Point2<float> const& device) const {
    Lock const lock(m_mutex);
    return RayOf(device);
}

math::Point3<float> CCamera3D::WorldDirection(math::Point3<float> const& direction) const {
    Vector const world = RotationOf(m_current).transpose() * ToVector(direction);
    return math::Point3<float>(math::Point3<double>(world.x(), world.y(), world.z()));
}

math::Point3<float> CCamera3D::CameraToWorld(math::Point3<float> const& direction) const {
    Lock const lock(m_mutex);
    return WorldDirection(direction);
}

void CCamera3D::CorrectAspect(double gx, double gy) {
    m_fx = gx * m_current.ku;
    m_fy = gy * m_current.ku * m_current.ratio;
}

void CCamera3D::GetMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) {
    double gx = 1;
    double gy = 1;
    if ((core->Flags() & StateFreeAspect) == 0) {
        double const content =
            static_cast<double>(core->ContentWidth()) / static_cast<double>(core->ContentHeight());
        double const window =
            static_cast<double>(core->Width()) / static_cast<double>(core->Height());
        if (content < window) {
            gx = content / window;
        } else {
            gy = window / content;
        }
    }
    Lock const lock(m_mutex);
    CorrectAspect(gx, gy);
    matrix = ProjectionOf(m_current, m_fx, m_fy);
}

void CCamera3D::KCameraMatrix(math::TMatrix<double, 3u, 4u>& matrix, Parameters const& parameters) {
    matrix = ProjectionOf(parameters, parameters.ku, parameters.ku * parameters.ratio);
}

void CCamera3D::GetRestInverseUVWMatrix(CWindowCore*, math::TMatrix<double, 3u, 4u>& matrix) {
    math::TMatrix<double, 3, 4> rest;
    KCameraMatrix(rest, Params());
    matrix = ViewPortInvertUVW(rest);
}

void CCamera3D::Draw(CWindowCore*) {}

bool CCamera3D::Interact(CWindowCoreManager* manager, Event const& event) {
    Outcome outcome = Outcome::Declined;
    bool refresh = false;
    {
        Lock const lock(m_mutex);
        if (!m_interactive || event.enabled == 0) {
            return false;
        }
        if (event.type == EventPress) {
            outcome = Press(event);
        } else if (event.type == EventMotion && m_dragging == 1) {
            Drag(event);
            outcome = Outcome::Changed;
        } else if (event.type == EventRelease && m_dragging != 0 && event.button != ButtonRight) {
            m_dragging = 0;
            outcome = Outcome::Consumed;
        }
        refresh = outcome == Outcome::Changed && m_refreshOnInteraction;
    }
    if (refresh) {
        manager->Refresh(false);
    }
    return outcome != Outcome::Declined;
}

CCamera3D::Outcome CCamera3D::Press(Event const& event) {
    switch (event.button) {
    case ButtonLeft:
        m_lastPointer = {event.deviceX, event.deviceY};
        m_grabbedRay = RayOf(m_lastPointer);
        m_grabbedDirection = WorldDirection(m_grabbedRay);
        m_dragging = 1;
        return Outcome::Consumed;
    case ButtonMiddle:
        Recall(0);
        return Outcome::Changed;
    case WheelForward:
        MoveInCameraAxes({0, 0, m_step}, allAxes);
        return Outcome::Changed;
    case WheelBack:
        MoveInCameraAxes({0, 0, -m_step}, allAxes);
        return Outcome::Changed;
    default:
        return Outcome::Declined;
    }
}

void CCamera3D::Drag(Event const& event) {
    math::Point2<float> const pointer(event.deviceX, event.deviceY);
    math::Point2<float> const moved = pointer - m_lastPointer;
    bool const shift = (event.state & StateShift) != 0;
    if (m_dragMode == DragPan && shift) {
        GrabAndTurn(pointer);
    } else if (m_dragMode == DragPan) {
        PanOverGround(pointer);
        m_lastPointer = pointer;
    } else if (m_dragMode == DragOrbit && !shift) {
        m_lastPointer = pointer;
        TurnAbout(m_lookAt, -moved.x * m_step, moved.y * m_step);
    } else if (m_dragMode == DragFreeLook) {
        m_lastPointer = pointer;
        m_current.yaw -= moved.x * m_step;
        m_current.pitch += moved.y * m_step;
    }
}

void CCamera3D::GrabAndTurn(math::Point2<float> const& pointer) {
    Vector const direction = ToVector(m_grabbedDirection);
    Vector const ray = ToVector(RayOf(pointer));
    if (!direction.allFinite() || !ray.allFinite()) { // a focal length of 0 sees no directions
        return;
    }
    Parameters& c = m_current;
    for (double const h : searchWindows) {
        camera_rotation_root_finding<0> const byYaw{c.yaw, c.pitch, c.roll, direction, ray};
        c.yaw = bruteforce(byYaw, c.yaw - h, c.yaw + h, searchSteps);
        camera_rotation_root_finding<1> const byPitch{c.yaw, c.pitch, c.roll, direction, ray};
        c.pitch = bruteforce(byPitch, c.pitch - h, c.pitch + h, searchSteps);
    }
}

void CCamera3D::PanOverGround(math::Point2<float> const& pointer) {
    // Of now: a step or a turn may have come since the last picture.
    math::TMatrix<double, 3, 3> const toGround =
        ViewPortInvertZ(ProjectionOf(m_current, m_fx, m_fy), 0);
    Vector const from = toGround * Vector(m_lastPointer.x, m_lastPointer.y, 1);
    Vector const to = toGround * Vector(pointer.x, pointer.y, 1);
    double const dx = to.x() / to.z() - from.x() / from.z();
    double const dy = to.y() / to.z() - from.y() / from.z();
    if (std::isfinite(dx) && std::isfinite(dy)) { // the horizon has no place on the ground
        m_current.x -= dx;
        m_current.y -= dy;
    }
}

} // namespace ui::win
