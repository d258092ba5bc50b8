#include "kiv/Diagnostics.h"
#include "ui/win/CWindowCoreManager.h"

#include <boost/current_function.hpp>

#include <string>
#include <utility>

namespace ui::win {

namespace {

/// The event as a plugin sees it: plugins are drawn over the whole window in its pixels, which so
/// are the frame of all its positions.
Event InWindowFrame(Event event, CWindowCore const& window) {
    event.localX = event.worldX = static_cast<float>(event.screenX);
    event.localY = event.worldY = static_cast<float>(event.screenY);
    event.deviceX = 2.0F * event.localX / static_cast<float>(window.Width()) - 1.0F;
    event.deviceY = 1.0F - 2.0F * event.localY / static_cast<float>(window.Height());
    return event;
}

} // namespace

bool CWindowCoreManager::PushEvent(Event const& event) {
    if ((event.type & m_eventMask.load(std::memory_order_relaxed)) == 0) {
        return false;
    }
    {
        boost::lock_guard<boost::mutex> const lock(m_eventLock);
        kiv::Diagnose(
            "[II]",
            BOOST_CURRENT_FUNCTION,
            "Event " + std::to_string(event.type) + " added to queue");
        m_events.push_back(event);
    }
    m_eventSignal.notify_all();
    return true;
}

bool CWindowCoreManager::InteractOrPush(Event& event) {
    return Interact(event) || PushEvent(event);
}

bool CWindowCoreManager::Interact(Event& event) {
    LayerWalk const walk(*this); // whatever has the capture may lie in a layer
    if (InteractWithPlugins(event)) {
        return true;
    }
    if (event.type == EventKey && m_capture != nullptr && m_capture->Interact(this, event)) {
        return true;
    }
    return InteractWithChild(event);
}

bool CWindowCoreManager::InteractWithPlugins(Event const& event) {
    Event const located = InWindowFrame(event, *this);
    // By index: a plugin may insert or release plugins while it handles the event.
    for (std::size_t i = m_plugins.size(); i-- > 0;) {
        if (i >= m_plugins.size() || !m_plugins[i].enabled) {
            continue;
        }
        SPDrawingObject const widget = m_plugins[i].widget;
        if (!widget->Interact(this, located)) {
            continue;
        }
        // The one that consumed the latest event is asked first next time.
        if (i < m_plugins.size() && m_plugins[i].widget == widget && i + 1 != m_plugins.size()) {
            std::swap(m_plugins[i], m_plugins.back());
        }
        return true;
    }
    return false;
}

bool CWindowCoreManager::PushObjectEvent(unsigned id) {
    Event event;
    event.type = EventObject;
    event.key = id;
    event.enabled = 0;
    return PushEvent(event);
}

void CWindowCoreManager::GetEvents(std::deque<Event>& events) {
    events.insert(events.end(), m_events.begin(), m_events.end());
    m_events.clear();
}

bool CWindowCoreManager::WaitForEvent(std::deque<Event>& events) {
    boost::unique_lock<boost::mutex> lock(m_eventLock);
    while (m_events.empty()) {
        if (m_eventsClosed) {
            return false;
        }
        m_eventSignal.wait(lock);
    }
    GetEvents(events);
    return true;
}

bool CWindowCoreManager::FlushEvent(std::deque<Event>&) {
    // Reads and clears nothing: who flushes collects the queue with GetEvents under the lock.
    boost::lock_guard<boost::mutex> const lock(m_eventLock);
    return true;
}

void CWindowCoreManager::SetEventMask(unsigned mask) {
    boost::lock_guard<boost::mutex> const lock(m_eventLock);
    m_eventMask.store(mask, std::memory_order_relaxed);
}

void CWindowCoreManager::CloseEventQueue() {
    {
        boost::lock_guard<boost::mutex> const lock(m_eventLock);
        m_eventsClosed = true;
    }
    m_eventSignal.notify_all();
}

void CWindowCoreManager::CaptureEvent(CWidget* widget) {
    if (widget == m_capture) {
        return;
    }
    ReleaseCapture();
    m_capture = widget;
}

void CWindowCoreManager::ReleaseCapture() {
    if (m_releasingCapture) {
        return; // the widget answers the news by letting go
    }
    m_releasingCapture = true;
    auto const release = [this] {
        m_capture = nullptr;
        m_releasingCapture = false;
    };
    if (m_capture != nullptr) {
        Event event;
        event.type = EventCaptureLost;
        event.enabled = 0;
        try {
            m_capture->Interact(this, event);
        } catch (...) {
            release();
            throw;
        }
    }
    release();
}

} // namespace ui::win
