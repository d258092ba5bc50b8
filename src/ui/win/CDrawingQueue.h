#pragma once

#include "ui/win/CWidget.h"

#include <cstddef>
#include <utility>
#include <vector>

namespace ui::win {

/// An ordered list of drawables with an enabled and a locked flag.
///
/// Copying a queue copies the list, never the drawables. One thread at a time.
class CDrawingQueue {
public:
    /// What Clear() answers for a locked queue.
    static constexpr unsigned refused = 0xFFFFFFFF;

    CDrawingQueue() = default;
    CDrawingQueue(CDrawingQueue const&) = default;
    CDrawingQueue(CDrawingQueue&&) noexcept = default;
    ~CDrawingQueue() = default;
    /// Clears this queue (which a lock refuses), then takes over the other one's items. The flags
    /// stay as they are.
    CDrawingQueue& operator=(CDrawingQueue const& other);

    /// Appends; a locked queue takes new items as well. @return true
    bool Push(SPDrawingObject item) {
        m_items.push_back(std::move(item));
        return true;
    }
    bool Push(std::vector<SPDrawingObject> const& items);
    /// Releases every item. @return how many there were, or `refused` when the queue is locked
    unsigned Clear();
    /// Draws every item in push order. @return how many items that were
    int Draw(CWindowCore* core) const;
    /// Offers the event in push order until an item consumes it. @return whether one did
    bool Interact(CWindowCoreManager* manager, Event const& event) const;
    /// Writes the number of items and each item's name to standard output.
    void Print() const;

    std::size_t Size() const { return m_items.size(); }
    std::vector<SPDrawingObject> const& Items() const { return m_items; }
    bool IsEnabled() const { return m_enabled; }
    void Enable(bool enabled) { m_enabled = enabled; }
    bool IsLocked() const { return m_locked; }
    void SetLocked(bool locked) { m_locked = locked; }

private:
    std::vector<SPDrawingObject> m_items;
    bool m_enabled = true;
    bool m_locked = false;
};

} // namespace ui::win
