#include "ui/win/widgets/CUndoStack.h"

#include "ui/win/widgets/ExtraWidget.h"

namespace ui::win {

void CUndoStack::Push(Step undo, Step redo) {
    m_entries.erase(m_entries.begin() + static_cast<std::ptrdiff_t>(m_done), m_entries.end());
    m_entries.push_back({std::move(undo), std::move(redo)});
    if (m_entries.size() > m_limit) {
        m_entries.pop_front();
    }
    m_done = m_entries.size();
}

bool CUndoStack::Undo() {
    while (m_gesturesUnderWay == 0 && m_done > 0) {
        auto const entry = m_entries.begin() + static_cast<std::ptrdiff_t>(m_done - 1);
        bool const undone = entry->undo();
        --m_done;
        if (undone) {
            return true;
        }
        m_entries.erase(entry);
    }
    return false;
}

bool CUndoStack::Redo() {
    while (m_gesturesUnderWay == 0 && m_done < m_entries.size()) {
        auto const entry = m_entries.begin() + static_cast<std::ptrdiff_t>(m_done);
        if (entry->redo()) {
            ++m_done;
            return true;
        }
        m_entries.erase(entry);
    }
    return false;
}

void CUndoStack::Clear() {
    m_entries.clear();
    m_done = 0;
}

namespace {

/// Hands only Ctrl+Z on, as 'Z' with Shift and 'z' without: a callback is told nothing but the key.
class UndoKeys : public KeyboardEventWidget {
public:
    using KeyboardEventWidget::KeyboardEventWidget;

    bool Interact(CWindowCoreManager* manager, Event const& event) override {
        bool const isZ = event.key == 'z' || event.key == 'Z';
        if ((event.state & StateCtrl) == 0 || !isZ) {
            return false;
        }
        Event key = event;
        key.key = (event.state & StateShift) != 0 ? U'Z' : U'z';
        return KeyboardEventWidget::Interact(manager, key);
    }
};

} // namespace

boost::shared_ptr<KeyboardEventWidget> MakeUndoKeys(boost::shared_ptr<CUndoStack> const& stack) {
    return boost::make_shared<UndoKeys>(
        [stack](int key) { return key == 'z' ? stack->Undo() : stack->Redo(); });
}

} // namespace ui::win
