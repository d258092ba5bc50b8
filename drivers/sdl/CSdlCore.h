#pragma once

#include "drivers/raster/CRasterCoreManager.h"
#include "drivers/sdl/SdlThread.h"
#include "drivers/sdl/WindowSurface.h"

#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>

#include <SDL2/SDL.h>

#include <string>
#include <utility>
#include <vector>

namespace drivers::sdl {

/// The driver "SDL": windows of the desktop. All of a process's windows are served by one thread,
/// which need not be, and never is, the application's main thread.
///
/// Sizes and pointer positions are pixels of the picture, also on screens that scale windows. The
/// user may resize a window; it keeps the proportions of the requested size unless StateFreeAspect
/// is set. The close button hides the window and delivers WindowClosed. While a button is held the
/// pointer stays with the window: positions outside count as its border.
///
/// A window whose display has gone goes on as if it were hidden, after WindowDisplayLost.
class CSdlCore : public raster::CRasterCoreManager {
public:
    /// @throws ui::win::DriverUnavailable without a display, std::runtime_error with SDL's words
    explicit CSdlCore(ui::win::CreationParams const& params);
    ~CSdlCore() override;

    /// "sdl:" and the video driver, with X11 and the window's number: "sdl:x11:0x1c00007".
    std::string GetConnectionString() const override;
    bool SetTitle(std::string const& title) override;
    bool SetPosition(int x, int y) override;
    bool SetSize(int width, int height) override;
    bool ResizeWindow(std::uint32_t width, std::uint32_t height) override;
    bool SetBackgroundColor(Colour colour) override;
    bool SetCustomStatusBar(std::string const& text) override;
    /// A shaped window has no frame and is not resized by the user. Without mask (null, or a size
    /// of 0) the window is a plain one again. @return false where windows have no shapes (Wayland)
    bool SetWindowShape(unsigned char const* mask, unsigned stride, unsigned height) override;
    bool SetFullScreenMode(bool fullScreen) override;
    bool SetVisibility(bool visible) override;
    bool SetDecoration(bool decorated) override;
    bool GetScreenGeometry(ui::win::ScreenGeometry* geometry) override;
    void ToggleState(std::uint32_t bits) override;

protected:
    void Present() override;
    void TakeInput() override;

private:
    struct Shape {
        std::vector<unsigned char> mask; // empty: a plain window
        unsigned stride = 0;
        unsigned height = 0;
    };

    /// @name The window; all on the thread, m_window may be null everywhere else
    /// @{
    void OpenWindow();
    void CloseWindow();
    bool IsOpen() const;
    bool IsShown() const;
    bool IsFreelySized() const;
    double PixelsPerUnit() const;
    int ToUnits(std::uint32_t pixels) const;
    void AdoptSize();
    void ApplyShape();
    void FillScreen(bool fill);
    void HintAspect();
    void KeepAspect();
    void KeepPixels();
    void ShowAgain();
    /// @}

    /// @name Input
    /// @{
    void Handle(SDL_Event const& event);
    void HandleWindow(SDL_WindowEvent const& event);
    void HandleMove(int x, int y);
    void HandleKey(SDL_KeyboardEvent const& key);
    void HandleButton(SDL_MouseButtonEvent const& button);
    void HandleWheel(SDL_MouseWheelEvent const& wheel);
    void ReleaseButtons();
    void Tell(std::uint32_t type, std::uint32_t key);
    void DeliverPointer(std::uint32_t type, std::uint32_t button, double x, double y);
    /// @}

    boost::shared_ptr<SdlThread> m_display;
    SDL_Window* m_window = nullptr;
    Shape m_shape;
    WindowSurface m_surface;
    bool m_surfaceIsNew = true; // what the surface holds is not what the screen shows
    bool m_fillsScreen = false;
    double m_pixelsPerUnit = 1;
    SDL_Rect m_windowed{0, 0, 0, 0}; // where it goes back to when it no longer does
    Uint32 m_placeAgainUntil = 0;
    std::pair<int, int> m_refusedSize; // of the user's, that was corrected before
    std::uint32_t m_modifiers = 0;
    std::uint32_t m_held = 0;
    double m_lastX = 0;
    double m_lastY = 0;
    mutable boost::mutex m_connectionLock;
    std::string m_connection; // guarded by m_connectionLock
};

} // namespace drivers::sdl
