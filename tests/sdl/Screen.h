#pragma once

#include "drivers/TestWindow.h"

#include <string>
#include <utility>

struct _XDisplay;

namespace tests {

/// What another program sees of the windows on the display.
class Screen {
public:
    using Number = unsigned long;

    Screen();
    ~Screen();
    Screen(Screen const&) = delete;
    Screen& operator=(Screen const&) = delete;

    /// The X server's number of a window.
    static Number NumberOf(ui::win::CWindow const& window);
    Number Root() const;
    bool IsMapped(ui::win::CWindow const& window) const;
    std::pair<int, int> Size(ui::win::CWindow const& window) const;
    std::string Title(ui::win::CWindow const& window) const;
    /// Where the window's first pixel lies.
    std::pair<int, int> Origin(ui::win::CWindow const& window) const;
    /// Black outside.
    RGB Pixel(Number number, int x, int y) const;
    /// Pixels in which the window is not the frame that its core has; -1 for another size.
    int Differences(ui::win::CWindow& window) const;
    /// Pixels in which what the screen shows is not the picture, wherever it lies; as `origin` the
    /// place with the fewest. Its first row must be like no other.
    int Find(cimage::TImage<RGB> const& picture, std::pair<int, int>& origin) const;
    /// Opens a window of this program that no window manager minds, in the lower right corner.
    Number OpenForeignWindow() const;
    /// From now on no window appears by itself, as under a window manager that hangs.
    void HoldWindows() const;
    /// Lets one that was held appear, and others from now on.
    void Release(ui::win::CWindow const& window) const;
    /// Does what the close button in a window's frame does.
    void PressCloseButton(ui::win::CWindow const& window) const;

private:
    _XDisplay* m_display;
};

} // namespace tests
