#include "kiv/Diagnostics.h"
#include "ui/win/CWindow.h"
#include "ui/win/camera/CWindowCamera.h"

#include <boost/current_function.hpp>

#include <string>
#include <utility>

namespace ui::win {

CWindowLayer& CWindow::Layer(int id) {
    return Layers()[id];
}

int CWindow::SetLayer(int id) {
    return std::exchange(m_currentLayer, id);
}

bool CWindow::EnableLayer(int id, bool enable) {
    Layer(id).Enable(enable);
    return true;
}

bool CWindow::LockLayer(int id) {
    CWindowLayer& layer = Layer(id);
    if (layer.IsLocked()) {
        kiv::Diagnose("[WW]", BOOST_CURRENT_FUNCTION, "Locking locked layer " + std::to_string(id));
        return false;
    }
    layer.SetLocked(true);
    return true;
}

bool CWindow::UnLockLayer(int id) {
    Layer(id).SetLocked(false);
    return true;
}

bool CWindow::IsLayerLocked(int id) {
    return Layer(id).IsLocked();
}

bool CWindow::ClearLayer(int id) {
    Layer(id).Clear();
    return true;
}

bool CWindow::Clear() {
    return ClearLayer(m_currentLayer);
}

bool CWindow::ClearAllLayers(int) {
    Layers().clear();
    return true;
}

bool CWindow::push(CWidget* drawable) {
    return push(SPDrawingObject(drawable));
}

} // namespace ui::win
