#pragma once

#include "math/Rect2.h"
#include "math/TMatrix.h"
#include "ui/win/CDrawingQueue.h"
#include "ui/win/CWindowViewPort.h"
#include "ui/win/DrawingTypes.h"

namespace ui::win {

class CCamera;

/// One layer of a window: a drawing queue and the view it is drawn through.
///
/// What a layer leaves open (mode 0, no view port, no camera) stays as the layer below it left the
/// core. A window's layers belong to the application thread, a backend's copies to its own.
class CWindowLayer : public CDrawingQueue {
public:
    /// Draws the queue through this layer's view and remembers where, for Interact().
    /// @return number of items drawn
    int Draw(CWindowCore* core);

    /// Fills in the event's local, device and world position and offers it to the camera, then to
    /// the items. Events outside the rectangle drawn last or on its edge are declined
    /// untouched, unless they are EventPositionless. @return true when the event was consumed
    bool Interact(CWindowCoreManager* manager, Event& event) const;

    void SetViewPortMode(ViewPortMode mode) { m_mode = mode; }
    void SetViewPort(CWindowViewPort const& viewPort);
    boost::shared_ptr<CCamera> const& GetCamera() const { return m_camera; }
    /// Also switches to the camera mode.
    void SetCamera(boost::shared_ptr<CCamera> camera);

    /// Window pixels of the last Draw(); zero before the first.
    math::Rect2<int> const& LastPixelRectangle() const { return m_lastRectangle; }
    /// Device coordinates (x, y, 1) to homogeneous world coordinates, as of the last Draw().
    math::TMatrix<double, 3, 3> const& LastInverseTransform() const { return m_lastInverse; }

private:
    void Locate(Event& event) const;

    ViewPortMode m_mode = ViewPortKeep;
    bool m_hasViewPort = false;
    CWindowViewPort m_viewPort;
    boost::shared_ptr<CCamera> m_camera;
    math::Rect2<int> m_lastRectangle;
    math::TMatrix<double, 3, 3> m_lastInverse = math::TMatrix<double, 3, 3>::Zero();
};

} // namespace ui::win
