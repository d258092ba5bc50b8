#pragma once

#include "drivers/sdl/SurfaceCopy.h"

#include <memory>

namespace drivers::sdl {

/// What a window shows, pixel by pixel also on screens that scale windows. That is SDL's surface of
/// the window, or, where its video driver has none (Wayland, KMS), a texture that is as large as
/// the window is in pixels. Belongs to the window thread.
class WindowSurface {
public:
    /// To be called for a new window before it is shown: SDL may put another one in its place.
    void Attach(SDL_Window* window);
    /// To be called before the window is destroyed.
    void Detach();
    /// Brings the window up to a picture. Returns when the display has taken it, so that no second
    /// one is ever under way.
    /// @param all what the surface holds is not on the screen
    void Show(raster::Canvas const& picture, bool all);

private:
    void ShowTexture(raster::Canvas const& picture, bool all);
    bool FitTexture();

    struct Free {
        void operator()(SDL_Surface* surface) const { SDL_FreeSurface(surface); }
    };

    SDL_Window* m_window = nullptr;
    SDL_Renderer* m_renderer = nullptr; // null where the window has a surface; owns the texture
    SDL_Texture* m_texture = nullptr;
    std::unique_ptr<SDL_Surface, Free> m_shown; // what the texture holds
    SurfaceCopy m_copy;
};

} // namespace drivers::sdl
