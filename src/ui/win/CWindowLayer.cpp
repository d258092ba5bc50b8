#include "ui/win/CWindowLayer.h"

#include "ui/win/CWindowCore.h"
#include "ui/win/camera/CWindowCamera.h"
#include "ui/win/camera/ViewMatrices.h"

#include <cstdint>

namespace ui::win {

void CWindowLayer::SetViewPort(CWindowViewPort const& viewPort) {
    m_viewPort = viewPort;
    m_hasViewPort = true;
}

void CWindowLayer::SetCamera(boost::shared_ptr<CCamera> camera) {
    m_camera = std::move(camera);
    m_mode = ViewPortCamera;
}

int CWindowLayer::Draw(CWindowCore* core) {
    core->SetViewPort(m_mode, m_hasViewPort ? &m_viewPort : nullptr, m_camera);
    if (m_camera) {
        m_camera->Draw(core);
    }
    m_lastRectangle = core->PixelRectangle();
    math::TMatrix<double, 3, 4> view;
    core->GetViewMatrix(view);
    m_lastInverse = ViewPortInvertZ(view, 0);
    return CDrawingQueue::Draw(core);
}

bool CWindowLayer::Interact(CWindowCoreManager* manager, Event& event) const {
    if (event.type != EventPositionless) {
        math::Rect2<int> const& r = m_lastRectangle;
        bool const inside = r.left < event.screenX && event.screenX < r.right &&
                            r.top < event.screenY && event.screenY < r.bottom;
        if (!inside) {
            return false;
        }
    }
    Locate(event);
    if (m_camera && m_camera->Interact(manager, event)) {
        return true;
    }
    return CDrawingQueue::Interact(manager, event);
}

void CWindowLayer::Locate(Event& event) const {
    math::Rect2<int> const& r = m_lastRectangle;
    // In 64 bits: events without a position carry whatever their sender left there.
    event.localX = static_cast<float>(std::int64_t{event.screenX} - r.left);
    event.localY = static_cast<float>(std::int64_t{event.screenY} - r.top);
    event.deviceX = 2.0F * event.localX / static_cast<float>(r.Width()) - 1.0F;
    event.deviceY = 1.0F - 2.0F * event.localY / static_cast<float>(r.Height());
    math::TMatrix<double, 3, 3> const& m = m_lastInverse;
    double const nx = event.deviceX;
    double const ny = event.deviceY;
    double const w = m(2, 0) * nx + m(2, 1) * ny + m(2, 2);
    event.worldX = static_cast<float>((m(0, 0) * nx + m(0, 1) * ny + m(0, 2)) / w);
    event.worldY = static_cast<float>((m(1, 0) * nx + m(1, 1) * ny + m(1, 2)) / w);
}

} // namespace ui::win
