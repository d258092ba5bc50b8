#include "ui/win/widgets/ExtraWidget.h"

#include "ui/win/CWindowCoreManager.h"

#include <utility>

namespace ui::win {

KeyboardEventWidget::KeyboardEventWidget(KeyCallback callback) : m_callback(std::move(callback)) {}

int KeyboardEventWidget::Draw(CWindowCore*) {
    return 0;
}

bool KeyboardEventWidget::Interact(CWindowCoreManager* manager, Event const& event) {
    if (event.type != EventKey || !m_callback(static_cast<int>(event.key))) {
        return false;
    }
    manager->Refresh(false);
    return true;
}

} // namespace ui::win
