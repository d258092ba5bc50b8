#include "ui/win/CDrawingQueue.h"

#include "kiv/Diagnostics.h"

#include <sstream>

namespace ui::win {

CDrawingQueue& CDrawingQueue::operator=(CDrawingQueue const& other) {
    if (this != &other) {
        Clear();
        m_items = other.m_items;
    }
    return *this;
}

bool CDrawingQueue::Push(std::vector<SPDrawingObject> const& items) {
    m_items.insert(m_items.end(), items.begin(), items.end());
    return true;
}

unsigned CDrawingQueue::Clear() {
    if (m_locked) {
        return refused;
    }
    auto const count = static_cast<unsigned>(m_items.size());
    m_items.clear();
    return count;
}

int CDrawingQueue::Draw(CWindowCore* core) const {
    for (SPDrawingObject const& item : m_items) {
        item->Draw(core);
    }
    return static_cast<int>(m_items.size());
}

bool CDrawingQueue::Interact(CWindowCoreManager* manager, Event const& event) const {
    for (SPDrawingObject const& item : m_items) {
        if (item->Interact(manager, event)) {
            return true;
        }
    }
    return false;
}

void CDrawingQueue::Print() const {
    std::ostringstream text;
    text << m_items.size();
    for (SPDrawingObject const& item : m_items) {
        text << '\n' << item->getName();
    }
    kiv::PrintLine(text.str());
}

} // namespace ui::win
