#include "ui/win/CDrawerList.h"

namespace ui::win {

int CDrawerList::Draw(CWindowCore* core) {
    int count = 0;
    for (auto& [number, layer] : m_layers) {
        count += layer.Draw(core);
    }
    return count;
}

bool CDrawerList::Interact(CWindowCoreManager* manager, Event& event) const {
    for (auto entry = m_layers.rbegin(); entry != m_layers.rend(); ++entry) {
        if (entry->second.Interact(manager, event)) {
            return true;
        }
    }
    return false;
}

} // namespace ui::win
