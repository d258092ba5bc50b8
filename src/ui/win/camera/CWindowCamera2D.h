#pragma once

#include "math/Point2.h"
#include "ui/win/camera/CWindowCamera.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <cstdint>

namespace ui::win {

/// The planar camera that every window starts with: shows a world rectangle (y downwards), pans
/// with the left button and zooms with the wheel about the pointer; button 4 resets both.
///
/// The content keeps the proportions of the window's requested size and hugs the left or top edge
/// of a window of other proportions. Only the view rectangle's size enters the matrix; world
/// coordinates are counted from (0, 0) whatever its origin. Any thread may call anything here but
/// SmoothZoom().
class CCamera2D : public CCamera {
public:
    CCamera2D();
    /// @param x0,y0,x1,y1 world rectangle shown at zoom 1: left, top, right, bottom
    /// @param angle       rotation of the view about its centre, radians
    CCamera2D(double x0, double y0, double x1, double y1, double angle);

    void SetView(double x0, double y0, double x1, double y1);
    void GetView(double& x0, double& y0, double& x1, double& y1) const;
    /// Zoom 1, no pan, no drag; angle and view stay.
    void Reset();
    /// Recomputes the matrices after a change of the view; the other setters call it themselves.
    void Prepare();

    void GetMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) override;
    void GetRestInverseUVWMatrix(CWindowCore* core, math::TMatrix<double, 3u, 4u>& matrix) override;
    bool Interact(CWindowCoreManager* manager, Event const& event) override;
    void Draw(CWindowCore* core) override;

    /// Animates to a zoom about the device point (x, y), redrawing at every step. Blocks the
    /// calling thread, which must be the manager's, for about 100 ms.
    void SmoothZoom(CWindowCoreManager* manager, float zoom, float x, float y);

    /// Magnification; 1 shows the view rectangle.
    double Zoom() const;
    void SetZoom(double zoom);
    double Angle() const;
    void SetAngle(double radians);
    /// Pan offset in world units.
    math::Point2<double> Translation() const;
    void SetTranslation(math::Point2<double> const& offset);
    bool IsDragging() const;

private:
    using Lock = boost::lock_guard<boost::mutex>;

    // These expect m_mutex to be held.
    void UpdateMatrices();
    void ResetView();
    math::Point2<double> DeviceToWorld(float x, float y) const;
    /// Chooses the translation that puts `anchor` under the device point.
    void HoldUnder(math::Point2<double> const& anchor, float x, float y);
    bool InteractPress(CWindowCoreManager* manager, Event const& event);

    mutable boost::mutex m_mutex; // guards everything below
    double m_forward[3][3] = {};
    double m_inverse[2][3] = {};
    double m_x0 = 0;
    double m_y0 = 0;
    double m_x1 = 0;
    double m_y1 = 0;
    double m_zoom = 1.0;
    double m_angle = 0;
    math::Point2<double> m_translation;
    bool m_dragging = false;
    math::Point2<double> m_anchor;
    std::int32_t m_contentWidth = 0;
    std::int32_t m_contentHeight = 0;
    std::int32_t m_windowWidth = 0;
    std::int32_t m_windowHeight = 0;
};

} // namespace ui::win
