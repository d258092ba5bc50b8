#pragma once

#include "ui/win/CWindow.h"

#include <boost/shared_ptr.hpp>

#include <map>
#include <string>
#include <vector>

namespace ui::win {

/// Shows and hides a window without giving the rest of it away. Keeps the window alive. Without a
/// window nothing may be called.
class CWindowVisibilityProxy {
public:
    CWindowVisibilityProxy() = default;
    explicit CWindowVisibilityProxy(boost::shared_ptr<CWindow> window);

    /// Do not wait. @return whether every backend accepted
    bool Show();
    bool Hide();
    /// Waits for the first backend's answer.
    bool IsVisible() const;

private:
    boost::shared_ptr<CWindow> m_window;
};

/// An application's windows by name. A plain object of the application thread.
class WindowsMap {
public:
    using Map = std::map<std::string, boost::shared_ptr<CWindow>>;

    /// Adopts a window. @return false when the name was taken already: its window stays
    bool Insert(std::string const& name, boost::shared_ptr<CWindow> const& window);
    /// Creates a window titled with the name, not visible yet. @throws what CWindow throws
    bool Insert(std::string const& name, unsigned width, unsigned height);
    /// @return whether there was such a window; it goes when nobody else holds it
    bool Remove(std::string const& name);
    void Clear();

    /// @return empty for an unknown name
    boost::shared_ptr<CWindow> Wnd(std::string const& name) const;
    /// @return the window's proxy, valid until the window is removed; null for an unknown name
    CWindowVisibilityProxy* Window(std::string const& name);
    Map const& Windows() const { return m_windows; }
    /// In ascending byte order.
    std::vector<std::string> WindowNames() const;
    /// Writes number and names of the windows to standard output, for debugging.
    void PrintNodes() const;

private:
    // Both hold the same names.
    Map m_windows;
    std::map<std::string, CWindowVisibilityProxy> m_proxies;
};

} // namespace ui::win
