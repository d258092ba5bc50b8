#include "ui/panel/PanelManager.h"

#include <boost/thread/lock_guard.hpp>

#include <algorithm>
#include <stdexcept>

namespace ui::detail {

namespace {

using Lock = boost::lock_guard<boost::mutex>;

} // namespace

int PanelManager::Register(PanelListener* listener) {
    if (!listener) {
        throw std::runtime_error("Register without a listener");
    }
    Lock const lock(m_mutex);
    auto const slot = std::find(m_listeners.begin(), m_listeners.end(), nullptr);
    if (slot == m_listeners.end()) {
        throw std::runtime_error("too much listener");
    }
    *slot = listener;
    m_currentListener = static_cast<std::size_t>(slot - m_listeners.begin());
    return static_cast<int>(m_currentListener);
}

bool PanelManager::UnRegister(int listener) {
    if (listener < 0 || listener >= max_listeners) {
        return false;
    }
    Lock const lock(m_mutex);
    m_listeners[static_cast<std::size_t>(listener)] = nullptr;
    return true;
}

void PanelManager::Register(widget_guid_t guid, int listener) {
    SetMask(guid, listener, true);
}

void PanelManager::UnRegister(widget_guid_t guid, int listener) {
    SetMask(guid, listener, false);
}

void PanelManager::SetMask(widget_guid_t guid, int listener, bool set) {
    if (listener < 0 || listener >= max_listeners) {
        throw std::runtime_error("There is no listener " + std::to_string(listener));
    }
    std::uint32_t const bit = std::uint32_t{1} << listener;
    Lock const lock(m_mutex);
    ForTree(Required(guid, "Register: GUID not found"), [&](WidgetCore& core) {
        core.listeners = set ? core.listeners | bit : core.listeners & ~bit;
    });
}

bool PanelManager::Attr(widget_guid_t guid, std::string const& key, std::string const& value) {
    Lock const lock(m_mutex);
    WidgetCore* const core = Record(guid);
    if (!core) {
        return false;
    }
    InternalAttr(guid, *core, key, value);
    return true;
}

void PanelManager::InternalAttr(
    widget_guid_t guid, WidgetCore& core, std::string const& key, std::string const& value) {
    core.attributes[key] = value;
    Tell(core.listeners, [&](PanelListener& listener) { listener.OnAttribute(guid, core); });
    if (key == "visible") {
        InternalShow(guid, core, value == "TRUE");
    }
}

std::string PanelManager::ReadAttr(widget_guid_t guid, std::string const& key) const {
    Lock const lock(m_mutex);
    auto const& attributes = Required(guid, "guid not found").attributes;
    auto const found = attributes.find(key);
    if (found == attributes.end()) {
        throw std::runtime_error("Attribute " + key + " not found");
    }
    return found->second;
}

bool PanelManager::HasAttr(widget_guid_t guid, std::string const& key) const {
    Lock const lock(m_mutex);
    WidgetCore const* const core = Record(guid);
    return core && core->attributes.count(key) != 0;
}

bool PanelManager::HasAttr(
    widget_guid_t guid, std::string const& key, std::string const& value) const {
    Lock const lock(m_mutex);
    WidgetCore const* const core = Record(guid);
    if (!core) {
        return false;
    }
    auto const found = core->attributes.find(key);
    return found != core->attributes.end() && found->second == value;
}

void PanelManager::Show(widget_guid_t guid, bool visible) {
    Lock const lock(m_mutex);
    InternalShow(guid, Required(guid, "Show: GUID not found"), visible);
}

std::vector<widget_guid_t> PanelManager::Shown() const {
    Lock const lock(m_mutex);
    std::vector<widget_guid_t> guids;
    for (auto const& widget : m_widgets) {
        if (widget.second->visible) {
            guids.push_back(widget.first);
        }
    }
    return guids;
}

void PanelManager::InternalShow(widget_guid_t guid, WidgetCore& core, bool visible) {
    if (core.visible == visible) {
        return;
    }
    std::uint32_t const current = std::uint32_t{1} << m_currentListener;
    std::uint32_t const asked = m_lockedToCurrent ? current : ~std::uint32_t{0};
    if (visible) {
        for (std::size_t i = 0; i < m_listeners.size(); ++i) {
            std::uint32_t const bit = std::uint32_t{1} << i;
            if ((asked & bit) != 0 && m_listeners[i] && m_listeners[i]->OnShow(guid, core)) {
                core.listeners |= bit;
            }
        }
    } else {
        Tell(core.listeners & asked, [&](PanelListener& listener) { listener.OnHide(guid); });
    }
    core.visible = visible;
}

void PanelManager::LockToCurListener() {
    Lock const lock(m_mutex);
    m_lockedToCurrent = true;
}

void PanelManager::UnLockToCurListener() {
    Lock const lock(m_mutex);
    m_lockedToCurrent = false;
}

bool PanelManager::TellOfValue(
    widget_guid_t guid, void (PanelListener::*callback)(widget_guid_t, WidgetCore const&)) const {
    Lock const lock(m_mutex);
    WidgetCore const* const core = Record(guid);
    if (!core || !core->serializer) {
        return false;
    }
    Tell(core->listeners, [&](PanelListener& listener) { (listener.*callback)(guid, *core); });
    return true;
}

bool PanelManager::Update(widget_guid_t guid) const {
    return TellOfValue(guid, &PanelListener::OnUpdate);
}

bool PanelManager::NotifyDataChanged(widget_guid_t guid) const {
    return TellOfValue(guid, &PanelListener::OnDataChanged);
}

} // namespace ui::detail
