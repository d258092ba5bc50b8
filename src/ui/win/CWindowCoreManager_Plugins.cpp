#include "kiv/Diagnostics.h"
#include "ui/win/CWidget_Registration.h"
#include "ui/win/CWindowCoreManager.h"

#include <boost/current_function.hpp>

#include <algorithm>
#include <stdexcept>
#include <utility>

namespace ui::win {

namespace {

constexpr char enabledKey[] = "ENABLED";

boost::shared_ptr<CWidget> CreateWidget(std::string const& name, kiv::ini::INIFile& section) {
    WidgetCreator const creator = kiv::Singleton<WidgetFactory>::Instance()->GetAllocator(name);
    return boost::shared_ptr<CWidget>(creator(section));
}

} // namespace

CWindowCoreManager::Plugin*
CWindowCoreManager::InsertPlugin(boost::shared_ptr<CWidget> widget, bool enabled) {
    if (!widget) {
        throw std::invalid_argument("a null pointer is no plugin");
    }
    m_plugins.push_back({enabled, std::move(widget)});
    Plugin& plugin = m_plugins.back();
    kiv::Diagnose(
        "[II]",
        BOOST_CURRENT_FUNCTION,
        std::string("Plugin `") + plugin.widget->getName() + "' inserted");
    return &plugin;
}

CWindowCoreManager::Plugin* CWindowCoreManager::InsertPlugin(std::string const& name) {
    boost::lock_guard<boost::recursive_mutex> const lock(m_iniLock);
    if (m_ini == nullptr) {
        return nullptr;
    }
    if (Plugin* const existing = FindPlugin(name)) {
        kiv::Diagnose("[WW]", BOOST_CURRENT_FUNCTION, "Alredy inserted the plugins " + name + "!");
        return existing;
    }
    try {
        kiv::ini::INIFile* const section = m_ini->Node(name);
        if (section == nullptr) {
            throw std::runtime_error("no configuration section can have this name");
        }
        section->Set(enabledKey, "TRUE");
        return InsertPlugin(CreateWidget(name, *section), true);
    } catch (std::exception const& error) {
        kiv::Diagnose(
            "[EE]",
            BOOST_CURRENT_FUNCTION,
            "Plugin " + name + " failed in creation: " + error.what());
        return nullptr;
    }
}

bool CWindowCoreManager::PopulatePlugin() {
    boost::lock_guard<boost::recursive_mutex> const lock(m_iniLock);
    if (m_ini == nullptr) {
        return false;
    }
    for (std::string const& name : kiv::Singleton<WidgetFactory>::Instance()->Names()) {
        kiv::ini::INIFile* const section = m_ini->Node(name);
        if (section == nullptr) {
            kiv::Diagnose("[WW]", BOOST_CURRENT_FUNCTION, "Configuration file error");
            continue;
        }
        boost::shared_ptr<CWidget> const widget = CreateWidget(name, *section);
        bool enabled = false;
        if (!section->Lookup(enabledKey, enabled)) {
            section->Set(enabledKey, "FALSE");
        }
        InsertPlugin(widget, enabled);
    }
    return true;
}

CWindowCoreManager::Plugin* CWindowCoreManager::FindPlugin(std::string const& name) {
    auto const found = std::find_if(m_plugins.begin(), m_plugins.end(), [&](Plugin const& plugin) {
        return name == plugin.widget->getName();
    });
    return found == m_plugins.end() ? nullptr : &*found;
}

CWindowCoreManager::Plugin* CWindowCoreManager::FindPluginEx(std::string const& name) {
    return FindPlugin(name);
}

bool CWindowCoreManager::EnablePlugin(std::string const& name, bool enable) {
    Plugin* const plugin = FindPlugin(name);
    if (plugin == nullptr) {
        return false;
    }
    plugin->enabled = enable;
    return true;
}

bool CWindowCoreManager::SwitchPlugin(std::string const& name) {
    Plugin* const plugin = FindPlugin(name);
    if (plugin == nullptr) {
        return false;
    }
    plugin->enabled = !plugin->enabled;
    return true;
}

bool CWindowCoreManager::SwitchPluginEx(std::string const& name) {
    return SwitchPlugin(name);
}

bool CWindowCoreManager::SwitchAllPlugin() {
    bool const anyEnabled = std::any_of(
        m_plugins.begin(), m_plugins.end(), [](Plugin const& plugin) { return plugin.enabled; });
    for (Plugin& plugin : m_plugins) {
        plugin.enabled = !anyEnabled;
    }
    return true;
}

void CWindowCoreManager::ReleasePlugins() {
    // Nobody else may hold the widget that has the capture.
    bool const captured = std::any_of(m_plugins.begin(), m_plugins.end(), [&](Plugin const& p) {
        return p.widget.get() == m_capture;
    });
    if (captured) {
        ReleaseCapture();
    }
    m_plugins.clear();
}

} // namespace ui::win
