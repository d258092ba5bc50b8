#include "ui/win/camera/Navigation.h"

#include "kiv/Diagnostics.h"
#include "ui/win/CWindowCoreManager.h"

#include <boost/bind/bind.hpp>
#include <boost/current_function.hpp>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>

#include <cmath>
#include <cstdio>
#include <utility>

namespace ui::win {

namespace {

using Parameters = CCamera3D::Parameters;
using Segment = Navigation::Segment;
using Point3 = math::Point3<double>;
using Lock = boost::lock_guard<boost::mutex>;

constexpr double pi = 3.14159265358979323846;
constexpr std::uint32_t rightButtonHeld = 2;
constexpr double orbitRadiansPerPixel = 0.01;
constexpr double turnRadiansPerPixel = 0.001;
constexpr double unitsPerPixel = 0.1;
constexpr std::size_t leastLinearSegments = 3;
constexpr double coincidence = 0.00001;

Point3 Interpolate(Point3 const& a, Point3 const& b, double t) {
    return {
        param_lin_interp(a.x, b.x, t),
        param_lin_interp(a.y, b.y, t),
        param_lin_interp(a.z, b.z, t)};
}

/// Interpolates the fields named linearly.
template <class... Fields>
void Blend(Parameters& p, Segment const& s, double t, Fields... fields) {
    ((p.*fields = param_lin_interp(s.begin.*fields, s.end.*fields, t)), ...);
}

Point3 PositionOf(Parameters const& p) {
    return {p.x, p.y, p.z};
}
Point3 AnglesOf(Parameters const& p) {
    return {p.yaw, p.pitch, p.roll};
}
Point3 FocalOf(Parameters const& p) {
    return {p.ku, p.ratio, 0};
}

double TimeOf(Segment const& segment) {
    return std::isfinite(segment.duration) && segment.duration > 0 ? segment.duration : 0;
}

/// Chord of a path of positions: along the viewing axis a camera comes to rest at each joint.
Point3 AcrossTheView(Point3 const& from, Parameters const& joint, Point3 const& to) {
    Point3 tangent;
    Spline::ComputeTang(from, AnglesOf(joint), to, tangent);
    return tangent;
}

Point3 PlainChord(Point3 const& from, Parameters const&, Point3 const& to) {
    return to - from;
}

/// Builds the splines of one path: the values of the ends of its segments, and tangents that give
/// both sides of a joint the same speed, whatever their durations.
template <class Value, class Chord>
void Rebuild(
    Spline& spline, std::vector<Segment> const& path, Value const& valueOf, Chord const& chord) {
    // Tangent at a joint, for a parameter that runs through `own` from 0 to 1.
    auto const tangent = [&](std::size_t first, Parameters const& joint, Segment const& own) {
        Segment const& before = path[first];
        Segment const& after = path[first + 1];
        double const both = TimeOf(before) + TimeOf(after);
        double const share = both > 0 ? TimeOf(own) / both : 0.5;
        return chord(valueOf(before.begin), joint, valueOf(after.end)) * share;
    };
    auto const joined = [&](std::size_t first) {
        return first + 1 < path.size() &&
               valueOf(path[first].end) == valueOf(path[first + 1].begin);
    };
    auto const control = [](Point3 const& p, Point3 const& t) {
        return Spline::ControlPoint{p.x, p.y, p.z, t.x, t.y, t.z};
    };
    spline.Clear();
    for (std::size_t k = 0; k < path.size(); ++k) {
        Segment const& s = path[k];
        Point3 const from = valueOf(s.begin);
        Point3 const to = valueOf(s.end);
        Point3 const start =
            k > 0 && joined(k - 1) ? tangent(k - 1, s.begin, s) : chord(from, s.begin, to);
        Point3 const end = joined(k) ? tangent(k, s.end, s) : chord(from, s.end, to);
        spline.AddSegment(control(from, start), control(to, end));
    }
    spline.Compute_Spline();
}

} // namespace

char const* Navigation::Segment::SmoothingTypeEncode(SmoothingType type) {
    return type == CUBIC_SPLINE ? "CUBIC_SPLINE" : "LINEAR";
}

Segment::SmoothingType Navigation::Segment::SmoothingTypeDecode(std::string const& word) {
    return word == "CUBIC_SPLINE" ? CUBIC_SPLINE : LINEAR;
}

Navigation::Navigation(boost::shared_ptr<CCamera3D> camera, std::string fileName)
    : m_camera(std::move(camera)), m_fileName(std::move(fileName)) {
    // The yaw buttons are crossed: they name where the scene goes, not the camera.
    AddButton({30, 25, 50, 45}, "+y", &Navigation::YawDec);
    AddButton({70, 25, 90, 45}, "-y", &Navigation::YawInc);
    AddButton({50, 5, 70, 25}, "+p", &Navigation::PitchInc);
    AddButton({50, 45, 70, 65}, "-p", &Navigation::PitchDec);
    AddButton({5, 5, 25, 65}, "+r", &Navigation::RollInc);
    AddButton({95, 5, 115, 65}, "-r", &Navigation::RollDec);
    AddButton({5, 70, 115, 90}, "0r", &Navigation::RollZero);
}

Navigation::~Navigation() {
    // Others may hold the buttons still; their actions need this object.
    for (boost::shared_ptr<Button> const& button : m_buttons) {
        button->SetAction({});
        button->Stop();
    }
}

void Navigation::AddButton(
    math::Rect2<int> const& rectangle, char const* label, void (Navigation::*action)()) {
    m_buttons.push_back(boost::make_shared<Button>(rectangle, label, boost::bind(action, this)));
}

void Navigation::AddSegment(Segment const& segment) {
    bool isFirst = false;
    {
        Lock const lock(m_mutex);
        isFirst = m_segments.empty();
        m_segments.push_back(segment);
        m_splinesStale = true;
    }
    if (isFirst) {
        m_camera->SetCamera(segment.begin, 0);
    }
    kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, "Segment Added");
}

std::vector<Segment> Navigation::Segments() const {
    Lock const lock(m_mutex);
    return m_segments;
}

std::vector<double> Navigation::Durations() const {
    Lock const lock(m_mutex);
    std::vector<double> durations;
    durations.reserve(m_segments.size());
    for (Segment const& segment : m_segments) {
        durations.push_back(TimeOf(segment));
    }
    return durations;
}

std::string Navigation::FileName() const {
    Lock const lock(m_mutex);
    return m_fileName;
}

void Navigation::SetFileName(std::string const& name) {
    Lock const lock(m_mutex);
    m_fileName = name;
}

void Navigation::SetCurrent(unsigned segment, double t) {
    Lock const lock(m_mutex);
    m_current = segment;
    m_t = t;
}

Segment const* Navigation::CurrentSegment() const {
    return m_current < m_segments.size() ? &m_segments[m_current] : nullptr;
}

void Navigation::GetPath(Parameters& parameters) {
    Lock const lock(m_mutex);
    Segment const* const s = CurrentSegment();
    if (s == nullptr) {
        return;
    }
    RegenerateIfStale();
    Parameters& p = parameters;
    Point3 value;
    if (s->smoothingPosition == Segment::CUBIC_SPLINE) {
        m_positionSpline.GetPosition(m_current, m_t, value);
        p.x = value.x;
        p.y = value.y;
        p.z = value.z;
    } else {
        Blend(p, *s, m_t, &Parameters::x, &Parameters::y, &Parameters::z);
    }
    if (s->smoothingOrientation == Segment::CUBIC_SPLINE) {
        m_angleSpline.GetPosition(m_current, m_t, value);
        p.yaw = value.x;
        p.pitch = value.y;
        p.roll = value.z;
    } else {
        Blend(p, *s, m_t, &Parameters::yaw, &Parameters::pitch, &Parameters::roll);
    }
    if (s->smoothingFocal == Segment::CUBIC_SPLINE) {
        m_focalSpline.GetPosition(m_current, m_t, value);
        p.ku = value.x;
        p.ratio = value.y;
    } else {
        Blend(p, *s, m_t, &Parameters::ku, &Parameters::ratio);
    }
}

void Navigation::GetPath_LinearInterpolation(Parameters& parameters) const {
    Lock const lock(m_mutex);
    Segment const* const s = CurrentSegment();
    if (m_segments.size() < leastLinearSegments || s == nullptr) {
        return;
    }
    // Callers rely on the principal point being theirs: files do not have it.
    using P = Parameters;
    Blend(
        parameters, *s, m_t, &P::ku, &P::ratio, &P::yaw, &P::pitch, &P::roll, &P::x, &P::y, &P::z);
}

void Navigation::GetPath_CubicSpline3D(Parameters& parameters) {
    Lock const lock(m_mutex);
    Segment const* const s = CurrentSegment();
    if (s == nullptr) {
        return;
    }
    RegenerateIfStale();
    Point3 position;
    m_positionSpline.GetPosition(m_current, m_t, position);
    parameters.x = position.x;
    parameters.y = position.y;
    parameters.z = position.z;
    // Unlike the linear form it takes the principal point over and leaves the roll to the caller.
    using P = Parameters;
    Blend(parameters, *s, m_t, &P::ku, &P::ratio, &P::pu, &P::pv, &P::yaw, &P::pitch);
}

void Navigation::GetPath_LinearInterpolation_Look_At(Parameters&) {
    Lock const lock(m_mutex);
    if (Segment const* const s = CurrentSegment()) {
        m_lookAt = Interpolate(s->lookAtBegin, s->lookAtEnd, m_t);
    }
}

void Navigation::RegeneratePath_CubicSpline() {
    Lock const lock(m_mutex);
    Regenerate();
}

void Navigation::Regenerate() {
    Rebuild(m_positionSpline, m_segments, PositionOf, AcrossTheView);
    Rebuild(m_angleSpline, m_segments, AnglesOf, PlainChord);
    Rebuild(m_focalSpline, m_segments, FocalOf, PlainChord);
    m_splinesStale = false;
}

void Navigation::RegenerateIfStale() {
    if (m_splinesStale) {
        Regenerate();
    }
}

math::Point3<double> Navigation::LookAtPoint() const {
    Lock const lock(m_mutex);
    return m_lookAt;
}

void Navigation::SetLookAtPoint(math::Point3<double> const& point) {
    Lock const lock(m_mutex);
    m_lookAt = point;
}

void Navigation::Look_At(math::Point3<double> const& point, Parameters& parameters) {
    Point3 const d = PositionOf(parameters) - point;
    double const r = std::sqrt(d.x * d.x + d.y * d.y + d.z * d.z);
    // The elevation takes the sign of dx, so that its angle runs on through the zenith; straight
    // above or below counts as negative.
    double const sign = d.x > 0 ? 1 : -1;
    double const elevation = r < coincidence ? 0 : sign * std::acos(d.z / r);
    parameters.yaw = std::atan2(d.y, d.x) - pi;
    parameters.pitch = pi / 2 - elevation;
}

void Navigation::Move_Looking_At_Rel(double pitch, double yaw, math::Point3<double> const& shift) {
    Point3 centre;
    {
        Lock const lock(m_mutex);
        m_lookAt = m_lookAt + shift;
        centre = m_lookAt;
    }
    m_camera->Move_WC_Rel(shift);
    m_camera->Orbit(centre, yaw, pitch);
}

void Navigation::Turn(double yaw, double pitch, double roll) {
    double const step = RotationStep();
    m_camera->Rotate_CC_Rel({yaw * step, pitch * step, roll * step}, 7);
}

void Navigation::YawInc() {
    Turn(1, 0, 0);
}
void Navigation::YawDec() {
    Turn(-1, 0, 0);
}
void Navigation::PitchInc() {
    Turn(0, 1, 0);
}
void Navigation::PitchDec() {
    Turn(0, -1, 0);
}
void Navigation::RollInc() {
    Turn(0, 0, 1);
}
void Navigation::RollDec() {
    Turn(0, 0, -1);
}

void Navigation::RollZero() {
    m_camera->Rotate_CC_Rel({0, 0, 0}, 3); // the missing bit is what clears the roll
}

double Navigation::RotationStep() const {
    Lock const lock(m_mutex);
    return m_rotationStep;
}

void Navigation::SetRotationStep(double radians) {
    Lock const lock(m_mutex);
    m_rotationStep = radians;
}

bool Navigation::Interact(CWindowCoreManager* manager, Event const& event) {
    for (boost::shared_ptr<Button> const& button : m_buttons) {
        if (button->Interact(manager, event)) {
            return true;
        }
    }
    bool const held = (event.state & rightButtonHeld) != 0;
    if (!held || (event.type != EventPress && event.type != EventMotion)) {
        return false;
    }
    std::int64_t dx = 0;
    std::int64_t dy = 0;
    {
        Lock const lock(m_mutex);
        dx = std::int64_t{m_lastX} - event.screenX;
        dy = std::int64_t{m_lastY} - event.screenY;
        m_lastX = event.screenX;
        m_lastY = event.screenY;
    }
    if (event.type == EventPress) {
        kiv::Diagnose("[II]", BOOST_CURRENT_FUNCTION, "Setting event.screen");
        return false;
    }
    kiv::Diagnose(
        "[II]",
        BOOST_CURRENT_FUNCTION,
        "dx=" + std::to_string(dx) + " dy=" + std::to_string(dy) +
            " mask=" + std::to_string(event.state));
    Drag(dx, dy, event.state);
    manager->Refresh(false);
    return true;
}

void Navigation::Drag(std::int64_t dx, std::int64_t dy, std::uint32_t state) {
    auto const x = static_cast<double>(dx);
    auto const y = static_cast<double>(dy);
    constexpr int firstTwo = 3; // yaw and pitch, or the world's x and y
    if ((state & StateCtrl) != 0) {
        Move_Looking_At_Rel(y * orbitRadiansPerPixel, x * orbitRadiansPerPixel, {0, 0, 0});
    } else if ((state & StateShift) != 0) {
        m_camera->Rotate_CC_Rel({x * turnRadiansPerPixel, -y * turnRadiansPerPixel, 0}, firstTwo);
    } else {
        m_camera->Move_CC_Rel({x * unitsPerPixel, -y * unitsPerPixel, 0}, firstTwo);
    }
}

int Navigation::Draw(CWindowCore* core) {
    for (boost::shared_ptr<Button> const& button : m_buttons) {
        button->Draw(core);
    }
    constexpr double fontSize = 12;
    constexpr double left = 5;
    constexpr double firstLine = 108; // below the pad
    constexpr double lineHeight = 15;
    Parameters const p = m_camera->Params();
    std::pair<char const*, double> const values[] = {
        {"yaw=", p.yaw}, {"pitch=", p.pitch}, {"roll=", p.roll}, {"ratio=", p.ratio}};
    _TextAlign_t const horizontal = core->HorizontalTextAlign();
    _TextAlign_t const vertical = core->VerticalTextAlign();
    core->SetColor({255, 255, 255, 255});
    core->SetFontSizeEx(fontSize, fontSize, false);
    core->SetTextAlign(AlignLeft, AlignBaseline);
    double y = firstLine;
    for (auto const& [label, value] : values) {
        char number[32];
        std::snprintf(number, sizeof(number), "%.4g", value);
        core->DrawText({left, y, 0}, (label + std::string(number)).c_str());
        y += lineHeight;
    }
    core->SetTextAlign(horizontal, vertical);
    return 1;
}

} // namespace ui::win
