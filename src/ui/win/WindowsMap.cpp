#include "ui/win/WindowsMap.h"

#include "kiv/Diagnostics.h"

#include <boost/make_shared.hpp>

#include <utility>

namespace ui::win {

namespace {

/// Keyboard handling, and 0x400, which windows of this map have always carried.
constexpr int initialState = StateKeyboard | 0x400;

} // namespace

CWindowVisibilityProxy::CWindowVisibilityProxy(boost::shared_ptr<CWindow> window)
    : m_window(std::move(window)) {}

bool CWindowVisibilityProxy::Show() {
    return m_window->SetVisibility(true);
}

bool CWindowVisibilityProxy::Hide() {
    return m_window->SetVisibility(false);
}

bool CWindowVisibilityProxy::IsVisible() const {
    return m_window->IsVisible(false);
}

bool WindowsMap::Insert(std::string const& name, boost::shared_ptr<CWindow> const& window) {
    m_proxies.emplace(name, CWindowVisibilityProxy(window));
    return m_windows.emplace(name, window).second;
}

bool WindowsMap::Insert(std::string const& name, unsigned width, unsigned height) {
    return Insert(name, boost::make_shared<CWindow>(name, width, height, initialState));
}

bool WindowsMap::Remove(std::string const& name) {
    m_proxies.erase(name);
    return m_windows.erase(name) != 0;
}

void WindowsMap::Clear() {
    m_proxies.clear();
    m_windows.clear();
}

boost::shared_ptr<CWindow> WindowsMap::Wnd(std::string const& name) const {
    auto const found = m_windows.find(name);
    return found == m_windows.end() ? boost::shared_ptr<CWindow>() : found->second;
}

CWindowVisibilityProxy* WindowsMap::Window(std::string const& name) {
    auto const found = m_proxies.find(name);
    return found == m_proxies.end() ? nullptr : &found->second;
}

std::vector<std::string> WindowsMap::WindowNames() const {
    std::vector<std::string> names;
    names.reserve(m_windows.size());
    for (auto const& entry : m_windows) {
        names.push_back(entry.first);
    }
    return names;
}

void WindowsMap::PrintNodes() const {
    std::string text = "This is WindowsMap::PrintNodes\n" + std::to_string(m_windows.size());
    for (auto const& entry : m_windows) {
        text += '\n' + entry.first;
    }
    kiv::PrintLine(text);
}

} // namespace ui::win
