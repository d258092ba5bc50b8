#include "ui/win/camera/CWindowCamera2D.h"

#include "ui/win/CWindowCoreManager.h"

#include <boost/date_time/posix_time/posix_time_types.hpp>
#include <boost/thread/thread.hpp>

#include <algorithm>
#include <cmath>

namespace ui::win {

namespace {

constexpr double wheelForwardFactor = 1.25;
constexpr double wheelBackFactor = 0.8;
constexpr std::int32_t zoomMicroseconds = 100000;
constexpr std::int32_t firstPause = 10;

boost::posix_time::ptime Now() {
    return boost::posix_time::microsec_clock::universal_time();
}

/// Microseconds since the start, held as 32 bits.
std::int32_t MicrosecondsSince(boost::posix_time::ptime const& start) {
    return static_cast<std::int32_t>((Now() - start).total_microseconds());
}

} // namespace

CCamera2D::CCamera2D() {
    UpdateMatrices();
}

CCamera2D::CCamera2D(double x0, double y0, double x1, double y1, double angle) : m_angle(angle) {
    SetView(x0, y0, x1, y1);
    Reset();
}

void CCamera2D::SetView(double x0, double y0, double x1, double y1) {
    Lock lock(m_mutex);
    m_x0 = x0;
    m_y0 = y0;
    m_x1 = x1;
    m_y1 = y1;
}

void CCamera2D::GetView(double& x0, double& y0, double& x1, double& y1) const {
    Lock lock(m_mutex);
    x0 = m_x0;
    y0 = m_y0;
    x1 = m_x1;
    y1 = m_y1;
}

void CCamera2D::Reset() {
    Lock lock(m_mutex);
    ResetView();
}

void CCamera2D::ResetView() {
    m_zoom = 1.0;
    m_translation = {0, 0};
    m_dragging = false;
    UpdateMatrices();
}

double CCamera2D::Zoom() const {
    Lock lock(m_mutex);
    return m_zoom;
}

void CCamera2D::SetZoom(double zoom) {
    Lock lock(m_mutex);
    m_zoom = zoom;
    UpdateMatrices();
}

double CCamera2D::Angle() const {
    Lock lock(m_mutex);
    return m_angle;
}

void CCamera2D::SetAngle(double radians) {
    Lock lock(m_mutex);
    m_angle = radians;
    UpdateMatrices();
}

math::Point2<double> CCamera2D::Translation() const {
    Lock lock(m_mutex);
    return m_translation;
}

void CCamera2D::SetTranslation(math::Point2<double> const& offset) {
    Lock lock(m_mutex);
    m_translation = offset;
    UpdateMatrices();
}

bool CCamera2D::IsDragging() const {
    Lock lock(m_mutex);
    return m_dragging;
}

void CCamera2D::Prepare() {
    Lock lock(m_mutex);
    UpdateMatrices();
}

void CCamera2D::UpdateMatrices() {
    double const w = m_x1 - m_x0;
    double const h = m_y1 - m_y0;
    double const c = m_zoom * std::cos(m_angle);
    double const s = m_zoom * std::sin(m_angle);
    double const dx = m_translation.x - w / 2;
    double const dy = m_translation.y - h / 2;
    double const ux = c * dx + s * dy + w / 2;
    double const uy = -s * dx + c * dy + h / 2;

    double const r = (static_cast<double>(m_contentWidth) * static_cast<double>(m_windowHeight)) /
                     (static_cast<double>(m_contentHeight) * static_cast<double>(m_windowWidth));
    // The shrunk direction is not centred: content hugs the left or the top edge, which is where
    // overlays placed in window pixels expect it.
    double const kx = r <= 1 ? 2 * r / w : 2 / w;
    double const ky = r <= 1 ? -2 / h : -(2 / r) / h;

    double const f[3][3] = {
        {kx * c, kx * s, kx * ux - 1}, {-ky * s, ky * c, ky * uy + 1}, {0, 0, 1}};
    for (int row = 0; row < 3; ++row) {
        for (int col = 0; col < 3; ++col) {
            m_forward[row][col] = f[row][col];
        }
    }

    // First two rows of the inverse by cofactors. A flat view divides by zero: the entries become
    // infinite or NaN, and nothing is drawn through them.
    double const det = f[0][0] * (f[1][1] * f[2][2] - f[1][2] * f[2][1]) -
                       f[0][1] * (f[1][0] * f[2][2] - f[1][2] * f[2][0]) +
                       f[0][2] * (f[1][0] * f[2][1] - f[1][1] * f[2][0]);
    m_inverse[0][0] = (f[1][1] * f[2][2] - f[1][2] * f[2][1]) / det;
    m_inverse[0][1] = (f[0][2] * f[2][1] - f[0][1] * f[2][2]) / det;
    m_inverse[0][2] = (f[0][1] * f[1][2] - f[0][2] * f[1][1]) / det;
    m_inverse[1][0] = (f[1][2] * f[2][0] - f[1][0] * f[2][2]) / det;
    m_inverse[1][1] = (f[0][0] * f[2][2] - f[0][2] * f[2][0]) / det;
    m_inverse[1][2] = (f[0][2] * f[1][0] - f[0][0] * f[1][2]) / det;
}

void CCamera2D::GetMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) {
    Lock lock(m_mutex);
    m_contentWidth = static_cast<std::int32_t>(core->ContentWidth());
    m_contentHeight = static_cast<std::int32_t>(core->ContentHeight());
    m_windowWidth = static_cast<std::int32_t>(core->Width());
    m_windowHeight = static_cast<std::int32_t>(core->Height());
    UpdateMatrices();
    matrix.setZero();
    for (int row = 0; row < 2; ++row) {
        matrix(row, 0) = m_forward[row][0];
        matrix(row, 1) = m_forward[row][1];
        matrix(row, 3) = m_forward[row][2];
    }
    matrix(2, 3) = 1;
}

void CCamera2D::GetRestInverseUVWMatrix(CWindowCore*, math::TMatrix<double, 3u, 4u>& matrix) {
    // The third row stays zero: callers take x and y only and add no depth of their own.
    Lock lock(m_mutex);
    matrix.setZero();
    matrix(0, 0) = (m_x1 - m_x0) / 2;
    matrix(0, 3) = (m_x1 + m_x0) / 2;
    matrix(1, 1) = (m_y0 - m_y1) / 2;
    matrix(1, 3) = (m_y0 + m_y1) / 2;
}

void CCamera2D::Draw(CWindowCore*) {}

math::Point2<double> CCamera2D::DeviceToWorld(float x, float y) const {
    return {
        m_inverse[0][0] * x + m_inverse[0][1] * y + m_inverse[0][2],
        m_inverse[1][0] * x + m_inverse[1][1] * y + m_inverse[1][2]};
}

void CCamera2D::HoldUnder(math::Point2<double> const& anchor, float x, float y) {
    m_translation = {0, 0};
    UpdateMatrices();
    m_translation = DeviceToWorld(x, y) - anchor;
    UpdateMatrices();
}

bool CCamera2D::Interact(CWindowCoreManager* manager, Event const& event) {
    if (event.enabled == 0) {
        return false;
    }
    switch (event.type) {
    case EventPress:
        return InteractPress(manager, event);
    case EventMotion: {
        {
            Lock lock(m_mutex);
            if (!m_dragging) {
                return false;
            }
            HoldUnder(m_anchor, event.deviceX, event.deviceY);
        }
        manager->Refresh(false);
        return true;
    }
    case EventRelease: {
        Lock lock(m_mutex);
        bool const wasDragging = m_dragging;
        m_dragging = false;
        return wasDragging;
    }
    default:
        return false;
    }
}

bool CCamera2D::InteractPress(CWindowCoreManager* manager, Event const& event) {
    if ((event.state & StateShift) != 0) {
        return false;
    }
    switch (event.button) {
    case ButtonLeft: {
        Lock lock(m_mutex);
        m_dragging = true;
        m_anchor = DeviceToWorld(event.deviceX, event.deviceY);
        return true;
    }
    case ButtonMiddle:
        Reset();
        manager->Refresh(false);
        return true;
    case WheelForward:
    case WheelBack: {
        double const factor = event.button == WheelForward ? wheelForwardFactor : wheelBackFactor;
        SmoothZoom(manager, static_cast<float>(Zoom() * factor), event.deviceX, event.deviceY);
        return true;
    }
    default:
        return false;
    }
}

void CCamera2D::SmoothZoom(CWindowCoreManager* manager, float zoom, float x, float y) {
    boost::posix_time::ptime const start = Now();
    math::Point2<double> anchor;
    float from = 0;
    {
        Lock lock(m_mutex);
        anchor = DeviceToWorld(x, y);
        from = static_cast<float>(m_zoom);
    }
    auto const show = [&](double reached) {
        Lock lock(m_mutex);
        m_zoom = reached;
        HoldUnder(anchor, x, y);
    };
    std::int32_t next = 10;
    std::int32_t elapsed = 0;
    for (;;) {
        if (elapsed < next) {
            // Microsecond counts taken as milliseconds on purpose: one 10 ms pause before the
            // first step, then the redraw alone sets the pace. Never longer, whatever the clock.
            boost::this_thread::sleep(
                boost::posix_time::milliseconds(std::min(next - elapsed, firstPause)));
        }
        float const f = static_cast<float>(elapsed) / static_cast<float>(zoomMicroseconds);
        float const gained = f * zoom;
        show(
            static_cast<double>(from) * (1.0 - static_cast<double>(f)) +
            static_cast<double>(gained));
        next += 20;
        std::int32_t const before = MicrosecondsSince(start);
        manager->Refresh(true);
        elapsed = MicrosecondsSince(start);
        if (elapsed < 0 || elapsed + (elapsed - before) >= zoomMicroseconds) {
            break; // the clock was set back, or the next frame would end after the animation's time
        }
    }
    show(zoom);
    manager->Refresh(false);
}

} // namespace ui::win
